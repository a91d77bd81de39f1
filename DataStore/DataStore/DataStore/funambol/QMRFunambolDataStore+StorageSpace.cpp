#include "DataStore/funambol/QMRFunambolAnswers.h"
#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolErrorConverter.h"
#include "DataStore/funambol/QMRFunambolJson.h"

std::optional<QMRStorageSpaceInfo> QMRFunambolDataStore::getStorageSpace(QMRErrorSlot& error) {
    validateNotLoggedOut();
    QMRUrlRequest request(constructStorageSpaceRequestUri());
    request.setHTTPMethod("POST");
    QMRFunambolErrorConverter converter = exchange(request, error);
    // Deliberately a record even on failure (0 and 0): callers look at the error first.
    return QMRFunambolAnswers::storageSpaceInfo(QMRFunambolJson::rootOf(converter.deserializedJSON()));
}

std::string QMRFunambolDataStore::constructStorageSpaceRequestUri() const {
    return constructRequestUri("/sapi/media", "action=get-storage-space");
}
