#pragma once
// Stream helpers.
#include <cstddef>
#include <memory>

#include "companion/io/QMRBoundInputStream.h"
#include "companion/io/QMRBoundOutputStream.h"

class QMRStreamUtil {
public:
    QMRStreamUtil() = delete;

    // createBoundInputStream:outputStream:bufferSize: a pipe-like pair. What is written to
    // outputStream is read from inputStream; at most bufferSize bytes are in flight, so memory stays
    // constant whatever passes through. A bufferSize of 0 raises QMRInvalidArgumentException.
    static void createBoundInputStream(std::shared_ptr<QMRBoundInputStream>& inputStream,
                                       std::shared_ptr<QMRBoundOutputStream>& outputStream, std::size_t bufferSize);
};
