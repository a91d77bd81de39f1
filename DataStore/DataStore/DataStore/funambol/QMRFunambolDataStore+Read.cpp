#include <algorithm>
#include <string>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/funambol/QMRFunambolAnswers.h"
#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolErrorConverter.h"
#include "DataStore/funambol/QMRFunambolFileMetadataFastEnumeration.h"
#include "DataStore/funambol/QMRFunambolJson.h"
#include "companion/io/ComQuillmereIO_MemoryStream.h"
#include "companion/util/QMRDateFormat.h"
#include "companion/web/QMRUrlConnection.h"

namespace {
// The requested ids that no record carries, in request order.
std::vector<std::string> missingFileIds(const std::vector<std::string>& requested,
                                        const QMRFunambolDataStore::MetadataList& records) {
    std::vector<std::string> missing;
    for (const std::string& fileId : requested)
        if (std::ranges::none_of(records, [&](const auto& record) { return record->fileId() == fileId; }))
            missing.push_back(fileId);
    return missing;
}

QMRError fileIdsNotFoundError(std::vector<std::string> fileIds) {
    return QMRFunambolErrorConverter::wrapFunambolErrorCode(
        "MED-1005", QMRFunambolDataStore::singleEntryErrorMapper("MED-1005", QMRUnknownFileIds, std::move(fileIds)),
        std::nullopt);
}
}  // namespace

void QMRFunambolDataStore::openFileForReading(const std::string& fileId, QMRErrorSlot& error,
                                              const QMRStreamBlock& block) {
    validateNotLoggedOut();
    QMRFunambolFileMetadataPtr record = readFileMetadataForFileId(fileId, error);
    if (error) return;
    QMRUrlRequest request(record->contentDownloadUrl());
    QMRHttpUrlResponse response;
    QMRErrorSlot transportError;
    std::optional<QMRData> content =
        QMRUrlConnection::sendSynchronousRequest(_session, request, response, transportError);
    // Only a transport failure counts: the body of any answer is the content, whatever its status.
    if (transportError) {
        error = QMRDataStoreError::errorWithCode(QMRDataStoreErrorServerUnavailable, "Server down or server busy",
                                                 *transportError);
        return;
    }
    ComQuillmereIO_MemoryStream stream(content ? std::move(*content) : QMRData());
    block(stream);
    stream.close();
}

QMREnumerablePtr<QMRFileMetadataPtr> QMRFunambolDataStore::readAllFileMetadata(QMRErrorSlot& error) {
    validateNotLoggedOut();
    return std::make_shared<QMRFunambolFileMetadataFastEnumeration>(shared_from_this(), std::nullopt, error);
}

QMREnumerablePtr<QMRFileMetadataPtr> QMRFunambolDataStore::readFileMetadataWithSpecificDate(const QMRDate& date,
                                                                                            QMRErrorSlot& error) {
    validateNotLoggedOut();
    return std::make_shared<QMRFunambolFileMetadataFastEnumeration>(shared_from_this(), date, error);
}

QMREnumerablePtr<QMRFileMetadataPtr> QMRFunambolDataStore::readFileMetadataWithSpecificFileIds(
    const std::vector<std::string>& fileIds, QMRErrorSlot& error) {
    validateNotLoggedOut();
    std::optional<MetadataList> records =
        readFileMetadataWithOptionalParam(systemContentType(), {{"id", toFileIdUrlParam(fileIds)}}, error);
    if (!records) return nullptr;
    if (std::vector<std::string> missing = missingFileIds(fileIds, *records); !missing.empty()) {
        error = fileIdsNotFoundError(std::move(missing));
        return nullptr;
    }
    return QMRMakeArrayEnumerable(std::vector<QMRFileMetadataPtr>(records->begin(), records->end()));
}

QMRFunambolFileMetadataPtr QMRFunambolDataStore::readFileMetadataForFileId(const std::string& fileId,
                                                                           QMRErrorSlot& error) {
    std::optional<MetadataList> records =
        readFileMetadataWithOptionalParam(systemContentType(), {{"id", toFileIdUrlParam({fileId})}}, error);
    if (!records) return nullptr;
    if (records->empty()) {
        error = fileIdsNotFoundError({fileId});
        return nullptr;
    }
    return records->front();
}

std::optional<QMRFunambolDataStore::MetadataList> QMRFunambolDataStore::readAllFileMetadataStartingFrom(
    const CollectionList& collections, const std::optional<QMRDate>& notBeforeDateInLocalTime, std::uint64_t offset,
    std::uint64_t limit, QMRErrorSlot& error) {
    std::vector<QMRFunambolKeyValuePair> params = {{"offset", std::to_string(offset)},
                                                   {"limit", std::to_string(limit)}};
    if (notBeforeDateInLocalTime)
        params.emplace_back("from", toUtcMillisecondsStringFromLocalDate(*notBeforeDateInLocalTime));
    return readFileMetadataWithOptionalParam(collections, params, error);
}

std::optional<QMRFunambolDataStore::MetadataList> QMRFunambolDataStore::readFileMetadataWithOptionalParam(
    const CollectionList& collections, const std::vector<QMRFunambolKeyValuePair>& params, QMRErrorSlot& error) {
    MetadataList records;
    for (const QMRFunambolSystemContentTypeAndJsonNodeName& collection : collections) {
        QMRUrlRequest request(constructReadFileMetadataUri(collection.systemContentType(), params));
        request.setHTTPMethod("GET");
        QMRFunambolErrorConverter converter = exchange(request, error);
        if (error) return std::nullopt;
        QMRFunambolAnswers::appendFileMetadata(QMRFunambolJson::rootOf(converter.deserializedJSON()),
                                               collection.jsonNodeName(), records);
    }
    return records;
}

std::string QMRFunambolDataStore::constructReadFileMetadataUri(
    std::string_view systemContentType, const std::vector<QMRFunambolKeyValuePair>& params) const {
    return constructRequestUri("/sapi/media/" + std::string(systemContentType), "action=get", params);
}

std::string QMRFunambolDataStore::toFileIdUrlParam(const std::vector<std::string>& fileIds) {
    return QMRFunambolJson::serialize({{"ids", QMRFunambolJson::toFileIdArray(fileIds)}});
}

std::string QMRFunambolDataStore::toUtcMillisecondsStringFromLocalDate(QMRDate date) {
    // Deliberately measured from the date itself, not from 1970: the value is always 0, as the
    // server has always been sent it.
    const double milliseconds = std::chrono::duration<double, std::milli>(date - date).count();
    return std::to_string(static_cast<std::uint64_t>(milliseconds));
}

QMRDate QMRFunambolDataStore::toLocalDateFromUtcMilliseconds(double milliseconds) {
    return QMRDateFormat::fromMillisecondsSince1970(milliseconds);
}
