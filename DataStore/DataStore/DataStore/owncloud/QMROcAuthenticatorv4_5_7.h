#pragma once
// The authenticator of a 4.5.7 server. It is created logged in or not at all.
#include <memory>
#include <string>

#include "DataStore/owncloud/QMROcLoginRequestv4_5_7.h"
#include "DataStore/owncloud/QMROwnCloudAuthenticator.h"

class QMROcAuthenticatorv4_5_7 : public QMROwnCloudAuthenticator {
public:
    QMROcAuthenticatorv4_5_7() = delete;

    // initWithUrl:serverVersion:loginName:loginPassword:error: logs in at once, through a session
    // with the given settings; the logged-in authenticator, or null with the login's error in the slot.
    static std::shared_ptr<QMROcAuthenticatorv4_5_7> initWithUrl(const std::string& url,
                                                                 const std::string& serverVersion,
                                                                 const std::string& loginName,
                                                                 const std::string& loginPassword, QMRErrorSlot& error,
                                                                 const QMRUrlSessionConfiguration& configuration = {});

    // On success keeps the new request token and is logged in; on failure nothing changes.
    void login(const std::string& loginName, const std::string& password, QMRErrorSlot& error);
    // On success is logged out (the token is kept but no longer used); on failure stays logged in.
    void logout(QMRErrorSlot& error);
    void close(QMRErrorSlot& error) override;

protected:
    QMROcAuthenticatorv4_5_7(std::string url, std::string serverVersion,
                             const QMRUrlSessionConfiguration& configuration);

    // The release's login request.
    virtual std::unique_ptr<QMROcLoginRequestv4_5_7> newLoginRequest(const std::string& loginName,
                                                                     const std::string& password);

    // The fresh authenticator once it has logged in; null with the login's error in the slot.
    template <class Authenticator>
    static std::shared_ptr<Authenticator> loggedIn(std::shared_ptr<Authenticator> authenticator,
                                                   const std::string& loginName, const std::string& loginPassword,
                                                   QMRErrorSlot& error) {
        authenticator->login(loginName, loginPassword, error);
        if (error) return nullptr;
        return authenticator;
    }
};
