#pragma once
// The writing end of a bound stream pair (see QMRStreamUtil). Its bytes go to the input end through
// a buffer of fixed size; a write takes what fits. Scheduled on a run loop with a delegate, it
// reports there:
//   - QMRStreamEventOpenCompleted once opened;
//   - QMRStreamEventHasSpaceAvailable after opening and again each time the reader has taken bytes
//     while the stream is open; a writer that lets an event pass is not asked again until the
//     reader moves, so an idle writer costs nothing;
//   - QMRStreamEventErrorOccurred once the input end is closed or gone while this end is open; the
//     stream then refuses writes with -1 and sends no further events.
// Events come from the run loop, never from inside write or open. The stream keeps its delegate
// until it is closed or has reported an error. While open and scheduled, it keeps its run loop
// running and is kept alive by it.
// Used on the thread of its run loop; the reader may be on any thread.
#include <cstdint>
#include <memory>
#include <optional>

#include "companion/io/QMRStreamDelegate.h"
#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"

class QMRBoundStreamBuffer;
class QMRRunLoop;

// The platform's stream states.
enum QMRStreamStatus : std::uint32_t {
    QMRStreamStatusNotOpen = 0,
    QMRStreamStatusOpening = 1,
    QMRStreamStatusOpen = 2,
    QMRStreamStatusReading = 3,
    QMRStreamStatusWriting = 4,
    QMRStreamStatusAtEnd = 5,
    QMRStreamStatusClosed = 6,
    QMRStreamStatusError = 7,
};

// The domain of the error that a writer sees when its reader has gone (EPIPE).
inline constexpr char QMRPosixErrorDomain[] = "NSPOSIXErrorDomain";

class QMRBoundOutputStream : public std::enable_shared_from_this<QMRBoundOutputStream> {
public:
    explicit QMRBoundOutputStream(std::shared_ptr<QMRBoundStreamBuffer> buffer);
    ~QMRBoundOutputStream();
    QMRBoundOutputStream(const QMRBoundOutputStream&) = delete;
    QMRBoundOutputStream& operator=(const QMRBoundOutputStream&) = delete;

    void open();
    // Writes as much of data as fits and returns that count (0 when the buffer is full); -1 when
    // the stream is not open or its reader has gone.
    std::int64_t write(QMRDataView data);
    bool hasSpaceAvailable() const;
    // Ends the input end's data once it has read what was written; no event follows.
    void close();

    void setDelegate(std::shared_ptr<QMRStreamDelegate> delegate);
    const std::shared_ptr<QMRStreamDelegate>& delegate() const noexcept { return _delegate; }
    // One run loop at a time; scheduling elsewhere moves the stream. Modes do not exist here.
    void scheduleInRunLoop(QMRRunLoop& runLoop);
    void removeFromRunLoop(QMRRunLoop& runLoop);

    QMRStreamStatus streamStatus() const noexcept { return _status; }
    const std::optional<QMRError>& streamError() const noexcept { return _error; }

private:
    // Runs on the run loop after the reader moved.
    void readerMoved();
    // Asks the run loop for a turn that delivers what is due.
    void requestDelivery();
    void deliverDueEvents();
    void updateSourceRegistration();
    bool deliverable() const;

    std::shared_ptr<QMRBoundStreamBuffer> _buffer;
    std::shared_ptr<QMRStreamDelegate> _delegate;
    std::weak_ptr<QMRRunLoop> _runLoop;
    std::weak_ptr<QMRRunLoop> _registeredWith;
    QMRStreamStatus _status = QMRStreamStatusNotOpen;
    std::optional<QMRError> _error;
    bool _openEventDue = false;
    bool _spaceEventDue = false;
    bool _errorEventDue = false;
    bool _deliveryRequested = false;
};
