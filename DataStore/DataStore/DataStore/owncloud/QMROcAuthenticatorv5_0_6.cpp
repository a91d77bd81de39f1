#include "DataStore/owncloud/QMROcAuthenticatorv5_0_6.h"

#include "DataStore/owncloud/QMROcLoginRequestv5_0_6.h"

QMROcAuthenticatorv5_0_6::QMROcAuthenticatorv5_0_6(std::string url, std::string serverVersion,
                                                   const QMRUrlSessionConfiguration& configuration)
    : QMROcAuthenticatorv4_5_7(std::move(url), std::move(serverVersion), configuration) {}

std::shared_ptr<QMROcAuthenticatorv5_0_6> QMROcAuthenticatorv5_0_6::initWithUrl(
    const std::string& url, const std::string& serverVersion, const std::string& loginName,
    const std::string& loginPassword, QMRErrorSlot& error, const QMRUrlSessionConfiguration& configuration) {
    return loggedIn(
        std::shared_ptr<QMROcAuthenticatorv5_0_6>(new QMROcAuthenticatorv5_0_6(url, serverVersion, configuration)),
        loginName, loginPassword, error);
}

std::unique_ptr<QMROcLoginRequestv4_5_7> QMROcAuthenticatorv5_0_6::newLoginRequest(const std::string& loginName,
                                                                                   const std::string& password) {
    return std::make_unique<QMROcLoginRequestv5_0_6>(session(), loginName, password, baseUrl());
}
