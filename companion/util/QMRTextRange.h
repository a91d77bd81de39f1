#pragma once
// A span of a text in bytes: where it starts and how long it is. A range that was not found (an
// optional capture group that took no part in a match) has the location notFound.
#include <cstddef>
#include <string_view>

struct QMRTextRange {
    static constexpr std::size_t notFound = std::string_view::npos;

    std::size_t location = notFound;
    std::size_t length = 0;

    bool found() const noexcept { return location != notFound; }
    std::size_t end() const noexcept { return location + length; }

    friend bool operator==(const QMRTextRange&, const QMRTextRange&) = default;
};
