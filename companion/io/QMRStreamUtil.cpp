#include "companion/io/QMRStreamUtil.h"

#include "companion/io/QMRBoundStreamBuffer.h"
#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

void QMRStreamUtil::createBoundInputStream(std::shared_ptr<QMRBoundInputStream>& inputStream,
                                           std::shared_ptr<QMRBoundOutputStream>& outputStream,
                                           std::size_t bufferSize) {
    if (bufferSize == 0)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "A bound stream pair needs a buffer of at least one byte");
    auto buffer = std::make_shared<QMRBoundStreamBuffer>(bufferSize);
    inputStream = std::make_shared<QMRBoundInputStream>(buffer);
    outputStream = std::make_shared<QMRBoundOutputStream>(std::move(buffer));
}
