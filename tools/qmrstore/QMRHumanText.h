#pragma once
// Texts for people: sizes, local dates, durations and rates, and the dates people type.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "companion/util/QMRTypes.h"

class QMRHumanText {
public:
    QMRHumanText() = delete;

    // "0 B", "1023 B", "1.5 KiB", "12 MiB": one decimal below 10 of a unit, none from 10 on.
    static std::string size(std::int64_t bytes);
    // "12 MiB/s".
    static std::string rate(double bytesPerSecond);
    // "0:07", "12:30", "1:02:03".
    static std::string duration(std::int64_t seconds);
    // "2013-05-01 12:20" in the process's local time zone.
    static std::string localDate(QMRDate date);
    // "2013-05-01T10:20:30Z": what scripts get.
    static std::string utcDate(QMRDate date);
    // A date as people type it: "2013-05-01", "2013-05-01 12:20", "2013-05-01T12:20:30" (local time),
    // or with a zone ("2013-05-01T10:20:30Z", "...+02:00"). Nothing for any other text.
    static std::optional<QMRDate> parseDate(std::string_view text);
    // How many columns the UTF-8 text takes on a terminal (one per character).
    static std::size_t displayWidth(std::string_view text);
};
