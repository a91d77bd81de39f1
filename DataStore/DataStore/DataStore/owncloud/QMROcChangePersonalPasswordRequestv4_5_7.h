#pragma once
// Changes the user's password through the settings application's ajax script. Only a JSON answer
// whose "status" is exactly "success" counts as changed.
#include <string>

#include "DataStore/owncloud/QMROcAccountFormRequest.h"

class QMROcChangePersonalPasswordRequestv4_5_7 : public QMROcAccountFormRequest {
public:
    QMROcChangePersonalPasswordRequestv4_5_7() = delete;
    // initWithRequestToken:baseUrl:oldPassword:newPassword:. An empty new password raises
    // QMRInvalidArgumentException before any traffic.
    QMROcChangePersonalPasswordRequestv4_5_7(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                             std::string oldPassword, std::string newPassword);

    void send(QMRErrorSlot& error);

    virtual std::string constructChangePersonalPasswordRequestUrl() const;
    // Any "status" but "success" (case counts) is 102 "Change password unsuccessful"; an answer
    // that is not JSON is 101 "Unknown error - <body>".
    void validateResponseBody(const QMRData& body, QMRErrorSlot& error) const override;

private:
    std::string _requestToken;
    std::string _oldPassword;
    std::string _freshPassword;
};
