#pragma once
// A per-thread event loop: it drives the transfers of the asynchronous URL connections (curl's multi
// interface) and delivers the events of the streams scheduled on it. Everything scheduled on a run
// loop is called back on its thread, from run() or runUntilDate(), never from another thread.
//
// Only performBlock may be called from any thread; everything else belongs to the loop's thread.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "companion/util/QMRTypes.h"

class QMRUrlConnection;

class QMRRunLoop : public std::enable_shared_from_this<QMRRunLoop> {
public:
    // The calling thread's run loop, made on first use and kept until the thread ends.
    static QMRRunLoop& current();

    ~QMRRunLoop();
    QMRRunLoop(const QMRRunLoop&) = delete;
    QMRRunLoop& operator=(const QMRRunLoop&) = delete;

    // Runs until nothing is scheduled any more: no transfer under way, no open stream scheduled, no
    // block waiting. An exception thrown by a callback ends the run and passes on to the caller.
    // Calling it on another thread than the loop's, or from inside a callback of this loop, raises
    // QMRInvalidOperationException.
    void run();
    // The same, but returns at limit at the latest. Returns whether anything is still scheduled.
    bool runUntilDate(QMRDate limit);

    // Queues block to run on the loop's thread at its next turn and wakes the loop if it waits.
    // Safe from any thread; blocks run in the order queued.
    void performBlock(std::function<void()> block);

    // Whether a run would have anything to do.
    bool hasScheduledWork() const;
    // Turns of the loop so far: each turn follows a wait that something ended. A transfer that
    // waits (for its body, for the server) costs no turns, which is how callers can tell.
    std::uint64_t iterationCount() const noexcept { return _iterations; }

private:
    friend class QMRUrlConnection;
    friend class QMRBoundOutputStream;
    using Clock = std::chrono::steady_clock;

    QMRRunLoop();

    // The connection's handle joins the loop's transfers at the next turn; the loop keeps the
    // connection alive until the transfer ends or is removed.
    void addTransfer(std::shared_ptr<QMRUrlConnection> connection, void* handle);
    // Takes the handle out of the transfers; deferred to the end of curl's work when curl is the caller.
    void removeTransfer(void* handle);
    // Resumes an upload that was paused for want of body bytes.
    void resumeTransfer(void* handle);
    // An open stream scheduled here keeps run() going and is kept alive by the loop until then.
    void addSource(std::shared_ptr<void> source);
    void removeSource(const void* source);
    // Keeps an exception from a callback that curl called, to rethrow once curl has returned.
    void keepCallbackFailure(std::exception_ptr failure);

    bool runUntil(std::optional<Clock::time_point> limit);
    void turn();
    void runQueuedBlocks();
    void attachPendingTransfers();
    void driveTransfers();
    void finishTransfer(void* handle, int curlResult);
    void expireIdleTransfers();
    void waitForWork(std::optional<Clock::time_point> limit);
    bool hasQueuedBlocks() const;
    void throwIfNotOwnThread() const;

    void* _multi = nullptr;
    std::thread::id _thread;
    mutable std::mutex _blocksMutex;
    std::deque<std::function<void()>> _blocks;
    std::vector<std::pair<void*, std::shared_ptr<QMRUrlConnection>>> _pendingTransfers;
    std::map<void*, std::shared_ptr<QMRUrlConnection>> _transfers;
    std::vector<void*> _retiredTransfers;
    std::map<const void*, std::shared_ptr<void>> _sources;
    bool _running = false;
    bool _insideCurl = false;
    std::uint64_t _iterations = 0;
    std::exception_ptr _callbackFailure;
};
