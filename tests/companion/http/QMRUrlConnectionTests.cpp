#include "companion/web/QMRUrlConnection.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <ostream>
#include <string>

#include "companion/io/ComQuillmereIO_MemoryStream.h"
#include "companion/util/QMRExceptions.h"
#include "companion/web/QMRUrlError.h"
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

struct StatusCase {
    unsigned status;
    std::string_view body;
};

// Names the case in test listings.
[[maybe_unused]] std::ostream& operator<<(std::ostream& out, const StatusCase& statusCase) {
    return out << statusCase.status;
}

class QMRUrlConnectionStatusTest : public QMRUrlConnectionTest, public ::testing::WithParamInterface<StatusCase> {};

TEST_P(QMRUrlConnectionStatusTest, ReturnsStatusHeadersAndBodyWithoutError) {
    server.enqueue(ScriptedHttpAnswer::withStatus(GetParam().status, GetParam().body).withHeader("X-Answer", "yes"));

    const auto body = send(QMRUrlRequest(server.url("/resource")));

    EXPECT_THAT(body, Optional(bytes(GetParam().body)));
    EXPECT_EQ(response.statusCode(), GetParam().status);
    EXPECT_EQ(response.valueForHTTPHeaderField("x-answer"), "yes");
    EXPECT_EQ(response.URL(), server.url("/resource"));
    EXPECT_EQ(error, std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(AllStatusClasses, QMRUrlConnectionStatusTest,
                         ::testing::Values(StatusCase{200, "ok"}, StatusCase{201, ""}, StatusCase{204, ""},
                                           StatusCase{207, "<d:multistatus/>"}, StatusCase{404, "not here"},
                                           StatusCase{423, "locked"}, StatusCase{500, "broken"},
                                           StatusCase{503, "busy"}),
                         [](const auto& info) { return std::to_string(info.param.status); });

TEST_F(QMRUrlConnectionTest, ALaterSuccessClearsAnEarlierError) {
    server.enqueue(ScriptedHttpAnswer::withStatus(200, "fine"));
    error = QMRError(QMRUrlErrorDomain, QMRUrlErrorTimedOut);

    EXPECT_TRUE(send(QMRUrlRequest(server.url("/"))).has_value());
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(QMRUrlConnectionTest, RepeatedResponseFieldsAreKeptApartAndJoinedOnLookup) {
    server.enqueue(ScriptedHttpAnswer::withStatus(200).withHeader("Vary", "Accept").withHeader("Vary", "Cookie"));

    send(QMRUrlRequest(server.url("/")));

    EXPECT_EQ(response.allHeaderFields().values("vary"), (std::vector<std::string>{"Accept", "Cookie"}));
    EXPECT_EQ(response.valueForHTTPHeaderField("VARY"), "Accept, Cookie");
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

// ---- A challenge is not answered: 401 plus "authentication cancelled" ----

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

TEST_F(QMRUrlConnectionTest, A401WithoutChallengeIsAnOrdinaryAnswer) {
    server.enqueue(ScriptedHttpAnswer::withStatus(401, "denied"));

    EXPECT_THAT(send(QMRUrlRequest(server.url("/private"))), Optional(bytes("denied")));
    EXPECT_EQ(response.statusCode(), 401);
    EXPECT_EQ(error, std::nullopt);
}

// ---- Requests reach the server as the caller wrote them ----

TEST_F(QMRUrlConnectionTest, AnyMethodArrivesWithItsTargetHeadersInOrderAndBody) {
    server.enqueue(ScriptedHttpAnswer::withStatus(207, "<multistatus/>"));
    QMRUrlRequest request(server.url("/dav/a%20b/./c?x=1&y=%2F"));
    request.setHTTPMethod("PROPFIND");
    request.setValue("1", "Depth");
    request.setValue("text/xml; charset=utf-8", "Content-Type");
    request.setValue("trace-7", "X-Trace");
    const QMRData propfind = bytes("<?xml version=\"1.0\"?><d:propfind xmlns:d=\"DAV:\"><d:allprop/></d:propfind>");
    request.setHTTPBody(propfind);

    ASSERT_TRUE(send(request).has_value());

    const ScriptedHttpRequest received = server.request(0);
    EXPECT_EQ(received.method, "PROPFIND");
    EXPECT_EQ(received.target, "/dav/a%20b/./c?x=1&y=%2F");
    EXPECT_THAT(arrivalOrder(received.headers, {"Depth", "Content-Type", "X-Trace"}),
                ElementsAre("Depth", "Content-Type", "X-Trace"));
    EXPECT_EQ(received.header("Content-Type"), "text/xml; charset=utf-8");
    EXPECT_EQ(received.body, propfind);
}

TEST_F(QMRUrlConnectionTest, ABinaryBodyArrivesIntactWithItsLengthAndNoInventedType) {
    server.enqueue(ScriptedHttpAnswer::withStatus(201));
    QMRData content(3000);
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<std::uint8_t>(i * 7);
    QMRUrlRequest request(server.url("/data/f1"));
    request.setHTTPMethod("PUT");
    request.setValue(std::to_string(content.size()), "Content-Length");
    request.setHTTPBody(content);

    send(request);

    const ScriptedHttpRequest received = server.request(0);
    EXPECT_EQ(received.body, content);
    EXPECT_EQ(received.headers.values("Content-Length"), (std::vector<std::string>{"3000"}));
    EXPECT_FALSE(received.headers.contains("Content-Type"));
}

TEST_F(QMRUrlConnectionTest, ALargeBodyGoesOutWithoutWaitingForContinue) {
    server.enqueue(ScriptedHttpAnswer::withStatus(201));
    QMRUrlRequest request(server.url("/big"));
    request.setHTTPMethod("PUT");
    request.setHTTPBody(QMRData(3 * 1024 * 1024, 0x5a));

    send(request);

    const ScriptedHttpRequest received = server.request(0);
    EXPECT_EQ(received.body.size(), 3u * 1024 * 1024);
    EXPECT_FALSE(received.headers.contains("Expect"));
}

TEST_F(QMRUrlConnectionTest, EmptyPostAndPutStateAZeroLength) {
    server.enqueue(ScriptedHttpAnswer::withStatus(200)).enqueue(ScriptedHttpAnswer::withStatus(200));
    for (const char* method : {"POST", "PUT"}) {
        QMRUrlRequest request(server.url("/empty"));
        request.setHTTPMethod(method);
        send(request);
    }

    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(server.request(i).header("Content-Length"), "0");
        EXPECT_TRUE(server.request(i).body.empty());
    }
}

TEST_F(QMRUrlConnectionTest, ABodyStreamIsSentFromItsCurrentPosition) {
    server.enqueue(ScriptedHttpAnswer::withStatus(201));
    auto stream = std::make_shared<ComQuillmereIO_MemoryStream>(bytes("skip:content"));
    stream->seekToOffset(5);
    QMRUrlRequest request(server.url("/upload"));
    request.setHTTPMethod("PUT");
    request.setHTTPBodyStream(stream);

    send(request);

    EXPECT_EQ(server.request(0).bodyText(), "content");
}

TEST_F(QMRUrlConnectionTest, AChunkedBodyArrivesWhole) {
    server.enqueue(ScriptedHttpAnswer::withStatus(201));
    QMRUrlRequest request(server.url("/chunked"));
    request.setHTTPMethod("PUT");
    request.setValue("chunked", "Transfer-Encoding");
    request.setHTTPBody(bytes("in several pieces"));

    send(request);

    EXPECT_EQ(server.request(0).header("Transfer-Encoding"), "chunked");
    EXPECT_EQ(server.request(0).bodyText(), "in several pieces");
}

TEST_F(QMRUrlConnectionTest, EnglishPagesAreAskedForUnlessTheRequestChoosesALanguage) {
    server.enqueue(ScriptedHttpAnswer::withStatus(200)).enqueue(ScriptedHttpAnswer::withStatus(200));
    send(QMRUrlRequest(server.url("/default")));
    QMRUrlRequest german(server.url("/own"));
    german.setValue("de", "accept-language");
    send(german);

    EXPECT_EQ(server.request(0).headers.values("Accept-Language"), (std::vector<std::string>{"en"}));
    EXPECT_EQ(server.request(1).headers.values("Accept-Language"), (std::vector<std::string>{"de"}));
}

TEST_F(QMRUrlConnectionTest, AnEmptyHeaderValueIsSentAsAnEmptyField) {
    server.enqueue(ScriptedHttpAnswer::withStatus(200));
    QMRUrlRequest request(server.url("/"));
    request.setValue("", "X-Empty");

    send(request);

    EXPECT_EQ(server.request(0).header("X-Empty"), "");
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
// that would take it to another host is refused, while fields that only describe the request go along.
TEST_F(QMRUrlConnectionTest, ACallersOwnHeaderFieldFollowsARedirectOnlyToTheSameHost) {
    const std::string otherHost = "http://localhost:" + std::to_string(server.port());
    server.enqueue(ScriptedHttpAnswer::withStatus(307).withHeader("Location", "/same"))
        .enqueue(ScriptedHttpAnswer::withStatus(302).withHeader("Location", otherHost + "/other"));
    QMRUrlRequest request(server.url("/start"));
    request.setValue("t0k3n", "requesttoken");
    request.setValue("1", "Depth");

    EXPECT_EQ(send(request), std::nullopt);

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code(), QMRUrlErrorCancelled);
    EXPECT_THAT(error->localizedFailureReason().value_or(""), HasSubstr("header field \"requesttoken\""));
    ASSERT_EQ(server.requestCount(), 2u) << "nothing reaches the other host";
    EXPECT_EQ(server.request(1).header("requesttoken"), "t0k3n");

    server.enqueue(ScriptedHttpAnswer::withStatus(301).withHeader("Location", otherHost + "/listing"))
        .enqueue(ScriptedHttpAnswer::withStatus(200, "listed"));
    QMRUrlRequest neutral(server.url("/start"));
    neutral.setValue("1", "Depth");
    neutral.setValue("application/xml", "Accept");
    error.reset();

    EXPECT_THAT(send(neutral), Optional(bytes("listed")));
    EXPECT_EQ(server.request(3).header("Depth"), "1");
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

class QMRUrlConnectionFailureTest : public QMRUrlConnectionTest {
protected:
    void expectTransportFailure(const QMRUrlRequest& request, long code) {
        const auto body = send(request);
        EXPECT_EQ(body, std::nullopt);
        EXPECT_EQ(response.statusCode(), code);
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->domain(), QMRUrlErrorDomain);
        EXPECT_EQ(error->code(), code);
        EXPECT_FALSE(error->localizedDescription().empty());
        const auto& userInfo = error->userInfo();
        const auto failingUrl = userInfo.find(QMRUrlErrorFailingUrlStringKey);
        ASSERT_NE(failingUrl, userInfo.end());
        EXPECT_EQ(std::get<std::string>(failingUrl->second), request.URL());
    }
};

// A port that is bound but never listens: connecting to it is refused, and no one else can take it.
class RefusingPort {
public:
    RefusingPort() : _socket(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (_socket < 0 || ::bind(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::getsockname(_socket, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            throw std::runtime_error("no port to refuse connections on");
        _port = ntohs(address.sin_port);
    }
    ~RefusingPort() { ::close(_socket); }
    RefusingPort(const RefusingPort&) = delete;
    RefusingPort& operator=(const RefusingPort&) = delete;
    std::uint16_t port() const { return _port; }

private:
    int _socket;
    std::uint16_t _port = 0;
};

TEST_F(QMRUrlConnectionFailureTest, ARefusedConnectionCannotConnect) {
    RefusingPort refusing;
    expectTransportFailure(QMRUrlRequest("http://127.0.0.1:" + std::to_string(refusing.port()) + "/"),
                           QMRUrlErrorCannotConnectToHost);
}

TEST_F(QMRUrlConnectionFailureTest, AnUnknownHostCannotBeFound) {
    expectTransportFailure(QMRUrlRequest("http://nonexistent.invalid/"), QMRUrlErrorCannotFindHost);
    expectTransportFailure(QMRUrlRequest("https://Files.Example.INVALID./dav"), QMRUrlErrorCannotFindHost);
}

TEST_F(QMRUrlConnectionFailureTest, AStalledServerTimesOutAfterTheSessionInterval) {
    server.enqueue(ScriptedHttpAnswer::stall());
    session.setTimeoutInterval(std::chrono::milliseconds(300));

    expectTransportFailure(QMRUrlRequest(server.url("/slow")), QMRUrlErrorTimedOut);
    EXPECT_EQ(server.requestCount(), 1u);
}

TEST_F(QMRUrlConnectionFailureTest, AStalledServerTimesOutAfterTheRequestInterval) {
    server.enqueue(ScriptedHttpAnswer::stall());

    expectTransportFailure(QMRUrlRequest(server.url("/slow"), std::chrono::milliseconds(300)), QMRUrlErrorTimedOut);
}

TEST_F(QMRUrlConnectionFailureTest, AConnectionClosedWithoutAnswerIsLost) {
    server.enqueue(ScriptedHttpAnswer::closeConnection());

    expectTransportFailure(QMRUrlRequest(server.url("/gone")), QMRUrlErrorNetworkConnectionLost);
}

TEST_F(QMRUrlConnectionFailureTest, MalformedAndForeignUrlsNeverReachTheNetwork) {
    expectTransportFailure(QMRUrlRequest("http://127.0.0.1:" + std::to_string(server.port()) + "/a b"),
                           QMRUrlErrorBadURL);
    expectTransportFailure(QMRUrlRequest("http://[::1/"), QMRUrlErrorBadURL);
    expectTransportFailure(QMRUrlRequest("ftp://127.0.0.1:" + std::to_string(server.port()) + "/"),
                           QMRUrlErrorUnsupportedURL);
    expectTransportFailure(QMRUrlRequest("file:///etc/passwd"), QMRUrlErrorUnsupportedURL);
    expectTransportFailure(QMRUrlRequest("127.0.0.1/no-scheme"), QMRUrlErrorUnsupportedURL);
    EXPECT_EQ(server.connectionCount(), 0u);
}

TEST_F(QMRUrlConnectionFailureTest, ARedirectToAnotherSchemeIsNotFollowed) {
    server.enqueue(ScriptedHttpAnswer::withStatus(301).withHeader("Location", "file:///etc/passwd"));

    expectTransportFailure(QMRUrlRequest(server.url("/")), QMRUrlErrorUnsupportedURL);
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
