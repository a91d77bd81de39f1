#pragma once
// Reading and writing dates in the fixed patterns that servers use. Day and month names are
// always English, whatever the process locale; nothing here depends on the C or C++ locale.
// Readers return nullopt for any text that does not follow the pattern to its end; names are
// compared without regard to ASCII case. Writers cut the time to the second (towards the past).
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "companion/util/QMRTypes.h"

class QMRDateFormat {
public:
    QMRDateFormat() = delete;

    // "EEE, dd MMM yyyy HH:mm:ss z" (RFC 1123, e.g. "Wed, 01 May 2013 10:20:30 GMT"); written in GMT,
    // read with "GMT", "UTC" or a numeric zone such as "+0200".
    static std::string toRfc1123String(QMRDate date);
    static std::optional<QMRDate> fromRfc1123String(std::string_view text);

    // "yyyy-MM-dd'T'HH:mm:ssZZ": written in UTC with "Z" (2013-05-01T10:20:30Z); read with "Z" or a
    // numeric zone ("+0200", "+02:00"), and a fraction of a second if present ("10:20:30.25Z").
    static std::string toXmlDateString(QMRDate date);
    static std::optional<QMRDate> fromXmlDateString(std::string_view text);

    // "yyyyMMdd'T'HHmmssZZ": written in UTC with "Z" (20130305T140709Z); read with "Z" or a numeric zone.
    static std::string toCompactDateString(QMRDate date);
    static std::optional<QMRDate> fromCompactDateString(std::string_view text);

    // "LLLL d',' yyyy',' HH:mm" (withCommaAfterYear) or "LLLL d',' yyyy HH:mm", read in UTC
    // ("May 1, 2013, 10:20" / "May 1, 2013 10:20"); full English month names.
    static std::optional<QMRDate> fromMonthDayYearTimeString(std::string_view text, bool withCommaAfterYear);

    // Milliseconds since 1970-01-01 00:00:00 UTC, fractions kept. NaN gives 1970; values beyond what a
    // date holds give QMRDate::min() or max().
    static QMRDate fromMillisecondsSince1970(double milliseconds);
    static double toMillisecondsSince1970(QMRDate date);

    // "yyyy-MM-dd HH:mm:ss ZZ" in the process's local time zone (2013-05-01 12:20:30 +0200).
    static std::string toLocalTimeDisplayString(QMRDate date);
};
