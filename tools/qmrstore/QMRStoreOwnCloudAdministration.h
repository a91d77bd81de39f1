#pragma once
// `qmrstore account` on an ownCloud server: the account operations of an ownCloud administration
// object, which keeps the account's authenticator (and so its session) alive.
#include <memory>
#include <optional>
#include <string>

#include "DataStore/owncloud/QMROwnCloudDataStoreAdministration.h"
#include "QMRStoreAccountAdministration.h"

class QMRStoreOwnCloudAdministration : public QMRStoreAccountAdministration {
public:
    explicit QMRStoreOwnCloudAdministration(std::shared_ptr<QMROwnCloudDataStoreAdministration> administration);

    void changePersonalPassword(const std::string& oldPassword, const std::string& newPassword,
                                QMRErrorSlot& error) override;
    void setPersonalEmailAddress(const std::string& emailAddress, QMRErrorSlot& error) override;
    std::optional<std::string> readPersonalEmailAddress(QMRErrorSlot& error) override;
    void readLinkForResettingPassword(const std::string& loginName, QMRErrorSlot& error) override;

private:
    std::shared_ptr<QMROwnCloudDataStoreAdministration> _administration;
};
