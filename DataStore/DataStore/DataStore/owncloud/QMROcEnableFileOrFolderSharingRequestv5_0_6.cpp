#include "DataStore/owncloud/QMROcEnableFileOrFolderSharingRequestv5_0_6.h"

std::string QMROcEnableFileOrFolderSharingRequestv5_0_6::constructEnableSharingRequestUrl() const {
    return fixedUrl(endpointPathv5_0_6);
}
