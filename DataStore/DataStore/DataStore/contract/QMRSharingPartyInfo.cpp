#include "DataStore/contract/QMRSharingPartyInfo.h"

#include <fmt/format.h>

std::string QMRSharingPartyInfo::description() const {
    return fmt::format("SharingType: {} SharingPartyName: {}", _sharingType, _sharingPartyName);
}
