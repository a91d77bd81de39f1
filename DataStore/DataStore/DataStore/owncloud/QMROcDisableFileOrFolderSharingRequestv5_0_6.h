#pragma once
// The 5.0.6 unshare: the endpoint behind index.php.
#include "DataStore/owncloud/QMROcDisableFileOrFolderSharingRequestv4_5_7.h"

class QMROcDisableFileOrFolderSharingRequestv5_0_6 : public QMROcDisableFileOrFolderSharingRequestv4_5_7 {
public:
    QMROcDisableFileOrFolderSharingRequestv5_0_6() = delete;
    using QMROcDisableFileOrFolderSharingRequestv4_5_7::QMROcDisableFileOrFolderSharingRequestv4_5_7;

    std::string constructDisableSharingRequestUrl() const override;
};
