#include "DataStore/owncloud/QMROcShareChangeRequest.h"

QMROcShareChangeRequest::QMROcShareChangeRequest(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                                 std::string_view fileOrFolderId, QMRSharingPartyInfo sharingPartyInfo,
                                                 std::optional<std::int32_t> sharingPermission)
    : QMROcSharedItemRequest(session, std::move(requestToken), std::move(baseUrl), fileOrFolderId),
      _sharingPartyInfo(std::move(sharingPartyInfo)) {
    if (sharingPermission) _sharingPermission = correctedPermission(*sharingPermission);
}

void QMROcShareChangeRequest::validateResponseBody(const QMRData& body, QMRErrorSlot& error) const {
    QMROcSharedItemRequest::validateResponseBody(body, error);
    const std::string_view text = textOf(body);
    if (lowercased(text).find("\"status\":\"error\"") != std::string::npos) error = unrecognizedResponse(text);
}

QMRData QMROcShareChangeRequest::shareChangeBody(std::string_view action) const {
    const std::string shareType = std::to_string(_sharingPartyInfo.sharingType());
    const std::string permissions = _sharingPermission ? std::to_string(*_sharingPermission) : std::string();
    std::vector<FormField> fields{{"action", action}};
    const std::vector<FormField> item = itemFields();
    fields.insert(fields.end(), item.begin(), item.end());
    fields.insert(fields.end(), {{"shareType", shareType}, {"shareWith", _sharingPartyInfo.sharingPartyName()}});
    if (_sharingPermission) fields.emplace_back("permissions", permissions);
    return formBody(fields);
}

void QMROcShareChangeRequest::sendChange(std::string url, QMRData body, QMRErrorSlot& error) const {
    QMRUrlRequest request = newSharingRequest("POST", std::move(url));
    // The blank after the semicolon, unlike the files application's posts; each is kept as it is.
    request.setValue("application/x-www-form-urlencoded; charset=UTF-8", "Content-Type");
    request.setHTTPBody(std::move(body));
    sendSharingRequest(request, error);
}
