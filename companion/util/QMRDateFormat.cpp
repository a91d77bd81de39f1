#include "companion/util/QMRDateFormat.h"

#include <array>
#include <cmath>
#include <ctime>

#include <date/date.h>
#include <fmt/format.h>

namespace {
using std::chrono::duration;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::nanoseconds;
using std::chrono::seconds;

// Indexed by weekday::c_encoding() (0 = Sunday) and month - 1.
constexpr std::array<std::string_view, 7> kDayAbbreviations{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 12> kMonthAbbreviations{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<std::string_view, 12> kMonthNames{"January",   "February", "March",    "April",
                                                       "May",       "June",     "July",     "August",
                                                       "September", "October",  "November", "December"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isAsciiLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (asciiLower(a[i]) != asciiLower(b[i])) return false;
    return true;
}

// A date as read from a text, before it is checked and turned into a point in time.
struct CivilTime {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    nanoseconds fraction{0};
    minutes utcOffset{0};
};

std::optional<QMRDate> toDate(const CivilTime& civil) {
    const date::year_month_day ymd{date::year{civil.year}, date::month{static_cast<unsigned>(civil.month)},
                                   date::day{static_cast<unsigned>(civil.day)}};
    if (!ymd.ok() || civil.hour > 23 || civil.minute > 59 || civil.second > 59) return std::nullopt;
    const auto local = date::sys_days{ymd} + hours{civil.hour} + minutes{civil.minute} + seconds{civil.second};
    const auto utcSeconds = (local - civil.utcOffset).time_since_epoch();
    // A four-digit year can lie beyond what QMRDate holds (years 1678 to 2261 with nanoseconds).
    if (utcSeconds <= std::chrono::ceil<seconds>(QMRDate::duration::min()) ||
        utcSeconds >= std::chrono::floor<seconds>(QMRDate::duration::max()))
        return std::nullopt;
    return QMRDate{std::chrono::duration_cast<QMRDate::duration>(utcSeconds) +
                   std::chrono::duration_cast<QMRDate::duration>(civil.fraction)};
}

// Reads a text from left to right against a fixed pattern. The first mismatch marks the reader as
// failed; later reads then do nothing, so a parse checks ok() once at the end.
class FixedPatternReader {
public:
    explicit FixedPatternReader(std::string_view text) : _text(text) {}

    // True when every read matched and the whole text was read.
    bool ok() const { return !_failed && _position == _text.size(); }

    void expect(std::string_view literal) {
        if (!accept(literal)) _failed = true;
    }

    // One blank or more: pages pad day and hour numbers with them ("June  3, 2013  9:05").
    void blanks() {
        expect(" ");
        while (!_failed && accept(" ")) {
        }
    }

    // minDigits to maxDigits decimal digits (at most 9, so no overflow).
    int number(std::size_t minDigits, std::size_t maxDigits) {
        int value = 0;
        std::size_t count = 0;
        for (; !_failed && count < maxDigits && hasDigit(); ++_position, ++count) value = value * 10 + digit();
        if (count < minDigits) _failed = true;
        return value;
    }

    // The index of the next word (a run of ASCII letters) among names, ignoring ASCII case.
    template <std::size_t N>
    int name(const std::array<std::string_view, N>& names) {
        std::size_t end = _position;
        while (end < _text.size() && isAsciiLetter(_text[end])) ++end;
        const std::string_view word = _text.substr(_position, end - _position);
        for (std::size_t i = 0; i < N && !_failed; ++i) {
            if (equalsIgnoringAsciiCase(word, names[i])) {
                _position = end;
                return static_cast<int>(i);
            }
        }
        _failed = true;
        return 0;
    }

    // An optional ".123": any number of digits, kept to the nanosecond.
    nanoseconds fraction() {
        if (_failed || !accept(".")) return nanoseconds{0};
        std::int64_t nanos = 0;
        std::size_t count = 0;
        for (; hasDigit(); ++_position, ++count)
            if (count < 9) nanos = nanos * 10 + digit();
        if (count == 0) _failed = true;
        for (; count < 9; ++count) nanos *= 10;
        return nanoseconds{nanos};
    }

    // "Z", "+hhmm", "-hhmm", "+hh:mm", and with allowNames also "GMT" and "UTC"; the offset from UTC.
    minutes zone(bool allowNames) {
        if (_failed || accept("Z") || (allowNames && (accept("GMT") || accept("UTC")))) return minutes{0};
        int sign = 1;
        if (accept("-"))
            sign = -1;
        else
            expect("+");
        const int zoneHours = number(2, 2);
        accept(":");
        const int zoneMinutes = number(2, 2);
        if (zoneHours > 23 || zoneMinutes > 59) _failed = true;
        return sign * (hours{zoneHours} + minutes{zoneMinutes});
    }

private:
    bool accept(std::string_view literal) {
        if (_failed || _text.substr(_position, literal.size()) != literal) return false;
        _position += literal.size();
        return true;
    }
    bool hasDigit() const { return _position < _text.size() && isDigit(_text[_position]); }
    int digit() const { return _text[_position] - '0'; }

    std::string_view _text;
    std::size_t _position = 0;
    bool _failed = false;
};

// "yyyy<d>MM<d>dd'T'HH<t>mm<t>ss", optional fraction, then a zone: the XML and compact forms.
std::optional<QMRDate> fromIsoStyleString(std::string_view text, std::string_view dateSeparator,
                                          std::string_view timeSeparator) {
    FixedPatternReader reader(text);
    CivilTime civil;
    civil.year = reader.number(4, 4);
    reader.expect(dateSeparator);
    civil.month = reader.number(2, 2);
    reader.expect(dateSeparator);
    civil.day = reader.number(2, 2);
    reader.expect("T");
    civil.hour = reader.number(2, 2);
    reader.expect(timeSeparator);
    civil.minute = reader.number(2, 2);
    reader.expect(timeSeparator);
    civil.second = reader.number(2, 2);
    civil.fraction = reader.fraction();
    civil.utcOffset = reader.zone(false);
    if (!reader.ok()) return std::nullopt;
    return toDate(civil);
}

// The calendar fields of a date in UTC, to the second (earlier dates round down, not towards 1970).
struct UtcFields {
    explicit UtcFields(QMRDate date)
        : days(date::floor<date::days>(date)), ymd(days), time(date::floor<seconds>(date) - days), weekday(days) {}

    date::sys_days days;
    date::year_month_day ymd;
    date::hh_mm_ss<seconds> time;
    date::weekday weekday;

    int year() const { return static_cast<int>(ymd.year()); }
    unsigned month() const { return static_cast<unsigned>(ymd.month()); }
    unsigned day() const { return static_cast<unsigned>(ymd.day()); }
    long hour() const { return static_cast<long>(time.hours().count()); }
    long minute() const { return static_cast<long>(time.minutes().count()); }
    long second() const { return static_cast<long>(time.seconds().count()); }
};
}  // namespace

std::string QMRDateFormat::toRfc1123String(QMRDate date) {
    const UtcFields f(date);
    return fmt::format("{}, {:02} {} {:04} {:02}:{:02}:{:02} GMT", kDayAbbreviations[f.weekday.c_encoding()], f.day(),
                       kMonthAbbreviations[f.month() - 1], f.year(), f.hour(), f.minute(), f.second());
}

std::optional<QMRDate> QMRDateFormat::fromRfc1123String(std::string_view text) {
    FixedPatternReader reader(text);
    CivilTime civil;
    // A day name is required, but whether it fits the date is not checked (as lenient readers do).
    reader.name(kDayAbbreviations);
    reader.expect(", ");
    civil.day = reader.number(1, 2);
    reader.expect(" ");
    civil.month = reader.name(kMonthAbbreviations) + 1;
    reader.expect(" ");
    civil.year = reader.number(4, 4);
    reader.expect(" ");
    civil.hour = reader.number(2, 2);
    reader.expect(":");
    civil.minute = reader.number(2, 2);
    reader.expect(":");
    civil.second = reader.number(2, 2);
    reader.expect(" ");
    civil.utcOffset = reader.zone(true);
    if (!reader.ok()) return std::nullopt;
    return toDate(civil);
}

std::string QMRDateFormat::toXmlDateString(QMRDate date) {
    const UtcFields f(date);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", f.year(), f.month(), f.day(), f.hour(), f.minute(),
                       f.second());
}

std::optional<QMRDate> QMRDateFormat::fromXmlDateString(std::string_view text) {
    return fromIsoStyleString(text, "-", ":");
}

std::string QMRDateFormat::toCompactDateString(QMRDate date) {
    const UtcFields f(date);
    return fmt::format("{:04}{:02}{:02}T{:02}{:02}{:02}Z", f.year(), f.month(), f.day(), f.hour(), f.minute(),
                       f.second());
}

std::optional<QMRDate> QMRDateFormat::fromCompactDateString(std::string_view text) {
    return fromIsoStyleString(text, "", "");
}

std::optional<QMRDate> QMRDateFormat::fromMonthDayYearTimeString(std::string_view text, bool withCommaAfterYear) {
    FixedPatternReader reader(text);
    CivilTime civil;
    civil.month = reader.name(kMonthNames) + 1;
    reader.blanks();
    civil.day = reader.number(1, 2);
    reader.expect(",");
    reader.blanks();
    civil.year = reader.number(4, 4);
    if (withCommaAfterYear) reader.expect(",");
    reader.blanks();
    civil.hour = reader.number(1, 2);
    reader.expect(":");
    civil.minute = reader.number(2, 2);
    if (!reader.ok()) return std::nullopt;
    return toDate(civil);
}

QMRDate QMRDateFormat::fromMillisecondsSince1970(double milliseconds) {
    using Milliseconds = std::chrono::milliseconds;
    // Values a server cannot mean (NaN, beyond what a date holds) give the epoch or the nearest end,
    // never an overflow. The margin keeps whole milliseconds plus the fraction in range.
    static const double limit =
        static_cast<double>(std::chrono::duration_cast<Milliseconds>(QMRDate::duration::max()).count()) - 1.0;
    if (std::isnan(milliseconds)) return QMRDate{};
    if (milliseconds >= limit) return QMRDate::max();
    if (milliseconds <= -limit) return QMRDate::min();
    // Whole milliseconds convert exactly; only the fraction goes through floating point.
    const double whole = std::floor(milliseconds);
    const auto wholePart =
        std::chrono::duration_cast<QMRDate::duration>(Milliseconds{static_cast<std::int64_t>(whole)});
    const auto fractionPart = std::chrono::round<QMRDate::duration>(duration<double, std::milli>{milliseconds - whole});
    return QMRDate{wholePart + fractionPart};
}

double QMRDateFormat::toMillisecondsSince1970(QMRDate date) {
    const auto sinceEpoch = date.time_since_epoch();
    const auto whole = std::chrono::floor<std::chrono::milliseconds>(sinceEpoch);
    return static_cast<double>(whole.count()) + duration<double, std::milli>{sinceEpoch - whole}.count();
}

std::string QMRDateFormat::toLocalTimeDisplayString(QMRDate date) {
    const std::time_t epochSeconds = std::chrono::floor<seconds>(date).time_since_epoch().count();
    std::tm local{};
    if (!localtime_r(&epochSeconds, &local)) {
        // Beyond what the C library can convert: show UTC rather than nothing.
        const UtcFields f(date);
        return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02} +0000", f.year(), f.month(), f.day(), f.hour(),
                           f.minute(), f.second());
    }
    const long offsetMinutes = local.tm_gmtoff / 60;
    const long absoluteOffset = offsetMinutes < 0 ? -offsetMinutes : offsetMinutes;
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02} {}{:02}{:02}", local.tm_year + 1900, local.tm_mon + 1,
                       local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, offsetMinutes < 0 ? '-' : '+',
                       absoluteOffset / 60, absoluteOffset % 60);
}
