#include <fmt/format.h>

#include <cstdlib>

#include "QMRStoreCommands.h"
#include "QMRStoreFailure.h"
#include "QMRStorePassword.h"

namespace {

// The new password, like the login one, never comes from the command line.
std::string newPassword() {
    auto first = QMRStorePassword::obtain("QMRSTORE_NEW_PASSWORD", "New password: ");
    if (!first || first->empty()) throw QMRStoreFailure(QMRStoreFailure::usage, "no new password given");
    if (std::getenv("QMRSTORE_NEW_PASSWORD") == nullptr) {
        auto again = QMRStorePassword::obtain("QMRSTORE_NEW_PASSWORD", "New password again: ");
        if (again != first) throw QMRStoreFailure(QMRStoreFailure::usage, "the two new passwords differ");
    }
    return *first;
}

}  // namespace

void QMRStoreCommands::changePassword() {
    if (!_connector.supportsAccountAdministration()) refuse("account password");
    const std::string freshPassword = newPassword();
    QMRErrorSlot error;
    administration(true)->changePersonalPassword(_loginPassword(), freshPassword, error);
    check(error);
    _output.result({{"passwordChanged", true}}, "password changed");
}

void QMRStoreCommands::setEmailAddress(const std::string& emailAddress) {
    if (!_connector.supportsAccountAdministration()) refuse("account email");
    QMRErrorSlot error;
    administration(true)->setPersonalEmailAddress(emailAddress, error);
    check(error);
    _output.result({{"emailAddress", emailAddress}}, "e-mail address set to " + emailAddress);
}

void QMRStoreCommands::showSettings() {
    if (!_connector.supportsAccountAdministration()) refuse("account settings");
    QMRErrorSlot error;
    std::optional<std::string> emailAddress = administration(true)->readPersonalEmailAddress(error);
    check(error);
    _output.result({{"emailAddress", emailAddress.value_or("")}}, "e-mail address: " + emailAddress.value_or(""));
}

void QMRStoreCommands::requestPasswordReset(const std::string& loginName) {
    if (!_connector.supportsAccountAdministration()) refuse("account reset-link");
    QMRErrorSlot error;
    administration(false)->readLinkForResettingPassword(loginName, error);
    check(error);
    _output.result({{"resetLinkRequested", loginName}},
                   fmt::format("the server mails a password-reset link to {}'s address", loginName));
}

void QMRStoreCommands::serverVersion() {
    if (!_connector.supportsServerVersion()) refuse("server-version");
    QMRErrorSlot error;
    std::optional<std::string> version = _connector.readServerVersion(error);
    check(error);
    _output.result({{"serverVersion", version.value_or("")}}, version.value_or("(not reported)"));
}
