#include "DataStore/owncloud/QMROcReadSharingFileOrFolderInfoRequestv5_0_6.h"

std::string QMROcReadSharingFileOrFolderInfoRequestv5_0_6::constructReadSharingFileOrFolderInfoRequestUrl() const {
    return readSharingFileOrFolderInfoRequestUrlOn(endpointPathv5_0_6);
}
