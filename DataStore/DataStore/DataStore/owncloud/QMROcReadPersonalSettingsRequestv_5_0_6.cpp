#include "DataStore/owncloud/QMROcReadPersonalSettingsRequestv_5_0_6.h"

std::string QMROcReadPersonalSettingsRequestv_5_0_6::constructPersonalSettingsReqUrl() const {
    return fixedUrl("/index.php/settings/personal");
}
