#pragma once
// One request as the scripted test server received it.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "companion/util/QMRTypes.h"
#include "companion/web/QMRHttpHeaderFields.h"

struct ScriptedHttpRequest {
    std::string method;
    std::string target;  // path and query exactly as sent
    QMRHttpHeaderFields headers;
    QMRData body;
    // Numbers the TCP connections of one server from 1, so reuse shows as a repeated id.
    std::uint64_t connectionId = 0;

    std::optional<std::string> header(std::string_view name) const { return headers.value(name); }
    std::string bodyText() const { return {body.begin(), body.end()}; }
};
