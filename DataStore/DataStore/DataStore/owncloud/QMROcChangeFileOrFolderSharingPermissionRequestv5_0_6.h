#pragma once
// The 5.0.6 permission change: the endpoint behind index.php.
#include "DataStore/owncloud/QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7.h"

class QMROcChangeFileOrFolderSharingPermissionRequestv5_0_6
    : public QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7 {
public:
    QMROcChangeFileOrFolderSharingPermissionRequestv5_0_6() = delete;
    using QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7::QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7;

    std::string constructChangeSharingPermissionRequestUrl() const override;
};
