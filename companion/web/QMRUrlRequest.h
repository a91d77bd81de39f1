#pragma once
// A mutable HTTP request: URL, method, ordered header fields, a body (bytes or a stream) and an
// idle time-out. Header fields are checked as they are set, so no caller can inject a header line.
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "companion/io/ComQuillmereIO_Stream.h"
#include "companion/util/QMRTypes.h"
#include "companion/web/QMRHttpHeaderFields.h"

class QMRUrlRequest {
public:
    // How long a transfer may go without a byte moving before it fails with a time-out.
    static constexpr std::chrono::milliseconds defaultTimeoutInterval{std::chrono::seconds(60)};

    explicit QMRUrlRequest(std::string URL = {});
    QMRUrlRequest(std::string URL, std::chrono::milliseconds timeoutInterval);

    const std::string& URL() const noexcept { return _url; }
    void setURL(std::string URL) { _url = std::move(URL); }

    // "GET" unless set. Any token is accepted (PROPFIND, LOCK, MKCOL, ...); anything else raises
    // QMRInvalidArgumentException.
    const std::string& HTTPMethod() const noexcept { return _method; }
    void setHTTPMethod(std::string method);

    // Raise QMRInvalidArgumentException for a name that is not a token or a value holding CR, LF or
    // NUL; the request is then unchanged.
    void setValue(std::string value, std::string_view field);
    void addValue(std::string_view value, std::string_view field);
    void removeValueForHTTPHeaderField(std::string_view field);
    std::optional<std::string> valueForHTTPHeaderField(std::string_view field) const;
    const QMRHttpHeaderFields& allHTTPHeaderFields() const noexcept { return _headerFields; }

    // Setting a body drops a body stream and the other way round: a request has one body.
    const QMRData& HTTPBody() const noexcept { return _body; }
    void setHTTPBody(QMRData body);
    const std::shared_ptr<ComQuillmereIO_Stream>& HTTPBodyStream() const noexcept { return _bodyStream; }
    void setHTTPBodyStream(std::shared_ptr<ComQuillmereIO_Stream> stream);

    std::chrono::milliseconds timeoutInterval() const noexcept { return _timeoutInterval; }
    // A non-positive interval raises QMRInvalidArgumentException.
    void setTimeoutInterval(std::chrono::milliseconds interval);

    // Checks every header field again; the sender calls it so that nothing unchecked reaches the wire.
    void validateHeaderFields() const;

    // Whether text is an HTTP token (RFC 9110 section 5.6.2), the syntax of methods and field names.
    static bool isToken(std::string_view text) noexcept;
    // Whether text may be a header field's value: it holds no CR, LF or NUL, which would end the field.
    static bool isFieldValue(std::string_view text) noexcept;

private:
    static void validateHeaderField(std::string_view name, std::string_view value);

    std::string _url;
    std::string _method = "GET";
    QMRHttpHeaderFields _headerFields;
    QMRData _body;
    std::shared_ptr<ComQuillmereIO_Stream> _bodyStream;
    std::chrono::milliseconds _timeoutInterval = defaultTimeoutInterval;
};
