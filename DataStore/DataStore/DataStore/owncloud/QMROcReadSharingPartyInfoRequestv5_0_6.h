#pragma once
// The 5.0.6 party list: the endpoint behind index.php.
#include "DataStore/owncloud/QMROcReadSharingPartyInfoRequestv4_5_7.h"

class QMROcReadSharingPartyInfoRequestv5_0_6 : public QMROcReadSharingPartyInfoRequestv4_5_7 {
public:
    QMROcReadSharingPartyInfoRequestv5_0_6() = delete;
    using QMROcReadSharingPartyInfoRequestv4_5_7::QMROcReadSharingPartyInfoRequestv4_5_7;

    std::string constructReadSharingPartyRequestUrl() const override;
};
