#include "DataStore/owncloud/QMROcLoginRequestv4_5_7.h"

#include <fmt/format.h>

#include "companion/util/QMRRegularExpression.h"
#include "companion/web/QMRUrlRequest.h"

QMROcLoginRequestv4_5_7::QMROcLoginRequestv4_5_7(QMRUrlSession& session, std::string username, std::string password,
                                                 std::string url)
    : QMROcRequest(session, std::move(url)), _username(std::move(username)), _password(std::move(password)) {}

void QMROcLoginRequestv4_5_7::send(QMROcLoginResponsev4_5_7& response, QMRErrorSlot& error) {
    retrieveCookie(error);
    if (error) return;
    std::optional<std::string> requestToken = retrieveRequestToken(error);
    if (error || !requestToken) return;
    initializeUserDatabase(*requestToken, error);
    if (error) return;
    response.setRequestToken(std::move(*requestToken));
}

void QMROcLoginRequestv4_5_7::validateResponseCode(long statusCode, QMRErrorSlot& error) const {
    if (statusCode == 302) return;  // the login form answers with a redirect
    QMROcRequest::validateResponseCode(statusCode, error);
}

void QMROcLoginRequestv4_5_7::retrieveCookie(QMRErrorSlot& error) {
    QMRUrlRequest request = newRequest("POST", constructRetrieveCookieReqUrl());
    request.setValue("application/x-www-form-urlencoded", "Content-Type");
    request.setHTTPBody(constructRetrieveCookieReqBody());
    if (std::optional<QMRData> body = exchange(request, error)) validateRetrieveCookieResponseBody(*body, error);
}

std::string QMROcLoginRequestv4_5_7::constructRetrieveCookieReqUrl() const {
    return fixedUrl("/");
}

QMRData QMROcLoginRequestv4_5_7::constructRetrieveCookieReqBody() const {
    return formBody({{"user", _username}, {"password", _password}});
}

void QMROcLoginRequestv4_5_7::validateRetrieveCookieResponseBody(const QMRData& body, QMRErrorSlot& error) const {
    // "?" makes the final "d" optional rather than matching a question mark; kept deliberately.
    static const QMRRegularExpression loginFormShownAgain(
        "^.*Lost your password?.*$",
        QMRRegularExpressionOptions::CaseInsensitive | QMRRegularExpressionOptions::AnchorsMatchLines);
    const std::string_view text = textOf(body);
    try {
        if (loginFormShownAgain.firstMatchInString(text))
            error = createError("Either login name or password is invalid", QMRDataStoreErrorAuthentication);
    } catch (const QMRRegularExpressionMatchException&) {
        error = unrecognizedResponse(text);
    }
}

std::optional<std::string> QMROcLoginRequestv4_5_7::retrieveRequestToken(QMRErrorSlot& error) {
    std::optional<QMRData> body = exchange(newRequest("GET", constructRetrieveRequestTokenUrl()), error);
    if (!body) return std::nullopt;
    return extractRequestToken(*body, error);
}

std::string QMROcLoginRequestv4_5_7::constructRetrieveRequestTokenUrl() const {
    return fixedUrl("/");
}

std::optional<std::string> QMROcLoginRequestv4_5_7::extractRequestToken(const QMRData& body,
                                                                        QMRErrorSlot& error) const {
    // Greedy: on a line with several quoted strings the token runs to the last "';"; deliberate.
    return extractRequestTokenWithPattern("^.*var oc_requesttoken = '(.+)';.*$", body, error);
}

std::optional<std::string> QMROcLoginRequestv4_5_7::extractRequestTokenWithPattern(const char* pattern,
                                                                                   const QMRData& body,
                                                                                   QMRErrorSlot& error) {
    const QMRRegularExpression tokenPattern(
        pattern, QMRRegularExpressionOptions::CaseInsensitive | QMRRegularExpressionOptions::AnchorsMatchLines);
    const std::string_view text = textOf(body);
    std::optional<QMRRegularExpressionMatch> match;
    try {
        match = tokenPattern.firstMatchInString(text);
    } catch (const QMRRegularExpressionMatchException&) {
        // Neither a match nor a no-match: the page is not one we know, so there is no token.
    }
    std::string token = match ? std::string(match->substringAtIndex(text, 1).value_or("")) : std::string();
    // The token goes out in the "requesttoken" header of every later change, and a header cannot
    // carry a line break or NUL: such a token is no token.
    if (!match || !QMRUrlRequest::isFieldValue(token)) {
        error = createError("Unknown Error - Request token not found", QMRDataStoreErrorUnknown);
        return std::nullopt;
    }
    return token;
}

void QMROcLoginRequestv4_5_7::initializeUserDatabase(const std::string& requestToken, QMRErrorSlot& error) {
    exchange(newRequest("GET", constructScanReqUrl(requestToken)), error);
}

std::string QMROcLoginRequestv4_5_7::constructScanReqUrl(const std::string& requestToken) const {
    return builtUrl("/", "app=files",
                    {{"getfile", "ajax/scan.php"}, {"force", "false"}, {"dir", ""}, {"requesttoken", requestToken}});
}
