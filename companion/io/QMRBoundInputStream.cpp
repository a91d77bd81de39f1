#include "companion/io/QMRBoundInputStream.h"

#include <fmt/format.h>

#include <utility>

#include "companion/io/QMRBoundStreamBuffer.h"
#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

QMRBoundInputStream::QMRBoundInputStream(std::shared_ptr<QMRBoundStreamBuffer> buffer) : _buffer(std::move(buffer)) {}

QMRBoundInputStream::~QMRBoundInputStream() {
    // A reader that goes away must not leave its writer waiting for space.
    _buffer->setReaderListener({});
    _buffer->closeReader();
}

std::size_t QMRBoundInputStream::read(std::span<std::uint8_t> buffer) {
    throwIfClosed();
    const std::size_t count = _buffer->readWaiting(buffer);
    _position += count;
    return count;
}

std::optional<std::size_t> QMRBoundInputStream::readIfAvailable(std::span<std::uint8_t> buffer) {
    throwIfClosed();
    const std::optional<std::size_t> count = _buffer->readIfAvailable(buffer);
    if (count) _position += *count;
    return count;
}

void QMRBoundInputStream::setReadinessHandler(std::function<void()> handler) {
    _buffer->setReaderListener(std::move(handler));
}

void QMRBoundInputStream::write(QMRDataView) {
    comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName,
                                          "The input end of a bound stream pair cannot be written");
}

void QMRBoundInputStream::close() {
    if (_closed) return;
    _closed = true;
    _buffer->setReaderListener({});
    _buffer->closeReader();
}

void QMRBoundInputStream::seekToOffset(std::uint64_t offset) {
    throwIfClosed();
    if (offset != _position)
        comQuillmereUtil_ExceptionUtil::raise(
            QMRInvalidOperationException::exceptionName,
            fmt::format("The input end of a bound stream pair cannot seek from {} to {}", _position, offset));
}

void QMRBoundInputStream::throwIfClosed() const {
    if (_closed)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName,
                                              "The input end of a bound stream pair is closed");
}
