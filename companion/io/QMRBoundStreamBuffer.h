#pragma once
// The bytes in flight between the two ends of a bound stream pair: a fixed-size ring that the
// output end fills and the input end drains. Each end learns of the other's moves through a
// listener, called on the thread that made the move, outside the lock. Safe from any thread.
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "companion/util/QMRTypes.h"

class QMRBoundStreamBuffer {
public:
    // capacity > 0
    explicit QMRBoundStreamBuffer(std::size_t capacity);
    QMRBoundStreamBuffer(const QMRBoundStreamBuffer&) = delete;
    QMRBoundStreamBuffer& operator=(const QMRBoundStreamBuffer&) = delete;

    // Writer side. write takes as much of data as fits and says how much.
    std::size_t write(QMRDataView data);
    std::size_t freeSpace() const;
    void closeWriter();
    bool readerClosed() const;

    // Reader side. readIfAvailable gives none when nothing is buffered and the writer is still
    // there, 0 at the end; readWaiting waits for bytes or the end instead.
    std::optional<std::size_t> readIfAvailable(std::span<std::uint8_t> buffer);
    std::size_t readWaiting(std::span<std::uint8_t> buffer);
    void closeReader();

    // Called when bytes or the end became available to the reader.
    void setReaderListener(std::function<void()> listener);
    // Called when space was freed or the reader went away.
    void setWriterListener(std::function<void()> listener);

private:
    std::size_t takeLocked(std::span<std::uint8_t> buffer);
    static void notify(const std::function<void()>& listener);

    mutable std::mutex _mutex;
    std::condition_variable _readable;
    std::vector<std::uint8_t> _ring;
    std::size_t _head = 0;
    std::size_t _size = 0;
    bool _writerClosed = false;
    bool _readerClosed = false;
    std::function<void()> _readerListener;
    std::function<void()> _writerListener;
};
