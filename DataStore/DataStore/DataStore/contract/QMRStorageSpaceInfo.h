#pragma once
#include <cstdint>
#include <string>

// The account's quota: bytes used plus bytes free, and bytes free.
class QMRStorageSpaceInfo {
public:
    QMRStorageSpaceInfo() = default;
    QMRStorageSpaceInfo(std::int64_t allocatedPlusUnallocatedBytes, std::int64_t unallocatedBytes)
        : _allocatedPlusUnallocatedBytes(allocatedPlusUnallocatedBytes), _unallocatedBytes(unallocatedBytes) {}

    std::int64_t allocatedPlusUnallocatedBytes() const noexcept { return _allocatedPlusUnallocatedBytes; }
    void setAllocatedPlusUnallocatedBytes(std::int64_t value) noexcept { _allocatedPlusUnallocatedBytes = value; }
    std::int64_t unallocatedBytes() const noexcept { return _unallocatedBytes; }
    void setUnallocatedBytes(std::int64_t value) noexcept { _unallocatedBytes = value; }

    std::string description() const;

private:
    std::int64_t _allocatedPlusUnallocatedBytes = 0;
    std::int64_t _unallocatedBytes = 0;
};
