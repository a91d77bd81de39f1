#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <optional>

#include "companion/io/QMRStreamUtil.h"
#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRUrlConnection.h"
#include "companion/web/QMRUrlError.h"
#include "tests/companion/async/AsyncTestSupport.h"
#include "tests/support/ScriptedHttpServer.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Lt;

namespace {

// Feeds an upload the way the back-ends do: one write per has-space event, the rest of a piece on
// later events, the next piece only once the last is written, close after the last.
struct PieceWriter : QMRStreamDelegate {
    std::deque<QMRData> pieces;
    QMRData current;
    std::size_t offset = 0;
    bool holdAfterCurrent = false;  // let the next event pass instead of taking the next piece
    bool insideWrite = false;
    std::vector<QMRStreamEvent> events;
    std::vector<std::int64_t> writes;
    std::function<void()> onHold;

    void stream(QMRBoundOutputStream& stream, QMRStreamEvent eventCode) override {
        EXPECT_FALSE(insideWrite) << "an event was delivered from inside write";
        events.push_back(eventCode);
        if (eventCode == QMRStreamEventHasSpaceAvailable) writeNext(stream);
    }

    void writeNext(QMRBoundOutputStream& stream) {
        if (offset == current.size()) {
            if (holdAfterCurrent && !current.empty()) {
                holdAfterCurrent = false;
                if (onHold) onHold();
                return;
            }
            if (pieces.empty()) {
                stream.close();
                return;
            }
            current = std::move(pieces.front());
            pieces.pop_front();
            offset = 0;
        }
        insideWrite = true;
        const std::int64_t count = stream.write(QMRDataView(current).subspan(offset));
        insideWrite = false;
        writes.push_back(count);
        if (count > 0) offset += static_cast<std::size_t>(count);
    }
};

struct Upload {
    std::shared_ptr<QMRUrlConnection> connection;
    std::shared_ptr<QMRBoundOutputStream> output;
};

// Sets an upload up in the back-ends' order: connection scheduled and started, then the output end.
// Without a length the body goes out chunked.
Upload startUpload(QMRUrlSession& session, const std::string& url, std::optional<std::size_t> contentLength,
                   const std::shared_ptr<PieceWriter>& writer,
                   const std::shared_ptr<RecordingConnectionDelegate>& delegate) {
    std::shared_ptr<QMRBoundInputStream> input;
    Upload upload;
    QMRStreamUtil::createBoundInputStream(input, upload.output, 8192);
    QMRUrlRequest request(url);
    request.setHTTPMethod("POST");
    if (contentLength) request.setValue(std::to_string(*contentLength), "Content-Length");
    request.setHTTPBodyStream(input);
    upload.connection = QMRUrlConnection::initWithRequest(session, request, delegate, false);
    upload.connection->scheduleInRunLoop(QMRRunLoop::current());
    upload.connection->start();
    upload.output->setDelegate(writer);
    upload.output->scheduleInRunLoop(QMRRunLoop::current());
    upload.output->open();
    return upload;
}

QMRData joined(std::initializer_list<QMRData> parts) {
    QMRData all;
    for (const QMRData& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

TEST(QMRStreamedUpload, TheBodyArrivesIntactWithItsLengthWrittenOncePerHasSpaceEvent) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(200, "{\"status\":\"success\"}"));
    QMRUrlSession session;
    const QMRData prefix = patternedBytes(300, 1), content = patternedBytes(20000, 2), suffix = patternedBytes(50, 3);
    auto writer = std::make_shared<PieceWriter>();
    writer->pieces = {prefix, content, suffix};
    auto delegate = std::make_shared<RecordingConnectionDelegate>();

    startUpload(session, server.url("/upload"), 20350, writer, delegate);
    QMRRunLoop::current().run();

    EXPECT_THAT(delegate->calls, ElementsAre("response", "data", "finish"));
    ASSERT_EQ(server.requestCount(), 1u);
    EXPECT_EQ(server.request(0).method, "POST");
    EXPECT_EQ(server.request(0).header("Content-Length"), "20350");
    EXPECT_FALSE(server.request(0).headers.contains("Transfer-Encoding"));
    EXPECT_EQ(server.request(0).body, joined({prefix, content, suffix}));
    // The 20000-byte piece cannot fit the 8192-byte buffer: it takes several events.
    const std::size_t eventsWithSpace =
        std::count(writer->events.begin(), writer->events.end(), QMRStreamEventHasSpaceAvailable);
    EXPECT_EQ(writer->writes.size() + 1, eventsWithSpace) << "one write per event, the last event closes";
    EXPECT_THAT(writer->writes, Contains(8192));
    EXPECT_THAT(writer->writes, ::testing::Each(::testing::AllOf(::testing::Gt(0), ::testing::Le(8192))));
}

TEST(QMRStreamedUpload, WithoutContentLengthTheBodyGoesOutChunked) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(200));
    QMRUrlSession session;
    auto writer = std::make_shared<PieceWriter>();
    writer->pieces = {patternedBytes(10000)};

    startUpload(session, server.url("/upload"), std::nullopt, writer, std::make_shared<RecordingConnectionDelegate>());
    QMRRunLoop::current().run();

    ASSERT_EQ(server.requestCount(), 1u);
    EXPECT_EQ(server.request(0).header("Transfer-Encoding"), "chunked");
    EXPECT_EQ(server.request(0).body, patternedBytes(10000));
}

