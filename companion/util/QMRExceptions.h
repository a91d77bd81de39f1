#pragma once
// Exceptions raised for misuse by the caller. Each carries the platform's exception name, the
// reason and where it was raised; comQuillmereUtil_ExceptionUtil builds them by name.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

class QMRException {
public:
    virtual ~QMRException() = default;

    const std::string& name() const noexcept { return _name; }
    const std::string& reason() const noexcept { return _reason; }
    const std::string& sourceFile() const noexcept { return _sourceFile; }
    const std::string& sourceMethod() const noexcept { return _sourceMethod; }
    std::uint_least32_t sourceLine() const noexcept { return _sourceLine; }

protected:
    QMRException(std::string name, std::string reason, std::string sourceFile, std::string sourceMethod,
                 std::uint_least32_t sourceLine);

private:
    std::string _name;
    std::string _reason;
    std::string _sourceFile;
    std::string _sourceMethod;
    std::uint_least32_t _sourceLine;
};

// Defines an exception class deriving from a standard exception, so callers may catch either.
#define QMR_DECLARE_EXCEPTION(ClassName, StandardBase, ExceptionName)                                             \
    class ClassName : public StandardBase, public QMRException {                                                  \
    public:                                                                                                       \
        static constexpr const char* exceptionName = ExceptionName;                                               \
        explicit ClassName(const std::string& reason, std::string sourceFile = {}, std::string sourceMethod = {}, \
                           std::uint_least32_t sourceLine = 0)                                                    \
            : StandardBase(reason),                                                                               \
              QMRException(exceptionName, reason, std::move(sourceFile), std::move(sourceMethod), sourceLine) {}  \
    }

QMR_DECLARE_EXCEPTION(QMRNotSupportedException, std::logic_error, "QMRNotSupportedException");
QMR_DECLARE_EXCEPTION(QMRInvalidOperationException, std::logic_error, "QMRInvalidOperationException");
QMR_DECLARE_EXCEPTION(QMRInvalidArgumentException, std::invalid_argument, "NSInvalidArgumentException");
QMR_DECLARE_EXCEPTION(QMRInternalInconsistencyException, std::logic_error, "NSInternalInconsistencyException");
QMR_DECLARE_EXCEPTION(QMRRangeException, std::out_of_range, "NSRangeException");
#undef QMR_DECLARE_EXCEPTION

// An exception of any other name given to comQuillmereUtil_ExceptionUtil.
class QMRGenericException : public std::runtime_error, public QMRException {
public:
    QMRGenericException(std::string name, const std::string& reason, std::string sourceFile = {},
                        std::string sourceMethod = {}, std::uint_least32_t sourceLine = 0)
        : std::runtime_error(reason),
          QMRException(std::move(name), reason, std::move(sourceFile), std::move(sourceMethod), sourceLine) {}
};
