#include "companion/util/QMRGuid.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace {
const std::string kDashedUpper = "0F8FAD5B-D9CB-469F-A165-70867728950E";
const std::string kDashed = "0f8fad5b-d9cb-469f-a165-70867728950e";
const std::string kUndashed = "0f8fad5bd9cb469fa16570867728950e";
}  // namespace

TEST(QMRGuid, NewGuidsAreDistinctRandomVersion4GuidsInLowerCase) {
    const std::regex version4("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        const std::string dashed = QMRGuid::newGuid().toStringIncludeDash(true);
        EXPECT_TRUE(std::regex_match(dashed, version4)) << dashed;
        seen.insert(dashed);
    }
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

TEST(QMRGuid, RefusesMalformedTexts) {
    // Without dashes: 32 hex digits and nothing else.
    for (const std::string& text :
         {kDashed, kUndashed.substr(1), kUndashed + "0", std::string("0f8fad5bd9cb469fa16570867728950g"),
          std::string("0f8fad5bd9cb469fa1657086772895-e"), std::string()})
        EXPECT_FALSE(QMRGuid::tryParse(text, true)) << text;
    // With dashes: each at its place.
    for (const char* text : {"0f8fad5bd-9cb-469f-a165-70867728950e", "0f8fad5b-d9cb-469f-a165-70867728950e-",
                             "0f8fad5b-d9cb-469f-a165-7086772895-e", "0f8fad5b-d9cb-469f-a165-70867728950",
                             "0f8fad5bxd9cbx469fxa165x70867728950e"})
        EXPECT_FALSE(QMRGuid::tryParse(text, false)) << text;
}
