#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolErrorConverter.h"
#include "DataStore/funambol/QMRFunambolJson.h"
#include "companion/io/ComQuillmereIO_MemoryStream.h"
#include "DataStore/contract/QMRFileMetadataValidation.h"
#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {

QMRData toData(const std::string& text) {
    return QMRData(text.begin(), text.end());
}

QMRFunambolErrorExtraInfo unknownFileIdExtraInfo(const std::string& fileId) {
    return QMRFunambolDataStore::singleEntryErrorMapper("MED-1005", QMRUnknownFileIds,
                                                        std::vector<std::string>{fileId});
}

// Lets the caller write the whole content into a memory stream, then sends it.
void writeAndSendContent(QMRFunambolDataStore& dataStore, const QMRStreamBlock& block,
                         const std::string& systemContentType, const std::string& fileId, std::int64_t declaredSize,
                         QMRErrorSlot& error) {
    ComQuillmereIO_MemoryStream stream;
    block(stream);
    stream.flush();
    dataStore.sendStream(stream, systemContentType, fileId, declaredSize, error);
    stream.close();
}
}  // namespace

void QMRFunambolDataStore::createNewFile(QMRFileMetadata& metadata, QMRErrorSlot& error, const QMRStreamBlock& block) {
    validateNotLoggedOut();
    validateFileIdNotAvailable(metadata);
    validateNameAvailable(metadata);
    validateContentTypeAvailable(metadata);
    validateSizeInBytesAvailable(metadata);
    const std::string type = toSystemContentTypeFromMimeContentType(metadata.mimeContentType());
    // The id is stored at once: a file whose content save fails afterwards still exists on the server.
    metadata.setFileId(createFileMetadata(metadata, type, error).value_or(""));
    if (error) return;
    writeAndSendContent(*this, block, type, metadata.fileId(), metadata.sizeInBytes(), error);
}

void QMRFunambolDataStore::updateFileMetadata(const QMRFileMetadata& metadata, QMRErrorSlot& error) {
    validateNotLoggedOut();
    validateFileIdAvailable(metadata);
    // The collection that holds the file is known only to the server.
    QMRFunambolFileMetadataPtr stored = readFileMetadataForFileId(metadata.fileId(), error);
    if (error) return;
    updateFileMetadata(stored->systemContentType(), metadata, error);
}

void QMRFunambolDataStore::openFileForUpdating(const QMRFileMetadata& metadata, QMRErrorSlot& error,
                                               const QMRStreamBlock& block) {
    validateNotLoggedOut();
    validateFileIdAvailable(metadata);
    validateSizeInBytesAvailable(metadata);
    // The id goes out in a header at the end; refused there, it would leave the metadata rewritten.
    if (!QMRUrlRequest::isFieldValue(metadata.fileId()))
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "FileId must not contain a line break or NUL");
    QMRFunambolFileMetadataPtr stored = readFileMetadataForFileId(metadata.fileId(), error);
    if (error) return;
    updateFileMetadata(stored->systemContentType(), metadata, error);
    if (error) return;
    writeAndSendContent(*this, block, stored->systemContentType(), metadata.fileId(), metadata.sizeInBytes(), error);
}

void QMRFunambolDataStore::updateFileMetadata(const std::string& systemContentType, const QMRFileMetadata& metadata,
                                              QMRErrorSlot& error) {
    QMRUrlRequest request = newRequestWithBody("POST", constructCreateOrUpdateFileMetadataUri(systemContentType),
                                               QMRFunambolJson::contentType,
                                               toData(constructWriteOrUpdateMetadataRequestContent(metadata)));
    exchange(request, error, unknownFileIdExtraInfo(metadata.fileId()));
}

std::optional<std::string> QMRFunambolDataStore::createFileMetadata(const QMRFileMetadata& metadata,
                                                                    const std::string& systemContentType,
                                                                    QMRErrorSlot& error) {
    QMRUrlRequest request = newRequestWithBody("POST", constructCreateOrUpdateFileMetadataUri(systemContentType),
                                               QMRFunambolJson::contentType,
                                               toData(constructWriteOrUpdateMetadataRequestContent(metadata)));
    QMRFunambolErrorConverter converter = exchange(request, error);
    if (error) return std::nullopt;
    std::optional<std::string> fileId =
        QMRFunambolJson::toText(QMRFunambolJson::member(QMRFunambolJson::rootOf(converter.deserializedJSON()), "id"));
    // The id travels in the content save's header: one that would break the header is no id.
    if (fileId && !QMRUrlRequest::isFieldValue(*fileId)) {
        error = QMRDataStoreError::errorWithCode(QMRDataStoreErrorUnknown, "Unknown error");
        return std::nullopt;
    }
    return fileId;
}

