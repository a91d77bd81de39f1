#include "DataStore/owncloud/QMROcAuthenticatorv4_5_7.h"

#include "DataStore/owncloud/QMROcLogoutRequestv4_5_7.h"

QMROcAuthenticatorv4_5_7::QMROcAuthenticatorv4_5_7(std::string url, std::string serverVersion,
                                                   const QMRUrlSessionConfiguration& configuration)
    : QMROwnCloudAuthenticator(std::move(url), std::move(serverVersion), configuration) {}

std::shared_ptr<QMROcAuthenticatorv4_5_7> QMROcAuthenticatorv4_5_7::initWithUrl(
    const std::string& url, const std::string& serverVersion, const std::string& loginName,
    const std::string& loginPassword, QMRErrorSlot& error, const QMRUrlSessionConfiguration& configuration) {
    // The constructor is protected, so make_shared cannot reach it.
    return loggedIn(
        std::shared_ptr<QMROcAuthenticatorv4_5_7>(new QMROcAuthenticatorv4_5_7(url, serverVersion, configuration)),
        loginName, loginPassword, error);
}

void QMROcAuthenticatorv4_5_7::login(const std::string& loginName, const std::string& password, QMRErrorSlot& error) {
    QMROcLoginResponsev4_5_7 response;
    newLoginRequest(loginName, password)->send(response, error);
    if (error) return;
    setRequestToken(response.requestToken());
    setIsLoggedIn(true);
}

void QMROcAuthenticatorv4_5_7::logout(QMRErrorSlot& error) {
    QMROcLogoutRequestv4_5_7(session(), baseUrl()).send(error);
    if (!error) setIsLoggedIn(false);
}

void QMROcAuthenticatorv4_5_7::close(QMRErrorSlot& error) {
    logout(error);
}

std::unique_ptr<QMROcLoginRequestv4_5_7> QMROcAuthenticatorv4_5_7::newLoginRequest(const std::string& loginName,
                                                                                   const std::string& password) {
    return std::make_unique<QMROcLoginRequestv4_5_7>(session(), loginName, password, baseUrl());
}
