#pragma once
// What the requests of the sharing endpoint share: the endpoint of each release, the session's
// request token, which the reads send as well as the changes, the exchange and the check of the
// answer's text.
#include <optional>
#include <string>
#include <string_view>

#include "DataStore/owncloud/QMROcRequest.h"

class QMROcSharingRequest : public QMROcRequest {
public:
    // The endpoint's path behind the base URL, per release.
    static constexpr std::string_view endpointPathv4_5_7 = "/core/ajax/share.php";
    static constexpr std::string_view endpointPathv5_0_6 = "/index.php/core/ajax/share.php";

    QMROcSharingRequest() = delete;

    const std::string& requestToken() const noexcept { return _requestToken; }

    // Forwards to validateResponseHeader, these classes' name for the status check.
    void validateResponseCode(long statusCode, QMRErrorSlot& error) const final;
    // The standard status table.
    virtual void validateResponseHeader(long statusCode, QMRErrorSlot& error) const;
    // 102 "Unauthorized" when the session's token expired.
    virtual void validateResponseBody(const QMRData& body, QMRErrorSlot& error) const;

protected:
    QMROcSharingRequest(QMRUrlSession& session, std::string requestToken, std::string baseUrl);

    // A request to url carrying the request token.
    QMRUrlRequest newSharingRequest(std::string method, std::string url) const;
    // Sends it; the body when the status and validateResponseBody passed, otherwise none.
    std::optional<QMRData> sendSharingRequest(const QMRUrlRequest& request, QMRErrorSlot& error) const;

private:
    std::string _requestToken;
};
