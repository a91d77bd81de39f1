#include "companion/web/QMRUrlRequest.h"

#include <fmt/format.h>

#include <algorithm>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

QMRUrlRequest::QMRUrlRequest(std::string URL) : _url(std::move(URL)) {}

QMRUrlRequest::QMRUrlRequest(std::string URL, std::chrono::milliseconds timeoutInterval) : _url(std::move(URL)) {
    setTimeoutInterval(timeoutInterval);
}

bool QMRUrlRequest::isToken(std::string_view text) noexcept {
    static constexpr std::string_view punctuation = "!#$%&'*+-.^_`|~";
    auto isTokenChar = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               punctuation.find(c) != std::string_view::npos;
    };
    return !text.empty() && std::ranges::all_of(text, isTokenChar);
}

bool QMRUrlRequest::isFieldValue(std::string_view text) noexcept {
    return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

void QMRUrlRequest::validateHeaderField(std::string_view name, std::string_view value) {
    if (!isToken(name))
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              fmt::format("Invalid HTTP header field name \"{}\"", name));
    if (!isFieldValue(value))
        comQuillmereUtil_ExceptionUtil::raise(
            QMRInvalidArgumentException::exceptionName,
            fmt::format("The value of HTTP header field \"{}\" contains a line break or NUL", name));
}

void QMRUrlRequest::setHTTPMethod(std::string method) {
    if (!isToken(method))
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              fmt::format("Invalid HTTP method \"{}\"", method));
    _method = std::move(method);
}

void QMRUrlRequest::setValue(std::string value, std::string_view field) {
    validateHeaderField(field, value);
    _headerFields.setValue(std::move(value), field);
}

void QMRUrlRequest::addValue(std::string_view value, std::string_view field) {
    validateHeaderField(field, value);
    _headerFields.addValue(value, field);
}

void QMRUrlRequest::removeValueForHTTPHeaderField(std::string_view field) {
    _headerFields.removeValue(field);
}

std::optional<std::string> QMRUrlRequest::valueForHTTPHeaderField(std::string_view field) const {
    return _headerFields.value(field);
}

void QMRUrlRequest::setHTTPBody(QMRData body) {
    _body = std::move(body);
    _bodyStream.reset();
}

void QMRUrlRequest::setHTTPBodyStream(std::shared_ptr<ComQuillmereIO_Stream> stream) {
    _bodyStream = std::move(stream);
    _body.clear();
}

void QMRUrlRequest::setTimeoutInterval(std::chrono::milliseconds interval) {
    if (interval <= std::chrono::milliseconds::zero())
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "The time-out interval must be positive");
    _timeoutInterval = interval;
}

void QMRUrlRequest::validateHeaderFields() const {
    for (const auto& [name, value] : _headerFields) validateHeaderField(name, value);
}
