#pragma once
// The one interface through which an application keeps files on a storage server, whatever the
// server. Every operation is optional: ask supportsOperation() before calling. An operation that a
// back-end does not offer raises QMRNotSupportedException.
//
// Expected failures are reported through the error slot, which must be empty when the call begins;
// the operation then returns nothing. Misuse by the caller raises an exception.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "DataStore/contract/QMRChangeInfo.h"
#include "DataStore/contract/QMRDataStoreOperation.h"
#include "DataStore/contract/QMREnumerable.h"
#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/contract/QMRSharingFileOrFolderInfo.h"
#include "DataStore/contract/QMRSharingPartyInfo.h"
#include "DataStore/contract/QMRStorageSpaceInfo.h"
#include "companion/io/ComQuillmereIO_Stream.h"
#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"

// Receives the stream to write the whole content into, or to read it from.
using QMRStreamBlock = std::function<void(ComQuillmereIO_Stream& stream)>;
// Called once when an asynchronous upload ends: the created record, or the error.
using QMRCreateNewFileCompletionBlock = std::function<void(QMRFileMetadataPtr metadata, std::optional<QMRError> error)>;
// Asked for the next piece of an asynchronous upload; no data (or empty data) ends the content.
using QMRSpaceAvailableBlock = std::function<void(std::optional<QMRData>& data, bool& stop)>;
// Called once when an asynchronous download ends, with no error on success.
using QMRReadFileCompletionBlock = std::function<void(std::optional<QMRError> error)>;
// Receives each piece of an asynchronous download; an empty piece marks the end.
using QMRDataAvailableBlock = std::function<void(QMRDataView data, bool& stop)>;

class QMRDataStore {
public:
    QMRDataStore() = default;
    QMRDataStore(const QMRDataStore&) = delete;
    QMRDataStore& operator=(const QMRDataStore&) = delete;
    virtual ~QMRDataStore() = default;

    // Whether this data store offers the operation.
    virtual bool supportsOperation(QMRDataStoreOperation operation) const = 0;

    // 1. Creates a file from the record (fileId must be empty) and the content written into the
    //    stream; on success the record's fileId holds the new id.
    virtual void createNewFile(QMRFileMetadata& metadata, QMRErrorSlot& error, const QMRStreamBlock& block);
    // 2. Uploads a new file piece by piece on the calling thread's run loop.
    virtual void createNewFileAsync(QMRFileMetadataPtr metadata, QMRCreateNewFileCompletionBlock onCompletionBlock,
                                    QMRSpaceAvailableBlock onSpaceAvailableBlock);
    // 3. Creates a folder; returns its id.
    virtual std::optional<std::string> createNewFolder(const std::string& path, QMRErrorSlot& error);
    // 4. Hands the file's whole content to the block as a stream positioned at its start.
    virtual void openFileForReading(const std::string& fileId, QMRErrorSlot& error, const QMRStreamBlock& block);
    // 5. Downloads a file piece by piece on the calling thread's run loop.
    virtual void openFileForReadingAsync(const std::string& fileId, QMRReadFileCompletionBlock onCompletionBlock,
                                         QMRDataAvailableBlock onDataAvailableBlock);
    // 6.
    virtual QMREnumerablePtr<QMRFileMetadataPtr> readAllFileMetadata(QMRErrorSlot& error);
    // 7. The files from that date on.
    virtual QMREnumerablePtr<QMRFileMetadataPtr> readFileMetadataWithSpecificDate(const QMRDate& date,
                                                                                  QMRErrorSlot& error);
    // 8.
    virtual QMREnumerablePtr<QMRFileMetadataPtr> readFileMetadataWithSpecificFileIds(
        const std::vector<std::string>& fileIds, QMRErrorSlot& error);
    // 9.
    virtual QMREnumerablePtr<QMRFileMetadataPtr> readRootFolderContent(QMRErrorSlot& error);
    // 10.
    virtual QMREnumerablePtr<QMRFileMetadataPtr> readFolderContent(const std::string& folderId, QMRErrorSlot& error);
    // 11. Writes the record's available fields (fileId required).
    virtual void updateFileMetadata(const QMRFileMetadata& metadata, QMRErrorSlot& error);
    // 12. Replaces the content (fileId and sizeInBytes required) with what the block writes.
    virtual void openFileForUpdating(const QMRFileMetadata& metadata, QMRErrorSlot& error, const QMRStreamBlock& block);
    // 13.
    virtual void deleteAllFiles(QMRErrorSlot& error);
    // 14.
    virtual void deleteFileWithSpecificFileIds(const std::vector<std::string>& fileIds, QMRErrorSlot& error);
    // 15.
    virtual void deleteFileOrFolder(const std::string& fileOrFolderId, QMRErrorSlot& error);
    // 16. The changes since the token (empty on the first call); the token is replaced by the new one.
    virtual QMREnumerablePtr<QMRChangeInfo> retrieveFileChangesWithSyncToken(std::string& syncToken,
                                                                             QMRErrorSlot& error);
    // 17.
    virtual std::optional<QMRStorageSpaceInfo> getStorageSpace(QMRErrorSlot& error);
    // 18. Ends the login session.
    virtual void close(QMRErrorSlot& error);
    // 19. Timeout in seconds, 0 = infinite; returns the granted timeout (0 on error too).
    virtual std::uint32_t applyApplicationExclusiveAccessLockWithTimeout(std::uint32_t timeout, QMRErrorSlot& error);
    // 20.
    virtual std::uint32_t refreshApplicationExclusiveAccessLockWithTimeout(std::uint32_t timeout, QMRErrorSlot& error);
    // 21.
    virtual void applyApplicationExclusiveAccessUnlock(QMRErrorSlot& error);
    // 22. The parties whose names begin with the given text.
    virtual QMREnumerablePtr<QMRSharingPartyInfo> readAllowedSharingPartyInfo(const std::string& partyThatBeginsWith,
                                                                              QMRErrorSlot& error);
    // 23.
    virtual void enableFileOrFolderSharing(const std::string& fileOrFolderId,
                                           const QMRSharingPartyInfo& sharingPartyInfo, std::int32_t sharingPermission,
                                           QMRErrorSlot& error);
    // 24.
    virtual void disableFileOrFolderSharing(const std::string& fileOrFolderId,
                                            const QMRSharingPartyInfo& sharingPartyInfo, QMRErrorSlot& error);
    // 25.
    virtual void changeFileOrFolderSharingPermission(const std::string& fileOrFolderId,
                                                     const QMRSharingPartyInfo& sharingPartyInfo,
                                                     std::int32_t sharingPermission, QMRErrorSlot& error);
    // 26.
    virtual QMREnumerablePtr<QMRSharingFileOrFolderInfo> readSharedFileOrFolderInfo(const std::string& fileOrFolderId,
                                                                                    QMRErrorSlot& error);

protected:
    // Raises QMRNotSupportedException naming the operation.
    [[noreturn]] static void raiseNotSupported(QMRDataStoreOperation operation);
};
