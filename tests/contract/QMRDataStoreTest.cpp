#include <gtest/gtest.h>

#include <set>
#include <string>

#include "DataStore/DataStore.h"

namespace {

// A data store that offers nothing: every operation falls back to the interface's default.
class EmptyDataStore : public QMRDataStore {
public:
    bool supportsOperation(QMRDataStoreOperation) const override { return false; }
};

template <class Call>
void expectNotSupported(Call call, const std::string& selector) {
    try {
        call();
        ADD_FAILURE() << selector << " did not raise";
    } catch (const QMRNotSupportedException& exception) {
        EXPECT_EQ(exception.name(), "QMRNotSupportedException");
        EXPECT_NE(exception.reason().find(selector), std::string::npos) << exception.reason();
    }
}

TEST(QMRDataStore, EveryOperationNotOfferedRaisesNotSupportedNamingIt) {
    EmptyDataStore store;
    QMRErrorSlot error;
    QMRFileMetadata metadata;
    std::string token;
    QMRSharingPartyInfo party;
    auto block = [](ComQuillmereIO_Stream&) {};
    using enum QMRDataStoreOperation;
    auto name = [](QMRDataStoreOperation op) { return std::string(QMRDataStoreOperationSelector(op)); };
    expectNotSupported([&] { store.createNewFile(metadata, error, block); }, name(createNewFile));
    expectNotSupported([&] { store.createNewFileAsync(nullptr, {}, {}); }, name(createNewFileAsync));
    expectNotSupported([&] { store.createNewFolder("/a", error); }, name(createNewFolder));
    expectNotSupported([&] { store.openFileForReading("a", error, block); }, name(openFileForReading));
    expectNotSupported([&] { store.openFileForReadingAsync("a", {}, {}); }, name(openFileForReadingAsync));
    expectNotSupported([&] { store.readAllFileMetadata(error); }, name(readAllFileMetadata));
    expectNotSupported([&] { store.readFileMetadataWithSpecificDate(QMRDate{}, error); },
                       name(readFileMetadataWithSpecificDate));
    expectNotSupported([&] { store.readFileMetadataWithSpecificFileIds({"a"}, error); },
                       name(readFileMetadataWithSpecificFileIds));
    expectNotSupported([&] { store.readRootFolderContent(error); }, name(readRootFolderContent));
    expectNotSupported([&] { store.readFolderContent("a", error); }, name(readFolderContent));
    expectNotSupported([&] { store.updateFileMetadata(metadata, error); }, name(updateFileMetadata));
    expectNotSupported([&] { store.openFileForUpdating(metadata, error, block); }, name(openFileForUpdating));
    expectNotSupported([&] { store.deleteAllFiles(error); }, name(deleteAllFiles));
    expectNotSupported([&] { store.deleteFileWithSpecificFileIds({"a"}, error); },
                       name(deleteFileWithSpecificFileIds));
    expectNotSupported([&] { store.deleteFileOrFolder("a", error); }, name(deleteFileOrFolder));
    expectNotSupported([&] { store.retrieveFileChangesWithSyncToken(token, error); },
                       name(retrieveFileChangesWithSyncToken));
    expectNotSupported([&] { store.getStorageSpace(error); }, name(getStorageSpace));
    expectNotSupported([&] { store.close(error); }, name(close));
    expectNotSupported([&] { store.applyApplicationExclusiveAccessLockWithTimeout(0, error); },
                       name(applyApplicationExclusiveAccessLockWithTimeout));
    expectNotSupported([&] { store.refreshApplicationExclusiveAccessLockWithTimeout(0, error); },
                       name(refreshApplicationExclusiveAccessLockWithTimeout));
    expectNotSupported([&] { store.applyApplicationExclusiveAccessUnlock(error); },
                       name(applyApplicationExclusiveAccessUnlock));
    expectNotSupported([&] { store.readAllowedSharingPartyInfo("b", error); }, name(readAllowedSharingPartyInfo));
    expectNotSupported([&] { store.enableFileOrFolderSharing("a", party, 1, error); },
                       name(enableFileOrFolderSharing));
    expectNotSupported([&] { store.disableFileOrFolderSharing("a", party, error); },
                       name(disableFileOrFolderSharing));
    expectNotSupported([&] { store.changeFileOrFolderSharingPermission("a", party, 1, error); },
                       name(changeFileOrFolderSharingPermission));
    expectNotSupported([&] { store.readSharedFileOrFolderInfo("a", error); }, name(readSharedFileOrFolderInfo));
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
    EXPECT_EQ(std::string(QMRDataStoreErrorDomain), "com.quillmere.DataStore");
    EXPECT_EQ(std::string(QMRUnknownFileIds), "QMRUnknownFileIds");
    EXPECT_EQ(std::string(QMRWebDavDataStoreUserFileParentCollection), "data");
    EXPECT_EQ(std::string(QMRWebDavDataStoreChangeIsNew), "new");
    EXPECT_EQ(std::string(QMRWebDavDataStoreChangeIsUpdated), "updated");
    EXPECT_EQ(std::string(QMRWebDavDataStoreChangeIsDeleted), "deleted");
    EXPECT_EQ(std::string(QMRWebDavDataStoreChangeIsPending), "pending");
}

}  // namespace
