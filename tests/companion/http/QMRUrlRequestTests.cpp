#include "companion/web/QMRUrlRequest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "companion/io/ComQuillmereIO_MemoryStream.h"
#include "companion/util/QMRExceptions.h"

using ::testing::ElementsAre;
using ::testing::Pair;

TEST(QMRUrlRequestHeaderFields, AreReplacedInTheirPlaceExtendedAndRemovedWhateverTheCaseOfTheirName) {
    QMRUrlRequest request("http://127.0.0.1/");
    request.setValue("1", "Depth");
    request.setValue("text/xml", "Content-Type");
    request.addValue("gzip", "Accept-Encoding");
    request.setValue("Basic abc", "Authorization");
    request.setValue("infinity", "DEPTH");
    request.addValue("deflate", "accept-encoding");
    request.removeValueForHTTPHeaderField("AUTHORIZATION");

    EXPECT_THAT(request.allHTTPHeaderFields().fields(),
                ElementsAre(Pair("Depth", "infinity"), Pair("Content-Type", "text/xml"),
                            Pair("Accept-Encoding", "gzip, deflate")));
    EXPECT_EQ(request.valueForHTTPHeaderField("depth"), "infinity");
    EXPECT_EQ(request.valueForHTTPHeaderField("Lock-Token"), std::nullopt);
}

TEST(QMRUrlRequestHeaderFields, ValuesThatWouldStartANewHeaderLineAreRefused) {
    QMRUrlRequest request;
    request.setValue("kept", "X-Note");

    for (const char* value : {"a\r\nInjected: yes", "a\nInjected: yes", "a\rInjected: yes"}) {
        EXPECT_THROW(request.setValue(value, "X-Note"), QMRInvalidArgumentException) << value;
        EXPECT_THROW(request.addValue(value, "X-Other"), QMRInvalidArgumentException) << value;
    }
    EXPECT_THROW(request.setValue(std::string("a\0b", 3), "X-Note"), QMRInvalidArgumentException);
    EXPECT_THAT(request.allHTTPHeaderFields().fields(), ElementsAre(Pair("X-Note", "kept")));
}

TEST(QMRUrlRequestHeaderFields, NamesMustBeTokens) {
    QMRUrlRequest request;
    for (const char* name : {"", "Bad Name", "X:Y", "X\r\nY", "Na\"me"})
        EXPECT_THROW(request.setValue("v", name), QMRInvalidArgumentException) << name;
    EXPECT_NO_THROW(request.setValue("v", "X-Custom_Field.1~"));
}

TEST(QMRUrlRequestMethod, AnyTokenIsAMethodAndNothingElse) {
    QMRUrlRequest request;
    EXPECT_EQ(request.HTTPMethod(), "GET");
    for (const char* method : {"PROPFIND", "LOCK", "MKCOL", "PUT"}) {
        request.setHTTPMethod(method);
        EXPECT_EQ(request.HTTPMethod(), method);
    }
    EXPECT_THROW(request.setHTTPMethod("GET / HTTP/1.1\r\nX:"), QMRInvalidArgumentException);
    EXPECT_THROW(request.setHTTPMethod(""), QMRInvalidArgumentException);
    EXPECT_EQ(request.HTTPMethod(), "PUT");
}

TEST(QMRUrlRequestBody, ARequestHasEitherBytesOrAStream) {
    QMRUrlRequest request;
    request.setHTTPBody({1, 2, 3});
    request.setHTTPBodyStream(std::make_shared<ComQuillmereIO_MemoryStream>(QMRData{4}));
    EXPECT_TRUE(request.HTTPBody().empty());
    ASSERT_NE(request.HTTPBodyStream(), nullptr);

    request.setHTTPBody({5});
    EXPECT_EQ(request.HTTPBodyStream(), nullptr);
    EXPECT_EQ(request.HTTPBody(), QMRData{5});
}

TEST(QMRUrlRequestTimeout, DefaultsToSixtySecondsAndMustBePositive) {
    QMRUrlRequest request("http://127.0.0.1/");
    EXPECT_EQ(request.timeoutInterval(), std::chrono::seconds(60));
    EXPECT_THROW(request.setTimeoutInterval(std::chrono::milliseconds(0)), QMRInvalidArgumentException);
    EXPECT_THROW(QMRUrlRequest("http://127.0.0.1/", std::chrono::milliseconds(-5)), QMRInvalidArgumentException);
}
