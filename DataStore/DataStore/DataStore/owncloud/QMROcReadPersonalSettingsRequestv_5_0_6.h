#pragma once
// The 5.0.6 personal settings: the page's address behind "index.php".
#include "DataStore/owncloud/QMROcReadPersonalSettingsRequestv_4_5_7.h"

class QMROcReadPersonalSettingsRequestv_5_0_6 : public QMROcReadPersonalSettingsRequestv_4_5_7 {
public:
    QMROcReadPersonalSettingsRequestv_5_0_6() = delete;
    using QMROcReadPersonalSettingsRequestv_4_5_7::QMROcReadPersonalSettingsRequestv_4_5_7;

    std::string constructPersonalSettingsReqUrl() const override;
};
