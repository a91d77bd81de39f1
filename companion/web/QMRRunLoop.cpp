#include "companion/web/QMRRunLoop.h"

#include <curl/curl.h>

#include <algorithm>
#include <new>
#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/web/QMRUrlConnection.h"
#include "companion/web/QMRUrlTransfer.h"

namespace {
// A wait without any deadline still ends now and then, which costs nothing and bounds the damage
// of a wake-up that never comes.
constexpr int longestWaitMilliseconds = 60'000;

// Marks the loop as inside curl for the duration of a call into it.
class InsideCurl {
public:
    explicit InsideCurl(bool& flag) : _flag(flag) { _flag = true; }
    ~InsideCurl() { _flag = false; }
    InsideCurl(const InsideCurl&) = delete;
    InsideCurl& operator=(const InsideCurl&) = delete;

private:
    bool& _flag;
};
}  // namespace

QMRRunLoop& QMRRunLoop::current() {
    thread_local const std::shared_ptr<QMRRunLoop> loop(new QMRRunLoop);
    return *loop;
}

QMRRunLoop::QMRRunLoop() : _thread(std::this_thread::get_id()) {
    QMRUrlTransfer::initializeCurlOnce();
    _multi = curl_multi_init();
    if (_multi == nullptr) throw std::bad_alloc();
}

QMRRunLoop::~QMRRunLoop() {
    // The thread is ending: its transfers can never be called back any more.
    for (const auto& [handle, connection] : _transfers) curl_multi_remove_handle(_multi, handle);
    _transfers.clear();
    _pendingTransfers.clear();
    _sources.clear();
    curl_multi_cleanup(_multi);
}

void QMRRunLoop::run() {
    runUntil(std::nullopt);
}

bool QMRRunLoop::runUntilDate(QMRDate limit) {
    const auto remaining = limit - std::chrono::system_clock::now();
    return runUntil(Clock::now() + std::chrono::duration_cast<Clock::duration>(remaining));
}

void QMRRunLoop::performBlock(std::function<void()> block) {
    {
        std::lock_guard lock(_blocksMutex);
        _blocks.push_back(std::move(block));
    }
    if (std::this_thread::get_id() != _thread) curl_multi_wakeup(_multi);
}

bool QMRRunLoop::hasScheduledWork() const {
    return !_transfers.empty() || !_pendingTransfers.empty() || !_sources.empty() || hasQueuedBlocks();
}

bool QMRRunLoop::hasQueuedBlocks() const {
    std::lock_guard lock(_blocksMutex);
    return !_blocks.empty();
}

void QMRRunLoop::throwIfNotOwnThread() const {
    if (std::this_thread::get_id() != _thread)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName,
                                              "A run loop runs on its own thread only");
}

bool QMRRunLoop::runUntil(std::optional<Clock::time_point> limit) {
    throwIfNotOwnThread();
    if (_running)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName,
                                              "The run loop is already running");
    _running = true;
    struct Stopped {
        bool& running;
        ~Stopped() { running = false; }
    } stopped{_running};

    while (hasScheduledWork()) {
        turn();
        if (!hasScheduledWork() || (limit && Clock::now() >= *limit)) break;
        waitForWork(limit);
    }
    return hasScheduledWork();
}

void QMRRunLoop::turn() {
    ++_iterations;
    runQueuedBlocks();
    attachPendingTransfers();
    driveTransfers();
    expireIdleTransfers();
}

void QMRRunLoop::runQueuedBlocks() {
    // Only the blocks queued so far: a block that queues another one cannot starve the transfers.
    std::size_t due = 0;
    {
        std::lock_guard lock(_blocksMutex);
        due = _blocks.size();
    }
    for (; due > 0; --due) {
        std::function<void()> block;
        {
            std::lock_guard lock(_blocksMutex);
            if (_blocks.empty()) return;
            block = std::move(_blocks.front());
            _blocks.pop_front();
        }
        block();
    }
}

void QMRRunLoop::addTransfer(std::shared_ptr<QMRUrlConnection> connection, void* handle) {
    _pendingTransfers.emplace_back(handle, std::move(connection));
}

