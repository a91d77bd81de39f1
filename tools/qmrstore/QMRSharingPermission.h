#pragma once
// Sharing permissions by name: the servers' bits 1 read, 2 update, 4 create, 8 delete, 16 share.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QMRSharingPermission {
public:
    QMRSharingPermission() = delete;

    // {"read", "share"} for 17.
    static std::vector<std::string> names(std::int32_t permission);
    // "read,share" for 17, "none" for 0.
    static std::string text(std::int32_t permission);
    // "read,update", "all" or a number; nothing for an unknown name.
    static std::optional<std::int32_t> parse(std::string_view text);
};
