#pragma once
// Reads the server's release from its status page (JSON), before any login.
#include <optional>
#include <string>

#include "DataStore/owncloud/QMROcReadServerInfoResponse.h"
#include "DataStore/owncloud/QMROcRequest.h"

class QMROcReadServerInfoRequest : public QMROcRequest {
public:
    QMROcReadServerInfoRequest() = delete;
    // initWithUrl:
    QMROcReadServerInfoRequest(QMRUrlSession& session, std::string url);

    // The response, or none with the error set.
    std::optional<QMROcReadServerInfoResponse> send(QMRErrorSlot& error);

    virtual std::string constructRetrieveServerInfoReqUrl() const;
    // A body that is not JSON gives 101 "Unknown error - <body>".
    virtual std::optional<QMROcReadServerInfoResponse> extractServerInfo(const QMRData& body,
                                                                         QMRErrorSlot& error) const;
};
