#include "companion/util/QMRBase64.h"

#include <gtest/gtest.h>

TEST(QMRBase64, EncodesTheRfc4648VectorsWithPadding) {
    EXPECT_EQ(QMRBase64::base64EncodedString(std::string_view("")), "");
    EXPECT_EQ(QMRBase64::base64EncodedString(std::string_view("f")), "Zg==");
    EXPECT_EQ(QMRBase64::base64EncodedString(std::string_view("fo")), "Zm8=");
    EXPECT_EQ(QMRBase64::base64EncodedString(std::string_view("foo")), "Zm9v");
    EXPECT_EQ(QMRBase64::base64EncodedString(std::string_view("foob")), "Zm9vYg==");
    EXPECT_EQ(QMRBase64::base64EncodedString(std::string_view("fooba")), "Zm9vYmE=");
    EXPECT_EQ(QMRBase64::base64EncodedString(std::string_view("foobar")), "Zm9vYmFy");
}

// Bytes and text with bytes above 0x7F, as UTF-8 credentials for Basic authentication hold.
TEST(QMRBase64, UsesTheStandardAlphabetForHighBits) {
    const QMRData bytes{0xFB, 0xFF, 0xBF, 0x00, 0xFF};
    EXPECT_EQ(QMRBase64::base64EncodedString(bytes), "+/+/AP8=");
    EXPECT_EQ(QMRBase64::base64EncodedString(std::string_view("j\xC3\xBCrgen:p\xC3\xA4ss")), "asO8cmdlbjpww6Rzcw==");
}
