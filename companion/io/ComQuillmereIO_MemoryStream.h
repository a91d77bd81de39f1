#pragma once
// An in-memory, seekable stream; writing at a position overwrites and extends the bytes.
#include "companion/io/ComQuillmereIO_Stream.h"

class ComQuillmereIO_MemoryStream : public ComQuillmereIO_Stream {
public:
    ComQuillmereIO_MemoryStream() = default;
    // A stream over a copy of data, positioned at its start.
    explicit ComQuillmereIO_MemoryStream(QMRData data);

    std::size_t read(std::span<std::uint8_t> buffer) override;
    void write(QMRDataView data) override;
    using ComQuillmereIO_Stream::write;
    void close() override { _closed = true; }
    bool isClosed() const override { return _closed; }
    std::uint64_t position() const override;
    // Seeking past the end is refused with QMRRangeException.
    void seekToOffset(std::uint64_t offset) override;

    std::uint64_t length() const;
    // The whole content without moving the position.
    const QMRData& data() const;

private:
    void throwIfClosed() const;

    QMRData _bytes;
    std::size_t _position = 0;
    bool _closed = false;
};
