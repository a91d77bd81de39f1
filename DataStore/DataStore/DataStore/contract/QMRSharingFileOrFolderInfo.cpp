#include "DataStore/contract/QMRSharingFileOrFolderInfo.h"

#include <fmt/format.h>

std::string QMRSharingFileOrFolderInfo::description() const {
    return fmt::format("{}, IsOwner: {} SharingPermission: {}", _sharingPartyInfo.description(),
                       _sharingPartyIsOwner ? "true" : "false", _sharingPermission);
}
