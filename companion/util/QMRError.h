#pragma once
// The platform's error object: a domain, an integer code and a user-info dictionary.
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

class QMRError;

// Well-known user-info keys.
inline constexpr char QMRLocalizedDescriptionKey[] = "NSLocalizedDescription";
inline constexpr char QMRLocalizedFailureReasonErrorKey[] = "NSLocalizedFailureReason";
inline constexpr char QMRUnderlyingErrorKey[] = "NSUnderlyingError";
// Key whose value is the array of file ids that the server did not know.
inline constexpr char QMRUnknownFileIds[] = "QMRUnknownFileIds";

using QMRUserInfoValue = std::variant<std::string, std::vector<std::string>, std::shared_ptr<const QMRError>>;
using QMRUserInfo = std::map<std::string, QMRUserInfoValue, std::less<>>;

class QMRError {
public:
    QMRError(std::string domain, long code, QMRUserInfo userInfo = {});

    // An error whose user info holds only its localized description.
    static QMRError withDescription(std::string domain, long code, std::string description);

    const std::string& domain() const noexcept { return _domain; }
    long code() const noexcept { return _code; }
    const QMRUserInfo& userInfo() const noexcept { return _userInfo; }

    // The description under QMRLocalizedDescriptionKey, or the platform's generic text.
    std::string localizedDescription() const;
    std::optional<std::string> localizedFailureReason() const;
    std::shared_ptr<const QMRError> underlyingError() const;
    std::optional<std::vector<std::string>> unknownFileIds() const;

    // "Error Domain=<domain> Code=<code> \"<localized description>\"", for logs and messages.
    std::string description() const;

    QMRError& setUserInfoValue(const std::string& key, QMRUserInfoValue value);

private:
    std::string _domain;
    long _code;
    QMRUserInfo _userInfo;
};

// The error out-parameter: empty when the call succeeded.
using QMRErrorSlot = std::optional<QMRError>;
