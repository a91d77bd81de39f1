#include "DataStore/owncloud/QMROcReadLinkForResettingPasswordRequestv_4_5_7.h"

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {

std::string checkedBaseUrl(std::string url, void (*validateBaseUrl)(const std::string&)) {
    validateBaseUrl(url);
    return url;
}

}  // namespace

QMROcReadLinkForResettingPasswordRequestv_4_5_7::QMROcReadLinkForResettingPasswordRequestv_4_5_7(QMRUrlSession& session,
                                                                                                 std::string url,
                                                                                                 std::string loginName)
    : QMROcReadLinkForResettingPasswordRequestv_4_5_7(
          session, std::move(url), std::move(loginName),
          &QMROcReadLinkForResettingPasswordRequestv_4_5_7::validateBaseUrl) {}

QMROcReadLinkForResettingPasswordRequestv_4_5_7::QMROcReadLinkForResettingPasswordRequestv_4_5_7(
    QMRUrlSession& session, std::string url, std::string loginName, BaseUrlCheck validateBaseUrl)
    : QMROcAccountFormRequest(session, checkedBaseUrl(std::move(url), validateBaseUrl)),
      _loginName(std::move(loginName)) {}

void QMROcReadLinkForResettingPasswordRequestv_4_5_7::send(QMRErrorSlot& error) {
    post(constructReadLinkRequestUrl(), {{"user", _loginName}}, std::nullopt, error);
}

void QMROcReadLinkForResettingPasswordRequestv_4_5_7::validateBaseUrl(const std::string& url) {
    // A plain prefix test, so the reset link never travels in clear text.
    if (lowercased(std::string_view(url).substr(0, 5)) != "https")
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName, "Https required");
}

std::string QMROcReadLinkForResettingPasswordRequestv_4_5_7::constructReadLinkRequestUrl() const {
    return fixedUrl("/core/lostpassword/index.php");
}

void QMROcReadLinkForResettingPasswordRequestv_4_5_7::validateResponseBody(const QMRData& body,
                                                                           QMRErrorSlot& error) const {
    const std::string_view text = textOf(body);
    if (lowercased(text).find(successPhrase()) == std::string::npos) error = unknownError(text);
}

std::string_view QMROcReadLinkForResettingPasswordRequestv_4_5_7::successPhrase() const {
    return "requested";
}
