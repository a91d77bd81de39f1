#include "companion/web/QMRUriUtil.h"

#include <gtest/gtest.h>

namespace {

TEST(QMRUriUtilEncode, KeepsOnlyUnreservedCharactersAndWritesUpperCaseHex) {
    EXPECT_EQ(QMRUriUtil::encodeToPercentEscapeString("AZaz09-._~"), "AZaz09-._~");
    EXPECT_EQ(QMRUriUtil::encodeToPercentEscapeString("a b/c?d&e=f+g%h#i"), "a%20b%2Fc%3Fd%26e%3Df%2Bg%25h%23i");
    EXPECT_EQ(QMRUriUtil::encodeToPercentEscapeString(":@!$'()*,;[]"), "%3A%40%21%24%27%28%29%2A%2C%3B%5B%5D");
    EXPECT_EQ(QMRUriUtil::encodeToPercentEscapeString("\xC3\xA9t\xC3\xA9"), "%C3%A9t%C3%A9");
    EXPECT_EQ(QMRUriUtil::encodeToPercentEscapeString(std::string("\0\x7F", 2)), "%00%7F");
}

TEST(QMRUriUtilDecode, DecodesEscapesOfEitherCaseAndLeavesPlusAndMalformedEscapesAlone) {
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString("a%20b%2fc%2Fd%c3%A9"), "a b/c/d\xC3\xA9");
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString("%00"), std::string(1, '\0'));
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString("a+b"), "a+b");
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString("%G1%1G"), "%G1%1G");
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString("100%"), "100%");
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString("%4"), "%4");
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString("%%41"), "%A");
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString(""), "");
}

TEST(QMRUriUtilRoundTrip, EveryByteSurvivesEncodeThenDecode) {
    std::string allBytes;
    for (int byte = 0; byte < 256; ++byte) allBytes += static_cast<char>(byte);
    std::string encoded = QMRUriUtil::encodeToPercentEscapeString(allBytes);
    EXPECT_EQ(encoded.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~%"),
              std::string::npos);
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString(encoded), allBytes);
}

TEST(QMRUriUtilComponentEncoding, EncodingTwiceChangesNothing) {
    const std::string raw = "/x y/%/%4/\xC3\xA9?#&";
    std::string path = QMRUriUtil::encodeIllegalPathCharacters(raw);
    std::string query = QMRUriUtil::encodeIllegalQueryCharacters(raw);
    EXPECT_EQ(QMRUriUtil::encodeIllegalPathCharacters(path), path);
    EXPECT_EQ(QMRUriUtil::encodeIllegalQueryCharacters(query), query);
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString(path), raw);
    EXPECT_EQ(QMRUriUtil::decodeFromPercentEscapeString(query), raw);
}

}  // namespace
