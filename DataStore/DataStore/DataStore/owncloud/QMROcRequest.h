#pragma once
// What every ownCloud request class shares: the session it is sent through, the base URL, the
// exchange (send, wrap a transport failure, check the status), the standard status table, the
// errors, and the reading of pages that are not what was asked for.
//
// A request object is made for one call and dropped after it. It is sent through the session of
// the authenticator it was made for, so that the login cookie serves that account alone.
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"
#include "companion/web/QMRUrlRequest.h"
#include "companion/web/QMRUrlSession.h"

class QMRRegularExpression;

class QMROcRequest {
public:
    using FormField = std::pair<std::string_view, std::string_view>;  // name, value

    QMROcRequest() = delete;
    QMROcRequest(const QMROcRequest&) = delete;
    QMROcRequest& operator=(const QMROcRequest&) = delete;
    virtual ~QMROcRequest();

    QMRUrlSession& session() const noexcept { return *_session; }
    // The server's base URL without trailing "/"; every address is built on it.
    const std::string& baseUrl() const noexcept { return _baseUrl; }
    void set_baseUrl(std::string baseUrl) { _baseUrl = std::move(baseUrl); }

    // 103 "Server down or server busy" with the transport's error underneath.
    static QMRError wrapIOError(const QMRErrorSlot& transportError);
    // An error of the library's domain with only a description.
    static QMRError createError(std::string message, QMRDataStoreErrorCode errorCode);
    // The standard status table: 200 passes; 408, 500, 503, -1001, -1003, -1004 give 103; anything
    // else 101 "Unknown error - Response code <code>". Classes with other rules override it.
    virtual void validateResponseCode(long statusCode, QMRErrorSlot& error) const;

    // The UTF-8 text of a body (a view: no copy of large pages), and its ASCII lower-case form (the
    // texts searched for are ASCII).
    static std::string_view textOf(const QMRData& body);
    static std::string lowercased(std::string_view text);

protected:
    QMROcRequest(QMRUrlSession& session, std::string baseUrl);

    // Sends through the session, then checks the status with validateResponseCode. The body when
    // both passed; otherwise none and the error set.
    std::optional<QMRData> exchange(const QMRUrlRequest& request, QMRErrorSlot& error) const;

    // The base URL followed directly by an absolute path, used as it stands.
    std::string fixedUrl(std::string_view path) const;
    // The URI builder on the base URL followed by path, with a literal query, then each parameter
    // (escaped by the builder) appended in order.
    std::string builtUrl(std::string_view path, std::string_view query,
                         const std::vector<FormField>& params = {}) const;
    static QMRUrlRequest newRequest(std::string method, std::string url);
    // The headers of an ajax form post: the form type (with its blank before ";charset=UTF-8") and
    // the session's request token.
    static void setAjaxFormHeaders(QMRUrlRequest& request, const std::string& requestToken);
    // A form-encoded body of the fields in order.
    static QMRData formBody(const std::vector<FormField>& fields);

    // Whether a lower-cased ajax answer reports success and carries an id.
    static bool reportsSuccessWithId(std::string_view lowercasedText);
    // 101 "Unrecognized response: <body>".
    static QMRError unrecognizedResponse(std::string_view body);
    // The first capture of pattern, matched once against the body's text: a created entry's server
    // id. None, with unrecognizedResponse set, when it does not match or when the capture is no text
    // an id can carry (broken UTF-8, a control character).
    static std::optional<std::string> firstCapture(const QMRData& body, const QMRRegularExpression& pattern,
                                                   QMRErrorSlot& error);
    // The error for a page or ajax answer that is not the expected one: 102 "Unauthorized" when
    // the session's token expired, otherwise unrecognizedResponse.
    static QMRError expiredOrUnrecognizedResponse(std::string_view body);

private:
    QMRUrlSession* _session;
    std::string _baseUrl;
};
