#pragma once
// The authenticator of a 5.0.6 (or any other non-4.5) server: the 4.5.7 one with the 5.0.6 login.
#include <memory>
#include <string>

#include "DataStore/owncloud/QMROcAuthenticatorv4_5_7.h"

class QMROcAuthenticatorv5_0_6 : public QMROcAuthenticatorv4_5_7 {
public:
    QMROcAuthenticatorv5_0_6() = delete;

    static std::shared_ptr<QMROcAuthenticatorv5_0_6> initWithUrl(const std::string& url,
                                                                 const std::string& serverVersion,
                                                                 const std::string& loginName,
                                                                 const std::string& loginPassword, QMRErrorSlot& error,
                                                                 const QMRUrlSessionConfiguration& configuration = {});

protected:
    QMROcAuthenticatorv5_0_6(std::string url, std::string serverVersion,
                             const QMRUrlSessionConfiguration& configuration);

    std::unique_ptr<QMROcLoginRequestv4_5_7> newLoginRequest(const std::string& loginName,
                                                             const std::string& password) override;
};
