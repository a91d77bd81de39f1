#pragma once
// Sets the user's e-mail address through the settings application's ajax script (the script is
// named after the lost-password feature the address serves).
#include <string>

#include "DataStore/owncloud/QMROcAccountFormRequest.h"

class QMROcSetPersonalEmailAddressRequestv4_5_7 : public QMROcAccountFormRequest {
public:
    QMROcSetPersonalEmailAddressRequestv4_5_7() = delete;
    // initWithRequestToken:baseUrl:emailAddress:
    QMROcSetPersonalEmailAddressRequestv4_5_7(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                              std::string emailAddress);

    void send(QMRErrorSlot& error);

    virtual std::string constructSetEmailAddressRequestUrl() const;
    // "status" is "success" in any case. A refusal is 101 with the server's own "data"/"message"
    // (or "Unknown error - <body>" when it wrote none); an answer that is not JSON is 101
    // "Unknown error - <body>".
    void validateResponseBody(const QMRData& body, QMRErrorSlot& error) const override;

private:
    std::string _requestToken;
    std::string _emailAddress;
};
