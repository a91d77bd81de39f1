#include "DataStore/owncloud/QMROcAccountFormRequest.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

QMROcAccountFormRequest::QMROcAccountFormRequest(QMRUrlSession& session, std::string baseUrl)
    : QMROcRequest(session, std::move(baseUrl)) {}

void QMROcAccountFormRequest::post(std::string url, const std::vector<FormField>& fields,
                                   std::optional<std::string_view> requestToken, QMRErrorSlot& error) const {
    QMRUrlRequest request = newRequest("POST", std::move(url));
    // The reset form is the ajax form without a token: same content type, no token header.
    setAjaxFormHeaders(request, std::string(requestToken.value_or("")));
    if (!requestToken) request.removeValueForHTTPHeaderField("requesttoken");
    request.setHTTPBody(formBody(fields));
    if (std::optional<QMRData> body = exchange(request, error)) validateResponseBody(*body, error);
}

QMRError QMROcAccountFormRequest::unknownError(std::string_view body) {
    return createError(fmt::format("Unknown error - {}", body), QMRDataStoreErrorUnknown);
}

std::optional<nlohmann::json> QMROcAccountFormRequest::jsonAnswer(const QMRData& body, QMRErrorSlot& error) {
    nlohmann::json answer = nlohmann::json::parse(body.begin(), body.end(), nullptr, false);
    if (answer.is_discarded()) {
        error = unknownError(textOf(body));
        return std::nullopt;
    }
    return answer;
}

const nlohmann::json* QMROcAccountFormRequest::member(const nlohmann::json& value, const char* name) {
    if (!value.is_object()) return nullptr;
    const auto found = value.find(name);
    return found != value.end() ? &*found : nullptr;
}

const std::string* QMROcAccountFormRequest::textMember(const nlohmann::json& value, const char* name) {
    const nlohmann::json* found = member(value, name);
    return found ? found->get_ptr<const std::string*>() : nullptr;
}
