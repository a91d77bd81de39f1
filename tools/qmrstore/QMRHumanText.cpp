#include "QMRHumanText.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "companion/util/QMRDateFormat.h"

namespace {

// The value as size() shows it: one decimal below 10, whole numbers from there on.
double shownValue(double value) {
    return value < 9.95 ? std::round(value * 10) / 10 : std::round(value);
}

}  // namespace

std::string QMRHumanText::size(std::int64_t bytes) {
    static constexpr std::array<const char*, 6> units = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    if (bytes < 1024) return fmt::format("{} B", bytes);
    double value = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    // Decide on the rounded value, so 1048575 bytes reads "1.0 MiB", never "1024 KiB".
    while (unit + 1 < units.size() && shownValue(value) >= 1024) {
        value /= 1024;
        ++unit;
    }
    if (value < 9.95) return fmt::format("{:.1f} {}", value, units[unit]);
    return fmt::format("{:.0f} {}", value, units[unit]);
}

std::string QMRHumanText::rate(double bytesPerSecond) {
    return size(static_cast<std::int64_t>(std::max(0.0, bytesPerSecond))) + "/s";
}

std::string QMRHumanText::duration(std::int64_t seconds) {
    if (seconds < 0) seconds = 0;
    const std::int64_t hours = seconds / 3600, minutes = seconds / 60 % 60, rest = seconds % 60;
    if (hours > 0) return fmt::format("{}:{:02}:{:02}", hours, minutes, rest);
    return fmt::format("{}:{:02}", minutes, rest);
}

std::string QMRHumanText::localDate(QMRDate date) {
    const std::time_t time = std::chrono::system_clock::to_time_t(date);
    std::tm local{};
    localtime_r(&time, &local);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                       local.tm_hour, local.tm_min);
}

std::string QMRHumanText::utcDate(QMRDate date) {
    return QMRDateFormat::toXmlDateString(date);
}

std::optional<QMRDate> QMRHumanText::parseDate(std::string_view text) {
    if (auto zoned = QMRDateFormat::fromXmlDateString(text)) return zoned;
    // Local time: the date, then optionally "T" or a blank and HH:MM[:SS].
    std::tm local{};
    int consumed = 0;
    const std::string copy(text);
    if (std::sscanf(copy.c_str(), "%4d-%2d-%2d%n", &local.tm_year, &local.tm_mon, &local.tm_mday, &consumed) != 3 ||
        consumed != 10)
        return std::nullopt;
    if (copy.size() > 10) {
        if (copy[10] != 'T' && copy[10] != ' ') return std::nullopt;
        int timeConsumed = 0;
        const int fields = std::sscanf(copy.c_str() + 11, "%2d:%2d%n:%2d%n", &local.tm_hour, &local.tm_min,
                                       &timeConsumed, &local.tm_sec, &timeConsumed);
        if (fields < 2 || static_cast<std::size_t>(11 + timeConsumed) != copy.size()) return std::nullopt;
    }
    if (local.tm_mon < 1 || local.tm_mon > 12 || local.tm_mday < 1 || local.tm_mday > 31 || local.tm_hour > 23 ||
        local.tm_min > 59 || local.tm_sec > 60)
        return std::nullopt;
    local.tm_year -= 1900;
    local.tm_mon -= 1;
    local.tm_isdst = -1;
    const std::time_t time = std::mktime(&local);
    if (time == -1) return std::nullopt;
    return std::chrono::system_clock::from_time_t(time);
}

std::size_t QMRHumanText::displayWidth(std::string_view text) {
    std::size_t width = 0;
    for (unsigned char byte : text)
        if ((byte & 0xC0) != 0x80) ++width;  // count lead bytes, not continuation bytes
    return width;
}
