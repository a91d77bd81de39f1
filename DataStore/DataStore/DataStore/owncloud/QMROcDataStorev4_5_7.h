#pragma once
// The data store of an ownCloud 4.5.7 server.
#include <memory>

#include "DataStore/owncloud/QMROcAuthenticatorv4_5_7.h"
#include "DataStore/owncloud/QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcCreateNewFolderRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcDisableFileOrFolderSharingRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcEnableFileOrFolderSharingRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadFileContentRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadSharingFileOrFolderInfoRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadSharingPartyInfoRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReleaseDataStore.h"

// The request classes the 4.5.7 store makes.
struct QMROcRequestsv4_5_7 {
    using CreateNewFile = QMROcCreateNewFileRequestv4_5_7;
    using CreateNewFolder = QMROcCreateNewFolderRequestv4_5_7;
    using ReadFileContent = QMROcReadFileContentRequestv4_5_7;
    using ReadFolderContent = QMROcReadFolderContentRequestv4_5_7;
    using DeleteFileOrFolder = QMROcDeleteFileOrFolderRequestv4_5_7;
    using ReadStorageQuotaInfo = QMROcReadStorageQuotaInfoRequestv4_5_7;
    using ReadSharingPartyInfo = QMROcReadSharingPartyInfoRequestv4_5_7;
    using EnableFileOrFolderSharing = QMROcEnableFileOrFolderSharingRequestv4_5_7;
    using DisableFileOrFolderSharing = QMROcDisableFileOrFolderSharingRequestv4_5_7;
    using ChangeFileOrFolderSharingPermission = QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7;
    using ReadSharingFileOrFolderInfo = QMROcReadSharingFileOrFolderInfoRequestv4_5_7;
};

class QMROcDataStorev4_5_7 final : public QMROcReleaseDataStore<QMROcRequestsv4_5_7> {
public:
    QMROcDataStorev4_5_7() = delete;
    // initWithAuthenticator: keeps the logged-in authenticator, shared with the account's
    // administration object; nothing is sent. A null one raises QMRInvalidArgumentException
    // "QMROwnCloudAuthenticator required but is not provided".
    explicit QMROcDataStorev4_5_7(std::shared_ptr<QMROcAuthenticatorv4_5_7> authenticator);
};

extern template class QMROcReleaseDataStore<QMROcRequestsv4_5_7>;
