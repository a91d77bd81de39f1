#include "companion/util/QMRGuid.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace {
const std::string kDashedUpper = "0F8FAD5B-D9CB-469F-A165-70867728950E";
const std::string kDashed = "0f8fad5b-d9cb-469f-a165-70867728950e";
const std::string kUndashed = "0f8fad5bd9cb469fa16570867728950e";
}  // namespace

TEST(QMRGuid, NewGuidIsARandomVersion4GuidInLowerCase) {
    const QMRGuid guid = QMRGuid::newGuid();
    const std::string dashed = guid.toStringIncludeDash(true);
    EXPECT_TRUE(
        std::regex_match(dashed, std::regex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}")))
        << dashed;
}

TEST(QMRGuid, NewGuidsDiffer) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) seen.insert(QMRGuid::newGuid().toStringIncludeDash(false));
    EXPECT_EQ(seen.size(), 1000U);
}

TEST(QMRGuid, ParsesEitherCaseWritesLowerCaseAndEachTextFormReadsBack) {
    const auto guid = QMRGuid::tryParse(kDashedUpper, false);
    ASSERT_TRUE(guid);
    EXPECT_EQ(guid->toStringIncludeDash(true), kDashed);
    EXPECT_EQ(guid->toStringIncludeDash(false), kUndashed);
    EXPECT_EQ(guid->bytes()[0], 0x0F);
    EXPECT_EQ(guid->bytes()[15], 0x0E);
    EXPECT_EQ(QMRGuid::tryParse(kUndashed, true), guid);
    EXPECT_EQ(QMRGuid::tryParse(kDashed, false), guid);
    EXPECT_EQ(QMRGuid::tryParse(kUndashed, false), guid);
}

TEST(QMRGuid, ExcludingDashesAcceptsOnly32HexDigits) {
    EXPECT_TRUE(QMRGuid::tryParse(kUndashed, true));
    EXPECT_FALSE(QMRGuid::tryParse(kDashed, true));
    EXPECT_FALSE(QMRGuid::tryParse(kUndashed.substr(1), true));
    EXPECT_FALSE(QMRGuid::tryParse(kUndashed + "0", true));
    EXPECT_FALSE(QMRGuid::tryParse("0f8fad5bd9cb469fa16570867728950g", true));
    EXPECT_FALSE(QMRGuid::tryParse("0f8fad5bd9cb469fa1657086772895-e", true));
    EXPECT_FALSE(QMRGuid::tryParse("", true));
}

TEST(QMRGuid, AllowingDashesNeedsThemAtTheirPlaces) {
    EXPECT_FALSE(QMRGuid::tryParse("0f8fad5bd-9cb-469f-a165-70867728950e", false));
    EXPECT_FALSE(QMRGuid::tryParse("0f8fad5b-d9cb-469f-a165-70867728950e-", false));
    EXPECT_FALSE(QMRGuid::tryParse("0f8fad5b-d9cb-469f-a165-7086772895-e", false));
    EXPECT_FALSE(QMRGuid::tryParse("0f8fad5b-d9cb-469f-a165-70867728950", false));
    EXPECT_FALSE(QMRGuid::tryParse("0f8fad5bxd9cbx469fxa165x70867728950e", false));
}
