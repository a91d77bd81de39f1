#include "DataStore/owncloud/QMROcChangeFileOrFolderSharingPermissionRequestv5_0_6.h"

std::string QMROcChangeFileOrFolderSharingPermissionRequestv5_0_6::constructChangeSharingPermissionRequestUrl() const {
    return fixedUrl(endpointPathv5_0_6);
}
