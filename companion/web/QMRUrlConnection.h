#pragma once
// Sends HTTP requests. A synchronous send blocks the calling thread until the answer has arrived or
// the transfer failed. An asynchronous connection runs on a run loop and hands the answer to its
// delegate piece by piece, so no answer or body is ever held whole.
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"
#include "companion/web/QMRHttpUrlResponse.h"
#include "companion/web/QMRUrlConnectionDelegate.h"
#include "companion/web/QMRUrlRequest.h"
#include "companion/web/QMRUrlSession.h"

class QMRRunLoop;
class QMRBoundInputStream;

class QMRUrlConnection : public std::enable_shared_from_this<QMRUrlConnection> {
public:
    // Returns the body (possibly empty) of every HTTP answer, whatever its status, and fills
    // response. A transport failure returns none, sets error to a QMRUrlErrorDomain error and gives
    // response that error's (negative) code as its status. A 401 answer carrying a WWW-Authenticate
    // challenge returns its body with status 401 and also sets error to
    // QMRUrlErrorUserCancelledAuthentication: no credentials are offered to a challenge.
    //
    // Redirects are followed (at most 10) with the session's cookies; credentials are not sent to
    // another host, nor is a body, which may hold them: such a redirect fails with
    // QMRUrlErrorCancelled. The request's body stream, if any, is read to its end before sending.
    // Misuse by the caller (a header field that would break the request, a Content-Length that
    // contradicts the body) raises QMRInvalidArgumentException before anything is sent.
    static std::optional<QMRData> sendSynchronousRequest(QMRUrlSession& session, const QMRUrlRequest& request,
                                                         QMRHttpUrlResponse& response, QMRErrorSlot& error);
    // The same with a session of its own: nothing (cookies, connections) is kept afterwards.
    static std::optional<QMRData> sendSynchronousRequest(const QMRUrlRequest& request, QMRHttpUrlResponse& response,
                                                         QMRErrorSlot& error);

    // initWithRequest:delegate:startImmediately: an asynchronous connection that sends a copy of
    // request with the session's cookies. Started immediately, it is scheduled on the calling
    // thread's run loop; otherwise it waits for scheduleInRunLoop and start.
    //
    // The answer reaches the delegate as on the synchronous path (same redirects, same error codes,
    // the session's and the request's idle time-out, a 401 delivered as an answer). A body stream
    // is read while sending: a bound input stream pauses the upload while it is empty and resumes
    // when its writer writes; its end ends the body. Content-Length, when the request sets it, is
    // the length of the body; without it the body goes out chunked.
    //
    // The connection keeps its delegate until it finishes, fails or is cancelled; a scheduled
    // connection is kept alive by its run loop while its transfer is under way. The session's share
    // is kept alive by the connection, so the session itself may go first.
    static std::shared_ptr<QMRUrlConnection> initWithRequest(QMRUrlSession& session, const QMRUrlRequest& request,
                                                             std::shared_ptr<QMRUrlConnectionDelegate> delegate,
                                                             bool startImmediately);
    ~QMRUrlConnection();
    QMRUrlConnection(const QMRUrlConnection&) = delete;
    QMRUrlConnection& operator=(const QMRUrlConnection&) = delete;

    // Chooses the run loop whose thread gets the callbacks; only before start (later calls are
    // ignored). Run-loop modes do not exist here: every scheduled source runs in every turn.
    void scheduleInRunLoop(QMRRunLoop& runLoop);
    // Starts the transfer (on the calling thread's run loop unless scheduled elsewhere); the
    // callbacks come once that loop runs. Misuse of the request raises QMRInvalidArgumentException
    // here. Starting again, or after cancel, does nothing.
    void start();
    // Stops the transfer; no callback follows, not even one already due. The delegate is released
    // and a bound body stream's writer is told that its reader has gone.
    void cancel();

    const QMRUrlRequest& originalRequest() const noexcept { return _request; }

private:
    friend class QMRRunLoop;
    class Transfer;
    enum class State { waiting, started, ended };

    QMRUrlConnection(QMRUrlSession& session, const QMRUrlRequest& request,
                     std::shared_ptr<QMRUrlConnectionDelegate> delegate);

    // Called by the run loop once curl has finished with the handle (already removed from it).
    void transferDone(int curlResult);
    // Called by the run loop when no byte moved for the idle limit (handle already removed).
    void transferTimedOut();
    bool idleLimitPassed(std::chrono::steady_clock::time_point now) const;
    std::chrono::steady_clock::time_point idleDeadline() const;
    void resumeBody();

    // Inside curl: the answer's body and the upload's next bytes.
    bool deliverBody(QMRDataView bytes);
    std::optional<std::size_t> supplyBody(std::span<std::uint8_t> room);

    bool deliverResponseOnce();
    void fail(const QMRError& error);
    // Ends the exchange: no callback after it; returns the delegate for a last call.
    std::shared_ptr<QMRUrlConnectionDelegate> end();

    std::shared_ptr<QMRUrlSession::State> _sessionState;
    std::chrono::milliseconds _idleLimit;
    QMRUrlRequest _request;
    std::shared_ptr<QMRUrlConnectionDelegate> _delegate;
    std::shared_ptr<QMRBoundInputStream> _boundBody;
    // Set while the upload is paused for want of body bytes; the writer's side clears it and asks
    // the run loop to resume, from whatever thread it writes on.
    std::shared_ptr<std::atomic<bool>> _waitingForBody = std::make_shared<std::atomic<bool>>(false);
    std::weak_ptr<QMRRunLoop> _runLoop;
    std::unique_ptr<Transfer> _transfer;
    void* _handle = nullptr;
    State _state = State::waiting;
    bool _responseDelivered = false;
};
