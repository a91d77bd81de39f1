#pragma once
// Account administration on an ownCloud server: the password, the e-mail address, the personal
// settings and the password-reset link. Obtained from QMROwnCloudDataStore, either for a logged-in
// account (every operation) or for a bare base URL (the reset link only).
//
// Expected failures come back in the error slot; misuse (no account, not logged in, an empty new
// password, a base URL the release refuses) raises.
#include <optional>
#include <string>

#include "DataStore/owncloud/QMROwnCloudPersonalSettings.h"
#include "companion/util/QMRError.h"

class QMROwnCloudDataStoreAdministration {
public:
    QMROwnCloudDataStoreAdministration(const QMROwnCloudDataStoreAdministration&) = delete;
    QMROwnCloudDataStoreAdministration& operator=(const QMROwnCloudDataStoreAdministration&) = delete;
    virtual ~QMROwnCloudDataStoreAdministration();

    // changePersonalPasswordFrom:to:error:
    virtual void changePersonalPasswordFrom(const std::string& oldPassword, const std::string& newPassword,
                                            QMRErrorSlot& error) = 0;
    // setPersonalEmailAddress:error:
    virtual void setPersonalEmailAddress(const std::string& emailAddress, QMRErrorSlot& error) = 0;
    // readPersonalSettings: the settings, or none with the error set.
    virtual std::optional<QMROwnCloudPersonalSettings> readPersonalSettings(QMRErrorSlot& error) = 0;
    // readLinkForResettingPasswordForLoginName:error: success means the server accepted the request
    // and sends the user a reset e-mail.
    virtual void readLinkForResettingPasswordForLoginName(const std::string& loginName, QMRErrorSlot& error) = 0;

protected:
    QMROwnCloudDataStoreAdministration() = default;
};
