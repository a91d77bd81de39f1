#pragma once
#include <cstdint>
#include <string>
#include <utility>

// The exclusive lock the server granted: its token and remaining lifetime (0 = infinite).
class QMRWebDavLockInfo {
public:
    QMRWebDavLockInfo() = default;
    QMRWebDavLockInfo(std::string lockToken, std::uint32_t timeoutInSeconds)
        : _lockToken(std::move(lockToken)), _timeoutInSeconds(timeoutInSeconds) {}

    const std::string& lockToken() const noexcept { return _lockToken; }
    void setLockToken(std::string value) { _lockToken = std::move(value); }
    std::uint32_t timeoutInSeconds() const noexcept { return _timeoutInSeconds; }
    void setTimeoutInSeconds(std::uint32_t value) noexcept { _timeoutInSeconds = value; }

    std::string description() const;

private:
    std::string _lockToken;
    std::uint32_t _timeoutInSeconds = 0;
};
