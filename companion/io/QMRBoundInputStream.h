#pragma once
// The reading end of a bound stream pair (see QMRStreamUtil): it reads what the output end has
// written, in order, and ends once the output end is closed and everything has been read. It is
// not seekable and cannot be written. Closing it tells the writer that nobody reads any more.
#include <functional>
#include <memory>
#include <optional>

#include "companion/io/ComQuillmereIO_Stream.h"

class QMRBoundStreamBuffer;

class QMRBoundInputStream : public ComQuillmereIO_Stream {
public:
    explicit QMRBoundInputStream(std::shared_ptr<QMRBoundStreamBuffer> buffer);
    ~QMRBoundInputStream() override;
    QMRBoundInputStream(const QMRBoundInputStream&) = delete;
    QMRBoundInputStream& operator=(const QMRBoundInputStream&) = delete;

    // Waits until bytes are buffered or the output end is closed; 0 at the end. Only for a reader
    // on another thread than the writer's: on the writer's own thread it would wait forever.
    std::size_t read(std::span<std::uint8_t> buffer) override;
    // Never waits: none when nothing is buffered and the output end is still open, 0 at the end.
    std::optional<std::size_t> readIfAvailable(std::span<std::uint8_t> buffer);
    // Called, on the writer's thread, whenever bytes or the end become available.
    void setReadinessHandler(std::function<void()> handler);

    // Raises QMRInvalidOperationException: the input end only reads.
    void write(QMRDataView data) override;
    using ComQuillmereIO_Stream::write;
    void close() override;
    bool isClosed() const override { return _closed; }
    // The number of bytes read so far.
    std::uint64_t position() const override { return _position; }
    // Only the current position is accepted; anything else raises QMRInvalidOperationException.
    void seekToOffset(std::uint64_t offset) override;

private:
    void throwIfClosed() const;

    std::shared_ptr<QMRBoundStreamBuffer> _buffer;
    std::uint64_t _position = 0;
    bool _closed = false;
};
