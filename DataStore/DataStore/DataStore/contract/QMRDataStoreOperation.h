#pragma once
#include <array>
#include <span>
#include <string_view>

// The operations of QMRDataStore, in their declared order.
enum class QMRDataStoreOperation {
    createNewFile,
    createNewFileAsync,
    createNewFolder,
    openFileForReading,
    openFileForReadingAsync,
    readAllFileMetadata,
    readFileMetadataWithSpecificDate,
    readFileMetadataWithSpecificFileIds,
    readRootFolderContent,
    readFolderContent,
    updateFileMetadata,
    openFileForUpdating,
    deleteAllFiles,
    deleteFileWithSpecificFileIds,
    deleteFileOrFolder,
    retrieveFileChangesWithSyncToken,
    getStorageSpace,
    close,
    applyApplicationExclusiveAccessLockWithTimeout,
    refreshApplicationExclusiveAccessLockWithTimeout,
    applyApplicationExclusiveAccessUnlock,
    readAllowedSharingPartyInfo,
    enableFileOrFolderSharing,
    disableFileOrFolderSharing,
    changeFileOrFolderSharingPermission,
    readSharedFileOrFolderInfo,
};

inline constexpr std::array<QMRDataStoreOperation, 26> QMRAllDataStoreOperations = {
    QMRDataStoreOperation::createNewFile,
    QMRDataStoreOperation::createNewFileAsync,
    QMRDataStoreOperation::createNewFolder,
    QMRDataStoreOperation::openFileForReading,
    QMRDataStoreOperation::openFileForReadingAsync,
    QMRDataStoreOperation::readAllFileMetadata,
    QMRDataStoreOperation::readFileMetadataWithSpecificDate,
    QMRDataStoreOperation::readFileMetadataWithSpecificFileIds,
    QMRDataStoreOperation::readRootFolderContent,
    QMRDataStoreOperation::readFolderContent,
    QMRDataStoreOperation::updateFileMetadata,
    QMRDataStoreOperation::openFileForUpdating,
    QMRDataStoreOperation::deleteAllFiles,
    QMRDataStoreOperation::deleteFileWithSpecificFileIds,
    QMRDataStoreOperation::deleteFileOrFolder,
    QMRDataStoreOperation::retrieveFileChangesWithSyncToken,
    QMRDataStoreOperation::getStorageSpace,
    QMRDataStoreOperation::close,
    QMRDataStoreOperation::applyApplicationExclusiveAccessLockWithTimeout,
    QMRDataStoreOperation::refreshApplicationExclusiveAccessLockWithTimeout,
    QMRDataStoreOperation::applyApplicationExclusiveAccessUnlock,
    QMRDataStoreOperation::readAllowedSharingPartyInfo,
    QMRDataStoreOperation::enableFileOrFolderSharing,
    QMRDataStoreOperation::disableFileOrFolderSharing,
    QMRDataStoreOperation::changeFileOrFolderSharingPermission,
    QMRDataStoreOperation::readSharedFileOrFolderInfo,
};

// What every flat, id-addressed file store with synchronisation offers (WebDAV and Funambol alike).
inline constexpr std::array<QMRDataStoreOperation, 11> QMRFlatFileStoreOperations = {
    QMRDataStoreOperation::createNewFile,
    QMRDataStoreOperation::openFileForReading,
    QMRDataStoreOperation::readAllFileMetadata,
    QMRDataStoreOperation::readFileMetadataWithSpecificDate,
    QMRDataStoreOperation::readFileMetadataWithSpecificFileIds,
    QMRDataStoreOperation::updateFileMetadata,
    QMRDataStoreOperation::openFileForUpdating,
    QMRDataStoreOperation::deleteAllFiles,
    QMRDataStoreOperation::deleteFileWithSpecificFileIds,
    QMRDataStoreOperation::retrieveFileChangesWithSyncToken,
    QMRDataStoreOperation::getStorageSpace,
};

// Whether operation is one of operations.
constexpr bool QMRDataStoreOperationIsOneOf(QMRDataStoreOperation operation,
                                            std::span<const QMRDataStoreOperation> operations) {
    for (QMRDataStoreOperation candidate : operations)
        if (candidate == operation) return true;
    return false;
}

// The operation's full selector-style name, such as "readFileMetadataWithSpecificFileIds:error:".
std::string_view QMRDataStoreOperationSelector(QMRDataStoreOperation operation);
