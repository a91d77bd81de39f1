#pragma once
// The 5.0.6 reset link: another address and success phrase, and any base URL, plain http too.
#include "DataStore/owncloud/QMROcReadLinkForResettingPasswordRequestv_4_5_7.h"

class QMROcReadLinkForResettingPasswordRequestv_5_0_6 : public QMROcReadLinkForResettingPasswordRequestv_4_5_7 {
public:
    QMROcReadLinkForResettingPasswordRequestv_5_0_6() = delete;
    // initWithUrl:loginName:
    QMROcReadLinkForResettingPasswordRequestv_5_0_6(QMRUrlSession& session, std::string url, std::string loginName);

    // Accepts every base URL.
    static void validateBaseUrl(const std::string& url);
    std::string constructReadLinkRequestUrl() const override;

protected:
    std::string_view successPhrase() const override;
};
