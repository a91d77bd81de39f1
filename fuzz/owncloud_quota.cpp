// The personal settings page's quota sentence, for both releases.
#include <cstddef>
#include <cstdint>
#include <optional>

#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv5_0_6.h"
#include "fuzz/FuzzSupport.h"

namespace {

void readQuota(const QMROcReadStorageQuotaInfoRequestv4_5_7& quota, const QMRData& page) {
    QMRErrorSlot error;
    const std::optional<QMRStorageSpaceInfo> space = quota.extractStorageQuotaInfo(page, error);
    fuzz::require(space.has_value() != error.has_value(), "a quota page gives the space or an error");
    if (space) (void)space->description();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const QMROcReadStorageQuotaInfoRequestv4_5_7 v4(fuzz::session(), fuzz::baseUrl);
    static const QMROcReadStorageQuotaInfoRequestv5_0_6 v5(fuzz::session(), fuzz::baseUrl);
    const QMRData page = fuzz::bodyOf(data, size);
    readQuota(v4, page);
    readQuota(v5, page);
    return 0;
}
