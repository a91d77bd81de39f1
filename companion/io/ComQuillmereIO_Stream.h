#pragma once
// A byte stream through which file content crosses the data store interface.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "companion/util/QMRTypes.h"

class ComQuillmereIO_Stream {
public:
    virtual ~ComQuillmereIO_Stream() = default;

    // Reads up to buffer.size() bytes at the current position; 0 at the end of the stream.
    virtual std::size_t read(std::span<std::uint8_t> buffer) = 0;
    // Writes all of data at the current position.
    virtual void write(QMRDataView data) = 0;
    void write(std::string_view text);
    virtual void flush() {}
    // After close every other operation raises QMRInvalidOperationException.
    virtual void close() = 0;
    virtual bool isClosed() const = 0;
    virtual std::uint64_t position() const = 0;
    virtual void seekToOffset(std::uint64_t offset) = 0;

    // Everything from the start to the end; leaves the position at the end.
    QMRData readDataFromStartToEnd();
    // Everything from the current position to the end; leaves the position at the end.
    QMRData readDataFromCurrentToEnd();
};
