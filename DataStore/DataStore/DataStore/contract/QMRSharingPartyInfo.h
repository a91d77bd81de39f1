#pragma once
#include <cstdint>
#include <string>
#include <utility>

// A party a file or folder can be shared with: the server's share-type number and the party's name.
class QMRSharingPartyInfo {
public:
    QMRSharingPartyInfo() = default;
    QMRSharingPartyInfo(std::int32_t sharingType, std::string sharingPartyName)
        : _sharingType(sharingType), _sharingPartyName(std::move(sharingPartyName)) {}

    std::int32_t sharingType() const noexcept { return _sharingType; }
    void setSharingType(std::int32_t value) noexcept { _sharingType = value; }
    const std::string& sharingPartyName() const noexcept { return _sharingPartyName; }
    void setSharingPartyName(std::string value) { _sharingPartyName = std::move(value); }

    std::string description() const;

private:
    std::int32_t _sharingType = 0;
    std::string _sharingPartyName;
};
