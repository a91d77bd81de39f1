#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolErrorConverter.h"
#include "DataStore/funambol/QMRFunambolJson.h"

void QMRFunambolDataStore::deleteAllFiles(QMRErrorSlot& error) {
    validateNotLoggedOut();
    // Collections already reset stay reset when a later one fails.
    for (const QMRFunambolSystemContentTypeAndJsonNodeName& collection : systemContentType()) {
        QMRUrlRequest request(constructDeleteAllFileUri(collection.systemContentType()));
        request.setHTTPMethod("POST");
        exchange(request, error);
        if (error) return;
    }
}

void QMRFunambolDataStore::deleteFileWithSpecificFileIds(const std::vector<std::string>& fileIds, QMRErrorSlot& error) {
    validateNotLoggedOut();
    // Every collection gets every id; the server ignores those a collection does not hold.
    for (const QMRFunambolSystemContentTypeAndJsonNodeName& collection : systemContentType()) {
        std::string body = constructDeleteFileByFileIdRequestContent(collection, fileIds);
        QMRUrlRequest request =
            newRequestWithBody("POST", constructDeleteFileByFileIdUri(collection.systemContentType()),
                               QMRFunambolJson::contentType, QMRData(body.begin(), body.end()));
        exchange(request, error);
        if (error) return;
    }
}

std::string QMRFunambolDataStore::constructDeleteAllFileUri(std::string_view systemContentType) const {
    return constructRequestUri("/sapi/media/" + std::string(systemContentType), "action=reset");
}

std::string QMRFunambolDataStore::constructDeleteFileByFileIdUri(std::string_view systemContentType) const {
    return constructRequestUri("/sapi/media/" + std::string(systemContentType), "action=delete");
}

std::string QMRFunambolDataStore::constructDeleteFileByFileIdRequestContent(
    const QMRFunambolSystemContentTypeAndJsonNodeName& collection, const std::vector<std::string>& fileIds) {
    nlohmann::json data = {{collection.jsonNodeName(), QMRFunambolJson::toFileIdArray(fileIds)}};
    return QMRFunambolJson::serialize({{"data", data}});
}
