#pragma once
// The account's quota (both releases).
#include <optional>
#include <utility>

#include "DataStore/contract/QMRStorageSpaceInfo.h"

class QMROcReadStorageQuotaInfoResponsev4_5_7 {
public:
    const std::optional<QMRStorageSpaceInfo>& storageSpaceInfo() const noexcept { return _storageSpaceInfo; }
    void setStorageSpaceInfo(std::optional<QMRStorageSpaceInfo> info) { _storageSpaceInfo = std::move(info); }

private:
    std::optional<QMRStorageSpaceInfo> _storageSpaceInfo;
};
