#include "QMRSharingPermission.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <charconv>
#include <utility>

namespace {

constexpr std::array<std::pair<std::int32_t, std::string_view>, 5> permissionBits = {
    {{1, "read"}, {2, "update"}, {4, "create"}, {8, "delete"}, {16, "share"}}};
constexpr std::int32_t allPermissions = 31;

}  // namespace

std::vector<std::string> QMRSharingPermission::names(std::int32_t permission) {
    std::vector<std::string> names;
    for (const auto& [bit, name] : permissionBits)
        if (permission & bit) names.emplace_back(name);
    return names;
}

std::string QMRSharingPermission::text(std::int32_t permission) {
    const std::vector<std::string> list = names(permission);
    return list.empty() ? std::string("none") : fmt::format("{}", fmt::join(list, ","));
}

std::optional<std::int32_t> QMRSharingPermission::parse(std::string_view text) {
    std::int32_t number = 0;
    auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure == std::errc() && end == text.data() + text.size()) return number;
    if (text == "all") return allPermissions;
    std::int32_t permission = 0;
    while (!text.empty()) {
        const std::size_t comma = text.find(',');
        const std::string_view name = text.substr(0, comma);
        bool known = false;
        for (const auto& [bit, bitName] : permissionBits)
            if (name == bitName) permission |= bit, known = true;
        if (!known) return std::nullopt;
        text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
    }
    return permission;
}
