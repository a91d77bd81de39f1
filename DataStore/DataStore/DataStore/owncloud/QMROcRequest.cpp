#include "DataStore/owncloud/QMROcRequest.h"

#include <fmt/format.h>

#include "companion/util/QMRRegularExpression.h"
#include "companion/web/QMRHttpUrlResponse.h"
#include "companion/web/QMRUriBuilder.h"
#include "companion/web/QMRUrlConnection.h"
#include "companion/web/QMRUrlEncodedBodyBuilder.h"
#include "companion/xml/QMRXmlSyntax.h"

QMROcRequest::QMROcRequest(QMRUrlSession& session, std::string baseUrl)
    : _session(&session), _baseUrl(std::move(baseUrl)) {}

QMROcRequest::~QMROcRequest() = default;

QMRError QMROcRequest::wrapIOError(const QMRErrorSlot& transportError) {
    if (!transportError) return createError("Server down or server busy", QMRDataStoreErrorServerUnavailable);
    return QMRDataStoreError::errorWithCode(QMRDataStoreErrorServerUnavailable, "Server down or server busy",
                                            *transportError);
}

QMRError QMROcRequest::createError(std::string message, QMRDataStoreErrorCode errorCode) {
    return QMRDataStoreError::errorWithCode(errorCode, std::move(message));
}

void QMROcRequest::validateResponseCode(long statusCode, QMRErrorSlot& error) const {
    switch (statusCode) {
        case 200:
            return;
        case 408:
        case 500:
        case 503:
        case -1001:  // timed out
        case -1003:  // host not found
        case -1004:  // cannot connect
            error = createError("Server down or server busy", QMRDataStoreErrorServerUnavailable);
            return;
        default:
            error = createError(fmt::format("Unknown error - Response code {}", statusCode), QMRDataStoreErrorUnknown);
    }
}

std::string_view QMROcRequest::textOf(const QMRData& body) {
    return std::string_view(reinterpret_cast<const char*>(body.data()), body.size());
}

std::string QMROcRequest::lowercased(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

std::optional<QMRData> QMROcRequest::exchange(const QMRUrlRequest& request, QMRErrorSlot& error) const {
    QMRHttpUrlResponse response;
    QMRErrorSlot transportError;
    std::optional<QMRData> body =
        QMRUrlConnection::sendSynchronousRequest(*_session, request, response, transportError);
    if (!body) {
        error = wrapIOError(transportError);
        return std::nullopt;
    }
    validateResponseCode(response.statusCode(), error);
    if (error) return std::nullopt;
    return body;
}

std::string QMROcRequest::fixedUrl(std::string_view path) const {
    return fmt::format("{}{}", _baseUrl, path);
}

std::string QMROcRequest::builtUrl(std::string_view path, std::string_view query,
                                   const std::vector<FormField>& params) const {
    QMRUriBuilder builder(fixedUrl(path));
    builder.setQuery(query);
    for (const auto& [name, value] : params) builder.setParamValue(value, name);
    return builder.toString();
}

QMRUrlRequest QMROcRequest::newRequest(std::string method, std::string url) {
    QMRUrlRequest request(std::move(url));
    request.setHTTPMethod(std::move(method));
    return request;
}

void QMROcRequest::setAjaxFormHeaders(QMRUrlRequest& request, const std::string& requestToken) {
    // The blank before the semicolon is what the server has always been sent; kept deliberately.
    request.setValue("application/x-www-form-urlencoded ;charset=UTF-8", "Content-Type");
    request.setValue(requestToken, "requesttoken");
}

QMRData QMROcRequest::formBody(const std::vector<FormField>& fields) {
    QMRUrlEncodedBodyBuilder builder;
    for (const auto& [name, value] : fields) builder.setParamValue(value, name);
    const std::string& text = builder.toString();
    return QMRData(text.begin(), text.end());
}

bool QMROcRequest::reportsSuccessWithId(std::string_view lowercasedText) {
    return lowercasedText.find("\"status\":\"success\"") != std::string_view::npos &&
           lowercasedText.find("\"id\":") != std::string_view::npos;
}

QMRError QMROcRequest::unrecognizedResponse(std::string_view body) {
    return createError(fmt::format("Unrecognized response: {}", body), QMRDataStoreErrorUnknown);
}

std::optional<std::string> QMROcRequest::firstCapture(const QMRData& body, const QMRRegularExpression& pattern,
                                                      QMRErrorSlot& error) {
    const std::string_view text = textOf(body);
    std::optional<QMRRegularExpressionMatch> match;
    try {
        match = pattern.firstMatchInString(text);
    } catch (const QMRRegularExpressionMatchException&) {
        // Neither a match nor a no-match: an answer we do not know.
    }
    std::string capture = match ? std::string(match->substringAtIndex(text, 1).value_or("")) : std::string();
    // The id is handed out inside an id text (XML), which cannot hold every byte a server may send.
    if (!match || !QMRXmlSyntax::isRepresentable(capture)) {
        error = unrecognizedResponse(text);
        return std::nullopt;
    }
    return capture;
}

QMRError QMROcRequest::expiredOrUnrecognizedResponse(std::string_view body) {
    if (lowercased(body).find("token expired. please reload page") != std::string::npos)
        return createError("Unauthorized", QMRDataStoreErrorAuthentication);
    return unrecognizedResponse(body);
}
