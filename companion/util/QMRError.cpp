#include "companion/util/QMRError.h"

#include <fmt/format.h>

#include <utility>

QMRError::QMRError(std::string domain, long code, QMRUserInfo userInfo)
    : _domain(std::move(domain)), _code(code), _userInfo(std::move(userInfo)) {}

QMRError QMRError::withDescription(std::string domain, long code, std::string description) {
    return QMRError(std::move(domain), code, {{QMRLocalizedDescriptionKey, std::move(description)}});
}

namespace {
template <class T>
const T* valueForKey(const QMRUserInfo& userInfo, std::string_view key) {
    auto found = userInfo.find(key);
    return found == userInfo.end() ? nullptr : std::get_if<T>(&found->second);
}
}  // namespace

std::string QMRError::localizedDescription() const {
    if (const auto* text = valueForKey<std::string>(_userInfo, QMRLocalizedDescriptionKey)) return *text;
    return fmt::format("The operation couldn\u2019t be completed. ({} error {}.)", _domain, _code);
}

std::optional<std::string> QMRError::localizedFailureReason() const {
    if (const auto* text = valueForKey<std::string>(_userInfo, QMRLocalizedFailureReasonErrorKey)) return *text;
    return std::nullopt;
}

std::shared_ptr<const QMRError> QMRError::underlyingError() const {
    if (const auto* error = valueForKey<std::shared_ptr<const QMRError>>(_userInfo, QMRUnderlyingErrorKey))
        return *error;
    return nullptr;
}

std::optional<std::vector<std::string>> QMRError::unknownFileIds() const {
    if (const auto* ids = valueForKey<std::vector<std::string>>(_userInfo, QMRUnknownFileIds)) return *ids;
    return std::nullopt;
}

std::string QMRError::description() const {
    return fmt::format("Error Domain={} Code={} \"{}\"", _domain, _code, localizedDescription());
}

QMRError& QMRError::setUserInfoValue(const std::string& key, QMRUserInfoValue value) {
    _userInfo.insert_or_assign(key, std::move(value));
    return *this;
}
