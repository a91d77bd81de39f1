#include "companion/io/QMRBoundStreamBuffer.h"

#include <algorithm>
#include <utility>

QMRBoundStreamBuffer::QMRBoundStreamBuffer(std::size_t capacity) : _ring(capacity) {}

std::size_t QMRBoundStreamBuffer::write(QMRDataView data) {
    std::function<void()> listener;
    std::size_t count = 0;
    {
        std::lock_guard lock(_mutex);
        if (_writerClosed || _readerClosed) return 0;
        count = std::min(data.size(), _ring.size() - _size);
        // At most two runs: up to the end of the ring, then from its start.
        const std::size_t tail = (_head + _size) % _ring.size();
        const std::size_t first = std::min(count, _ring.size() - tail);
        std::copy_n(data.begin(), first, _ring.begin() + static_cast<std::ptrdiff_t>(tail));
        std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(first), count - first, _ring.begin());
        _size += count;
        if (count > 0) listener = _readerListener;
    }
    if (count > 0) {
        _readable.notify_all();
        notify(listener);
    }
    return count;
}

std::size_t QMRBoundStreamBuffer::freeSpace() const {
    std::lock_guard lock(_mutex);
    return _ring.size() - _size;
}

void QMRBoundStreamBuffer::closeWriter() {
    std::function<void()> listener;
    {
        std::lock_guard lock(_mutex);
        if (_writerClosed) return;
        _writerClosed = true;
        listener = _readerListener;
    }
    _readable.notify_all();
    notify(listener);
}

bool QMRBoundStreamBuffer::readerClosed() const {
    std::lock_guard lock(_mutex);
    return _readerClosed;
}

std::size_t QMRBoundStreamBuffer::takeLocked(std::span<std::uint8_t> buffer) {
    const std::size_t count = std::min(buffer.size(), _size);
    const std::size_t first = std::min(count, _ring.size() - _head);
    std::copy_n(_ring.begin() + static_cast<std::ptrdiff_t>(_head), first, buffer.begin());
    std::copy_n(_ring.begin(), count - first, buffer.begin() + static_cast<std::ptrdiff_t>(first));
    _head = (_head + count) % _ring.size();
    _size -= count;
    return count;
}

std::optional<std::size_t> QMRBoundStreamBuffer::readIfAvailable(std::span<std::uint8_t> buffer) {
    std::function<void()> listener;
    std::size_t count = 0;
    {
        std::lock_guard lock(_mutex);
        if (_size == 0 && !_writerClosed && !buffer.empty()) return std::nullopt;
        count = takeLocked(buffer);
        if (count > 0) listener = _writerListener;
    }
    if (count > 0) notify(listener);
    return count;
}

std::size_t QMRBoundStreamBuffer::readWaiting(std::span<std::uint8_t> buffer) {
    std::function<void()> listener;
    std::size_t count = 0;
    {
        std::unique_lock lock(_mutex);
        _readable.wait(lock, [&] { return _size > 0 || _writerClosed || buffer.empty(); });
        count = takeLocked(buffer);
        if (count > 0) listener = _writerListener;
    }
    if (count > 0) notify(listener);
    return count;
}

void QMRBoundStreamBuffer::closeReader() {
    std::function<void()> listener;
    {
        std::lock_guard lock(_mutex);
        if (_readerClosed) return;
        _readerClosed = true;
        // What is left will never be read.
        _size = 0;
        listener = _writerListener;
    }
    notify(listener);
}

void QMRBoundStreamBuffer::setReaderListener(std::function<void()> listener) {
    std::lock_guard lock(_mutex);
    _readerListener = std::move(listener);
}

void QMRBoundStreamBuffer::setWriterListener(std::function<void()> listener) {
    std::lock_guard lock(_mutex);
    _writerListener = std::move(listener);
}

void QMRBoundStreamBuffer::notify(const std::function<void()>& listener) {
    if (listener) listener();
}
