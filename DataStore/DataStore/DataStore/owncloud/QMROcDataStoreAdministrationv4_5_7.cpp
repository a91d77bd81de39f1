#include "DataStore/owncloud/QMROcDataStoreAdministrationv4_5_7.h"

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

QMROcDataStoreAdministrationv4_5_7::QMROcDataStoreAdministrationv4_5_7(
    std::shared_ptr<QMROwnCloudAuthenticator> authenticator)
    : QMROcDataStoreAdministrationv4_5_7(authenticator, authenticator ? authenticator->baseUrl() : std::string()) {}

QMROcDataStoreAdministrationv4_5_7::QMROcDataStoreAdministrationv4_5_7(std::string url,
                                                                       const QMRUrlSessionConfiguration& configuration)
    : QMROcDataStoreAdministrationv4_5_7(nullptr, std::move(url), configuration) {}

QMROcDataStoreAdministrationv4_5_7::QMROcDataStoreAdministrationv4_5_7(
    std::shared_ptr<QMROwnCloudAuthenticator> authenticator, std::string url,
    const QMRUrlSessionConfiguration& configuration)
    : _authenticator(std::move(authenticator)),
      _url(std::move(url)),
      _ownSession(_authenticator ? nullptr : std::make_unique<QMRUrlSession>(configuration)) {}

void QMROcDataStoreAdministrationv4_5_7::changePersonalPasswordFrom(const std::string& oldPassword,
                                                                    const std::string& newPassword,
                                                                    QMRErrorSlot& error) {
    newChangePersonalPasswordRequest(loggedInAuthenticator(), oldPassword, newPassword)->send(error);
}

void QMROcDataStoreAdministrationv4_5_7::setPersonalEmailAddress(const std::string& emailAddress, QMRErrorSlot& error) {
    newSetPersonalEmailAddressRequest(loggedInAuthenticator(), emailAddress)->send(error);
}

std::optional<QMROwnCloudPersonalSettings> QMROcDataStoreAdministrationv4_5_7::readPersonalSettings(
    QMRErrorSlot& error) {
    QMROcReadPersonalSettingsResponsev_4_5_7 response;
    newReadPersonalSettingsRequest(loggedInAuthenticator())->send(response, error);
    return response.personalSettings();
}

void QMROcDataStoreAdministrationv4_5_7::readLinkForResettingPasswordForLoginName(const std::string& loginName,
                                                                                  QMRErrorSlot& error) {
    newReadLinkForResettingPasswordRequest(session(), _url, loginName)->send(error);
}

void QMROcDataStoreAdministrationv4_5_7::validateAuthenticatorProvided() const {
    if (!_authenticator)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "QMROwnCloudAuthenticator required but is not provided");
}

QMROwnCloudAuthenticator& QMROcDataStoreAdministrationv4_5_7::loggedInAuthenticator() const {
    validateAuthenticatorProvided();
    _authenticator->throwExceptionWhenNotLoggedIn();
    return *_authenticator;
}

std::unique_ptr<QMROcChangePersonalPasswordRequestv4_5_7>
QMROcDataStoreAdministrationv4_5_7::newChangePersonalPasswordRequest(QMROwnCloudAuthenticator& account,
                                                                     const std::string& oldPassword,
                                                                     const std::string& newPassword) const {
    return std::make_unique<QMROcChangePersonalPasswordRequestv4_5_7>(account.session(), account.requestToken(),
                                                                      account.baseUrl(), oldPassword, newPassword);
}

std::unique_ptr<QMROcSetPersonalEmailAddressRequestv4_5_7>
QMROcDataStoreAdministrationv4_5_7::newSetPersonalEmailAddressRequest(QMROwnCloudAuthenticator& account,
                                                                      const std::string& emailAddress) const {
    return std::make_unique<QMROcSetPersonalEmailAddressRequestv4_5_7>(account.session(), account.requestToken(),
                                                                       account.baseUrl(), emailAddress);
}

std::unique_ptr<QMROcReadPersonalSettingsRequestv_4_5_7>
QMROcDataStoreAdministrationv4_5_7::newReadPersonalSettingsRequest(QMROwnCloudAuthenticator& account) const {
    return std::make_unique<QMROcReadPersonalSettingsRequestv_4_5_7>(account.session(), account.baseUrl());
}

std::unique_ptr<QMROcReadLinkForResettingPasswordRequestv_4_5_7>
QMROcDataStoreAdministrationv4_5_7::newReadLinkForResettingPasswordRequest(QMRUrlSession& session,
                                                                           const std::string& url,
                                                                           const std::string& loginName) const {
    return std::make_unique<QMROcReadLinkForResettingPasswordRequestv_4_5_7>(session, url, loginName);
}