void QMRRunLoop::attachPendingTransfers() {
    auto pending = std::move(_pendingTransfers);
    _pendingTransfers.clear();
    for (auto& [handle, connection] : pending) {
        const CURLMcode result = curl_multi_add_handle(_multi, handle);
        if (result == CURLM_OUT_OF_MEMORY) throw std::bad_alloc();
        _transfers.emplace(handle, std::move(connection));
    }
}

void QMRRunLoop::removeTransfer(void* handle) {
    auto waiting = std::find_if(_pendingTransfers.begin(), _pendingTransfers.end(),
                                [handle](const auto& entry) { return entry.first == handle; });
    if (waiting != _pendingTransfers.end()) {
        _pendingTransfers.erase(waiting);
        return;
    }
    // curl refuses to let a handle go from inside one of its own callbacks.
    if (_insideCurl) {
        _retiredTransfers.push_back(handle);
        return;
    }
    const auto active = _transfers.find(handle);
    if (active == _transfers.end()) return;
    curl_multi_remove_handle(_multi, handle);
    const auto keptAlive = std::move(active->second);
    _transfers.erase(active);
}

void QMRRunLoop::resumeTransfer(void* handle) {
    if (_transfers.contains(handle)) curl_easy_pause(handle, CURLPAUSE_CONT);
}

void QMRRunLoop::addSource(std::shared_ptr<void> source) {
    const void* key = source.get();
    _sources.emplace(key, std::move(source));
}

void QMRRunLoop::removeSource(const void* source) {
    const auto found = _sources.find(source);
    if (found == _sources.end()) return;
    // The source may be released by this; it must not go while the map is being changed.
    const auto keptAlive = std::move(found->second);
    _sources.erase(found);
}

void QMRRunLoop::keepCallbackFailure(std::exception_ptr failure) {
    if (!_callbackFailure) _callbackFailure = std::move(failure);
}

void QMRRunLoop::driveTransfers() {
    if (!_transfers.empty()) {
        int running = 0;
        InsideCurl inside(_insideCurl);
        curl_multi_perform(_multi, &running);
    }
    for (void* handle : std::exchange(_retiredTransfers, {})) removeTransfer(handle);
    if (_callbackFailure) std::rethrow_exception(std::exchange(_callbackFailure, nullptr));

    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(_multi, &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        finishTransfer(message->easy_handle, message->data.result);
    }
}

void QMRRunLoop::finishTransfer(void* handle, int curlResult) {
    const auto active = _transfers.find(handle);
    if (active == _transfers.end()) return;
    const auto connection = std::move(active->second);
    _transfers.erase(active);
    curl_multi_remove_handle(_multi, handle);
    connection->transferDone(curlResult);
}

void QMRRunLoop::expireIdleTransfers() {
    const auto now = Clock::now();
    std::vector<void*> expired;
    for (const auto& [handle, connection] : _transfers)
        if (connection->idleLimitPassed(now)) expired.push_back(handle);
    for (void* handle : expired) {
        const auto active = _transfers.find(handle);
        if (active == _transfers.end()) continue;
        const auto connection = std::move(active->second);
        _transfers.erase(active);
        curl_multi_remove_handle(_multi, handle);
        connection->transferTimedOut();
    }
}

void QMRRunLoop::waitForWork(std::optional<Clock::time_point> limit) {
    if (hasQueuedBlocks() || !_pendingTransfers.empty()) return;
    const auto now = Clock::now();
    auto deadline = now + std::chrono::milliseconds(longestWaitMilliseconds);
    long curlTimeout = -1;
    curl_multi_timeout(_multi, &curlTimeout);
    if (curlTimeout >= 0) deadline = std::min(deadline, now + std::chrono::milliseconds(curlTimeout));
    for (const auto& [handle, connection] : _transfers) deadline = std::min(deadline, connection->idleDeadline());
    if (limit) deadline = std::min(deadline, *limit);
    if (deadline <= now) return;
    // Rounded up, so a deadline is never woken for just before it passes.
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(deadline - now);
    InsideCurl inside(_insideCurl);
    curl_multi_poll(_multi, nullptr, 0, static_cast<int>(wait.count()), nullptr);
}
