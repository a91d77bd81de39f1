#pragma once
// The data store of an ownCloud 5.0.6 server.
#include <memory>

#include "DataStore/owncloud/QMROcAuthenticatorv5_0_6.h"
#include "DataStore/owncloud/QMROcChangeFileOrFolderSharingPermissionRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcCreateNewFolderRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcDisableFileOrFolderSharingRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcEnableFileOrFolderSharingRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadFileContentRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadSharingFileOrFolderInfoRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadSharingPartyInfoRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReleaseDataStore.h"

// The request classes the 5.0.6 store makes.
struct QMROcRequestsv5_0_6 {
    using CreateNewFile = QMROcCreateNewFileRequestv5_0_6;
    using CreateNewFolder = QMROcCreateNewFolderRequestv5_0_6;
    using ReadFileContent = QMROcReadFileContentRequestv5_0_6;
    using ReadFolderContent = QMROcReadFolderContentRequestv5_0_6;
    using DeleteFileOrFolder = QMROcDeleteFileOrFolderRequestv5_0_6;
    using ReadStorageQuotaInfo = QMROcReadStorageQuotaInfoRequestv5_0_6;
    using ReadSharingPartyInfo = QMROcReadSharingPartyInfoRequestv5_0_6;
    using EnableFileOrFolderSharing = QMROcEnableFileOrFolderSharingRequestv5_0_6;
    using DisableFileOrFolderSharing = QMROcDisableFileOrFolderSharingRequestv5_0_6;
    using ChangeFileOrFolderSharingPermission = QMROcChangeFileOrFolderSharingPermissionRequestv5_0_6;
    using ReadSharingFileOrFolderInfo = QMROcReadSharingFileOrFolderInfoRequestv5_0_6;
};

class QMROcDataStorev5_0_6 final : public QMROcReleaseDataStore<QMROcRequestsv5_0_6> {
public:
    QMROcDataStorev5_0_6() = delete;
    // initWithAuthenticator: keeps the logged-in authenticator, shared with the account's
    // administration object; nothing is sent. A null one raises QMRInvalidArgumentException
    // "QMROwnCloudAuthenticator required but is not provided".
    explicit QMROcDataStorev5_0_6(std::shared_ptr<QMROcAuthenticatorv5_0_6> authenticator);
};

extern template class QMROcReleaseDataStore<QMROcRequestsv5_0_6>;
