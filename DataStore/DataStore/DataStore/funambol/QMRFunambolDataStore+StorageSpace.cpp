#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolErrorConverter.h"
#include "DataStore/funambol/QMRFunambolJson.h"

std::optional<QMRStorageSpaceInfo> QMRFunambolDataStore::getStorageSpace(QMRErrorSlot& error) {
    validateNotLoggedOut();
    QMRUrlRequest request(constructStorageSpaceRequestUri());
    request.setHTTPMethod("POST");
    QMRFunambolErrorConverter converter = exchange(request, error);
    // Deliberately a record even on failure (0 and 0): callers look at the error first.
    const std::optional<nlohmann::json>& root = converter.deserializedJSON();
    const nlohmann::json* data = QMRFunambolJson::member(QMRFunambolJson::rootOf(root), "data");
    return QMRStorageSpaceInfo(QMRFunambolJson::toInt64(QMRFunambolJson::member(data, "quota")).value_or(0),
                               QMRFunambolJson::toInt64(QMRFunambolJson::member(data, "free")).value_or(0));
}

std::string QMRFunambolDataStore::constructStorageSpaceRequestUri() const {
    return constructRequestUri("/sapi/media", "action=get-storage-space");
}
