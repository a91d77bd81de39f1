#pragma once
// The account operations `qmrstore account` offers, for a back-end that has them. A connector
// adapts its back-end's administration object to this.
#include <optional>
#include <string>

#include "companion/util/QMRError.h"

class QMRStoreAccountAdministration {
public:
    virtual ~QMRStoreAccountAdministration() = default;

    virtual void changePersonalPassword(const std::string& oldPassword, const std::string& newPassword,
                                        QMRErrorSlot& error) = 0;
    virtual void setPersonalEmailAddress(const std::string& emailAddress, QMRErrorSlot& error) = 0;
    // The e-mail address of the account's personal settings.
    virtual std::optional<std::string> readPersonalEmailAddress(QMRErrorSlot& error) = 0;
    // Asks the server to mail a password-reset link; needs no login.
    virtual void readLinkForResettingPassword(const std::string& loginName, QMRErrorSlot& error) = 0;
};
