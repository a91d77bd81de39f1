#include "DataStore/owncloud/QMROcChangePersonalPasswordRequestv5_0_6.h"

std::string QMROcChangePersonalPasswordRequestv5_0_6::constructChangePersonalPasswordRequestUrl() const {
    return fixedUrl("/index.php/settings/ajax/changepassword.php");
}
