#include "companion/util/QMRExceptions.h"

#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

QMRException::QMRException(std::string name, std::string reason, std::string sourceFile, std::string sourceMethod,
                           std::uint_least32_t sourceLine)
    : _name(std::move(name)),
      _reason(std::move(reason)),
      _sourceFile(std::move(sourceFile)),
      _sourceMethod(std::move(sourceMethod)),
      _sourceLine(sourceLine) {}

namespace {
template <class E>
std::exception_ptr make(const std::string& reason, std::string file, std::string method, std::uint_least32_t line) {
    return std::make_exception_ptr(E(reason, std::move(file), std::move(method), line));
}
}  // namespace

std::exception_ptr comQuillmereUtil_ExceptionUtil::exceptionWithExceptionName(std::string_view exceptionName,
                                                                              const std::string& exceptionDescription,
                                                                              std::string thrownFromFile,
                                                                              std::string thrownFromMethod,
                                                                              std::uint_least32_t thrownFromLine) {
    auto file = std::move(thrownFromFile);
    auto method = std::move(thrownFromMethod);
    if (exceptionName == QMRNotSupportedException::exceptionName)
        return make<QMRNotSupportedException>(exceptionDescription, file, method, thrownFromLine);
    if (exceptionName == QMRInvalidOperationException::exceptionName)
        return make<QMRInvalidOperationException>(exceptionDescription, file, method, thrownFromLine);
    if (exceptionName == QMRInvalidArgumentException::exceptionName)
        return make<QMRInvalidArgumentException>(exceptionDescription, file, method, thrownFromLine);
    if (exceptionName == QMRInternalInconsistencyException::exceptionName)
        return make<QMRInternalInconsistencyException>(exceptionDescription, file, method, thrownFromLine);
    if (exceptionName == QMRRangeException::exceptionName)
        return make<QMRRangeException>(exceptionDescription, file, method, thrownFromLine);
    return std::make_exception_ptr(QMRGenericException(std::string(exceptionName), exceptionDescription,
                                                       std::move(file), std::move(method), thrownFromLine));
}

void comQuillmereUtil_ExceptionUtil::raise(std::string_view exceptionName, const std::string& exceptionDescription,
                                           QMRSourceLocation where) {
    std::rethrow_exception(exceptionWithExceptionName(exceptionName, exceptionDescription, where.fileName,
                                                      where.functionName, where.line));
}
