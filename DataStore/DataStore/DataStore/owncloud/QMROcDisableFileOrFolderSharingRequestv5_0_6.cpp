#include "DataStore/owncloud/QMROcDisableFileOrFolderSharingRequestv5_0_6.h"

std::string QMROcDisableFileOrFolderSharingRequestv5_0_6::constructDisableSharingRequestUrl() const {
    return fixedUrl(endpointPathv5_0_6);
}
