#include "QMRStoreOwnCloudAdministration.h"

#include <utility>

QMRStoreOwnCloudAdministration::QMRStoreOwnCloudAdministration(
    std::shared_ptr<QMROwnCloudDataStoreAdministration> administration)
    : _administration(std::move(administration)) {}

void QMRStoreOwnCloudAdministration::changePersonalPassword(const std::string& oldPassword,
                                                            const std::string& newPassword, QMRErrorSlot& error) {
    _administration->changePersonalPasswordFrom(oldPassword, newPassword, error);
}

void QMRStoreOwnCloudAdministration::setPersonalEmailAddress(const std::string& emailAddress, QMRErrorSlot& error) {
    _administration->setPersonalEmailAddress(emailAddress, error);
}

std::optional<std::string> QMRStoreOwnCloudAdministration::readPersonalEmailAddress(QMRErrorSlot& error) {
    std::optional<QMROwnCloudPersonalSettings> settings = _administration->readPersonalSettings(error);
    if (!settings) return std::nullopt;
    return settings->emailAddress();
}

void QMRStoreOwnCloudAdministration::readLinkForResettingPassword(const std::string& loginName, QMRErrorSlot& error) {
    _administration->readLinkForResettingPasswordForLoginName(loginName, error);
}
