#include "DataStore/owncloud/QMROcReadSharingPartyInfoRequestv5_0_6.h"

std::string QMROcReadSharingPartyInfoRequestv5_0_6::constructReadSharingPartyRequestUrl() const {
    return readSharingPartyRequestUrlOn(endpointPathv5_0_6);
}
