#include "companion/web/QMRUrlConnection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "companion/io/ComQuillmereIO_MemoryStream.h"
#include "companion/util/QMRExceptions.h"
#include "companion/web/QMRUrlError.h"
#include "tests/companion/async/AsyncTestSupport.h"
#include "tests/support/ScriptedHttpServer.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Optional;

namespace {

QMRData bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

// The names of the given fields as they arrived, in arrival order.
std::vector<std::string> arrivalOrder(const QMRHttpHeaderFields& received,
                                      std::initializer_list<std::string_view> names) {
    std::vector<std::string> order;
    for (const auto& [name, value] : received)
        for (std::string_view wanted : names)
            if (QMRHttpHeaderFields::namesEqual(name, wanted)) order.push_back(name);
    return order;
}

class QMRUrlConnectionTest : public ::testing::Test {
protected:
    std::optional<QMRData> send(const QMRUrlRequest& request) {
        return QMRUrlConnection::sendSynchronousRequest(session, request, response, error);
    }

    ScriptedHttpServer server;
    QMRUrlSession session;
    QMRHttpUrlResponse response;
    QMRErrorSlot error;
};

// ---- Every HTTP answer comes back as it is, whatever its status ----

TEST_F(QMRUrlConnectionTest, EveryStatusComesBackWithItsFieldsAndBodyAndNoError) {
    // A 401 without a challenge is an ordinary answer.
    const std::pair<unsigned, std::string_view> answers[] = {{200, "ok"},      {201, ""},       {204, ""},
                                                             {207, "<d:ms/>"}, {401, "denied"}, {404, "not here"},
                                                             {423, "locked"},  {500, "broken"}, {503, "busy"}};
    for (const auto& [status, body] : answers) {
        SCOPED_TRACE(status);
        server.enqueue(
            ScriptedHttpAnswer::withStatus(status, body).withHeader("Vary", "Accept").withHeader("Vary", "Cookie"));
        error = QMRError(QMRUrlErrorDomain, QMRUrlErrorTimedOut);  // an earlier failure, cleared by the answer

        EXPECT_THAT(send(QMRUrlRequest(server.url("/resource"))), Optional(bytes(body)));
        EXPECT_EQ(response.statusCode(), status);
        // Repeated fields are kept apart and joined on lookup.
        EXPECT_EQ(response.allHeaderFields().values("vary"), (std::vector<std::string>{"Accept", "Cookie"}));
        EXPECT_EQ(response.valueForHTTPHeaderField("VARY"), "Accept, Cookie");
        EXPECT_EQ(response.URL(), server.url("/resource"));
        EXPECT_EQ(error, std::nullopt);
    }
}

TEST_F(QMRUrlConnectionTest, AHeadAnswerEndsWithoutTheAnnouncedBody) {
    server.enqueue(ScriptedHttpAnswer::withStatus(200, "twelve bytes"));
    QMRUrlRequest request(server.url("/file"));
    request.setHTTPMethod("HEAD");
    session.setTimeoutInterval(std::chrono::seconds(10));  // a wait for the body would end as a time-out

    EXPECT_THAT(send(request), Optional(QMRData{}));
    EXPECT_EQ(response.statusCode(), 200);
    EXPECT_EQ(response.valueForHTTPHeaderField("Content-Length"), "12");
    EXPECT_EQ(server.request(0).method, "HEAD");
}

// A challenge is not answered: 401 plus "authentication cancelled".
TEST_F(QMRUrlConnectionTest, AChallengeGivesTheBodyStatus401AndAuthenticationCancelled) {
    server.enqueue(
        ScriptedHttpAnswer::withStatus(401, "login first").withHeader("WWW-Authenticate", "Basic realm=\"files\""));

    const auto body = send(QMRUrlRequest(server.url("/private")));

    EXPECT_THAT(body, Optional(bytes("login first")));
    EXPECT_EQ(response.statusCode(), 401);
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->domain(), QMRUrlErrorDomain);
    EXPECT_EQ(error->code(), QMRUrlErrorUserCancelledAuthentication);
    EXPECT_EQ(server.requestCount(), 1u);  // no second attempt with credentials
}

