#pragma once
// What the requests of one account share: cookies, kept-alive connections, resolved names and TLS
// sessions. Each data store (or ownCloud authenticator) owns one; two sessions never share cookies.
//
// Requests sent through one session synchronously go out one at a time, each reusing the
// session's connection to the server when it is still open. A session may be used from any thread.
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "companion/web/QMRUrlSessionConfiguration.h"

class QMRUrlSession {
public:
    static constexpr std::chrono::milliseconds defaultTimeoutInterval =
        QMRUrlSessionConfiguration::defaultTimeoutInterval;

    QMRUrlSession();
    // A session with those settings; a non-positive time-out raises QMRInvalidArgumentException.
    explicit QMRUrlSession(const QMRUrlSessionConfiguration& configuration);
    ~QMRUrlSession();
    QMRUrlSession(const QMRUrlSession&) = delete;
    QMRUrlSession& operator=(const QMRUrlSession&) = delete;
    // A moved-from session may only be destroyed or assigned to; using it raises
    // QMRInvalidOperationException.
    QMRUrlSession(QMRUrlSession&&) noexcept;
    QMRUrlSession& operator=(QMRUrlSession&&) noexcept;

    // The idle time-out of the session's transfers. A request is given the shorter of its own
    // interval and this one, so a session can cap every request made for it (both default to 60 s).
    // A non-positive interval raises QMRInvalidArgumentException.
    std::chrono::milliseconds timeoutInterval() const;
    void setTimeoutInterval(std::chrono::milliseconds interval);

    // A PEM file of certificates that the session's TLS connections trust in place of the system's
    // store: for a server with a certificate of its own (a self-signed one). Empty, the default,
    // means the system's store. A file that cannot be read fails each TLS request with
    // QMRUrlErrorSecureConnectionFailed. Applies to requests started afterwards.
    std::string trustedCertificateFile() const;
    void setTrustedCertificateFile(std::string path);

private:
    friend class QMRUrlConnection;

    struct State;

    // The session's reusable transfer handle, attached to the shared state, kept from other threads
    // while the lease lives. Its end resets the handle's options, which point into the sender's
    // memory, but keeps the open connections for the next request.
    class HandleLease {
    public:
        HandleLease(const HandleLease&) = delete;
        HandleLease& operator=(const HandleLease&) = delete;
        ~HandleLease();
        void* handle() const noexcept { return _handle; }

    private:
        friend class QMRUrlSession;
        HandleLease(std::unique_lock<std::mutex> lock, void* handle) : _lock(std::move(lock)), _handle(handle) {}
        std::unique_lock<std::mutex> _lock;
        void* _handle;
    };
    HandleLease leaseSynchronousHandle();
    // Connects a transfer handle to the cookies, name cache and TLS sessions of this session.
    void attachHandle(void* handle);
    static void attachHandle(State& state, void* handle);

    State& state() const;
    // Asynchronous transfers hold the state, so the share outlives every handle attached to it even
    // when the session goes first.
    std::shared_ptr<State> sharedState() const;

    std::shared_ptr<State> _state;
};
