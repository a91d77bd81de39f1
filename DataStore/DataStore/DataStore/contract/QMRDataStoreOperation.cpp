#include "DataStore/contract/QMRDataStoreOperation.h"

std::string_view QMRDataStoreOperationSelector(QMRDataStoreOperation operation) {
    using enum QMRDataStoreOperation;
    switch (operation) {
        case createNewFile:
            return "createNewFile:error:block:";
        case createNewFileAsync:
            return "createNewFileAsync:onCompletionBlock:onSpaceAvailableBlock:";
        case createNewFolder:
            return "createNewFolder:error:";
        case openFileForReading:
            return "openFileForReading:error:block:";
        case openFileForReadingAsync:
            return "openFileForReadingAsync:onCompletionBlock:onDataAvailableBlock:";
        case readAllFileMetadata:
            return "readAllFileMetadata:";
        case readFileMetadataWithSpecificDate:
            return "readFileMetadataWithSpecificDate:error:";
        case readFileMetadataWithSpecificFileIds:
            return "readFileMetadataWithSpecificFileIds:error:";
        case readRootFolderContent:
            return "readRootFolderContent:";
        case readFolderContent:
            return "readFolderContent:error:";
        case updateFileMetadata:
            return "updateFileMetadata:error:";
        case openFileForUpdating:
            return "openFileForUpdating:error:block:";
        case deleteAllFiles:
            return "deleteAllFiles:";
        case deleteFileWithSpecificFileIds:
            return "deleteFileWithSpecificFileIds:error:";
        case deleteFileOrFolder:
            return "deleteFileOrFolder:error:";
        case retrieveFileChangesWithSyncToken:
            return "retrieveFileChangesWithSyncToken:error:";
        case getStorageSpace:
            return "getStorageSpace:";
        case close:
            return "close:";
        case applyApplicationExclusiveAccessLockWithTimeout:
            return "applyApplicationExclusiveAccessLockWithTimeout:error:";
        case refreshApplicationExclusiveAccessLockWithTimeout:
            return "refreshApplicationExclusiveAccessLockWithTimeout:error:";
        case applyApplicationExclusiveAccessUnlock:
            return "applyApplicationExclusiveAccessUnlock:";
        case readAllowedSharingPartyInfo:
            return "readAllowedSharingPartyInfo:error:";
        case enableFileOrFolderSharing:
            return "enableFileOrFolderSharing:sharingPartyInfo:sharingPermission:error:";
        case disableFileOrFolderSharing:
            return "disableFileOrFolderSharing:sharingPartyInfo:error:";
        case changeFileOrFolderSharingPermission:
            return "changeFileOrFolderSharingPermission:sharingPartyInfo:sharingPermission:error:";
        case readSharedFileOrFolderInfo:
            return "readSharedFileOrFolderInfo:error:";
    }
    return "";
}