// ---- Requests reach the server as the caller wrote them ----

TEST_F(QMRUrlConnectionTest, AnyMethodArrivesWithItsTargetHeadersInOrderAndBody) {
    server.enqueue(ScriptedHttpAnswer::withStatus(207, "<multistatus/>"));
    QMRUrlRequest request(server.url("/dav/a%20b/./c?x=1&y=%2F"));
    request.setHTTPMethod("PROPFIND");
    request.setValue("1", "Depth");
    request.setValue("text/xml; charset=utf-8", "Content-Type");
    request.setValue("trace-7", "X-Trace");
    request.setValue("", "X-Empty");
    request.setValue("de", "accept-language");  // instead of the English asked for by default
    const QMRData propfind = bytes("<?xml version=\"1.0\"?><d:propfind xmlns:d=\"DAV:\"><d:allprop/></d:propfind>");
    request.setHTTPBody(propfind);

    ASSERT_TRUE(send(request).has_value());

    const ScriptedHttpRequest received = server.request(0);
    EXPECT_EQ(received.method, "PROPFIND");
    EXPECT_EQ(received.target, "/dav/a%20b/./c?x=1&y=%2F");
    EXPECT_THAT(arrivalOrder(received.headers, {"Depth", "Content-Type", "X-Trace"}),
                ElementsAre("Depth", "Content-Type", "X-Trace"));
    EXPECT_EQ(received.header("Content-Type"), "text/xml; charset=utf-8");
    EXPECT_EQ(received.header("X-Empty"), "");
    EXPECT_EQ(received.headers.values("Accept-Language"), (std::vector<std::string>{"de"}));
    EXPECT_EQ(received.body, propfind);
}

