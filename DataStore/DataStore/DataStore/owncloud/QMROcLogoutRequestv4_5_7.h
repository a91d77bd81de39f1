#pragma once
// Ends the session on the server (both releases). The answer's body is not looked at.
#include <string>

#include "DataStore/owncloud/QMROcRequest.h"

class QMROcLogoutRequestv4_5_7 : public QMROcRequest {
public:
    QMROcLogoutRequestv4_5_7() = delete;
    // initWithUrl:
    QMROcLogoutRequestv4_5_7(QMRUrlSession& session, std::string url);

    void send(QMRErrorSlot& error);
    virtual std::string constructLogoutReqUrl() const;
};
