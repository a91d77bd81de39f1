#include <fmt/format.h>

#include <algorithm>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "companion/io/ComQuillmereIO_MemoryStream.h"
#include "companion/util/QMRDateFormat.h"
#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/web/QMRUriBuilder.h"

namespace {
using enum QMRDataStoreOperation;
constexpr QMRDataStoreOperation supportedOperations[] = {
    createNewFile,
    openFileForReading,
    readAllFileMetadata,
    readFileMetadataWithSpecificDate,
    readFileMetadataWithSpecificFileIds,
    updateFileMetadata,
    openFileForUpdating,
    deleteAllFiles,
    deleteFileWithSpecificFileIds,
    retrieveFileChangesWithSyncToken,
    getStorageSpace,
    applyApplicationExclusiveAccessLockWithTimeout,
    refreshApplicationExclusiveAccessLockWithTimeout,
    applyApplicationExclusiveAccessUnlock,
};
}  // namespace

bool QMRWebDavDataStore::supportsOperation(QMRDataStoreOperation operation) const {
    return std::ranges::find(supportedOperations, operation) != std::end(supportedOperations);
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

namespace {
void raiseInvalidArgument(const char* reason, QMRSourceLocation where = QMRSourceLocation::current()) {
    comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName, reason, where);
}
}  // namespace

void QMRWebDavDataStore::validateFileIdNotAvailable(const QMRFileMetadata& metadata) {
    if (metadata.fileIdAvailable()) raiseInvalidArgument("FileId should not be provided");
}

void QMRWebDavDataStore::validateFileIdAvailable(const QMRFileMetadata& metadata) {
    if (!metadata.fileIdAvailable()) raiseInvalidArgument("FileId should be provided");
}

void QMRWebDavDataStore::validateNameAvailable(const QMRFileMetadata& metadata) {
    if (!metadata.nameAvailable()) raiseInvalidArgument("Name must be provided");
}

void QMRWebDavDataStore::validateContentTypeAvailable(const QMRFileMetadata& metadata) {
    if (!metadata.mimeContentTypeAvailable()) raiseInvalidArgument("MimeContentType must be provided");
}

void QMRWebDavDataStore::validateSizeInBytesAvailable(const QMRFileMetadata& metadata) {
    if (!metadata.sizeInBytesAvailable()) raiseInvalidArgument("SizeInBytes must be provided");
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
