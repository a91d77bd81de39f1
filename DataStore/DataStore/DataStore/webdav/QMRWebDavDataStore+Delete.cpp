#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "DataStore/webdav/QMRWebDavXml.h"

namespace {
using enum QMRWebDavDataStore::Property::Namespace;
const std::vector<std::string> hiddenChanges = {QMRWebDavDataStoreChangeIsDeleted, QMRWebDavDataStoreChangeIsPending};
}  // namespace

const QMRWebDavDataStore::PropertyList QMRWebDavDataStore::deletionElements = {{custom, "change"}};

void QMRWebDavDataStore::deleteAllFiles(QMRErrorSlot& error) {
    std::optional<QMRDate> serverDate;
    auto records = readAllFileMetadataWithRequiredElements(deletionElements, hiddenChanges, &serverDate, error);
    if (!records) return;
    deleteFileWithSpecificFileIdsOrFileMetadatas(std::vector<FileIdOrFileMetadata>(records->begin(), records->end()),
                                                 serverDate, error);
}

void QMRWebDavDataStore::deleteFileWithSpecificFileIds(const std::vector<std::string>& fileIds, QMRErrorSlot& error) {
    std::optional<QMRDate> serverDate;
    // The caller's slot goes straight to the read: an error already in it counts as a failed read.
    readFileMetadataWithSpecificFileIds(fileIds, deletionElements, hiddenChanges, &serverDate, error);
    if (error) return;
    deleteFileWithSpecificFileIdsOrFileMetadatas(std::vector<FileIdOrFileMetadata>(fileIds.begin(), fileIds.end()),
                                                 serverDate, error);
}

void QMRWebDavDataStore::deleteFileWithSpecificFileIdsOrFileMetadatas(const std::vector<FileIdOrFileMetadata>& items,
                                                                      const std::optional<QMRDate>& latestServerDate,
                                                                      QMRErrorSlot& error) {
    for (const FileIdOrFileMetadata& item : items) {
        const std::string fileId = std::holds_alternative<std::string>(item)
                                       ? std::get<std::string>(item)
                                       : std::get<QMRFileMetadataPtr>(item)->fileId();
        QMRWebDavFileMetadata pending;
        pending.setFileId(fileId);
        pending.setChange(QMRWebDavDataStoreChangeIsPending);
        pending.setChangeDate(latestServerDate);
        updateWebDavFileMetadata(pending, error);
        if (error) return;

        // The tombstone keeps no content.
        QMRWebDavTransceiver put = newContentPut(fileId, QMRData{});
        put.send();
        error = put.constructError();
        if (error) return;

        QMRWebDavFileMetadata deleted;
        deleted.setFileId(fileId);
        deleted.setChange(QMRWebDavDataStoreChangeIsDeleted);
        deleted.setChangeDate(put.respDate);
        updateWebDavFileMetadata(deleted, error);
        if (error) return;
    }
}

void QMRWebDavDataStore::syncPartiallySupportedDelete(const std::string& fileId, QMRErrorSlot& error) {
    QMRWebDavTransceiver remove =
        newTransceiver("DELETE", constructFileUri(QMRWebDavDataStoreUserFileParentCollection, fileId));
    remove.send();
    error = remove.constructError();
}
