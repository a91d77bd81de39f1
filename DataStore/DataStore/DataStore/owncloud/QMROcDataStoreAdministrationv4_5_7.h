#pragma once
// Account administration on a 4.5.7 server: each operation is one request of this release. Made
// for an account (all operations, through the authenticator's session) or for a bare base URL (the
// reset link only, through a session of its own).
#include <memory>
#include <optional>
#include <string>

#include "DataStore/owncloud/QMROcChangePersonalPasswordRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadLinkForResettingPasswordRequestv_4_5_7.h"
#include "DataStore/owncloud/QMROcReadPersonalSettingsRequestv_4_5_7.h"
#include "DataStore/owncloud/QMROcSetPersonalEmailAddressRequestv4_5_7.h"
#include "DataStore/owncloud/QMROwnCloudAuthenticator.h"
#include "DataStore/owncloud/QMROwnCloudDataStoreAdministration.h"
#include "companion/web/QMRUrlSession.h"

class QMROcDataStoreAdministrationv4_5_7 : public QMROwnCloudDataStoreAdministration {
public:
    QMROcDataStoreAdministrationv4_5_7() = delete;
    // initWithAuthenticator: the reset link goes to the authenticator's base URL.
    explicit QMROcDataStoreAdministrationv4_5_7(std::shared_ptr<QMROwnCloudAuthenticator> authenticator);
    // initWithUrl: no account; only the reset link may be asked for, through a session of the
    // object's own with the given settings.
    explicit QMROcDataStoreAdministrationv4_5_7(std::string url, const QMRUrlSessionConfiguration& configuration = {});

    // The account, or null for an object made with a base URL only.
    const std::shared_ptr<QMROwnCloudAuthenticator>& authenticator() const noexcept { return _authenticator; }
    // The base URL of the reset link; empty for none.
    const std::string& url() const noexcept { return _url; }
    // The session the reset link is sent through: the account's, or for an object made with a base
    // URL its own, which a caller may set up first (to trust a server's own certificate, say).
    QMRUrlSession& session() noexcept { return _authenticator ? _authenticator->session() : *_ownSession; }

    // These three raise QMRInvalidArgumentException without an account, QMRInvalidOperationException
    // when it is logged out.
    void changePersonalPasswordFrom(const std::string& oldPassword, const std::string& newPassword,
                                    QMRErrorSlot& error) override;
    void setPersonalEmailAddress(const std::string& emailAddress, QMRErrorSlot& error) override;
    std::optional<QMROwnCloudPersonalSettings> readPersonalSettings(QMRErrorSlot& error) override;
    // Needs no account and no login.
    void readLinkForResettingPasswordForLoginName(const std::string& loginName, QMRErrorSlot& error) override;

protected:
    QMROcDataStoreAdministrationv4_5_7(std::shared_ptr<QMROwnCloudAuthenticator> authenticator, std::string url,
                                       const QMRUrlSessionConfiguration& configuration = {});

    // Raises QMRInvalidArgumentException when the object was made without an account.
    void validateAuthenticatorProvided() const;

    // The requests of the release, for the logged-in account or the reset link's base URL.
    virtual std::unique_ptr<QMROcChangePersonalPasswordRequestv4_5_7> newChangePersonalPasswordRequest(
        QMROwnCloudAuthenticator& account, const std::string& oldPassword, const std::string& newPassword) const;
    virtual std::unique_ptr<QMROcSetPersonalEmailAddressRequestv4_5_7> newSetPersonalEmailAddressRequest(
        QMROwnCloudAuthenticator& account, const std::string& emailAddress) const;
    virtual std::unique_ptr<QMROcReadPersonalSettingsRequestv_4_5_7> newReadPersonalSettingsRequest(
        QMROwnCloudAuthenticator& account) const;
    virtual std::unique_ptr<QMROcReadLinkForResettingPasswordRequestv_4_5_7> newReadLinkForResettingPasswordRequest(
        QMRUrlSession& session, const std::string& url, const std::string& loginName) const;

private:
    // The account, after checking that there is one and that it is logged in.
    QMROwnCloudAuthenticator& loggedInAuthenticator() const;

    std::shared_ptr<QMROwnCloudAuthenticator> _authenticator;
    std::string _url;
    // Only without an account: the reset link then has a session of its own.
    std::unique_ptr<QMRUrlSession> _ownSession;
};
