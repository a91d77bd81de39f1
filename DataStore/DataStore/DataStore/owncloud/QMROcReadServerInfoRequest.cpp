#include "DataStore/owncloud/QMROcReadServerInfoRequest.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

QMROcReadServerInfoRequest::QMROcReadServerInfoRequest(QMRUrlSession& session, std::string url)
    : QMROcRequest(session, std::move(url)) {}

std::optional<QMROcReadServerInfoResponse> QMROcReadServerInfoRequest::send(QMRErrorSlot& error) {
    std::optional<QMRData> body = exchange(newRequest("GET", constructRetrieveServerInfoReqUrl()), error);
    if (!body) return std::nullopt;
    return extractServerInfo(*body, error);
}

std::string QMROcReadServerInfoRequest::constructRetrieveServerInfoReqUrl() const {
    return fixedUrl("/status.php");
}

std::optional<QMROcReadServerInfoResponse> QMROcReadServerInfoRequest::extractServerInfo(const QMRData& body,
                                                                                         QMRErrorSlot& error) const {
    const nlohmann::json status = nlohmann::json::parse(body.begin(), body.end(), nullptr, false);
    if (status.is_discarded()) {
        error = createError(fmt::format("Unknown error - {}", textOf(body)), QMRDataStoreErrorUnknown);
        return std::nullopt;
    }
    QMROcReadServerInfoResponse response;
    // A page that is JSON but not an object, or has no text version, reports no version.
    if (status.is_object()) {
        const auto version = status.find("versionstring");
        if (version != status.end() && version->is_string()) response.setServerVersion(version->get<std::string>());
    }
    return response;
}
