#include "DataStore/contract/QMRDataStore.h"

#include <fmt/format.h>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

void QMRDataStore::raiseNotSupported(QMRDataStoreOperation operation) {
    comQuillmereUtil_ExceptionUtil::raise(
        QMRNotSupportedException::exceptionName,
        fmt::format("{} method not supported by this data store", QMRDataStoreOperationSelector(operation)));
}

void QMRDataStore::createNewFile(QMRFileMetadata&, QMRErrorSlot&, const QMRStreamBlock&) {
    raiseNotSupported(QMRDataStoreOperation::createNewFile);
}

void QMRDataStore::createNewFileAsync(QMRFileMetadataPtr, QMRCreateNewFileCompletionBlock, QMRSpaceAvailableBlock) {
    raiseNotSupported(QMRDataStoreOperation::createNewFileAsync);
}

std::optional<std::string> QMRDataStore::createNewFolder(const std::string&, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::createNewFolder);
}

void QMRDataStore::openFileForReading(const std::string&, QMRErrorSlot&, const QMRStreamBlock&) {
    raiseNotSupported(QMRDataStoreOperation::openFileForReading);
}

void QMRDataStore::openFileForReadingAsync(const std::string&, QMRReadFileCompletionBlock, QMRDataAvailableBlock) {
    raiseNotSupported(QMRDataStoreOperation::openFileForReadingAsync);
}

QMREnumerablePtr<QMRFileMetadataPtr> QMRDataStore::readAllFileMetadata(QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::readAllFileMetadata);
}

QMREnumerablePtr<QMRFileMetadataPtr> QMRDataStore::readFileMetadataWithSpecificDate(const QMRDate&, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::readFileMetadataWithSpecificDate);
}

QMREnumerablePtr<QMRFileMetadataPtr> QMRDataStore::readFileMetadataWithSpecificFileIds(const std::vector<std::string>&,
                                                                                       QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::readFileMetadataWithSpecificFileIds);
}

QMREnumerablePtr<QMRFileMetadataPtr> QMRDataStore::readRootFolderContent(QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::readRootFolderContent);
}

QMREnumerablePtr<QMRFileMetadataPtr> QMRDataStore::readFolderContent(const std::string&, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::readFolderContent);
}

void QMRDataStore::updateFileMetadata(const QMRFileMetadata&, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::updateFileMetadata);
}

void QMRDataStore::openFileForUpdating(const QMRFileMetadata&, QMRErrorSlot&, const QMRStreamBlock&) {
    raiseNotSupported(QMRDataStoreOperation::openFileForUpdating);
}

void QMRDataStore::deleteAllFiles(QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::deleteAllFiles);
}

void QMRDataStore::deleteFileWithSpecificFileIds(const std::vector<std::string>&, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::deleteFileWithSpecificFileIds);
}

void QMRDataStore::deleteFileOrFolder(const std::string&, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::deleteFileOrFolder);
}

QMREnumerablePtr<QMRChangeInfo> QMRDataStore::retrieveFileChangesWithSyncToken(std::string&, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::retrieveFileChangesWithSyncToken);
}

std::optional<QMRStorageSpaceInfo> QMRDataStore::getStorageSpace(QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::getStorageSpace);
}

void QMRDataStore::close(QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::close);
}

std::uint32_t QMRDataStore::applyApplicationExclusiveAccessLockWithTimeout(std::uint32_t, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::applyApplicationExclusiveAccessLockWithTimeout);
}

std::uint32_t QMRDataStore::refreshApplicationExclusiveAccessLockWithTimeout(std::uint32_t, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::refreshApplicationExclusiveAccessLockWithTimeout);
}

void QMRDataStore::applyApplicationExclusiveAccessUnlock(QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::applyApplicationExclusiveAccessUnlock);
}

QMREnumerablePtr<QMRSharingPartyInfo> QMRDataStore::readAllowedSharingPartyInfo(const std::string&, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::readAllowedSharingPartyInfo);
}

void QMRDataStore::enableFileOrFolderSharing(const std::string&, const QMRSharingPartyInfo&, std::int32_t,
                                             QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::enableFileOrFolderSharing);
}

void QMRDataStore::disableFileOrFolderSharing(const std::string&, const QMRSharingPartyInfo&, QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::disableFileOrFolderSharing);
}

void QMRDataStore::changeFileOrFolderSharingPermission(const std::string&, const QMRSharingPartyInfo&, std::int32_t,
                                                       QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::changeFileOrFolderSharingPermission);
}

QMREnumerablePtr<QMRSharingFileOrFolderInfo> QMRDataStore::readSharedFileOrFolderInfo(const std::string&,
                                                                                      QMRErrorSlot&) {
    raiseNotSupported(QMRDataStoreOperation::readSharedFileOrFolderInfo);
}
