#pragma once
// The session with one ownCloud account: the base URL, the server's release, the request token
// obtained at login and the HTTP session that keeps the login cookie. The data store and the
// administration object of the account hold the authenticator and send every request through its
// session(), so two accounts on one server never share a cookie.
#include <string>
#include <utility>

#include "companion/util/QMRError.h"
#include "companion/web/QMRUrlSession.h"

class QMROwnCloudAuthenticator {
public:
    QMROwnCloudAuthenticator() = delete;
    QMROwnCloudAuthenticator(const QMROwnCloudAuthenticator&) = delete;
    QMROwnCloudAuthenticator& operator=(const QMROwnCloudAuthenticator&) = delete;
    virtual ~QMROwnCloudAuthenticator();

    bool isLoggedIn() const noexcept { return _isLoggedIn; }
    void setIsLoggedIn(bool isLoggedIn) noexcept { _isLoggedIn = isLoggedIn; }
    const std::string& baseUrl() const noexcept { return _baseUrl; }
    void setBaseUrl(std::string baseUrl) { _baseUrl = std::move(baseUrl); }
    const std::string& serverVersion() const noexcept { return _serverVersion; }
    void setServerVersion(std::string serverVersion) { _serverVersion = std::move(serverVersion); }
    const std::string& requestToken() const noexcept { return _requestToken; }
    void setRequestToken(std::string requestToken) { _requestToken = std::move(requestToken); }

    // The account's session; every request made for this account is sent through it.
    QMRUrlSession& session() noexcept { return _session; }

    // Raises QMRInvalidOperationException "Not logged in" unless logged in.
    void throwExceptionWhenNotLoggedIn() const;

    // Ends the session on the server.
    virtual void close(QMRErrorSlot& error) = 0;

protected:
    QMROwnCloudAuthenticator(std::string baseUrl, std::string serverVersion,
                             const QMRUrlSessionConfiguration& configuration = {});

private:
    bool _isLoggedIn = false;
    std::string _baseUrl;
    std::string _serverVersion;
    std::string _requestToken;
    QMRUrlSession _session;
};
