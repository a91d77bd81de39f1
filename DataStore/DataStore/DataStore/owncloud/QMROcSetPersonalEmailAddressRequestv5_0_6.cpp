#include "DataStore/owncloud/QMROcSetPersonalEmailAddressRequestv5_0_6.h"

std::string QMROcSetPersonalEmailAddressRequestv5_0_6::constructSetEmailAddressRequestUrl() const {
    return fixedUrl("/index.php/settings/ajax/lostpassword.php");
}
