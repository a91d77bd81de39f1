#include "companion/util/QMRDateFormat.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

#include "tests/companion/util/DateTestSupport.h"

using namespace std::chrono_literals;

TEST(QMRDateFormatRfc1123, WritesEnglishNamesInGmt) {
    EXPECT_EQ(QMRDateFormat::toRfc1123String(utc(2013, 5, 1, 10, 20, 30)), "Wed, 01 May 2013 10:20:30 GMT");
    EXPECT_EQ(QMRDateFormat::toRfc1123String(utc(1969, 12, 31, 23, 59, 59) + 500ms), "Wed, 31 Dec 1969 23:59:59 GMT");
}

TEST(QMRDateFormatRfc1123, ReadsNamedAndNumericZones) {
    // A day name that does not fit the date is still a day name.
    for (const char* text :
         {"Wed, 01 May 2013 10:20:30 GMT", "Wed, 01 May 2013 10:20:30 UTC", "Wed, 01 May 2013 10:20:30 Z",
          "Wed, 01 May 2013 12:20:30 +0200", "Wed, 01 May 2013 08:50:30 -0130", "Mon, 01 May 2013 10:20:30 GMT"})
        EXPECT_EQ(QMRDateFormat::fromRfc1123String(text), utc(2013, 5, 1, 10, 20, 30)) << text;
}

TEST(QMRDateFormatRfc1123, ReadingDoesNotDependOnTheProcessLocale) {
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) std::setlocale(LC_ALL, "C");
    const auto parsed = QMRDateFormat::fromRfc1123String("Tue, 05 Mar 2013 14:07:09 GMT");
    const auto written = QMRDateFormat::toRfc1123String(utc(2013, 3, 5, 14, 7, 9));
    std::setlocale(LC_ALL, saved.c_str());
    EXPECT_EQ(parsed, utc(2013, 3, 5, 14, 7, 9));
    EXPECT_EQ(written, "Tue, 05 Mar 2013 14:07:09 GMT");
}

TEST(QMRDateFormatRfc1123, RejectsMalformedTextsAndEveryTruncation) {
    for (const char* text :
         {"", "Xyz, 01 May 2013 10:20:30 GMT", "01 May 2013 10:20:30 GMT", "Wed, 01 Mai 2013 10:20:30 GMT",
          "Wed, 32 May 2013 10:20:30 GMT", "Wed, 29 Feb 2013 10:20:30 GMT", "Wed, 01 May 2013 24:20:30 GMT",
          "Wed, 01 May 2013 10:20:30 CEST", "Wed, 01 May 2013 10:20:30 GMT trailing", "Wed, 01 May 13 10:20:30 GMT",
          "Wed, 01 May 2013 10:20:30 +02", "Fri, 31 Dec 9999 23:59:59 GMT"})
        EXPECT_EQ(QMRDateFormat::fromRfc1123String(text), std::nullopt) << text;
    const std::string_view whole = "Wed, 01 May 2013 10:20:30 +0200";
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_EQ(QMRDateFormat::fromRfc1123String(whole.substr(0, length)), std::nullopt) << length;
}

TEST(QMRDateFormatXml, WritesUtcWhateverTheLocalZoneAndReadsEveryZoneForm) {
    const ScopedTimeZone centralEurope(kCentralEuropeTimeZone);
    const QMRDate date = utc(2013, 5, 1, 10, 20, 30);
    EXPECT_EQ(QMRDateFormat::toXmlDateString(date), "2013-05-01T10:20:30Z");
    for (const char* text :
         {"2013-05-01T10:20:30Z", "2013-05-01T12:20:30+0200", "2013-05-01T12:20:30+02:00", "2013-04-30T23:20:30-11:00"})
        EXPECT_EQ(QMRDateFormat::fromXmlDateString(text), date) << text;
    EXPECT_EQ(QMRDateFormat::fromXmlDateString("2013-05-01T10:20:30.25Z"), date + 250ms);
}

TEST(QMRDateFormatXml, RejectsMalformedTexts) {
    for (const char* text :
         {"", "2013-05-01T10:20:30", "2013-05-01T10:20:30Zjunk", "2013-05-01 10:20:30Z", "2013-13-01T10:20:30Z",
          "2013-02-29T10:20:30Z", "2013-05-01T10:20:60Z", "2013-05-01T10:20:30.Z", "2013-05-01T10:20:30+2:00",
          "2013-05-01T10:20:30+02:60", "2013-5-01T10:20:30Z", "0001-01-01T00:00:00Z"})
        EXPECT_EQ(QMRDateFormat::fromXmlDateString(text), std::nullopt) << text;
}

