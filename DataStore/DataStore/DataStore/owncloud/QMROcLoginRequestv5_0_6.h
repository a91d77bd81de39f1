#pragma once
// The 5.0.6 login: the same three steps at other addresses, a longer form and the token in a
// data attribute instead of a script variable.
#include "DataStore/owncloud/QMROcLoginRequestv4_5_7.h"

class QMROcLoginRequestv5_0_6 : public QMROcLoginRequestv4_5_7 {
public:
    QMROcLoginRequestv5_0_6() = delete;
    using QMROcLoginRequestv4_5_7::QMROcLoginRequestv4_5_7;

    std::string constructRetrieveCookieReqUrl() const override;
    QMRData constructRetrieveCookieReqBody() const override;
    std::string constructRetrieveRequestTokenUrl() const override;
    std::optional<std::string> extractRequestToken(const QMRData& body, QMRErrorSlot& error) const override;
    std::string constructScanReqUrl(const std::string& requestToken) const override;
};
