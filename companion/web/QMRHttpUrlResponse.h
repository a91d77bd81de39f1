#pragma once
// The answer to an HTTP request: status code, header fields in the order received and the URL
// that finally answered (after redirects). A transport failure leaves a negative status code, the
// URL error code, so that status tables can treat it like any other status.
#include <optional>
#include <string>
#include <string_view>

#include "companion/web/QMRHttpHeaderFields.h"

class QMRHttpUrlResponse {
public:
    QMRHttpUrlResponse() = default;
    QMRHttpUrlResponse(std::string URL, long statusCode, QMRHttpHeaderFields headerFields = {});

    long statusCode() const noexcept { return _statusCode; }
    const std::string& URL() const noexcept { return _url; }
    const QMRHttpHeaderFields& allHeaderFields() const noexcept { return _headerFields; }
    // Case-insensitive; repeated fields come back joined with ", ".
    std::optional<std::string> valueForHTTPHeaderField(std::string_view field) const;

private:
    std::string _url;
    long _statusCode = 0;
    QMRHttpHeaderFields _headerFields;
};
