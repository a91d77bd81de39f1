#pragma once
#include <cstdint>
#include <string>
#include <utility>

#include "DataStore/contract/QMRSharingPartyInfo.h"

// Who a file or folder is shared with, whether that party owns it, and the permission granted.
class QMRSharingFileOrFolderInfo {
public:
    QMRSharingFileOrFolderInfo() = default;
    QMRSharingFileOrFolderInfo(bool sharingPartyIsOwner, QMRSharingPartyInfo sharingPartyInfo,
                               std::int32_t sharingPermission)
        : _sharingPartyIsOwner(sharingPartyIsOwner),
          _sharingPartyInfo(std::move(sharingPartyInfo)),
          _sharingPermission(sharingPermission) {}

    bool sharingPartyIsOwner() const noexcept { return _sharingPartyIsOwner; }
    void setSharingPartyIsOwner(bool value) noexcept { _sharingPartyIsOwner = value; }
    const QMRSharingPartyInfo& sharingPartyInfo() const noexcept { return _sharingPartyInfo; }
    void setSharingPartyInfo(QMRSharingPartyInfo value) { _sharingPartyInfo = std::move(value); }
    std::int32_t sharingPermission() const noexcept { return _sharingPermission; }
    void setSharingPermission(std::int32_t value) noexcept { _sharingPermission = value; }

    std::string description() const;

private:
    bool _sharingPartyIsOwner = false;
    QMRSharingPartyInfo _sharingPartyInfo;
    std::int32_t _sharingPermission = 0;
};
