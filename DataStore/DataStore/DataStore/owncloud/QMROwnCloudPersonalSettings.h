#pragma once
// The user's personal settings as the settings page shows them; today only the e-mail address.
#include <string>
#include <utility>

class QMROwnCloudPersonalSettings {
public:
    QMROwnCloudPersonalSettings() = default;
    explicit QMROwnCloudPersonalSettings(std::string emailAddress) : _emailAddress(std::move(emailAddress)) {}

    // Empty when the user has set none.
    const std::string& emailAddress() const noexcept { return _emailAddress; }
    void setEmailAddress(std::string emailAddress) { _emailAddress = std::move(emailAddress); }

    std::string description() const;

private:
    std::string _emailAddress;
};
