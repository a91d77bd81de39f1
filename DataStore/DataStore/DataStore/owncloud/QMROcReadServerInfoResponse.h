#pragma once
// What the server's status page tells.
#include <string>
#include <utility>

class QMROcReadServerInfoResponse {
public:
    // The version text, such as 4.5.7 or 5.0.6; empty when the server reported none.
    const std::string& serverVersion() const noexcept { return _serverVersion; }
    void setServerVersion(std::string serverVersion) { _serverVersion = std::move(serverVersion); }

private:
    std::string _serverVersion;
};
