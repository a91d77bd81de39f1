#include "DataStore/webdav/QMRWebDavLockInfo.h"

#include <fmt/format.h>

std::string QMRWebDavLockInfo::description() const {
    return fmt::format("Lock Token: {} Timeout: {}", _lockToken, static_cast<std::int32_t>(_timeoutInSeconds));
}
