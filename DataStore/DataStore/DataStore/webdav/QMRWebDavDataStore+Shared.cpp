#include <fmt/format.h>

#include <algorithm>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "companion/io/ComQuillmereIO_MemoryStream.h"
#include "companion/util/QMRDateFormat.h"
#include "DataStore/contract/QMRFileMetadataValidation.h"
#include "companion/web/QMRUriBuilder.h"

bool QMRWebDavDataStore::supportsOperation(QMRDataStoreOperation operation) const {
    using enum QMRDataStoreOperation;
    static constexpr QMRDataStoreOperation lockOperations[] = {applyApplicationExclusiveAccessLockWithTimeout,
                                                              refreshApplicationExclusiveAccessLockWithTimeout,
                                                              applyApplicationExclusiveAccessUnlock};
    return QMRDataStoreOperationIsOneOf(operation, QMRFlatFileStoreOperations) ||
           QMRDataStoreOperationIsOneOf(operation, lockOperations);
}

std::string QMRWebDavDataStore::constructCollectionUri(std::string_view collection) const {
    // Only scheme, host and port of the base URL count: the service's collections hang off the root.
    QMRUriBuilder builder(_baseUrl);
    builder.setPath(fmt::format("/{}", collection));
    return builder.toString();
}

std::string QMRWebDavDataStore::constructFileUri(std::string_view collection, std::string_view filename) const {
    QMRUriBuilder builder(_baseUrl);
    builder.setPath(fmt::format("/{}/{}", collection, filename));
    return builder.toString();
}

std::string QMRWebDavDataStore::toXmlDateStringFromDate(QMRDate date) { return QMRDateFormat::toXmlDateString(date); }

std::optional<QMRDate> QMRWebDavDataStore::toDateFromXmlDateString(std::string_view text) {
    return QMRDateFormat::fromXmlDateString(text);
}

std::optional<QMRDate> QMRWebDavDataStore::toDateFromRfc1123DateString(std::string_view text) {
    return QMRDateFormat::fromRfc1123String(text);
}

void QMRWebDavDataStore::validateFileIdNotAvailable(const QMRFileMetadata& metadata) {
    QMRFileMetadataValidation::validateFileIdNotAvailable(metadata);
}

void QMRWebDavDataStore::validateFileIdAvailable(const QMRFileMetadata& metadata) {
    QMRFileMetadataValidation::validateFileIdAvailable(metadata);
}

void QMRWebDavDataStore::validateNameAvailable(const QMRFileMetadata& metadata) {
    QMRFileMetadataValidation::validateNameAvailable(metadata);
}

void QMRWebDavDataStore::validateContentTypeAvailable(const QMRFileMetadata& metadata) {
    QMRFileMetadataValidation::validateContentTypeAvailable(metadata);
}

void QMRWebDavDataStore::validateSizeInBytesAvailable(const QMRFileMetadata& metadata) {
    QMRFileMetadataValidation::validateSizeInBytesAvailable(metadata);
}

QMRData QMRWebDavDataStore::readFileContentFromBlock(const QMRStreamBlock& block) {
    ComQuillmereIO_MemoryStream stream;
    block(stream);
    return stream.readDataFromStartToEnd();
}

QMRWebDavTransceiver QMRWebDavDataStore::newTransceiver(std::string_view method, std::string url) {
    QMRWebDavTransceiver transceiver(_session);
    transceiver.reqHttpMethod = std::string(method);
    transceiver.reqUrl = std::move(url);
    transceiver.reqAuthenticationToken = _basicAccessAuthenticationToken;
    return transceiver;
}

QMRWebDavTransceiver QMRWebDavDataStore::newContentPut(const std::string& fileId, QMRData content) {
    QMRWebDavTransceiver put = newTransceiver("PUT", constructFileUri(QMRWebDavDataStoreUserFileParentCollection, fileId));
    put.reqIf = constructIfHeaderValueFromLockToken();
    put.reqContentType = "binary/octet-stream";
    put.reqContent = std::move(content);
    return put;
}

QMRError QMRWebDavDataStore::fileNotFoundError(std::vector<std::string> fileIds) {
    QMRWebDavTransceiver notFound(_session);
    notFound.respCode = 404;
    return *notFound.constructError(std::move(fileIds));
}
