#pragma once
// Lists the users and groups whose names begin with a text, as the sharing dialog offers them.
#include <optional>
#include <string>
#include <string_view>

#include "DataStore/owncloud/QMROcReadSharingPartyInfoResponsev4_5_7.h"
#include "DataStore/owncloud/QMROcSharingRequest.h"

class QMROcReadSharingPartyInfoRequestv4_5_7 : public QMROcSharingRequest {
public:
    QMROcReadSharingPartyInfoRequestv4_5_7() = delete;
    // initWithRequestToken:baseUrl:partyThatBeginsWith:
    QMROcReadSharingPartyInfoRequestv4_5_7(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                           std::string partyThatBeginsWith);

    const std::string& partyThatBeginsWith() const noexcept { return _partyThatBeginsWith; }

    // On success the response's sharingPartyInfos is set; otherwise the error.
    void send(QMROcReadSharingPartyInfoResponsev4_5_7& response, QMRErrorSlot& error);

    virtual std::string constructReadSharingPartyRequestUrl() const;
    // One party per entry of "data"; none with the parser's error when the answer is no JSON.
    std::optional<QMROcReadSharingPartyInfoResponsev4_5_7::SharingPartyInfoList> extractSharingPartyInfo(
        const QMRData& body, QMRErrorSlot& error) const;

protected:
    std::string readSharingPartyRequestUrlOn(std::string_view endpointPath) const;

private:
    std::string _partyThatBeginsWith;
};
