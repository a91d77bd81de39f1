#include "companion/web/QMRUrlSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <vector>

#include "companion/util/QMRExceptions.h"
#include "companion/web/QMRUrlConnection.h"
#include "companion/web/QMRUrlError.h"
#include "tests/support/ScriptedHttpServer.h"

using ::testing::Each;
using ::testing::Field;

namespace {

long statusOf(QMRUrlSession& session, const std::string& url) {
    QMRHttpUrlResponse response;
    QMRErrorSlot error;
    QMRUrlConnection::sendSynchronousRequest(session, QMRUrlRequest(url), response, error);
    return response.statusCode();
}

TEST(QMRUrlSessionCookies, AnAnswersCookiesGoBackWithTheSessionsLaterRequestsOnlyUntilTheyExpire) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(200)
                       .withHeader("Set-Cookie", "oc_session=abc; Path=/; HttpOnly")
                       .withHeader("Set-Cookie", "lang=en; Path=/"));
    server.setHandler([](const ScriptedHttpRequest& request) {
        if (request.target == "/logout")
            return ScriptedHttpAnswer::withStatus(200).withHeader(
                "Set-Cookie", "oc_session=; Path=/; Expires=Thu, 01 Jan 1970 00:00:00 GMT");
        return ScriptedHttpAnswer::withStatus(200);
    });
    QMRUrlSession account;
    QMRUrlSession otherAccount;

    for (const char* target : {"/login", "/files", "/logout", "/files/again"}) statusOf(account, server.url(target));
    statusOf(otherAccount, server.url("/files"));

    EXPECT_FALSE(server.request(0).headers.contains("Cookie"));
    EXPECT_EQ(server.request(1).header("Cookie"), "oc_session=abc; lang=en");
    EXPECT_EQ(server.request(3).header("Cookie"), "lang=en");
    EXPECT_FALSE(server.request(4).headers.contains("Cookie"));
}

TEST(QMRUrlSessionConnections, ASessionsRequestsShareOneConnectionOfItsOwnUntilATransportFailure) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::closeConnection());
    server.setHandler([](const ScriptedHttpRequest&) { return ScriptedHttpAnswer::withStatus(200, "again"); });
    QMRUrlSession session;
    QMRUrlSession other;

    EXPECT_LT(statusOf(session, server.url("/")), 0);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(statusOf(session, server.url("/item/" + std::to_string(i))), 200);
    statusOf(other, server.url("/"));

    const auto received = server.requests();
    ASSERT_EQ(received.size(), 7u);
    EXPECT_THAT(std::vector(received.begin() + 1, received.end() - 1),
                Each(Field(&ScriptedHttpRequest::connectionId, received[1].connectionId)));
    EXPECT_EQ(server.connectionCount(), 3u) << "the failed one, the session's fresh one, the other session's";
}

TEST(QMRUrlSessionThreads, ConcurrentSendersOfOneSessionAllGetTheirAnswers) {
    ScriptedHttpServer server;
    server.setHandler(
        [](const ScriptedHttpRequest& request) { return ScriptedHttpAnswer::withStatus(200, request.target); });
    QMRUrlSession session;
    std::vector<std::vector<std::string>> bodies(4);

    std::vector<std::thread> senders;
    for (std::size_t t = 0; t < bodies.size(); ++t)
        senders.emplace_back([&, t] {
            for (int i = 0; i < 10; ++i) {
                QMRHttpUrlResponse response;
                QMRErrorSlot error;
                const std::string target = "/t" + std::to_string(t) + "/" + std::to_string(i);
                auto body = QMRUrlConnection::sendSynchronousRequest(session, QMRUrlRequest(server.url(target)),
                                                                     response, error);
                bodies[t].push_back(body ? std::string(body->begin(), body->end()) : "failed");
            }
        });
    for (auto& sender : senders) sender.join();

    for (std::size_t t = 0; t < bodies.size(); ++t)
        for (int i = 0; i < 10; ++i) EXPECT_EQ(bodies[t][i], "/t" + std::to_string(t) + "/" + std::to_string(i));
}

TEST(QMRUrlSessionLifetime, IsMovableNotCopyableAndRefusesUseOnceMovedFrom) {
    static_assert(!std::is_copy_constructible_v<QMRUrlSession>);
    static_assert(std::is_nothrow_move_constructible_v<QMRUrlSession>);
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(200).withHeader("Set-Cookie", "s=1"))
        .enqueue(ScriptedHttpAnswer::withStatus(200));
    QMRUrlSession original;
    statusOf(original, server.url("/"));

    QMRUrlSession moved(std::move(original));
    statusOf(moved, server.url("/"));

    EXPECT_EQ(server.request(1).header("Cookie"), "s=1");
    EXPECT_THROW(statusOf(original, server.url("/")), QMRInvalidOperationException);  // NOLINT(bugprone-use-after-move)
}

TEST(QMRUrlSessionConfiguration, ASessionStartsWithTheSettingsItIsMadeWithAndTheTimeOutMustBePositive) {
    EXPECT_EQ(QMRUrlSession().timeoutInterval(), std::chrono::seconds(60));
    QMRUrlSession byDefault{QMRUrlSessionConfiguration{}};
    EXPECT_EQ(byDefault.timeoutInterval(), std::chrono::seconds(60));
    EXPECT_EQ(byDefault.trustedCertificateFile(), "");
    EXPECT_THROW(byDefault.setTimeoutInterval(std::chrono::milliseconds(0)), QMRInvalidArgumentException);
    byDefault.setTimeoutInterval(std::chrono::milliseconds(250));
    EXPECT_EQ(byDefault.timeoutInterval(), std::chrono::milliseconds(250));

    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::stall());
    QMRUrlSession configured(QMRUrlSessionConfiguration{.timeoutInterval = std::chrono::milliseconds(200),
                                                        .trustedCertificateFile = "a.pem"});
    EXPECT_EQ(configured.trustedCertificateFile(), "a.pem");
    EXPECT_EQ(statusOf(configured, server.url("/")), QMRUrlErrorTimedOut) << "the time-out is in force at once";

    EXPECT_THROW(QMRUrlSession(QMRUrlSessionConfiguration{.timeoutInterval = std::chrono::milliseconds(-1)}),
                 QMRInvalidArgumentException);
}

}  // namespace
