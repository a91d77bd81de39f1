#pragma once
// Who an item is shared with (both releases): the owner first when the item was shared with the
// user, then each share in the server's order.
#include <optional>
#include <utility>
#include <vector>

#include "DataStore/contract/QMRSharingFileOrFolderInfo.h"

class QMROcReadSharingFileOrFolderInfoResponsev4_5_7 {
public:
    using SharingFileOrFolderInfoList = std::vector<QMRSharingFileOrFolderInfo>;

    // None until a read succeeded.
    const std::optional<SharingFileOrFolderInfoList>& sharingFileOrFolderInfo() const noexcept {
        return _sharingFileOrFolderInfo;
    }
    void setSharingFileOrFolderInfo(std::optional<SharingFileOrFolderInfoList> infos) {
        _sharingFileOrFolderInfo = std::move(infos);
    }

private:
    std::optional<SharingFileOrFolderInfoList> _sharingFileOrFolderInfo;
};
