#include "DataStore/owncloud/QMROcLogoutRequestv4_5_7.h"

QMROcLogoutRequestv4_5_7::QMROcLogoutRequestv4_5_7(QMRUrlSession& session, std::string url)
    : QMROcRequest(session, std::move(url)) {}

void QMROcLogoutRequestv4_5_7::send(QMRErrorSlot& error) {
    exchange(newRequest("GET", constructLogoutReqUrl()), error);
}

std::string QMROcLogoutRequestv4_5_7::constructLogoutReqUrl() const {
    return builtUrl("/index.php", "logout=true");
}
