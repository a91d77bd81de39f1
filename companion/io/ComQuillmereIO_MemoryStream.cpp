#include "companion/io/ComQuillmereIO_MemoryStream.h"

#include <algorithm>
#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

ComQuillmereIO_MemoryStream::ComQuillmereIO_MemoryStream(QMRData data) : _bytes(std::move(data)) {}

void ComQuillmereIO_MemoryStream::throwIfClosed() const {
    if (_closed) comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName, "Stream is closed");
}

std::size_t ComQuillmereIO_MemoryStream::read(std::span<std::uint8_t> buffer) {
    throwIfClosed();
    std::size_t count = std::min(buffer.size(), _bytes.size() - _position);
    std::copy_n(_bytes.begin() + static_cast<std::ptrdiff_t>(_position), count, buffer.begin());
    _position += count;
    return count;
}

void ComQuillmereIO_MemoryStream::write(QMRDataView data) {
    throwIfClosed();
    std::size_t overlap = std::min(data.size(), _bytes.size() - _position);
    std::copy_n(data.begin(), overlap, _bytes.begin() + static_cast<std::ptrdiff_t>(_position));
    _bytes.insert(_bytes.end(), data.begin() + static_cast<std::ptrdiff_t>(overlap), data.end());
    _position += data.size();
}

std::uint64_t ComQuillmereIO_MemoryStream::position() const {
    throwIfClosed();
    return _position;
}

void ComQuillmereIO_MemoryStream::seekToOffset(std::uint64_t offset) {
    throwIfClosed();
    if (offset > _bytes.size())
        comQuillmereUtil_ExceptionUtil::raise(QMRRangeException::exceptionName, "Offset beyond the end of the stream");
    _position = static_cast<std::size_t>(offset);
}

std::uint64_t ComQuillmereIO_MemoryStream::length() const {
    return _bytes.size();
}

const QMRData& ComQuillmereIO_MemoryStream::data() const {
    return _bytes;
}
