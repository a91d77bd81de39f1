#include "DataStore/contract/QMRStorageSpaceInfo.h"

#include <fmt/format.h>

std::string QMRStorageSpaceInfo::description() const {
    return fmt::format("AllocatedPlusUnallocated: {} Unallocated: {}", _allocatedPlusUnallocatedBytes,
                       _unallocatedBytes);
}