void QMRFunambolDataStore::sendStream(ComQuillmereIO_Stream& stream, const std::string& systemContentType,
                                      const std::string& fileId, std::int64_t totalWriteSize, QMRErrorSlot& error) {
    validateNotLoggedOut();
    QMRData body = stream.readDataFromStartToEnd();
    QMRUrlRequest request(constructCreateOrUpdateFileContentRequestUri(systemContentType));
    request.setHTTPMethod("POST");
    request.setValue(fmt::format("{}", body.size()), "Content-Length");
    // A file without an id (the server named none) goes without the header rather than with an empty one.
    if (!fileId.empty()) request.setValue(fileId, "x-funambol-id");
    // The declared size, not the body's: the server is told what the caller promised.
    request.setValue(fmt::format("{}", totalWriteSize), "x-funambol-file-size");
    request.setValue("binary/octet-stream", "Content-Type");
    request.setHTTPBody(std::move(body));
    exchange(request, error, unknownFileIdExtraInfo(fileId));
}

std::string QMRFunambolDataStore::toSystemContentTypeFromMimeContentType(std::string_view mimeContentType) {
    const std::size_t slash = mimeContentType.find('/');
    if (slash == std::string_view::npos)
        comQuillmereUtil_ExceptionUtil::raise(QMRRangeException::exceptionName,
                                              fmt::format("MIME content type {} has no subtype", mimeContentType));
    std::string subtype(mimeContentType.substr(slash + 1, mimeContentType.find('/', slash + 1) - slash - 1));
    std::ranges::transform(subtype, subtype.begin(), [](unsigned char c) { return std::tolower(c); });
    if (std::ranges::find(recognizedImageType(), subtype) != recognizedImageType().end()) return "picture";
    if (std::ranges::find(recognizedVideoType(), subtype) != recognizedVideoType().end()) return "video";
    return "file";
}

std::string QMRFunambolDataStore::constructCreateOrUpdateFileMetadataUri(std::string_view systemContentType) const {
    return constructRequestUri("/sapi/upload/" + std::string(systemContentType), "action=save-metadata");
}

std::string QMRFunambolDataStore::constructCreateOrUpdateFileContentRequestUri(
    std::string_view systemContentType) const {
    return constructRequestUri("/sapi/upload/" + std::string(systemContentType), "action=save");
}

std::string QMRFunambolDataStore::constructWriteOrUpdateMetadataRequestContent(const QMRFileMetadata& metadata) {
    // Members in the order of the record's fields, so the body is the same from run to run.
    nlohmann::ordered_json data = nlohmann::ordered_json::object();
    if (metadata.fileIdAvailable()) data["id"] = metadata.fileId();
    if (metadata.nameAvailable()) data["name"] = metadata.name();
    // Deliberately written as text although the server reports dates as milliseconds.
    if (metadata.clientSideCreationDateInLocalTimeAvailable())
        data["creationdate"] = toStringFromDate(*metadata.clientSideCreationDateInLocalTime());
    if (metadata.clientSideModificationDateInLocalTimeAvailable())
        data["modificationdate"] = toStringFromDate(*metadata.clientSideModificationDateInLocalTime());
    if (metadata.mimeContentTypeAvailable()) data["contenttype"] = metadata.mimeContentType();
    if (metadata.sizeInBytesAvailable()) data["size"] = metadata.sizeInBytes();
    nlohmann::ordered_json root = {{"data", data}};
    return root.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

void QMRFunambolDataStore::validateFileIdNotAvailable(const QMRFileMetadata& metadata) {
    QMRFileMetadataValidation::validateFileIdNotAvailable(metadata);
}

void QMRFunambolDataStore::validateFileIdAvailable(const QMRFileMetadata& metadata) {
    QMRFileMetadataValidation::validateFileIdAvailable(metadata);
}

void QMRFunambolDataStore::validateNameAvailable(const QMRFileMetadata& metadata) {
    QMRFileMetadataValidation::validateNameAvailable(metadata);
}

void QMRFunambolDataStore::validateContentTypeAvailable(const QMRFileMetadata& metadata) {
    QMRFileMetadataValidation::validateContentTypeAvailable(metadata);
}

void QMRFunambolDataStore::validateSizeInBytesAvailable(const QMRFileMetadata& metadata) {
    QMRFileMetadataValidation::validateSizeInBytesAvailable(metadata);
}
