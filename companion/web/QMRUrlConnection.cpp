#include "companion/web/QMRUrlConnection.h"

#include <curl/curl.h>

#include <algorithm>
#include <charconv>
#include <exception>
#include <new>
#include <utility>

#include "companion/io/QMRBoundInputStream.h"
#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRUrlError.h"
#include "companion/web/QMRUrlTransfer.h"

namespace {

// The synchronous send gathers the answer's body.
class WholeBodyTransfer : public QMRUrlTransfer {
public:
    WholeBodyTransfer(const QMRUrlRequest& request, std::chrono::milliseconds idleLimit)
        : QMRUrlTransfer(request, idleLimit, BodyMode::whole) {}

    QMRData body;
    // An exception must not cross curl's C frames; it is kept and rethrown after the transfer.
    std::exception_ptr failure;

protected:
    bool didReceiveBody(QMRDataView bytes) override {
        try {
            if (body.empty()) reserveAnnouncedLength();
            // The vector grows geometrically, so a large body costs linear time.
            body.insert(body.end(), bytes.begin(), bytes.end());
        } catch (...) {
            failure = std::current_exception();
            return false;
        }
        return true;
    }

private:
    // Large pages arrive in many pieces: taking the announced length at once saves the copies and
    // fresh pages of repeated growth. A server's figure is only trusted up to a sane bound.
    void reserveAnnouncedLength() {
        static constexpr std::uint64_t largestReservation = 64u * 1024 * 1024;
        const std::optional<std::string> announced = receivedResponse().valueForHTTPHeaderField("Content-Length");
        std::uint64_t length = 0;
        if (!announced || std::from_chars(announced->data(), announced->data() + announced->size(), length).ec !=
                              std::errc())
            return;
        body.reserve(static_cast<std::size_t>(std::min(length, largestReservation)));
    }
};

std::chrono::milliseconds idleLimitFor(const QMRUrlSession& session, const QMRUrlRequest& request) {
    return std::min(request.timeoutInterval(), session.timeoutInterval());
}

}  // namespace

// The asynchronous connection's transfer hands what curl moves straight to the connection.
class QMRUrlConnection::Transfer : public QMRUrlTransfer {
public:
    Transfer(QMRUrlConnection& connection, std::chrono::milliseconds idleLimit)
        : QMRUrlTransfer(connection._request, idleLimit, BodyMode::streamed), _connection(connection) {}

protected:
    bool didReceiveBody(QMRDataView bytes) override { return _connection.deliverBody(bytes); }
    std::optional<std::size_t> supplyBody(std::span<std::uint8_t> room) override {
        return _connection.supplyBody(room);
    }

private:
    QMRUrlConnection& _connection;
};

std::optional<QMRData> QMRUrlConnection::sendSynchronousRequest(QMRUrlSession& session, const QMRUrlRequest& request,
                                                                QMRHttpUrlResponse& response, QMRErrorSlot& error) {
    WholeBodyTransfer transfer(request, idleLimitFor(session, request));
    if (transfer.refusal()) {
        response = QMRHttpUrlResponse(request.URL(), transfer.refusal()->code());
        error = transfer.refusal();
        return std::nullopt;
    }

    const QMRUrlSession::HandleLease lease = session.leaseSynchronousHandle();
    transfer.configure(lease.handle());
    const CURLcode result = curl_easy_perform(lease.handle());
    if (transfer.failure) std::rethrow_exception(transfer.failure);
    if (std::optional<QMRError> failure = transfer.failureFor(result)) {
        error = std::move(failure);
        response = QMRHttpUrlResponse(request.URL(), error->code());
        return std::nullopt;
    }

    response = transfer.receivedResponse();
    // No credentials are offered to a challenge; callers see the platform's "authentication
    // cancelled" next to the 401 and its body.
    if (response.statusCode() == 401 && response.allHeaderFields().contains("WWW-Authenticate"))
        error = QMRUrlTransfer::urlError(QMRUrlErrorUserCancelledAuthentication, response.URL(), {});
    else
        error.reset();
    return std::move(transfer.body);
}

std::optional<QMRData> QMRUrlConnection::sendSynchronousRequest(const QMRUrlRequest& request,
                                                                QMRHttpUrlResponse& response, QMRErrorSlot& error) {
    QMRUrlSession session;
    return sendSynchronousRequest(session, request, response, error);
}

std::shared_ptr<QMRUrlConnection> QMRUrlConnection::initWithRequest(QMRUrlSession& session,
                                                                    const QMRUrlRequest& request,
                                                                    std::shared_ptr<QMRUrlConnectionDelegate> delegate,
                                                                    bool startImmediately) {
    std::shared_ptr<QMRUrlConnection> connection(new QMRUrlConnection(session, request, std::move(delegate)));
    if (startImmediately) connection->start();
    return connection;
}

QMRUrlConnection::QMRUrlConnection(QMRUrlSession& session, const QMRUrlRequest& request,
                                   std::shared_ptr<QMRUrlConnectionDelegate> delegate)
    : _sessionState(session.sharedState()),
      _idleLimit(idleLimitFor(session, request)),
      _request(request),
      _delegate(std::move(delegate)),
      _boundBody(std::dynamic_pointer_cast<QMRBoundInputStream>(_request.HTTPBodyStream())) {}

