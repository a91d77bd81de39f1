#pragma once
// What a stream scheduled on a run loop tells its delegate, on the loop's thread. The values are
// the platform's, so code that compares event codes with numbers keeps working.
#include <cstdint>

class QMRBoundOutputStream;

enum QMRStreamEvent : std::uint32_t {
    QMRStreamEventNone = 0,
    QMRStreamEventOpenCompleted = 1,
    QMRStreamEventHasBytesAvailable = 2,
    QMRStreamEventHasSpaceAvailable = 4,
    QMRStreamEventErrorOccurred = 8,
    QMRStreamEventEndEncountered = 16,
};

class QMRStreamDelegate {
public:
    virtual ~QMRStreamDelegate() = default;

    // stream:handleEvent: one event at a time, never from inside a call on the stream.
    virtual void stream(QMRBoundOutputStream& stream, QMRStreamEvent eventCode) = 0;
};
