#include "DataStore/owncloud/QMROcAuthenticatorv5_0_6.h"

#include "DataStore/owncloud/QMROcLoginRequestv5_0_6.h"

QMROcAuthenticatorv5_0_6::QMROcAuthenticatorv5_0_6(std::string url, std::string serverVersion)
    : QMROcAuthenticatorv4_5_7(std::move(url), std::move(serverVersion)) {}

std::shared_ptr<QMROcAuthenticatorv5_0_6> QMROcAuthenticatorv5_0_6::initWithUrl(const std::string& url,
                                                                                const std::string& serverVersion,
                                                                                const std::string& loginName,
                                                                                const std::string& loginPassword,
                                                                                QMRErrorSlot& error) {
    std::shared_ptr<QMROcAuthenticatorv5_0_6> authenticator(new QMROcAuthenticatorv5_0_6(url, serverVersion));
    authenticator->login(loginName, loginPassword, error);
    if (error) return nullptr;
    return authenticator;
}

std::unique_ptr<QMROcLoginRequestv4_5_7> QMROcAuthenticatorv5_0_6::newLoginRequest(const std::string& loginName,
                                                                                   const std::string& password) {
    return std::make_unique<QMROcLoginRequestv5_0_6>(session(), loginName, password, baseUrl());
}
