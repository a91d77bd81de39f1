#pragma once
// Asks the server to e-mail the user a link for resetting the password (no login needed). The
// answer is a page; the release's success phrase in it confirms the request.
#include <string>
#include <string_view>

#include "DataStore/owncloud/QMROcAccountFormRequest.h"

class QMROcReadLinkForResettingPasswordRequestv_4_5_7 : public QMROcAccountFormRequest {
public:
    QMROcReadLinkForResettingPasswordRequestv_4_5_7() = delete;
    // initWithUrl:loginName:. Checks the base URL with validateBaseUrl before anything else.
    QMROcReadLinkForResettingPasswordRequestv_4_5_7(QMRUrlSession& session, std::string url, std::string loginName);

    void send(QMRErrorSlot& error);

    // The base URL must begin with "https" in any case (so none is refused too); otherwise
    // QMRInvalidArgumentException "Https required".
    static void validateBaseUrl(const std::string& url);
    virtual std::string constructReadLinkRequestUrl() const;
    // The lower-cased page must hold successPhrase(); otherwise 101 "Unknown error - <page>".
    void validateResponseBody(const QMRData& body, QMRErrorSlot& error) const override;

protected:
    using BaseUrlCheck = void (*)(const std::string& url);
    // For a release with its own base URL check (a constructor cannot call an override).
    QMROcReadLinkForResettingPasswordRequestv_4_5_7(QMRUrlSession& session, std::string url, std::string loginName,
                                                    BaseUrlCheck validateBaseUrl);

    // Lower-case text whose presence in the answer confirms the request.
    virtual std::string_view successPhrase() const;

private:
    std::string _loginName;
};
