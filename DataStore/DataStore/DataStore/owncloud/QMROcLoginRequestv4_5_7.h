#pragma once
// The 4.5.7 login, as a browser does it, in three steps: post the login form (the session cookie
// comes back), read the request token from the files page, ask the server to scan the user's
// files. Every step lets 302 pass besides 200, since the login form answers with a redirect.
#include <optional>
#include <string>

#include "DataStore/owncloud/QMROcLoginResponsev4_5_7.h"
#include "DataStore/owncloud/QMROcRequest.h"

class QMROcLoginRequestv4_5_7 : public QMROcRequest {
public:
    QMROcLoginRequestv4_5_7() = delete;
    // initWithUsername:andPassword:forUrl:
    QMROcLoginRequestv4_5_7(QMRUrlSession& session, std::string username, std::string password, std::string url);

    // On success the response holds the token; otherwise the error is set.
    void send(QMROcLoginResponsev4_5_7& response, QMRErrorSlot& error);

    void validateResponseCode(long statusCode, QMRErrorSlot& error) const override;

    // Step 1: the form post.
    virtual void retrieveCookie(QMRErrorSlot& error);
    virtual std::string constructRetrieveCookieReqUrl() const;
    virtual QMRData constructRetrieveCookieReqBody() const;
    // The login form shown again means the credentials were refused: 102.
    virtual void validateRetrieveCookieResponseBody(const QMRData& body, QMRErrorSlot& error) const;
    // Step 2: the token, or none with the error set.
    virtual std::optional<std::string> retrieveRequestToken(QMRErrorSlot& error);
    virtual std::string constructRetrieveRequestTokenUrl() const;
    virtual std::optional<std::string> extractRequestToken(const QMRData& body, QMRErrorSlot& error) const;
    // Step 3: the file scan; its body is not looked at.
    virtual void initializeUserDatabase(const std::string& requestToken, QMRErrorSlot& error);
    virtual std::string constructScanReqUrl(const std::string& requestToken) const;

protected:
    const std::string& username() const noexcept { return _username; }
    const std::string& password() const noexcept { return _password; }
    // The first capture of a token pattern, or 101 "Unknown Error - Request token not found".
    static std::optional<std::string> extractRequestTokenWithPattern(const char* pattern, const QMRData& body,
                                                                     QMRErrorSlot& error);

private:
    std::string _username;
    std::string _password;
};
