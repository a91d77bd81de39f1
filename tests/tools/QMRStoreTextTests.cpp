// What qmrstore shows people: sizes, dates, tables, progress and sharing permissions.
#include <gtest/gtest.h>

#include "QMRHumanText.h"
#include "QMRProgressBar.h"
#include "QMRSharingPermission.h"
#include "QMRTextTable.h"
#include "tests/companion/util/DateTestSupport.h"

namespace {

TEST(QMRHumanText, SizesSwitchUnitOnTheRoundedValue) {
    EXPECT_EQ(QMRHumanText::size(0), "0 B");
    EXPECT_EQ(QMRHumanText::size(1023), "1023 B");
    EXPECT_EQ(QMRHumanText::size(1024), "1.0 KiB");
    EXPECT_EQ(QMRHumanText::size(1536), "1.5 KiB");
    // 9.999 KiB would print as "10.0": whole numbers from 10 on.
    EXPECT_EQ(QMRHumanText::size(10239), "10 KiB");
    // 1023.999 KiB would print as "1024 KiB": the next unit instead.
    EXPECT_EQ(QMRHumanText::size(1048575), "1.0 MiB");
    EXPECT_EQ(QMRHumanText::size(5LL * 1024 * 1024 * 1024), "5.0 GiB");
}

TEST(QMRHumanText, DatesAsPeopleTypeThem) {
    const ScopedTimeZone centralEurope(kCentralEuropeTimeZone);
    const QMRDate tenTwenty = utc(2013, 5, 1, 10, 20, 0);
    // Without a zone the time is local: central Europe is two hours ahead in May.
    for (const char* text :
         {"2013-05-01T10:20:00Z", "2013-05-01T12:20:00+02:00", "2013-05-01 12:20", "2013-05-01T12:20"})
        EXPECT_EQ(QMRHumanText::parseDate(text), tenTwenty) << text;
    EXPECT_EQ(QMRHumanText::parseDate("2013-05-01"), utc(2013, 4, 30, 22, 0, 0));
    EXPECT_EQ(QMRHumanText::localDate(tenTwenty), "2013-05-01 12:20");
    for (const char* text : {"", "yesterday", "2013-5-1", "2013-05-01x", "2013-05-01 25:00", "2013-13-01"})
        EXPECT_FALSE(QMRHumanText::parseDate(text).has_value()) << text;
}

TEST(QMRTextTable, AlignsByCharactersAndRightAlignsNumbers) {
    QMRTextTable table({{"NAME"}, {"SIZE", QMRTextTable::Align::right}, {"NOTE"}});
    table.addRow({"café.txt", "5 B", ""});
    table.addRow({"a", "12 KiB", ""});
    // "café" is five bytes but four columns wide; the empty NOTE column is left out.
    EXPECT_EQ(table.render(),
              "NAME        SIZE\n"
              "café.txt     5 B\n"
              "a         12 KiB\n");
}

TEST(QMRProgressBar, ShowsShareRateAndTimeLeft) {
    EXPECT_EQ(QMRProgressBar::render("a.bin", 256 * 1024, 1024 * 1024, 2.0),
              "a.bin   25% [#####...............]  256 KiB of 1.0 MiB  128 KiB/s  0:06 left");
    // Without a total: what has passed and how fast.
    EXPECT_EQ(QMRProgressBar::render("a.bin", 3 * 1024, std::nullopt, 1.0), "a.bin  3.0 KiB  3.0 KiB/s");
    // No rate (and so no time left) before anything could be measured.
    EXPECT_EQ(QMRProgressBar::render("a.bin", 0, 100, 0), "a.bin    0% [....................]  0 B of 100 B");
}

TEST(QMRSharingPermission, NamesAndNumbersReadBothWays) {
    EXPECT_EQ(QMRSharingPermission::parse("read,share"), 17);
    EXPECT_EQ(QMRSharingPermission::parse("all"), 31);
    EXPECT_EQ(QMRSharingPermission::parse("9"), 9);
    EXPECT_FALSE(QMRSharingPermission::parse("read,write").has_value());
    EXPECT_EQ(QMRSharingPermission::text(17), "read,share");
    EXPECT_EQ(QMRSharingPermission::text(0), "none");
}

}  // namespace
