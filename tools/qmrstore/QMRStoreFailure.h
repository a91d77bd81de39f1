#pragma once
// Why a qmrstore command failed, as the message a person reads and the exit status a script tests.
//
// Exit statuses: 0 success, 1 anything unexpected, 2 a usage error, 3 an operation the back-end
// does not offer, 4 a local file that cannot be read or written, and 11 to 16 for the data store's
// error codes 101 to 106 (unknown, authentication, server unavailable, not found, insufficient
// storage, exclusive lock), so each can be told apart.
#include <optional>
#include <stdexcept>
#include <string>

#include "companion/util/QMRError.h"

class QMRStoreFailure : public std::runtime_error {
public:
    enum ExitStatus : int {
        success = 0,
        unexpected = 1,
        usage = 2,
        unsupported = 3,
        localFile = 4,
    };

    // A failure of the tool's own making, with one of the statuses above.
    QMRStoreFailure(ExitStatus status, const std::string& message);
    // An error that a data store reported.
    explicit QMRStoreFailure(const QMRError& error);

    int exitStatus() const noexcept { return _exitStatus; }
    const std::optional<QMRError>& dataStoreError() const noexcept { return _error; }

    // 11 for 101 up to 16 for 106; 1 for a code outside the data store's domain.
    static int exitStatusForError(const QMRError& error);
    // "error 104: One or more specified fileId is not found (ids: a, b)", with the cause of a
    // server-unavailable error in brackets.
    static std::string messageForError(const QMRError& error);

private:
    int _exitStatus;
    std::optional<QMRError> _error;
};
