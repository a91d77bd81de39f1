#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "companion/util/QMRExceptions.h"
#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRUrlConnection.h"
#include "companion/web/QMRUrlError.h"
#include "tests/companion/async/AsyncTestSupport.h"
#include "tests/support/ScriptedHttpServer.h"

using ::testing::ElementsAre;
using ::testing::Gt;

namespace {

std::shared_ptr<QMRUrlConnection> startConnection(QMRUrlSession& session, const QMRUrlRequest& request,
                                                  const std::shared_ptr<RecordingConnectionDelegate>& delegate) {
    auto connection = QMRUrlConnection::initWithRequest(session, request, delegate, false);
    connection->scheduleInRunLoop(QMRRunLoop::current());
    connection->start();
    return connection;
}

TEST(QMRUrlConnectionAsyncDownload, DeliversResponseThenEveryPieceThenFinishOnTheRunLoop) {
    ScriptedHttpServer server;
    const QMRData content = patternedBytes(1024 * 1024);
    server.enqueue(ScriptedHttpAnswer::withStatus(200).withHeader("Set-Cookie", "oc_session=abc; Path=/"))
        .enqueue(ScriptedHttpAnswer::withStatus(200).withHeader("X-Kind", "file").withBody(content));
    QMRUrlSession session;
    QMRHttpUrlResponse response;
    QMRErrorSlot error;
    QMRUrlConnection::sendSynchronousRequest(session, QMRUrlRequest(server.url("/login")), response, error);
    auto delegate = std::make_shared<RecordingConnectionDelegate>();

    startConnection(session, QMRUrlRequest(server.url("/file")), delegate);
    EXPECT_TRUE(delegate->calls.empty()) << "callbacks come from the run loop, not from start";
    QMRRunLoop::current().run();

    EXPECT_THAT(delegate->calls, ElementsAre("response", "data", "finish"));
    ASSERT_TRUE(delegate->response);
    EXPECT_EQ(delegate->response->statusCode(), 200);
    EXPECT_EQ(delegate->response->valueForHTTPHeaderField("X-Kind"), "file");
    EXPECT_THAT(delegate->pieces, Gt(1u)) << "the body is handed on as it arrives, not gathered";
    EXPECT_EQ(delegate->body, content);
    EXPECT_FALSE(QMRRunLoop::current().hasScheduledWork());
    // The session's cookies and the request set-up that the synchronous path uses.
    ASSERT_EQ(server.requestCount(), 2u);
    EXPECT_EQ(server.request(1).header("Cookie"), "oc_session=abc");
    EXPECT_EQ(server.request(1).header("Accept-Language"), "en");
    EXPECT_FALSE(server.request(1).headers.contains("Expect"));
}

TEST(QMRUrlConnectionAsyncDownload, AnEmptyAnswerStartedAtOnceGivesResponseAndFinishOnTheCallingThreadsLoop) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(404));
    QMRUrlSession session;
    auto delegate = std::make_shared<RecordingConnectionDelegate>();

    auto connection = QMRUrlConnection::initWithRequest(session, QMRUrlRequest(server.url("/missing")), delegate, true);
    EXPECT_TRUE(QMRRunLoop::current().hasScheduledWork());
    QMRRunLoop::current().run();

    EXPECT_THAT(delegate->calls, ElementsAre("response", "finish"));
    EXPECT_EQ(delegate->response->statusCode(), 404);
}

TEST(QMRUrlConnectionAsyncCancel, CancelInsideTheResponseCallbackStopsEveryLaterCallback) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(503).withBody(patternedBytes(64 * 1024)));
    QMRUrlSession session;
    auto delegate = std::make_shared<RecordingConnectionDelegate>();
    delegate->onResponse = [](QMRUrlConnection& connection) { connection.cancel(); };

    startConnection(session, QMRUrlRequest(server.url("/busy")), delegate);
    QMRRunLoop::current().run();

    EXPECT_THAT(delegate->calls, ElementsAre("response"));
}

TEST(QMRUrlConnectionAsyncCancel, CancelOnTheFirstPieceEndsTheDownloadEvenWhenItDropsTheLastReference) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(200).withBody(patternedBytes(2 * 1024 * 1024)));
    QMRUrlSession session;
    auto delegate = std::make_shared<RecordingConnectionDelegate>();
    std::weak_ptr<RecordingConnectionDelegate> watched = delegate;
    std::shared_ptr<QMRUrlConnection> connection;
    delegate->onData = [&connection](QMRUrlConnection& current) {
        current.cancel();
        connection.reset();  // the owner lets go inside the callback, as a finished request does
    };

    connection = startConnection(session, QMRUrlRequest(server.url("/big")), delegate);
    const std::weak_ptr<QMRUrlConnection> watchedConnection = connection;
    delegate.reset();
    QMRRunLoop::current().run();

    EXPECT_TRUE(watched.expired()) << "a cancelled connection releases its delegate";
    EXPECT_TRUE(watchedConnection.expired());
    EXPECT_FALSE(QMRRunLoop::current().hasScheduledWork());
}

// The streamed upload tests show a refused connection failing the same way.
TEST(QMRUrlConnectionAsyncFailure, AnUnsupportedUrlFailsFromTheRunLoopWithoutTraffic) {
    const RefusingPort refusing;  // were the request sent after all, it would fail with another code
    QMRUrlSession session;
    auto delegate = std::make_shared<RecordingConnectionDelegate>();

    startConnection(session, QMRUrlRequest(refusing.url("/file", "ftp")), delegate);
    EXPECT_TRUE(delegate->calls.empty());
    QMRRunLoop::current().run();

    EXPECT_THAT(delegate->calls, ElementsAre("fail"));
    EXPECT_EQ(delegate->error->domain(), QMRUrlErrorDomain);
    EXPECT_EQ(delegate->error->code(), QMRUrlErrorUnsupportedURL);
}

TEST(QMRRunLoopRun, ReturnsAtOnceWhenNoConnectionIsUnderWay) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(200, "unseen"));
    QMRUrlSession session;
    auto delegate = std::make_shared<RecordingConnectionDelegate>();
    // One connection is not started; the other is cancelled before the loop runs, and does not start again.
    auto idle = QMRUrlConnection::initWithRequest(session, QMRUrlRequest(server.url("/")), delegate, false);
    auto cancelled = startConnection(session, QMRUrlRequest(server.url("/")), delegate);
    cancelled->cancel();
    cancelled->start();

    QMRRunLoop::current().run();

    EXPECT_FALSE(QMRRunLoop::current().hasScheduledWork());
    EXPECT_TRUE(delegate->calls.empty());
}

TEST(QMRRunLoopRun, RunsBlocksQueuedFromAnotherThreadInOrder) {
    std::vector<int> order;
    QMRRunLoop& loop = QMRRunLoop::current();
    loop.performBlock([&order] { order.push_back(1); });
    std::thread other([&loop, &order] { loop.performBlock([&order] { order.push_back(2); }); });
    other.join();

    loop.run();

    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(QMRRunLoopRun, RunningFromInsideACallbackIsRefused) {
    QMRRunLoop& loop = QMRRunLoop::current();
    bool refused = false;
    loop.performBlock([&] {
        try {
            loop.run();
        } catch (const QMRInvalidOperationException&) {
            refused = true;
        }
    });

    loop.run();

    EXPECT_TRUE(refused);
}

}  // namespace
