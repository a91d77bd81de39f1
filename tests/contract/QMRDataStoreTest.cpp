#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "DataStore/DataStore.h"

namespace {

// A data store that offers nothing: every operation falls back to the interface's default.
class EmptyDataStore : public QMRDataStore {
public:
    bool supportsOperation(QMRDataStoreOperation) const override { return false; }
};

TEST(QMRDataStore, EveryOperationNotOfferedRaisesNotSupportedNamingIt) {
    EmptyDataStore store;
    QMRErrorSlot error;
    QMRFileMetadata metadata;
    std::string token;
    QMRSharingPartyInfo party;
    auto block = [](ComQuillmereIO_Stream&) {};
    using enum QMRDataStoreOperation;
    const std::vector<std::pair<QMRDataStoreOperation, std::function<void()>>> calls = {
        {createNewFile, [&] { store.createNewFile(metadata, error, block); }},
        {createNewFileAsync, [&] { store.createNewFileAsync(nullptr, {}, {}); }},
        {createNewFolder, [&] { store.createNewFolder("/a", error); }},
        {openFileForReading, [&] { store.openFileForReading("a", error, block); }},
        {openFileForReadingAsync, [&] { store.openFileForReadingAsync("a", {}, {}); }},
        {readAllFileMetadata, [&] { store.readAllFileMetadata(error); }},
        {readFileMetadataWithSpecificDate, [&] { store.readFileMetadataWithSpecificDate(QMRDate{}, error); }},
        {readFileMetadataWithSpecificFileIds, [&] { store.readFileMetadataWithSpecificFileIds({"a"}, error); }},
        {readRootFolderContent, [&] { store.readRootFolderContent(error); }},
        {readFolderContent, [&] { store.readFolderContent("a", error); }},
        {updateFileMetadata, [&] { store.updateFileMetadata(metadata, error); }},
        {openFileForUpdating, [&] { store.openFileForUpdating(metadata, error, block); }},
        {deleteAllFiles, [&] { store.deleteAllFiles(error); }},
        {deleteFileWithSpecificFileIds, [&] { store.deleteFileWithSpecificFileIds({"a"}, error); }},
        {deleteFileOrFolder, [&] { store.deleteFileOrFolder("a", error); }},
        {retrieveFileChangesWithSyncToken, [&] { store.retrieveFileChangesWithSyncToken(token, error); }},
        {getStorageSpace, [&] { store.getStorageSpace(error); }},
        {close, [&] { store.close(error); }},
        {applyApplicationExclusiveAccessLockWithTimeout,
         [&] { store.applyApplicationExclusiveAccessLockWithTimeout(0, error); }},
        {refreshApplicationExclusiveAccessLockWithTimeout,
         [&] { store.refreshApplicationExclusiveAccessLockWithTimeout(0, error); }},
        {applyApplicationExclusiveAccessUnlock, [&] { store.applyApplicationExclusiveAccessUnlock(error); }},
        {readAllowedSharingPartyInfo, [&] { store.readAllowedSharingPartyInfo("b", error); }},
        {enableFileOrFolderSharing, [&] { store.enableFileOrFolderSharing("a", party, 1, error); }},
        {disableFileOrFolderSharing, [&] { store.disableFileOrFolderSharing("a", party, error); }},
        {changeFileOrFolderSharingPermission, [&] { store.changeFileOrFolderSharingPermission("a", party, 1, error); }},
        {readSharedFileOrFolderInfo, [&] { store.readSharedFileOrFolderInfo("a", error); }}};
    EXPECT_EQ(calls.size(), QMRAllDataStoreOperations.size());
    for (const auto& [operation, call] : calls) {
        const std::string selector(QMRDataStoreOperationSelector(operation));
        try {
            call();
            ADD_FAILURE() << selector << " did not raise";
        } catch (const QMRNotSupportedException& exception) {
            EXPECT_EQ(exception.name(), "QMRNotSupportedException");
            EXPECT_THAT(exception.reason(), testing::HasSubstr(selector));
        }
    }
    EXPECT_FALSE(error.has_value());
}

TEST(QMRDataStoreOperation, TwentySixOperationsWithDistinctSelectors) {
    std::set<std::string> selectors;
    for (auto operation : QMRAllDataStoreOperations) {
        std::string selector(QMRDataStoreOperationSelector(operation));
        EXPECT_EQ(selector.back(), ':') << selector;
        selectors.insert(selector);
    }
    EXPECT_EQ(selectors.size(), 26u);
    EXPECT_EQ(QMRDataStoreOperationSelector(QMRAllDataStoreOperations.front()), "createNewFile:error:block:");
    EXPECT_EQ(QMRDataStoreOperationSelector(QMRAllDataStoreOperations.back()), "readSharedFileOrFolderInfo:error:");
}

TEST(QMRDataStoreConstants, ExportedValues) {
    EXPECT_EQ(std::string(QMRUnknownFileIds), "QMRUnknownFileIds");
    EXPECT_EQ(std::string(QMRWebDavDataStoreUserFileParentCollection), "data");
    EXPECT_EQ(std::string(QMRWebDavDataStoreChangeIsNew), "new");
    EXPECT_EQ(std::string(QMRWebDavDataStoreChangeIsUpdated), "updated");
    EXPECT_EQ(std::string(QMRWebDavDataStoreChangeIsDeleted), "deleted");
    EXPECT_EQ(std::string(QMRWebDavDataStoreChangeIsPending), "pending");
}

}  // namespace
