// The HTTP layer against servers that break off, stall or garble their answers: every exchange
// ends with the transport error for what went wrong, on the synchronous and the asynchronous path
// alike, and the session stays usable afterwards.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRUrlConnection.h"
#include "companion/web/QMRUrlError.h"
#include "tests/companion/async/AsyncTestSupport.h"
#include "tests/robustness/BrokenAnswers.h"
#include "tests/robustness/FaultCase.h"

using ::testing::Optional;

namespace {

QMRData bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

class HttpFaults : public ::testing::TestWithParam<broken_answers::TransportFault> {
protected:
    void SetUp() override { session.setTimeoutInterval(broken_answers::sessionTimeout); }

    ScriptedHttpServer server;
    QMRUrlSession session;
};

TEST_P(HttpFaults, ASynchronousSendGivesTheTransportErrorAsErrorAndStatusThenTheSessionGoesOn) {
    server.enqueue(GetParam().answer()).enqueue(ScriptedHttpAnswer::withStatus(200, "after"));
    QMRHttpUrlResponse response;
    QMRErrorSlot error;

    EXPECT_EQ(QMRUrlConnection::sendSynchronousRequest(session, QMRUrlRequest(server.url("/broken")), response, error),
              std::nullopt);
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->domain(), QMRUrlErrorDomain);
    EXPECT_EQ(error->code(), GetParam().code) << error->localizedFailureReason().value_or("");
    EXPECT_EQ(response.statusCode(), GetParam().code);

    EXPECT_THAT(QMRUrlConnection::sendSynchronousRequest(session, QMRUrlRequest(server.url("/next")), response, error),
                Optional(bytes("after")));
    EXPECT_FALSE(error.has_value());
    EXPECT_EQ(server.requestCount(), 2u) << "a broken exchange is not sent again";
}

TEST_P(HttpFaults, AnAsynchronousConnectionFailsWithTheSameTransportErrorAsItsLastCallback) {
    server.enqueue(GetParam().answer());
    auto delegate = std::make_shared<RecordingConnectionDelegate>();

    QMRUrlConnection::initWithRequest(session, QMRUrlRequest(server.url("/broken")), delegate, true);
    QMRRunLoop::current().run();

    ASSERT_FALSE(delegate->calls.empty());
    EXPECT_EQ(delegate->calls.back(), "fail");
    ASSERT_TRUE(delegate->error.has_value());
    EXPECT_EQ(delegate->error->code(), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(EveryBrokenAnswer, HttpFaults, ::testing::ValuesIn(broken_answers::transportFaults()),
                         fault_case::nameOf<broken_answers::TransportFault>);

// A server that sends more than it announced would otherwise have its surplus read as the answer
// to the session's next request on the kept-alive connection.
TEST(HttpSurplusBytes, NeverBecomeTheBodyNorTheNextAnswer) {
    ScriptedHttpServer server;
    server
        .enqueue(broken_answers::longerThanItsContentLength(200, "first",
                                                            "HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nforged"))
        .enqueue(ScriptedHttpAnswer::withStatus(200, "second"));
    QMRUrlSession session;
    QMRHttpUrlResponse response;
    QMRErrorSlot error;

    EXPECT_THAT(QMRUrlConnection::sendSynchronousRequest(session, QMRUrlRequest(server.url("/a")), response, error),
                Optional(bytes("first")));
    EXPECT_THAT(QMRUrlConnection::sendSynchronousRequest(session, QMRUrlRequest(server.url("/b")), response, error),
                Optional(bytes("second")));
    EXPECT_EQ(server.requestCount(), 2u);
}

// A declared length left on a request that a redirect turned into a GET would make the server wait
// for a body that never comes.
TEST(HttpRedirects, APostFollowedAsAGetGoesWithoutTheLengthOfTheDroppedBody) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(302).withHeader("Location", "/next"))
        .enqueue(ScriptedHttpAnswer::withStatus(200, "arrived"));
    QMRUrlSession session;
    session.setTimeoutInterval(broken_answers::sessionTimeout);
    QMRUrlRequest post(server.url("/form"));
    post.setHTTPMethod("POST");
    post.setValue("11", "Content-Length");
    post.setHTTPBody(bytes("login=alice"));
    QMRHttpUrlResponse response;
    QMRErrorSlot error;

    EXPECT_THAT(QMRUrlConnection::sendSynchronousRequest(session, post, response, error), Optional(bytes("arrived")));
    EXPECT_FALSE(error.has_value());
    EXPECT_EQ(server.request(0).header("Content-Length"), "11");
    EXPECT_EQ(server.request(1).method, "GET");
    EXPECT_FALSE(server.request(1).headers.contains("Content-Length"));
}

}  // namespace
