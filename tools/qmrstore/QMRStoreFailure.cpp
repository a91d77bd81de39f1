#include "QMRStoreFailure.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/contract/QMRDataStoreError.h"

QMRStoreFailure::QMRStoreFailure(ExitStatus status, const std::string& message)
    : std::runtime_error(message), _exitStatus(status) {}

QMRStoreFailure::QMRStoreFailure(const QMRError& error)
    : std::runtime_error(messageForError(error)), _exitStatus(exitStatusForError(error)), _error(error) {}

int QMRStoreFailure::exitStatusForError(const QMRError& error) {
    if (error.domain() != QMRDataStoreErrorDomain || error.code() < QMRDataStoreErrorUnknown ||
        error.code() > QMRDataStoreErrorExclusiveLock)
        return unexpected;
    return static_cast<int>(error.code() - QMRDataStoreErrorUnknown) + 11;
}

std::string QMRStoreFailure::messageForError(const QMRError& error) {
    std::string message = fmt::format("error {}: {}", error.code(), error.localizedDescription());
    if (auto ids = error.unknownFileIds(); ids && !ids->empty())
        message += fmt::format(" (ids: {})", fmt::join(*ids, ", "));
    if (auto cause = error.underlyingError()) message += fmt::format(" ({})", cause->localizedDescription());
    return message;
}
