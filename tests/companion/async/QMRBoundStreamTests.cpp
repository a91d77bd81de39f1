#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>

#include "companion/io/QMRStreamUtil.h"
#include "companion/util/QMRExceptions.h"
#include "companion/web/QMRRunLoop.h"
#include "tests/companion/async/AsyncTestSupport.h"

using ::testing::ElementsAre;

namespace {

// Records the events of an output stream; may act on each.
struct RecordingStreamDelegate : QMRStreamDelegate {
    std::vector<QMRStreamEvent> events;
    std::function<void(QMRBoundOutputStream&, QMRStreamEvent)> onEvent;
    void stream(QMRBoundOutputStream& stream, QMRStreamEvent eventCode) override {
        events.push_back(eventCode);
        if (onEvent) onEvent(stream, eventCode);
    }
};

struct BoundPair {
    std::shared_ptr<QMRBoundInputStream> input;
    std::shared_ptr<QMRBoundOutputStream> output;
    explicit BoundPair(std::size_t size) { QMRStreamUtil::createBoundInputStream(input, output, size); }
};

// A pair whose writing end is open, scheduled on this thread's loop and recorded by delegate.
struct ScheduledPair : BoundPair {
    std::shared_ptr<RecordingStreamDelegate> delegate = std::make_shared<RecordingStreamDelegate>();
    ScheduledPair() : BoundPair(64) {
        output->setDelegate(delegate);
        output->scheduleInRunLoop(QMRRunLoop::current());
        output->open();
    }
};

QMRData readAvailable(QMRBoundInputStream& input, std::size_t most) {
    QMRData bytes(most);
    const auto count = input.readIfAvailable(bytes);
    bytes.resize(count.value_or(0));
    return bytes;
}

TEST(QMRBoundStreamPair, AWriteTakesWhatFitsAndTheReaderGetsItInOrderThenTheEnd) {
    BoundPair pair(8192);
    const QMRData content = patternedBytes(20000);
    pair.output->open();

    EXPECT_EQ(pair.output->write(content), 8192);
    EXPECT_FALSE(pair.output->hasSpaceAvailable());
    EXPECT_EQ(pair.output->write(content), 0);
    EXPECT_EQ(readAvailable(*pair.input, 5000), QMRData(content.begin(), content.begin() + 5000));
    EXPECT_EQ(pair.output->write(QMRDataView(content).subspan(8192)), 5000);
    EXPECT_EQ(readAvailable(*pair.input, 20000), QMRData(content.begin() + 5000, content.begin() + 13192));

    QMRData room(10);
    EXPECT_EQ(pair.input->readIfAvailable(room), std::nullopt) << "empty but not ended";
    pair.output->close();
    EXPECT_EQ(pair.input->readIfAvailable(room), 0u);
    EXPECT_EQ(pair.input->position(), 13192u);
}

TEST(QMRBoundStreamPair, IsRefusedWithoutABufferAndTheInputEndNeitherWritesNorSeeks) {
    EXPECT_THROW(BoundPair{0}, QMRInvalidArgumentException);

    BoundPair pair(16);
    EXPECT_THROW(pair.input->write(std::string_view("x")), QMRInvalidOperationException);
    EXPECT_THROW(pair.input->seekToOffset(3), QMRInvalidOperationException);
    EXPECT_EQ(pair.output->write(QMRData{1}), -1) << "not open yet";
}

TEST(QMRBoundStreamPair, AReaderOnAnotherThreadWaitsForTheWritersBytesAndEnd) {
    BoundPair pair(4);
    const QMRData content = patternedBytes(1000);
    QMRData received;
    std::thread reader([&] { received = pair.input->readDataFromCurrentToEnd(); });

    pair.output->open();
    for (std::size_t written = 0; written < content.size();) {
        const auto count = pair.output->write(QMRDataView(content).subspan(written));
        ASSERT_GE(count, 0);
        written += static_cast<std::size_t>(count);
        if (count == 0) std::this_thread::yield();
    }
    pair.output->close();
    reader.join();

    EXPECT_EQ(received, content);
}

TEST(QMRBoundStreamEvents, OpenGivesOpenCompletedAndHasSpaceFromTheRunLoopOnly) {
    ScheduledPair pair;
    EXPECT_TRUE(pair.delegate->events.empty());
    pair.delegate->onEvent = [](QMRBoundOutputStream& stream, QMRStreamEvent event) {
        if (event == QMRStreamEventHasSpaceAvailable) stream.close();
    };

    QMRRunLoop::current().run();  // returns once the stream is closed

    EXPECT_THAT(pair.delegate->events, ElementsAre(QMRStreamEventOpenCompleted, QMRStreamEventHasSpaceAvailable));
}

TEST(QMRBoundStreamEvents, HasSpaceComesAgainOnlyAfterTheReaderTookBytes) {
    ScheduledPair pair;
    pair.delegate->onEvent = [](QMRBoundOutputStream& stream, QMRStreamEvent event) {
        if (event == QMRStreamEventHasSpaceAvailable) stream.write(patternedBytes(10));
    };

    // An open stream keeps the loop going, so each run is bounded.
    const auto soon = [] { return std::chrono::system_clock::now() + std::chrono::milliseconds(20); };
    EXPECT_TRUE(QMRRunLoop::current().runUntilDate(soon()));
    EXPECT_EQ(pair.delegate->events.size(), 2u) << "the writer left space unused, yet is not asked again";

    EXPECT_EQ(readAvailable(*pair.input, 4).size(), 4u);
    EXPECT_TRUE(QMRRunLoop::current().runUntilDate(soon()));
    EXPECT_THAT(pair.delegate->events, ElementsAre(QMRStreamEventOpenCompleted, QMRStreamEventHasSpaceAvailable,
                                                   QMRStreamEventHasSpaceAvailable));
    pair.output->close();
    EXPECT_FALSE(QMRRunLoop::current().runUntilDate(soon()));
}

TEST(QMRBoundStreamEvents, AGoneReaderGivesOneErrorEventAndRefusesWrites) {
    ScheduledPair pair;
    QMRRunLoop::current().runUntilDate(std::chrono::system_clock::now() + std::chrono::milliseconds(20));

    pair.input.reset();
    QMRRunLoop::current().run();  // ends: an errored stream no longer keeps the loop

    EXPECT_THAT(pair.delegate->events,
                ElementsAre(QMRStreamEventOpenCompleted, QMRStreamEventHasSpaceAvailable, QMRStreamEventErrorOccurred));
    EXPECT_EQ(pair.output->streamStatus(), QMRStreamStatusError);
    EXPECT_EQ(pair.output->streamError()->code(), EPIPE);
    EXPECT_EQ(pair.output->write(QMRData{1}), -1);
    EXPECT_EQ(pair.output->delegate(), nullptr) << "nothing follows an error, so the delegate is let go";
}

TEST(QMRBoundStreamEvents, ABlockFromAnotherThreadWakesALoopThatWaitsForAStream) {
    ScheduledPair pair;
    QMRRunLoop& loop = QMRRunLoop::current();
    std::thread other([&loop, output = pair.output] { loop.performBlock([output] { output->close(); }); });

    loop.run();  // would wait for ever if the block did not wake it
    other.join();

    EXPECT_EQ(pair.output->streamStatus(), QMRStreamStatusClosed);
}

}  // namespace
