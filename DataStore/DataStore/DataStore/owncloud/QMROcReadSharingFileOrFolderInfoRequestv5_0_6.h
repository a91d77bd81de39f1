#pragma once
// The 5.0.6 sharing info: the endpoint behind index.php.
#include "DataStore/owncloud/QMROcReadSharingFileOrFolderInfoRequestv4_5_7.h"

class QMROcReadSharingFileOrFolderInfoRequestv5_0_6 : public QMROcReadSharingFileOrFolderInfoRequestv4_5_7 {
public:
    QMROcReadSharingFileOrFolderInfoRequestv5_0_6() = delete;
    using QMROcReadSharingFileOrFolderInfoRequestv4_5_7::QMROcReadSharingFileOrFolderInfoRequestv4_5_7;

    std::string constructReadSharingFileOrFolderInfoRequestUrl() const override;
};
