#include "DataStore/funambol/QMRFunambolAnswers.h"
#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolErrorConverter.h"
#include "DataStore/funambol/QMRFunambolJson.h"

QMREnumerablePtr<QMRChangeInfo> QMRFunambolDataStore::retrieveFileChangesWithSyncToken(std::string& syncToken,
                                                                                       QMRErrorSlot& error) {
    validateNotLoggedOut();
    QMRUrlRequest request(constructRetrieveFileChangesRequestUri(syncToken));
    request.setHTTPMethod("POST");
    QMRFunambolErrorConverter converter = exchange(request, error);
    if (error) return nullptr;
    const nlohmann::json* root = QMRFunambolJson::rootOf(converter.deserializedJSON());
    // An answer without a response time leaves no token, so the next call starts from the beginning.
    syncToken = QMRFunambolJson::toText(QMRFunambolJson::member(root, "responsetime")).value_or("");
    return QMRMakeArrayEnumerable(QMRFunambolAnswers::changeInfo(root));
}

std::string QMRFunambolDataStore::constructRetrieveFileChangesRequestUri(const std::string& syncToken) const {
    return constructRequestUri(
        "/sapi/profile/changes", "action=get",
        {{"type", "all"}, {"responsetime", "true"}, {"from", syncToken.empty() ? "0" : syncToken}});
}