QMRUrlConnection::~QMRUrlConnection() {
    if (_boundBody) _boundBody->setReadinessHandler({});
    // The handle points into the transfer, so it goes first.
    if (_handle != nullptr) curl_easy_cleanup(_handle);
}

void QMRUrlConnection::scheduleInRunLoop(QMRRunLoop& runLoop) {
    if (_state != State::waiting) return;
    _runLoop = runLoop.weak_from_this();
}

void QMRUrlConnection::start() {
    if (_state != State::waiting) return;
    const auto self = shared_from_this();
    std::shared_ptr<QMRRunLoop> loop = _runLoop.lock();
    if (!loop) {
        loop = QMRRunLoop::current().shared_from_this();
        _runLoop = loop;
    }
    // Misuse raises here, before anything is under way.
    auto transfer = std::make_unique<Transfer>(*this, _idleLimit);
    _state = State::started;
    _transfer = std::move(transfer);
    if (_transfer->refusal()) {
        // As any failure, reported from the run loop; the block keeps the connection until then.
        loop->performBlock([self, failure = *_transfer->refusal()] { self->fail(failure); });
        return;
    }

    _handle = curl_easy_init();
    if (_handle == nullptr) throw std::bad_alloc();
    QMRUrlSession::attachHandle(*_sessionState, _handle);
    _transfer->configure(_handle);
    if (_boundBody)
        _boundBody->setReadinessHandler([waiting = _waitingForBody, weakLoop = _runLoop, weakSelf = weak_from_this()] {
            if (!waiting->exchange(false)) return;
            if (auto target = weakLoop.lock())
                target->performBlock([weakSelf] {
                    if (auto connection = weakSelf.lock()) connection->resumeBody();
                });
        });
    loop->addTransfer(self, _handle);
}

void QMRUrlConnection::cancel() {
    if (_state == State::ended) return;
    // Taking the transfer out of the loop may drop the loop's reference to this connection.
    const auto self = shared_from_this();
    const bool underWay = _state == State::started && _handle != nullptr;
    end();
    if (_transfer) _transfer->abandon();
    if (underWay)
        if (auto loop = _runLoop.lock()) loop->removeTransfer(_handle);
}

void QMRUrlConnection::transferDone(int curlResult) {
    if (_state != State::started) return;
    if (const std::optional<QMRError> failure = _transfer->failureFor(curlResult)) {
        fail(*failure);
        return;
    }
    if (!deliverResponseOnce()) return;
    if (const auto delegate = end()) delegate->connectionDidFinishLoading(*this);
}

void QMRUrlConnection::transferTimedOut() {
    if (_state == State::started) fail(_transfer->idleTimeoutFailure());
}

bool QMRUrlConnection::idleLimitPassed(std::chrono::steady_clock::time_point now) const {
    return _transfer->idleLimitPassed(now);
}

std::chrono::steady_clock::time_point QMRUrlConnection::idleDeadline() const {
    return _transfer->idleDeadline();
}

void QMRUrlConnection::resumeBody() {
    if (_state != State::started) return;
    if (auto loop = _runLoop.lock()) loop->resumeTransfer(_handle);
}

bool QMRUrlConnection::deliverBody(QMRDataView bytes) {
    if (_state != State::started) return false;
    try {
        if (!deliverResponseOnce()) return false;
        // The delegate may cancel and drop its last reference to itself during the call.
        if (const auto delegate = _delegate) delegate->connection(*this, bytes);
    } catch (...) {
        if (auto loop = _runLoop.lock()) loop->keepCallbackFailure(std::current_exception());
        cancel();
        return false;
    }
    return _state == State::started;
}

std::optional<std::size_t> QMRUrlConnection::supplyBody(std::span<std::uint8_t> room) {
    try {
        if (!_boundBody) return _request.HTTPBodyStream()->read(room);
        // Raised before looking, so a write that lands in between still resumes the upload.
        _waitingForBody->store(true);
        const std::optional<std::size_t> count = _boundBody->readIfAvailable(room);
        if (count) _waitingForBody->store(false);
        return count;
    } catch (...) {
        if (auto loop = _runLoop.lock()) loop->keepCallbackFailure(std::current_exception());
        cancel();
        return 0;
    }
}

bool QMRUrlConnection::deliverResponseOnce() {
    if (!_responseDelivered) {
        _responseDelivered = true;
        if (const auto delegate = _delegate) delegate->connection(*this, _transfer->receivedResponse());
    }
    return _state == State::started;
}

void QMRUrlConnection::fail(const QMRError& error) {
    if (_state != State::started) return;
    if (const auto delegate = end()) delegate->connection(*this, error);
}

std::shared_ptr<QMRUrlConnectionDelegate> QMRUrlConnection::end() {
    _state = State::ended;
    if (_boundBody) {
        _boundBody->setReadinessHandler({});
        // A writer still writing learns that nobody reads any more.
        _boundBody->close();
    }
    return std::move(_delegate);
}
