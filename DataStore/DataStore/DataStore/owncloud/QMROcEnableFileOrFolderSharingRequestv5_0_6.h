#pragma once
// The 5.0.6 share: the endpoint behind index.php.
#include "DataStore/owncloud/QMROcEnableFileOrFolderSharingRequestv4_5_7.h"

class QMROcEnableFileOrFolderSharingRequestv5_0_6 : public QMROcEnableFileOrFolderSharingRequestv4_5_7 {
public:
    QMROcEnableFileOrFolderSharingRequestv5_0_6() = delete;
    using QMROcEnableFileOrFolderSharingRequestv4_5_7::QMROcEnableFileOrFolderSharingRequestv4_5_7;

    std::string constructEnableSharingRequestUrl() const override;
};
