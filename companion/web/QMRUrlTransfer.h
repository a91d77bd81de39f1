#pragma once
// One request on a curl transfer handle: the checks, options, idle clock and error mapping that the
// synchronous send and the run loop's connections share, so both put the same request on the wire
// and report the same failures. Internal to the companion; curl stays out of this header.
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"
#include "companion/web/QMRHttpUrlResponse.h"
#include "companion/web/QMRUrlRequest.h"

class QMRUrlTransfer {
public:
    using Clock = std::chrono::steady_clock;

    // whole: a body stream is read to its end before sending and must agree with Content-Length.
    // streamed: a body stream is read while sending, as far as Content-Length says (chunked without it).
    enum class BodyMode { whole, streamed };

    // Checks the request; misuse (a bad header field, a Content-Length that contradicts the body)
    // raises QMRInvalidArgumentException before anything is sent. The request must outlive the transfer.
    QMRUrlTransfer(const QMRUrlRequest& request, std::chrono::milliseconds idleLimit, BodyMode bodyMode);
    virtual ~QMRUrlTransfer();
    QMRUrlTransfer(const QMRUrlTransfer&) = delete;
    QMRUrlTransfer& operator=(const QMRUrlTransfer&) = delete;

    // The error for a URL that cannot be sent at all (bad, unsupported, reserved host); the
    // transfer must not be started then.
    const std::optional<QMRError>& refusal() const noexcept { return _refusal; }

    // Puts the request on handle (a curl easy handle already attached to its session) and routes
    // the handle's callbacks to this object.
    void configure(void* handle);

    // The transport error for curl's result code, with curl's own words as the failure reason; none
    // when the whole answer arrived.
    std::optional<QMRError> failureFor(int curlResult) const;
    // The failure of a transfer that stayed idle for longer than its limit.
    QMRError idleTimeoutFailure() const;
    // Status, header fields and the URL of the answer that ended the redirects, as far as received.
    QMRHttpUrlResponse receivedResponse() const;

    // Whether no byte moved for the idle limit; the moment at which that will be so.
    bool idleLimitPassed(Clock::time_point now) const noexcept { return now - _lastActivity >= _idleLimit; }
    Clock::time_point idleDeadline() const noexcept { return _lastActivity + _idleLimit; }
    void noteActivity() noexcept { _lastActivity = Clock::now(); }

    // Makes every later callback of curl abort the transfer.
    void abandon() noexcept { _abandoned = true; }
    bool abandoned() const noexcept { return _abandoned; }

    const QMRUrlRequest& request() const noexcept { return _request; }

    static QMRError urlError(long code, const std::string& url, std::string_view reason);
    // curl's process-wide set-up, done once before the first handle of any kind is made.
    static void initializeCurlOnce();

protected:
    // The answer's body as it arrives, from inside curl; false aborts the transfer.
    virtual bool didReceiveBody(QMRDataView bytes) = 0;
    // Streamed bodies: fills the start of room and says how much; 0 ends the body; none pauses the
    // upload until the handle is resumed. By default reads the request's body stream.
    virtual std::optional<std::size_t> supplyBody(std::span<std::uint8_t> room);

private:
    struct Plan;
    struct Callbacks;

    // What following the answer whose header fields just ended would take to another origin (host
    // name or port) that may be private: the request's bytes (a login form holds the password) or a
    // header field the caller set beyond those that only describe the request (a session's request
    // token, a lock token). Empty when nothing would; curl itself drops Authorization and Cookie
    // there. A redirect that takes anything along is not followed: the transfer fails with
    // QMRUrlErrorCancelled.
    std::string privateDataTakenByRedirect() const;
    // Whether the last answer's Location, resolved as curl resolves it, names another host or port.
    bool redirectLeavesOrigin() const;

    const QMRUrlRequest& _request;
    std::chrono::milliseconds _idleLimit;
    std::unique_ptr<Plan> _plan;
    std::optional<QMRError> _refusal;
    void* _handle = nullptr;
    Clock::time_point _lastActivity = Clock::now();
    std::int64_t _uploaded = 0;
    bool _idleTimedOut = false;
    // Whether the last answer's header fields reached their closing empty line.
    bool _headerFieldsEnded = false;
    // The last answer's Location, and what following it would have taken away when it was refused
    // (see privateDataTakenByRedirect).
    std::string _redirectLocation;
    std::string _redirectRefusedFor;
    bool _abandoned = false;
    std::array<char, 256> _errorText{};
};
