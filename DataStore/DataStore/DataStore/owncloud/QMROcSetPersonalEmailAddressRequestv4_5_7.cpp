#include "DataStore/owncloud/QMROcSetPersonalEmailAddressRequestv4_5_7.h"

#include <nlohmann/json.hpp>

QMROcSetPersonalEmailAddressRequestv4_5_7::QMROcSetPersonalEmailAddressRequestv4_5_7(QMRUrlSession& session,
                                                                                     std::string requestToken,
                                                                                     std::string baseUrl,
                                                                                     std::string emailAddress)
    : QMROcAccountFormRequest(session, std::move(baseUrl)),
      _requestToken(std::move(requestToken)),
      _emailAddress(std::move(emailAddress)) {}

void QMROcSetPersonalEmailAddressRequestv4_5_7::send(QMRErrorSlot& error) {
    post(constructSetEmailAddressRequestUrl(), {{"email", _emailAddress}}, _requestToken, error);
}

std::string QMROcSetPersonalEmailAddressRequestv4_5_7::constructSetEmailAddressRequestUrl() const {
    return fixedUrl("/settings/ajax/lostpassword.php");
}

void QMROcSetPersonalEmailAddressRequestv4_5_7::validateResponseBody(const QMRData& body, QMRErrorSlot& error) const {
    const std::optional<nlohmann::json> answer = jsonAnswer(body, error);
    if (!answer) return;
    const std::string* status = textMember(*answer, "status");
    if (status && lowercased(*status) == "success") return;
    const nlohmann::json* data = member(*answer, "data");
    const std::string* message = data ? textMember(*data, "message") : nullptr;
    error = message ? createError(*message, QMRDataStoreErrorUnknown) : unknownError(textOf(body));
}
