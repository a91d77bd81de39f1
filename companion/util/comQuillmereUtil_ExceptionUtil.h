#pragma once
#include <exception>
#include <string>
#include <string_view>

#include "companion/util/QMRExceptions.h"
#include "companion/util/QMRSourceLocation.h"

class comQuillmereUtil_ExceptionUtil {
public:
    comQuillmereUtil_ExceptionUtil() = delete;

    // The exception of the given name (a typed one for the known names, QMRGenericException
    // carrying the name otherwise), ready to be thrown with std::rethrow_exception.
    static std::exception_ptr exceptionWithExceptionName(std::string_view exceptionName,
                                                         const std::string& exceptionDescription,
                                                         std::string thrownFromFile, std::string thrownFromMethod,
                                                         std::uint_least32_t thrownFromLine);

    // Builds the named exception with the caller's source location and throws it.
    [[noreturn]] static void raise(std::string_view exceptionName, const std::string& exceptionDescription,
                                   QMRSourceLocation where = QMRSourceLocation::current());
};
