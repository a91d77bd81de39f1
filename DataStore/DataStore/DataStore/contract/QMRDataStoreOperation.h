#pragma once
#include <array>
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

// The operation's full selector-style name, such as "readFileMetadataWithSpecificFileIds:error:".
std::string_view QMRDataStoreOperationSelector(QMRDataStoreOperation operation);
