#include "DataStore/owncloud/QMROcReadLinkForResettingPasswordRequestv_5_0_6.h"

QMROcReadLinkForResettingPasswordRequestv_5_0_6::QMROcReadLinkForResettingPasswordRequestv_5_0_6(QMRUrlSession& session,
                                                                                                 std::string url,
                                                                                                 std::string loginName)
    : QMROcReadLinkForResettingPasswordRequestv_4_5_7(
          session, std::move(url), std::move(loginName),
          &QMROcReadLinkForResettingPasswordRequestv_5_0_6::validateBaseUrl) {}

void QMROcReadLinkForResettingPasswordRequestv_5_0_6::validateBaseUrl(const std::string&) {}

std::string QMROcReadLinkForResettingPasswordRequestv_5_0_6::constructReadLinkRequestUrl() const {
    return fixedUrl("/index.php/lostpassword/");
}

std::string_view QMROcReadLinkForResettingPasswordRequestv_5_0_6::successPhrase() const {
    // Spelled as the server writes it.
    return "reset email send";
}
