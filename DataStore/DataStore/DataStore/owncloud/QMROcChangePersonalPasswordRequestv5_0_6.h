#pragma once
// The 5.0.6 password change: the same script behind "index.php".
#include "DataStore/owncloud/QMROcChangePersonalPasswordRequestv4_5_7.h"

class QMROcChangePersonalPasswordRequestv5_0_6 : public QMROcChangePersonalPasswordRequestv4_5_7 {
public:
    QMROcChangePersonalPasswordRequestv5_0_6() = delete;
    using QMROcChangePersonalPasswordRequestv4_5_7::QMROcChangePersonalPasswordRequestv4_5_7;

    std::string constructChangePersonalPasswordRequestUrl() const override;
};