TEST(QMRStreamedUpload, PausesWithoutSpinningWhileTheWriterHasNothing) {
    ScriptedHttpServer server;
    const QMRData other = patternedBytes(4 * 1024 * 1024, 9);
    server.setHandler([&other](const ScriptedHttpRequest& request) {
        if (request.target == "/other") return ScriptedHttpAnswer::withStatus(200).withBody(other);
        return ScriptedHttpAnswer::withStatus(200, "stored");
    });
    QMRUrlSession session;
    QMRRunLoop& loop = QMRRunLoop::current();
    const QMRData first = patternedBytes(1000, 4), second = patternedBytes(3000, 5);
    auto writer = std::make_shared<PieceWriter>();
    writer->pieces = {first};
    writer->holdAfterCurrent = true;
    auto upload = std::make_shared<RecordingConnectionDelegate>();
    auto download = std::make_shared<RecordingConnectionDelegate>();

    // The gap: once the first piece is taken the writer holds back until another transfer on the
    // same loop has finished. The loop must spend its turns on that transfer only.
    std::uint64_t turnsAtHold = 0;
    std::size_t eventsAtHold = 0;
    std::uint64_t turnsInGap = 0;
    std::size_t eventsInGap = 0;
    std::shared_ptr<QMRBoundOutputStream> output;
    writer->onHold = [&] {
        turnsAtHold = loop.iterationCount();
        eventsAtHold = writer->events.size();
        QMRUrlConnection::initWithRequest(session, QMRUrlRequest(server.url("/other")), download, true);
    };
    download->onFinish = [&](QMRUrlConnection&) {
        turnsInGap = loop.iterationCount() - turnsAtHold;
        eventsInGap = writer->events.size() - eventsAtHold;
        writer->pieces = {second};
        writer->writeNext(*output);  // resumes the upload from outside any stream event
    };

    output = startUpload(session, server.url("/upload"), 4000, writer, upload).output;
    loop.run();

    EXPECT_THAT(download->calls, ElementsAre("response", "data", "finish"));
    EXPECT_THAT(upload->calls, ElementsAre("response", "data", "finish"));
    EXPECT_EQ(server.request(1).body, joined({first, second})) << "the paused upload resumed where it stopped";
    EXPECT_EQ(eventsInGap, 0u) << "a writer that let an event pass is not asked again while nothing moves";
    // Every turn in the gap is owed to the download (a wake-up may bring part of a piece, or none
    // under load, hence the margin); a spinning loop turns thousands of times here.
    EXPECT_THAT(turnsInGap, Lt(2 * download->pieces + 64));
}

TEST(QMRStreamedUpload, AFailedConnectionGivesTheWriterAnErrorEventAndEndsTheLoop) {
    RefusingPort port;
    QMRUrlSession session;
    auto writer = std::make_shared<PieceWriter>();
    writer->pieces = {patternedBytes(100)};
    writer->holdAfterCurrent = true;  // the writer would otherwise wait for ever
    auto delegate = std::make_shared<RecordingConnectionDelegate>();

    const Upload upload = startUpload(session, port.url("/upload"), 1000, writer, delegate);
    QMRRunLoop::current().run();

    EXPECT_THAT(delegate->calls, ElementsAre("fail"));
    EXPECT_EQ(delegate->error->code(), QMRUrlErrorCannotConnectToHost);
    ASSERT_FALSE(writer->events.empty());
    EXPECT_EQ(writer->events.back(), QMRStreamEventErrorOccurred);
    EXPECT_EQ(std::count(writer->events.begin(), writer->events.end(), QMRStreamEventErrorOccurred), 1);
    EXPECT_EQ(upload.output->write(QMRData{1}), -1);
}

TEST(QMRStreamedUpload, CancelFromAStreamEventStopsTheConnectionsCallbacks) {
    ScriptedHttpServer server;
    server.setHandler([](const ScriptedHttpRequest&) { return ScriptedHttpAnswer::withStatus(200, "unseen"); });
    QMRUrlSession session;
    auto writer = std::make_shared<PieceWriter>();
    writer->pieces = {patternedBytes(500)};
    writer->holdAfterCurrent = true;
    auto delegate = std::make_shared<RecordingConnectionDelegate>();
    Upload upload;
    writer->onHold = [&] {
        // The caller asked to stop: cancel, then close the writing end, as the back-ends' clean-up does.
        upload.connection->cancel();
        upload.output->close();
    };

    upload = startUpload(session, server.url("/upload"), 1000, writer, delegate);
    QMRRunLoop::current().run();

    EXPECT_TRUE(delegate->calls.empty());
    EXPECT_EQ(std::count(writer->events.begin(), writer->events.end(), QMRStreamEventErrorOccurred), 0);
    EXPECT_FALSE(QMRRunLoop::current().hasScheduledWork());
}

}  // namespace
