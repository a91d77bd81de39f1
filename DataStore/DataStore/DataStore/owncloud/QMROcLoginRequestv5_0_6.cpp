#include "DataStore/owncloud/QMROcLoginRequestv5_0_6.h"

#include <fmt/format.h>

std::string QMROcLoginRequestv5_0_6::constructRetrieveCookieReqUrl() const {
    return fixedUrl("/index.php");
}

QMRData QMROcLoginRequestv5_0_6::constructRetrieveCookieReqBody() const {
    return formBody(
        {{"user", username()}, {"password", password()}, {"password-clone", password()}, {"timezone-offset", "0"}});
}

std::string QMROcLoginRequestv5_0_6::constructRetrieveRequestTokenUrl() const {
    return fixedUrl("/index.php/apps/files");
}

std::optional<std::string> QMROcLoginRequestv5_0_6::extractRequestToken(const QMRData& body,
                                                                        QMRErrorSlot& error) const {
    // Greedy as in 4.5.7: the capture runs to the last "\">" of the line; deliberate.
    return extractRequestTokenWithPattern("^.*data-requesttoken=\"(.+)\">.*$", body, error);
}

std::string QMROcLoginRequestv5_0_6::constructScanReqUrl(const std::string& requestToken) const {
    // The token goes into the query as it stands, unescaped.
    return builtUrl("/index.php/apps/files/ajax/upgrade.php", fmt::format("requesttoken={}", requestToken));
}