TEST_F(QMRUrlConnectionTest, ABodyArrivesWholeWithTheFieldsThatDescribeIt) {
    const QMRData small = patternedBytes(3000), large = patternedBytes(3 * 1024 * 1024);
    auto stream = std::make_shared<ComQuillmereIO_MemoryStream>(bytes("skip:content"));
    stream->seekToOffset(5);
    struct Case {
        std::string name;
        std::string method;
        std::function<void(QMRUrlRequest&)> setUp;
        QMRData body;
        std::vector<std::pair<std::string, std::optional<std::string>>> fields;  // none: not sent
    };
    const Case cases[] = {
        {"bytes of the caller's length, with no invented type",
         "PUT",
         [&small](QMRUrlRequest& request) {
             request.setValue("3000", "Content-Length");
             request.setHTTPBody(small);
         },
         small,
         {{"Content-Length", "3000"}, {"Content-Type", std::nullopt}}},
        {"bytes large enough for curl to wait for a Continue",
         "PUT",
         [&large](QMRUrlRequest& request) { request.setHTTPBody(large); },
         large,
         {{"Content-Length", "3145728"}, {"Expect", std::nullopt}}},
        {"a stream, from its current position",
         "PUT",
         [&stream](QMRUrlRequest& request) { request.setHTTPBodyStream(stream); },
         bytes("content"),
         {}},
        {"chunked by the caller",
         "PUT",
         [](QMRUrlRequest& request) {
             request.setValue("chunked", "Transfer-Encoding");
             request.setHTTPBody(bytes("in several pieces"));
         },
         bytes("in several pieces"),
         {{"Transfer-Encoding", "chunked"}}},
        {"an empty POST", "POST", {}, {}, {{"Content-Length", "0"}}},
        {"an empty PUT", "PUT", {}, {}, {{"Content-Length", "0"}}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        server.enqueue(ScriptedHttpAnswer::withStatus(201));
        QMRUrlRequest request(server.url("/upload"));
        request.setHTTPMethod(one.method);
        if (one.setUp) one.setUp(request);

        send(request);

        const ScriptedHttpRequest received = server.request(server.requestCount() - 1);
        EXPECT_EQ(received.method, one.method);
        EXPECT_EQ(received.body, one.body);
        for (const auto& [name, value] : one.fields) EXPECT_EQ(received.header(name), value) << name;
    }
}

TEST_F(QMRUrlConnectionTest, AContentLengthThatContradictsTheBodyIsRefusedBeforeSending) {
    QMRUrlRequest request(server.url("/data/f1"));
    request.setHTTPMethod("PUT");
    request.setValue("10", "Content-Length");
    request.setHTTPBody(bytes("four"));

    EXPECT_THROW(send(request), QMRInvalidArgumentException);
    QMRUrlRequest get(server.url("/"));
    get.setValue("3", "Content-Length");
    EXPECT_THROW(send(get), QMRInvalidArgumentException);
    EXPECT_EQ(server.connectionCount(), 0u);
}

// ---- Redirects ----

TEST_F(QMRUrlConnectionTest, CredentialsFollowARedirectOnlyToTheSameHost) {
    const std::string otherHost = "http://localhost:" + std::to_string(server.port());
    server.enqueue(ScriptedHttpAnswer::withStatus(302).withHeader("Location", server.url("/same")))
        .enqueue(ScriptedHttpAnswer::withStatus(302).withHeader("Location", otherHost + "/other"))
        .enqueue(ScriptedHttpAnswer::withStatus(200, "arrived"));
    QMRUrlRequest request(server.url("/start"));
    request.setValue("Basic c2VjcmV0", "Authorization");

    EXPECT_THAT(send(request), Optional(bytes("arrived")));

    ASSERT_EQ(server.requestCount(), 3u);
    EXPECT_EQ(server.request(1).header("Authorization"), "Basic c2VjcmV0");
    EXPECT_EQ(server.request(2).target, "/other");
    EXPECT_EQ(server.request(2).header("Host"), "localhost:" + std::to_string(server.port()));
    EXPECT_FALSE(server.request(2).headers.contains("Authorization"));
    EXPECT_EQ(response.URL(), otherHost + "/other");
}

// A session's token in a field of the caller's own is a credential curl does not know of: a redirect
// that would take it to another host is refused.
TEST_F(QMRUrlConnectionTest, ACallersOwnHeaderFieldFollowsARedirectOnlyToTheSameHost) {
    server.enqueue(ScriptedHttpAnswer::withStatus(307).withHeader("Location", "/same"))
        .enqueue(ScriptedHttpAnswer::withStatus(302).withHeader(
            "Location", "http://localhost:" + std::to_string(server.port()) + "/other"));
    QMRUrlRequest request(server.url("/start"));
    request.setValue("t0k3n", "requesttoken");

    EXPECT_EQ(send(request), std::nullopt);

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code(), QMRUrlErrorCancelled);
    EXPECT_THAT(error->localizedFailureReason().value_or(""), HasSubstr("header field \"requesttoken\""));
    ASSERT_EQ(server.requestCount(), 2u) << "nothing reaches the other host";
    EXPECT_EQ(server.request(1).header("requesttoken"), "t0k3n");
}

TEST_F(QMRUrlConnectionTest, APostAnsweredWithAFoundRedirectIsFollowedByAGetWithTheNewCookie) {
    server
        .enqueue(ScriptedHttpAnswer::withStatus(302)
                     .withHeader("Set-Cookie", "session=42; Path=/")
                     .withHeader("Location", "/index.php/apps/files"))
        .enqueue(ScriptedHttpAnswer::withStatus(200, "files"));
    QMRUrlRequest login(server.url("/index.php"));
    login.setHTTPMethod("POST");
    login.setValue("application/x-www-form-urlencoded", "Content-Type");
    login.setHTTPBody(bytes("user=u&password=p"));

    EXPECT_THAT(send(login), Optional(bytes("files")));

    const ScriptedHttpRequest followed = server.request(1);
    EXPECT_EQ(followed.method, "GET");
    EXPECT_EQ(followed.target, "/index.php/apps/files");
    EXPECT_EQ(followed.header("Cookie"), "session=42");
    EXPECT_TRUE(followed.body.empty());
}

