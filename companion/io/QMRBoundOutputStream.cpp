#include "companion/io/QMRBoundOutputStream.h"

#include <cerrno>
#include <utility>

#include "companion/io/QMRBoundStreamBuffer.h"
#include "companion/web/QMRRunLoop.h"

namespace {
QMRError readerGoneError() {
    return QMRError::withDescription(QMRPosixErrorDomain, EPIPE, "The reading end of the bound stream pair was closed");
}
}  // namespace

QMRBoundOutputStream::QMRBoundOutputStream(std::shared_ptr<QMRBoundStreamBuffer> buffer) : _buffer(std::move(buffer)) {}

QMRBoundOutputStream::~QMRBoundOutputStream() {
    _buffer->setWriterListener({});
    // A writer that goes away ends the reader's data instead of leaving it waiting.
    _buffer->closeWriter();
    if (auto loop = _registeredWith.lock()) loop->removeSource(this);
}

void QMRBoundOutputStream::open() {
    if (_status != QMRStreamStatusNotOpen) return;
    _status = QMRStreamStatusOpen;
    _openEventDue = true;
    _spaceEventDue = true;
    if (_buffer->readerClosed()) {
        _status = QMRStreamStatusError;
        _error = readerGoneError();
        _errorEventDue = true;
    }
    updateSourceRegistration();
    requestDelivery();
}

std::int64_t QMRBoundOutputStream::write(QMRDataView data) {
    if (_status != QMRStreamStatusOpen) return -1;
    if (_buffer->readerClosed()) {
        // The event follows from the run loop, where the reader's departure is also announced.
        _status = QMRStreamStatusError;
        _error = readerGoneError();
        _errorEventDue = true;
        updateSourceRegistration();
        requestDelivery();
        return -1;
    }
    return static_cast<std::int64_t>(_buffer->write(data));
}

bool QMRBoundOutputStream::hasSpaceAvailable() const {
    return _status == QMRStreamStatusOpen && _buffer->freeSpace() > 0;
}

void QMRBoundOutputStream::close() {
    if (_status == QMRStreamStatusClosed) return;
    _status = QMRStreamStatusClosed;
    _openEventDue = _spaceEventDue = _errorEventDue = false;
    _buffer->closeWriter();
    // Breaks the usual cycle of a delegate that holds its stream.
    _delegate.reset();
    updateSourceRegistration();
}

void QMRBoundOutputStream::setDelegate(std::shared_ptr<QMRStreamDelegate> delegate) {
    _delegate = std::move(delegate);
    updateSourceRegistration();
    requestDelivery();
}

void QMRBoundOutputStream::scheduleInRunLoop(QMRRunLoop& runLoop) {
    std::weak_ptr<QMRRunLoop> loop = runLoop.weak_from_this();
    _runLoop = loop;
    // The reader may be on another thread: its moves reach this stream through the run loop.
    _buffer->setWriterListener([loop, self = weak_from_this()] {
        if (auto target = loop.lock())
            target->performBlock([self] {
                if (auto stream = self.lock()) stream->readerMoved();
            });
    });
    updateSourceRegistration();
    requestDelivery();
}

void QMRBoundOutputStream::removeFromRunLoop(QMRRunLoop& runLoop) {
    if (_runLoop.lock().get() != &runLoop) return;
    _runLoop.reset();
    _buffer->setWriterListener({});
    updateSourceRegistration();
}

void QMRBoundOutputStream::readerMoved() {
    if (_status != QMRStreamStatusOpen) return;
    if (_buffer->readerClosed()) {
        _status = QMRStreamStatusError;
        _error = readerGoneError();
        _errorEventDue = true;
        updateSourceRegistration();
    } else {
        _spaceEventDue = true;
    }
    deliverDueEvents();
}

void QMRBoundOutputStream::requestDelivery() {
    if (_deliveryRequested || !deliverable()) return;
    auto loop = _runLoop.lock();
    _deliveryRequested = true;
    loop->performBlock([self = weak_from_this()] {
        if (auto stream = self.lock()) {
            stream->_deliveryRequested = false;
            stream->deliverDueEvents();
        }
    });
}

bool QMRBoundOutputStream::deliverable() const {
    return _delegate != nullptr && !_runLoop.expired();
}

void QMRBoundOutputStream::deliverDueEvents() {
    // The delegate may close the stream and drop the last reference to it during its call.
    const auto self = shared_from_this();
    if (!deliverable()) return;
    if (_openEventDue) {
        _openEventDue = false;
        const auto delegate = _delegate;
        delegate->stream(*this, QMRStreamEventOpenCompleted);
        if (!deliverable()) return;
    }
    if (_errorEventDue) {
        _errorEventDue = false;
        const auto delegate = _delegate;
        delegate->stream(*this, QMRStreamEventErrorOccurred);
        // Nothing follows an error, so the delegate is no longer needed.
        if (_delegate == delegate) _delegate.reset();
        updateSourceRegistration();
        return;
    }
    if (_spaceEventDue && hasSpaceAvailable()) {
        _spaceEventDue = false;
        const auto delegate = _delegate;
        delegate->stream(*this, QMRStreamEventHasSpaceAvailable);
    }
}

void QMRBoundOutputStream::updateSourceRegistration() {
    const bool active =
        _status == QMRStreamStatusOpen || (_status == QMRStreamStatusError && _errorEventDue && _delegate != nullptr);
    std::shared_ptr<QMRRunLoop> wanted = active ? _runLoop.lock() : nullptr;
    std::shared_ptr<QMRRunLoop> current = _registeredWith.lock();
    if (wanted == current) return;
    // The loop may hold the last reference to this stream.
    const auto self = shared_from_this();
    if (current) current->removeSource(this);
    if (wanted) wanted->addSource(shared_from_this());
    _registeredWith = wanted;
}
