#pragma once
// The parties an item can be shared with (both releases), in the server's order.
#include <optional>
#include <utility>
#include <vector>

#include "DataStore/contract/QMRSharingPartyInfo.h"

class QMROcReadSharingPartyInfoResponsev4_5_7 {
public:
    using SharingPartyInfoList = std::vector<QMRSharingPartyInfo>;

    // None until a read succeeded.
    const std::optional<SharingPartyInfoList>& sharingPartyInfos() const noexcept { return _sharingPartyInfos; }
    void setSharingPartyInfos(std::optional<SharingPartyInfoList> infos) { _sharingPartyInfos = std::move(infos); }

private:
    std::optional<SharingPartyInfoList> _sharingPartyInfos;
};