TEST_F(QMRUrlConnectionTest, TheEleventhRedirectInARowIsTooMany) {
    server.setHandler([](const ScriptedHttpRequest&) {
        return ScriptedHttpAnswer::withStatus(302).withHeader("Location", "/again");
    });

    EXPECT_EQ(send(QMRUrlRequest(server.url("/"))), std::nullopt);

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code(), QMRUrlErrorHTTPTooManyRedirects);
    EXPECT_EQ(response.statusCode(), QMRUrlErrorHTTPTooManyRedirects);
    EXPECT_EQ(server.requestCount(), 11u);
}

// ---- Transport failures: no body, the URL error, its code as the status ----

TEST_F(QMRUrlConnectionTest, TransportFailuresGiveNoBodyAndTheUrlErrorAsErrorAndStatus) {
    // Malformed and foreign URLs name this port, so that one sent after all fails with another code.
    const RefusingPort refusing;
    // The close comes first: curl silently resends on a reused connection.
    server.enqueue(ScriptedHttpAnswer::closeConnection())
        .enqueue(ScriptedHttpAnswer::stall())
        .enqueue(ScriptedHttpAnswer::withStatus(301).withHeader("Location", "file:///etc/passwd"));
    const std::pair<QMRUrlRequest, long> cases[] = {
        {QMRUrlRequest(server.url("/gone")), QMRUrlErrorNetworkConnectionLost},
        {QMRUrlRequest(server.url("/slow"), std::chrono::milliseconds(300)), QMRUrlErrorTimedOut},
        {QMRUrlRequest(refusing.url("/")), QMRUrlErrorCannotConnectToHost},
        {QMRUrlRequest("http://nonexistent.invalid/"), QMRUrlErrorCannotFindHost},
        {QMRUrlRequest("https://Files.Example.INVALID./dav"), QMRUrlErrorCannotFindHost},
        {QMRUrlRequest(refusing.url("/a b")), QMRUrlErrorBadURL},
        {QMRUrlRequest("http://[::1/"), QMRUrlErrorBadURL},
        {QMRUrlRequest(refusing.url("/", "ftp")), QMRUrlErrorUnsupportedURL},
        {QMRUrlRequest("file:///etc/passwd"), QMRUrlErrorUnsupportedURL},
        {QMRUrlRequest("127.0.0.1/no-scheme"), QMRUrlErrorUnsupportedURL},
        {QMRUrlRequest(server.url("/to-another-scheme")), QMRUrlErrorUnsupportedURL},
    };
    for (const auto& [request, code] : cases) {
        SCOPED_TRACE(request.URL());
        EXPECT_EQ(send(request), std::nullopt);
        EXPECT_EQ(response.statusCode(), code);
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->domain(), QMRUrlErrorDomain);
        EXPECT_EQ(error->code(), code);
        EXPECT_FALSE(error->localizedDescription().empty());
        const auto failingUrl = error->userInfo().find(QMRUrlErrorFailingUrlStringKey);
        ASSERT_NE(failingUrl, error->userInfo().end());
        EXPECT_EQ(std::get<std::string>(failingUrl->second), request.URL());
    }
    EXPECT_EQ(server.requestCount(), 3u);
    // The session goes on after them, a refused redirect (the last case) included.
    server.enqueue(ScriptedHttpAnswer::withStatus(200, "after"));
    EXPECT_THAT(send(QMRUrlRequest(server.url("/after"))), Optional(bytes("after")));
}

TEST(QMRUrlConnectionWithoutSession, SendsWithASessionOfItsOwn) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(200, "alone"));
    QMRHttpUrlResponse response;
    QMRErrorSlot error;

    EXPECT_THAT(QMRUrlConnection::sendSynchronousRequest(QMRUrlRequest(server.url("/")), response, error),
                Optional(bytes("alone")));
    EXPECT_EQ(response.statusCode(), 200);
}

}  // namespace
