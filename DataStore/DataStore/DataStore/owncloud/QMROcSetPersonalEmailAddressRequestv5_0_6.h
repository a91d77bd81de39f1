#pragma once
// The 5.0.6 e-mail setting: the same script behind "index.php".
#include "DataStore/owncloud/QMROcSetPersonalEmailAddressRequestv4_5_7.h"

class QMROcSetPersonalEmailAddressRequestv5_0_6 : public QMROcSetPersonalEmailAddressRequestv4_5_7 {
public:
    QMROcSetPersonalEmailAddressRequestv5_0_6() = delete;
    using QMROcSetPersonalEmailAddressRequestv4_5_7::QMROcSetPersonalEmailAddressRequestv4_5_7;

    std::string constructSetEmailAddressRequestUrl() const override;
};
