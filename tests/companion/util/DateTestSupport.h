#pragma once
// Dates for tests: exact points in time, and the process put in another time zone for a while.
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "companion/util/QMRTypes.h"

inline QMRDate utc(int year, unsigned month, unsigned day, int hour, int minute, int second) {
    using namespace std::chrono;
    return sys_days{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}} + hours{hour} +
           minutes{minute} + seconds{second};
}

// Central European time with its daylight-saving rules, spelled out so no zone database is needed.
inline constexpr const char* kCentralEuropeTimeZone = "CET-1CEST,M3.5.0,M10.5.0/3";

// Puts the process in another time zone for the lifetime of the object, then back in its own.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* tz) {
        if (const char* own = std::getenv("TZ")) _own = own;
        setenv("TZ", tz, 1);
        tzset();
    }
    ~ScopedTimeZone() {
        if (_own)
            setenv("TZ", _own->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::optional<std::string> _own;
};