TEST(QMRDateFormatCompact, WritesAndReadsUtc) {
    const QMRDate date = utc(2013, 3, 5, 14, 7, 9);
    EXPECT_EQ(QMRDateFormat::toCompactDateString(date + 999ms), "20130305T140709Z");
    EXPECT_EQ(QMRDateFormat::fromCompactDateString("20130305T140709Z"), date);
    EXPECT_EQ(QMRDateFormat::fromCompactDateString("20130305T150709+0100"), date);
    EXPECT_TRUE(QMRDateFormat::fromCompactDateString("22000101T000000Z"));
    EXPECT_EQ(QMRDateFormat::fromCompactDateString("2013-03-05T14:07:09Z"), std::nullopt);
    EXPECT_EQ(QMRDateFormat::fromCompactDateString("20130305T140709"), std::nullopt);
}

TEST(QMRDateFormatMonthDayYear, ReadsBothListingFormsInUtc) {
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("May 1, 2013, 10:20", true), utc(2013, 5, 1, 10, 20, 0));
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("May 1, 2013 10:20", false), utc(2013, 5, 1, 10, 20, 0));
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("December 31, 1999, 23:59", true),
              utc(1999, 12, 31, 23, 59, 0));
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("September 09, 2013 07:05", false), utc(2013, 9, 9, 7, 5, 0));
    // Pages pad the day and the hour with blanks.
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("June  3, 2013  9:05", false), utc(2013, 6, 3, 9, 5, 0));
}

TEST(QMRDateFormatMonthDayYear, RejectsTheOtherFormAndOtherLanguages) {
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("May 1, 2013 10:20", true), std::nullopt);
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("May 1, 2013, 10:20", false), std::nullopt);
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("Mai 1, 2013, 10:20", true), std::nullopt);
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("M\xC3\xA4rz 1, 2013, 10:20", true), std::nullopt);
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("Sep 1, 2013, 10:20", true), std::nullopt);
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("February 30, 2013, 10:20", true), std::nullopt);
    EXPECT_EQ(QMRDateFormat::fromMonthDayYearTimeString("May 1, 2013, 10:20 PM", true), std::nullopt);
}

TEST(QMRDateFormatMilliseconds, KeepsFractionsBothWaysAndClampsWhatNoDateCanHold) {
    const QMRDate date = QMRDateFormat::fromMillisecondsSince1970(1362492429250.0);
    EXPECT_EQ(date, utc(2013, 3, 5, 14, 7, 9) + 250ms);
    EXPECT_EQ(QMRDateFormat::toMillisecondsSince1970(date), 1362492429250.0);
    EXPECT_EQ(QMRDateFormat::fromMillisecondsSince1970(1362492429250.5), utc(2013, 3, 5, 14, 7, 9) + 250500us);
    EXPECT_EQ(QMRDateFormat::fromMillisecondsSince1970(-1.5), QMRDate{} - 1500us);
    EXPECT_EQ(QMRDateFormat::toMillisecondsSince1970(QMRDate{} - 1500us), -1.5);
    // Values no date can hold do not overflow.
    EXPECT_EQ(QMRDateFormat::fromMillisecondsSince1970(std::nan("")), QMRDate{});
    EXPECT_EQ(QMRDateFormat::fromMillisecondsSince1970(1e300), QMRDate::max());
    EXPECT_EQ(QMRDateFormat::fromMillisecondsSince1970(-std::numeric_limits<double>::infinity()), QMRDate::min());
}

TEST(QMRDateFormatLocalDisplay, UsesTheProcessZoneAndItsOffset) {
    const struct {
        const char* zone;
        QMRDate date;
        const char* shown;
    } cases[] = {{kCentralEuropeTimeZone, utc(2013, 5, 1, 10, 20, 30), "2013-05-01 12:20:30 +0200"},
                 {kCentralEuropeTimeZone, utc(2013, 1, 15, 10, 0, 0), "2013-01-15 11:00:00 +0100"},
                 {"EST5EDT,M3.2.0,M11.1.0", utc(2013, 5, 1, 10, 20, 30), "2013-05-01 06:20:30 -0400"},
                 {"NST3:30", utc(2013, 5, 1, 10, 20, 30), "2013-05-01 06:50:30 -0330"}};
    for (const auto& [zone, date, shown] : cases) {
        const ScopedTimeZone inZone(zone);
        EXPECT_EQ(QMRDateFormat::toLocalTimeDisplayString(date), shown) << zone;
    }
}
