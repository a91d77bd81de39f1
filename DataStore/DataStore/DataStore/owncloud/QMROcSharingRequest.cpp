#include "DataStore/owncloud/QMROcSharingRequest.h"

QMROcSharingRequest::QMROcSharingRequest(QMRUrlSession& session, std::string requestToken, std::string baseUrl)
    : QMROcRequest(session, std::move(baseUrl)), _requestToken(std::move(requestToken)) {}

void QMROcSharingRequest::validateResponseCode(long statusCode, QMRErrorSlot& error) const {
    validateResponseHeader(statusCode, error);
}

void QMROcSharingRequest::validateResponseHeader(long statusCode, QMRErrorSlot& error) const {
    QMROcRequest::validateResponseCode(statusCode, error);
}

void QMROcSharingRequest::validateResponseBody(const QMRData& body, QMRErrorSlot& error) const {
    if (lowercased(textOf(body)).find("token expired. please reload page") != std::string::npos)
        error = createError("Unauthorized", QMRDataStoreErrorAuthentication);
}

QMRUrlRequest QMROcSharingRequest::newSharingRequest(std::string method, std::string url) const {
    QMRUrlRequest request = newRequest(std::move(method), std::move(url));
    request.setValue(_requestToken, "requesttoken");
    return request;
}

std::optional<QMRData> QMROcSharingRequest::sendSharingRequest(const QMRUrlRequest& request,
                                                               QMRErrorSlot& error) const {
    std::optional<QMRData> body = exchange(request, error);
    if (!body) return std::nullopt;
    validateResponseBody(*body, error);
    if (error) return std::nullopt;
    return body;
}
