#include <fmt/format.h>

#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolErrorConverter.h"
#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

std::shared_ptr<QMRFunambolDataStore> QMRFunambolDataStore::initWithUsername(
    const std::string& username, const std::string& password, const std::string& url, QMRErrorSlot& error,
    const QMRUrlSessionConfiguration& configuration) {
    // The constructor is private, so make_shared cannot reach it.
    std::shared_ptr<QMRFunambolDataStore> dataStore(new QMRFunambolDataStore(url, configuration));
    dataStore->loginUsername(username, password, error);
    if (error) return nullptr;
    return dataStore;
}

void QMRFunambolDataStore::loginUsername(const std::string& username, const std::string& password,
                                         QMRErrorSlot& error) {
    QMRUrlRequest request =
        newRequestWithBody("POST", constructLoginRequestUri(), "application/x-www-form-urlencoded; charset=UTF-8",
                           constructLoginRequestBody(username, password));
    exchange(request, error);
    if (!error) _isLoggedIn = true;
}

void QMRFunambolDataStore::close(QMRErrorSlot& error) {
    if (!_isLoggedIn) return;
    QMRUrlRequest request(constructLogoutRequestUri());
    request.setHTTPMethod("GET");
    exchange(request, error);
    if (!error) _isLoggedIn = false;
}

void QMRFunambolDataStore::validateNotLoggedOut() const {
    if (!_isLoggedIn)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName, "Not logged in");
}

std::string QMRFunambolDataStore::constructLoginRequestUri() const {
    return constructRequestUri("/sapi/login", "action=login");
}

std::string QMRFunambolDataStore::constructLogoutRequestUri() const {
    return constructRequestUri("/sapi/login", "action=logout");
}

QMRData QMRFunambolDataStore::constructLoginRequestBody(std::string_view username, std::string_view password) {
    // Deliberately not percent-encoded: the server takes the credentials as they stand.
    std::string body = fmt::format("login={}&password={}", username, password);
    return QMRData(body.begin(), body.end());
}
