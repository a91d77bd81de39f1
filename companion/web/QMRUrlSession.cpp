#include "companion/web/QMRUrlSession.h"

#include <curl/curl.h>

#include <array>
#include <atomic>
#include <new>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/web/QMRUrlTransfer.h"

struct QMRUrlSession::State {
    CURLSH* share = nullptr;
    CURL* handle = nullptr;
    std::mutex handleMutex;
    // The share may be entered from several threads (a synchronous send and the transfers of a run
    // loop); curl asks for a lock per kind of shared data.
    std::array<std::mutex, CURL_LOCK_DATA_LAST> shareMutexes;
    std::atomic<std::chrono::milliseconds::rep> timeoutMilliseconds{defaultTimeoutInterval.count()};
    // Read whenever a handle is attached, possibly on a run loop's thread.
    mutable std::mutex trustMutex;
    std::string trustedCertificateFile;

    State() {
        share = curl_share_init();
        handle = curl_easy_init();
        if (share == nullptr || handle == nullptr) {
            release();
            throw std::bad_alloc();
        }
        curl_share_setopt(share, CURLSHOPT_LOCKFUNC, &State::lockShare);
        curl_share_setopt(share, CURLSHOPT_UNLOCKFUNC, &State::unlockShare);
        curl_share_setopt(share, CURLSHOPT_USERDATA, this);
        curl_share_setopt(share, CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
        curl_share_setopt(share, CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
        curl_share_setopt(share, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    }
    ~State() { release(); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void release() noexcept {
        // The handle goes first: a share still in use cannot be cleaned up.
        if (handle != nullptr) curl_easy_cleanup(handle);
        if (share != nullptr) curl_share_cleanup(share);
        handle = nullptr;
        share = nullptr;
    }

    static void lockShare(CURL*, curl_lock_data data, curl_lock_access, void* userData) {
        static_cast<State*>(userData)->shareMutexes.at(data).lock();
    }
    static void unlockShare(CURL*, curl_lock_data data, void* userData) {
        static_cast<State*>(userData)->shareMutexes.at(data).unlock();
    }
};

QMRUrlSession::QMRUrlSession() : QMRUrlSession(QMRUrlSessionConfiguration{}) {}

QMRUrlSession::QMRUrlSession(const QMRUrlSessionConfiguration& configuration) {
    QMRUrlTransfer::initializeCurlOnce();
    _state = std::make_shared<State>();
    setTimeoutInterval(configuration.timeoutInterval);
    setTrustedCertificateFile(configuration.trustedCertificateFile);
}

QMRUrlSession::~QMRUrlSession() = default;
QMRUrlSession::QMRUrlSession(QMRUrlSession&&) noexcept = default;
QMRUrlSession& QMRUrlSession::operator=(QMRUrlSession&&) noexcept = default;

QMRUrlSession::State& QMRUrlSession::state() const {
    if (!_state)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName,
                                              "The URL session was moved from");
    return *_state;
}

std::shared_ptr<QMRUrlSession::State> QMRUrlSession::sharedState() const {
    state();
    return _state;
}

std::chrono::milliseconds QMRUrlSession::timeoutInterval() const {
    return std::chrono::milliseconds(state().timeoutMilliseconds.load());
}

void QMRUrlSession::setTimeoutInterval(std::chrono::milliseconds interval) {
    if (interval <= std::chrono::milliseconds::zero())
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "The time-out interval must be positive");
    state().timeoutMilliseconds.store(interval.count());
}

std::string QMRUrlSession::trustedCertificateFile() const {
    const State& current = state();
    std::lock_guard lock(current.trustMutex);
    return current.trustedCertificateFile;
}

void QMRUrlSession::setTrustedCertificateFile(std::string path) {
    State& current = state();
    std::lock_guard lock(current.trustMutex);
    current.trustedCertificateFile = std::move(path);
}

QMRUrlSession::HandleLease QMRUrlSession::leaseSynchronousHandle() {
    State& current = state();
    std::unique_lock lock(current.handleMutex);
    attachHandle(current.handle);
    return HandleLease(std::move(lock), current.handle);
}

QMRUrlSession::HandleLease::~HandleLease() {
    // curl_easy_reset forgets the list of cookie files without freeing it, so it is cleared first.
    // The cookies themselves live in the share and stay.
    curl_easy_setopt(_handle, CURLOPT_COOKIEFILE, static_cast<char*>(nullptr));
    curl_easy_reset(_handle);
}

void QMRUrlSession::attachHandle(void* handle) {
    attachHandle(state(), handle);
}

void QMRUrlSession::attachHandle(State& state, void* handle) {
    curl_easy_setopt(handle, CURLOPT_SHARE, state.share);
    // An empty file name turns the in-memory cookie engine on without reading any file.
    curl_easy_setopt(handle, CURLOPT_COOKIEFILE, "");
    std::lock_guard lock(state.trustMutex);
    if (!state.trustedCertificateFile.empty()) {
        // curl copies the name. The system's directory of certificates would still be consulted
        // beside the file, so it is turned off: the file alone decides.
        curl_easy_setopt(handle, CURLOPT_CAINFO, state.trustedCertificateFile.c_str());
        curl_easy_setopt(handle, CURLOPT_CAPATH, static_cast<char*>(nullptr));
    }
}
