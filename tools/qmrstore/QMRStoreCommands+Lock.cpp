#include <fmt/format.h>

#include "QMRStoreCommands.h"
#include "QMRStoreFailure.h"

namespace {

// A lock is held by whoever shows its token; a new run of qmrstore has only the one it is given.
void requireLockToken(const QMRStoreConnector& connector, std::string_view command) {
    if (connector.heldLockToken().empty())
        throw QMRStoreFailure(QMRStoreFailure::usage,
                              fmt::format("{} needs --lock-token (as `qmrstore lock` printed it)", command));
}

std::string grantedText(std::uint32_t timeoutSeconds) {
    return timeoutSeconds == 0 ? std::string("without time limit") : fmt::format("for {} s", timeoutSeconds);
}

}  // namespace

void QMRStoreCommands::lock(std::uint32_t timeoutSeconds) {
    require(QMRDataStoreOperation::applyApplicationExclusiveAccessLockWithTimeout, "lock");
    QMRErrorSlot error;
    const std::uint32_t granted = store().applyApplicationExclusiveAccessLockWithTimeout(timeoutSeconds, error);
    check(error);
    // Each run of qmrstore is a new client: later runs prove they hold the lock with this token.
    const std::string token = _connector.heldLockToken();
    _output.result({{"lockToken", token}, {"timeoutSeconds", granted}},
                   fmt::format("locked {}\nlock token: {}", grantedText(granted), token));
}

void QMRStoreCommands::refreshLock(std::uint32_t timeoutSeconds) {
    require(QMRDataStoreOperation::refreshApplicationExclusiveAccessLockWithTimeout, "refresh");
    requireLockToken(_connector, "refresh");
    QMRErrorSlot error;
    const std::uint32_t granted = store().refreshApplicationExclusiveAccessLockWithTimeout(timeoutSeconds, error);
    check(error);
    _output.result({{"timeoutSeconds", granted}}, fmt::format("lock refreshed {}", grantedText(granted)));
}

void QMRStoreCommands::unlock() {
    require(QMRDataStoreOperation::applyApplicationExclusiveAccessUnlock, "unlock");
    requireLockToken(_connector, "unlock");
    QMRErrorSlot error;
    store().applyApplicationExclusiveAccessUnlock(error);
    check(error);
    _output.result({{"unlocked", true}}, "unlocked");
}
