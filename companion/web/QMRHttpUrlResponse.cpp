#include "companion/web/QMRHttpUrlResponse.h"

#include <utility>

QMRHttpUrlResponse::QMRHttpUrlResponse(std::string URL, long statusCode, QMRHttpHeaderFields headerFields)
    : _url(std::move(URL)), _statusCode(statusCode), _headerFields(std::move(headerFields)) {}

std::optional<std::string> QMRHttpUrlResponse::valueForHTTPHeaderField(std::string_view field) const {
    return _headerFields.value(field);
}
