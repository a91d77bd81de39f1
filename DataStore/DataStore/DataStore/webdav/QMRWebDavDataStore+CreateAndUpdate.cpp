#include <algorithm>
#include <cctype>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "DataStore/webdav/QMRWebDavXml.h"
#include "companion/util/QMRGuid.h"

namespace {
using enum QMRWebDavDataStore::Property::Namespace;


std::string newFileId() {
    std::string id = QMRGuid::newGuid().toStringIncludeDash(false);
    std::ranges::transform(id, id.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return id;
}
}  // namespace

void QMRWebDavDataStore::createNewFile(QMRFileMetadata& metadata, QMRErrorSlot& error, const QMRStreamBlock& block) {
    validateFileIdNotAvailable(metadata);
    validateNameAvailable(metadata);
    validateContentTypeAvailable(metadata);
    validateSizeInBytesAvailable(metadata);

    const std::string fileId = newFileId();
    const QMRData content = readFileContentFromBlock(block);

    QMRWebDavTransceiver put = newContentPut(fileId, content);
    put.send();
    error = put.constructError();
    if (error && put.respCode == 404) {
        // The account's first file: the collection does not exist yet.
        QMRWebDavTransceiver mkcol =
            newTransceiver("MKCOL", constructCollectionUri(QMRWebDavDataStoreUserFileParentCollection));
        mkcol.reqIf = constructIfHeaderValueFromLockToken();
        mkcol.send();
        error = mkcol.constructError();
        if (error) return;
        put = newContentPut(fileId, content);
        put.send();
        error = put.constructError();
    }
    if (error) return;

    QMRWebDavFileMetadata created(metadata);
    created.setFileId(fileId);
    created.setServerSideCreationDateInLocalTime(put.respDate);
    created.setChangeDate(put.respDate);
    created.setChange(QMRWebDavDataStoreChangeIsNew);
    updateWebDavFileMetadata(created, error);
    if (!error) metadata.setFileId(fileId);
}

void QMRWebDavDataStore::updateFileMetadata(const QMRFileMetadata& metadata, QMRErrorSlot& error) {
    validateFileIdAvailable(metadata);
    std::optional<QMRDate> serverDate;
    QMRWebDavFileMetadataPtr state = readChangeFromFileId(metadata.fileId(), &serverDate, error);
    if (error) return;
    if (state->change() == QMRWebDavDataStoreChangeIsDeleted || state->change() == QMRWebDavDataStoreChangeIsPending) {
        error = fileNotFoundError({metadata.fileId()});
        return;
    }
    QMRWebDavFileMetadata updated(metadata);
    updated.setChange(QMRWebDavDataStoreChangeIsUpdated);
    updated.setChangeDate(serverDate);
    updateWebDavFileMetadata(updated, error);
}

void QMRWebDavDataStore::openFileForUpdating(const QMRFileMetadata& metadata, QMRErrorSlot& error,
                                             const QMRStreamBlock& block) {
    validateFileIdAvailable(metadata);
    validateSizeInBytesAvailable(metadata);
    std::optional<QMRDate> serverDate;
    QMRWebDavFileMetadataPtr state = readChangeFromFileId(metadata.fileId(), &serverDate, error);
    if (error) return;
    // A pending file is taken over: this is how a write that was interrupted gets completed.
    if (state->change() == QMRWebDavDataStoreChangeIsDeleted) {
        error = fileNotFoundError({metadata.fileId()});
        return;
    }
    QMRWebDavFileMetadata pending;
    pending.setFileId(metadata.fileId());
    pending.setChange(QMRWebDavDataStoreChangeIsPending);
    pending.setChangeDate(serverDate);
    updateWebDavFileMetadata(pending, error);
    if (error) return;

    QMRWebDavTransceiver put = newContentPut(metadata.fileId(), readFileContentFromBlock(block));
    put.send();
    error = put.constructError(std::vector<std::string>{metadata.fileId()});
    if (error) return;

    QMRWebDavFileMetadata updated(metadata);
    updated.setChange(QMRWebDavDataStoreChangeIsUpdated);
    updated.setChangeDate(put.respDate);
    updateWebDavFileMetadata(updated, error);
}

void QMRWebDavDataStore::updateWebDavFileMetadata(const QMRWebDavFileMetadata& metadata, QMRErrorSlot& error) {
    QMRWebDavTransceiver proppatch =
        newTransceiver("PROPPATCH", constructFileUri(QMRWebDavDataStoreUserFileParentCollection, metadata.fileId()));
    proppatch.reqIf = constructIfHeaderValueFromLockToken();
    proppatch.reqContentType = QMRWebDavXml::contentType;
    proppatch.reqContent =
        constructUpdateFileMetadataRequestBody(metadata, metadata.change() == QMRWebDavDataStoreChangeIsNew);
    proppatch.send();
    error = proppatch.constructError(std::vector<std::string>{metadata.fileId()});
}

QMRData QMRWebDavDataStore::constructUpdateFileMetadataRequestBody(const QMRWebDavFileMetadata& metadata,
                                                                   bool forCreate) {
    auto dateText = [](const std::optional<QMRDate>& date) {
        return date ? std::optional<std::string>(toXmlDateStringFromDate(*date)) : std::nullopt;
    };
    auto text = [](const std::string& value) {
        return value.empty() ? std::nullopt : std::optional<std::string>(value);
    };
    const std::pair<std::string_view, std::optional<std::string>> values[] = {
        {"name", text(metadata.name())},
        {"serverSideCreationDateInUtc", dateText(metadata.serverSideCreationDateInLocalTime())},
        {"clientSideCreationDateInUtc", dateText(metadata.clientSideCreationDateInLocalTime())},
        {"clientSideModificationDateInUtc", dateText(metadata.clientSideModificationDateInLocalTime())},
        {"mimeContentType", text(metadata.mimeContentType())},
        {"change", text(metadata.change())},
        {"changeDateInUtc", dateText(metadata.changeDate())},
    };
    std::vector<QMRXmlConstruct> properties{QMRWebDavXml::customNamespace()};
    for (const auto& [name, value] : values) {
        // On creation every property is written, a lone space standing for "none": the file then
        // has all of them and passes the readers' filter, which read a blank value as absent.
        if (value) properties.push_back(QMRWebDavXml::element({custom, name}, *value));
        else if (forCreate) properties.push_back(QMRWebDavXml::element({custom, name}, " "));
    }
    const QMRXmlNamespace& dav = QMRWebDavXml::davNamespace();
    return QMRWebDavXml::document(
        QMRXmlElement(dav, "propertyupdate", {dav, QMRXmlElement(dav, "set", {QMRXmlElement(dav, "prop", properties)})}));
}
