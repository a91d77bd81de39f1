// The WebDAV data store against the SabreDAV test server (servers/webdav), started by the CTest
// fixture "webdav_server". Every test starts from an empty server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DataStore/DataStore.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "companion/util/QMRDateFormat.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ServerState.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

namespace {

class SabreDav : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(_state.load("QMR_WEBDAV_STATE_FILE"));
        ASSERT_NO_FATAL_FAILURE(runScript("reset"));
        store = std::make_unique<QMRWebDavDataStore>(_state["user"], _state["password"], _state["url"]);
    }

    void runScript(const std::string& name, const std::string& arguments = {}) { _state.runScript(name, arguments); }

    // Another store of the same account; with another password when given one.
    std::unique_ptr<QMRWebDavDataStore> otherStore(std::optional<std::string> password = std::nullopt) const {
        return std::make_unique<QMRWebDavDataStore>(_state["user"], password.value_or(_state["password"]),
                                                    _state["url"]);
    }

    // Creates a file and returns its id; an error stays in the slot for the caller to see.
    std::string create(QMRWebDavDataStore& into, const std::string& name, const std::string& content) {
        QMRFileMetadata metadata;
        metadata.setName(name);
        metadata.setMimeContentType("text/plain");
        metadata.setSizeInBytes(static_cast<std::int64_t>(content.size()));
        metadata.setClientSideCreationDateInLocalTime(QMRDateFormat::fromXmlDateString("2013-05-01T10:20:30Z"));
        into.createNewFile(metadata, error, [&content](ComQuillmereIO_Stream& stream) { stream.write(content); });
        return metadata.fileId();
    }

    std::string content(const std::string& fileId) { return test_support::contentOf(*store, fileId, error); }

    // What the server holds for the file, whatever its change state.
    std::string storedContent(const std::string& fileId) {
        QMRWebDavTransceiver get(store->session());
        get.reqHttpMethod = "GET";
        get.reqUrl = store->constructFileUri(QMRWebDavDataStoreUserFileParentCollection, fileId);
        get.reqAuthenticationToken = store->basicAccessAuthenticationToken();
        get.send();
        EXPECT_EQ(get.respCode, 200);
        return {get.respRawData.begin(), get.respRawData.end()};
    }

    void setChange(const std::string& fileId, const std::string& change, const std::string& xmlDate) {
        QMRWebDavFileMetadata record;
        record.setFileId(fileId);
        record.setChange(change);
        record.setChangeDate(QMRDateFormat::fromXmlDateString(xmlDate));
        store->updateWebDavFileMetadata(record, error);
        ASSERT_FALSE(error.has_value()) << error->localizedDescription();
    }

    static std::vector<QMRFileMetadataPtr> list(const QMREnumerablePtr<QMRFileMetadataPtr>& records) {
        return records ? records->toVector() : std::vector<QMRFileMetadataPtr>{};
    }

    std::map<std::string, std::string> namesById(const QMREnumerablePtr<QMRFileMetadataPtr>& records) {
        std::map<std::string, std::string> names;
        if (records)
            for (const QMRFileMetadataPtr& record : *records) names[record->fileId()] = record->name();
        return names;
    }

    std::vector<std::pair<std::string, int>> changes(std::string& syncToken) {
        std::vector<std::pair<std::string, int>> reported;
        QMREnumerablePtr<QMRChangeInfo> changed = store->retrieveFileChangesWithSyncToken(syncToken, error);
        for (const QMRChangeInfo& change : *changed) reported.emplace_back(change.fileId(), change.changesMade());
        EXPECT_FALSE(error.has_value());
        return reported;
    }

    // Checks the error in the slot and empties it.
    void expectError(long code, const std::string& description) {
        ASSERT_TRUE(error.has_value()) << "no error, expected " << code;
        EXPECT_EQ(error->code(), code);
        EXPECT_EQ(error->localizedDescription(), description);
        error.reset();
    }

    std::unique_ptr<QMRWebDavDataStore> store;
    QMRErrorSlot error;

private:
    ServerState _state;
};

TEST_F(SabreDav, AFileLivesFromCreationToAnEmptyTombstone) {
    const std::string a = create(*store, "a.txt", "alpha");
    const std::string b = create(*store, "b.txt", "bravo!");
    ASSERT_FALSE(error.has_value()) << error->localizedDescription();

    std::vector<QMRFileMetadataPtr> all = list(store->readAllFileMetadata(error));
    ASSERT_EQ(all.size(), 2u);
    for (const QMRFileMetadataPtr& record : all) {
        EXPECT_EQ(record->sizeInBytes(), record->fileId() == a ? 5 : 6);
        EXPECT_EQ(record->mimeContentType(), "text/plain");
        EXPECT_EQ(record->clientSideCreationDateInLocalTime(),
                  QMRDateFormat::fromXmlDateString("2013-05-01T10:20:30Z"));
        EXPECT_FALSE(record->clientSideModificationDateInLocalTimeAvailable());
        EXPECT_TRUE(record->serverSideModificationDateInLocalTimeAvailable());
    }
    std::vector<QMRFileMetadataPtr> byIds = list(store->readFileMetadataWithSpecificFileIds({b, a}, error));
    ASSERT_EQ(byIds.size(), 2u);
    EXPECT_EQ(byIds[0]->name() + byIds[1]->name(), "b.txta.txt") << "in the order asked";

    // The creation date is the server's; a file created exactly at the asked date is included.
    auto sinceLongAgo = list(store->readFileMetadataWithSpecificDate(QMRDate{}, error));
    ASSERT_EQ(sinceLongAgo.size(), 2u);
    auto created = std::dynamic_pointer_cast<QMRWebDavFileMetadata>(sinceLongAgo[0]);
    ASSERT_TRUE(created && created->serverSideCreationDateInLocalTimeAvailable());
    EXPECT_THAT(
        namesById(store->readFileMetadataWithSpecificDate(*created->serverSideCreationDateInLocalTime(), error)),
        ::testing::Contains(Pair(created->fileId(), created->name())));
    EXPECT_THAT(namesById(store->readFileMetadataWithSpecificDate(
                    std::chrono::system_clock::now() + std::chrono::hours(24), error)),
                IsEmpty());
    EXPECT_EQ(content(a), "alpha");

    QMRFileMetadata rename;
    rename.setFileId(a);
    rename.setName("renamed.txt");
    store->updateFileMetadata(rename, error);
    QMRFileMetadata rewrite;
    rewrite.setFileId(b);
    rewrite.setSizeInBytes(13);
    store->openFileForUpdating(rewrite, error, [](ComQuillmereIO_Stream& stream) { stream.write("charlie delta"); });
    ASSERT_FALSE(error.has_value()) << error->localizedDescription();
    std::vector<QMRFileMetadataPtr> updated = list(store->readFileMetadataWithSpecificFileIds({a, b}, error));
    ASSERT_EQ(updated.size(), 2u);
    EXPECT_EQ(updated[0]->name() + updated[1]->name(), "renamed.txtb.txt");
    EXPECT_EQ(updated[0]->mimeContentType(), "text/plain") << "an update keeps what it does not name";
    EXPECT_EQ(updated[1]->sizeInBytes(), 13);
    EXPECT_EQ(content(b), "charlie delta");

    // An unknown id among the ones to delete spares them all.
    const std::string unknown = "00000000000000000000000000000000";
    store->deleteFileWithSpecificFileIds({a, unknown}, error);
    EXPECT_EQ(error->unknownFileIds(), std::vector<std::string>{unknown});
    expectError(104, "One or more specified fileId is not found");
    store->deleteFileWithSpecificFileIds({a}, error);
    ASSERT_FALSE(error.has_value()) << error->localizedDescription();

    EXPECT_THAT(namesById(store->readAllFileMetadata(error)), ElementsAre(Pair(b, "b.txt")));
    EXPECT_EQ(store->readFileMetadataWithSpecificFileIds({a}, error), nullptr);
    EXPECT_EQ(error->unknownFileIds(), std::vector<std::string>{a});
    expectError(104, "One or more specified fileId is not found");
    EXPECT_EQ(content(a), "");
    expectError(104, "One or more specified fileId is not found");
    EXPECT_EQ(storedContent(a), "");
}

TEST_F(SabreDav, SyncTokensReportEachFileOnceWithItsLatestState) {
    const std::string a = create(*store, "a", "1");
    const std::string b = create(*store, "b", "2");
    const std::string c = create(*store, "c", "3");
    const std::string d = create(*store, "d", "4");
    store->deleteFileWithSpecificFileIds({c}, error);
    // A write interrupted half-way: the file stays hidden from synchronisation.
    setChange(d, QMRWebDavDataStoreChangeIsPending, "2030-01-01T00:00:00Z");
    ASSERT_FALSE(error.has_value()) << error->localizedDescription();

    std::string syncToken;
    EXPECT_THAT(changes(syncToken), UnorderedElementsAre(Pair(a, 1), Pair(b, 1), Pair(c, 3)));
    ASSERT_TRUE(QMRDateFormat::fromXmlDateString(syncToken).has_value()) << syncToken;
    const std::string firstToken = syncToken;

    // Push the untouched files' changes before the token, so that only real news can come back.
    setChange(a, QMRWebDavDataStoreChangeIsUpdated, "2013-01-01T00:00:00Z");
    setChange(c, QMRWebDavDataStoreChangeIsDeleted, "2013-01-01T00:00:00Z");
    QMRFileMetadata rename;
    rename.setFileId(b);
    rename.setName("b2");
    store->updateFileMetadata(rename, error);

    EXPECT_THAT(changes(syncToken), ElementsAre(Pair(b, 2)));
    EXPECT_GE(syncToken, firstToken);
    EXPECT_THAT(namesById(store->readAllFileMetadata(error)), UnorderedElementsAre(Pair(a, "a"), Pair(b, "b2")));
}

TEST_F(SabreDav, TwoStoresOfOneAccountContendForTheLock) {
    auto rival = otherStore();
    EXPECT_EQ(store->applyApplicationExclusiveAccessLockWithTimeout(3600, error), 1800u);
    ASSERT_FALSE(error.has_value()) << error->localizedDescription();

    EXPECT_EQ(rival->applyApplicationExclusiveAccessLockWithTimeout(60, error), 0u);
    expectError(106, "Already locked");
    EXPECT_EQ(create(*rival, "rival", "r"), "");
    expectError(106, "Already locked");

    const std::string mine = create(*store, "mine", "m");
    EXPECT_EQ(store->refreshApplicationExclusiveAccessLockWithTimeout(600, error), 1800u);
    store->applyApplicationExclusiveAccessUnlock(error);
    ASSERT_FALSE(error.has_value()) << error->localizedDescription();

    // The released token goes on being presented, and the server no longer honours it.
    EXPECT_EQ(create(*store, "late", "l"), "");
    expectError(106, "Not locked or lock released due to timeout or invalid lock token");
    const std::string rivals = create(*rival, "rival", "r");
    EXPECT_FALSE(error.has_value());
    EXPECT_THAT(namesById(rival->readAllFileMetadata(error)),
                UnorderedElementsAre(Pair(mine, "mine"), Pair(rivals, "rival")));
}

TEST_F(SabreDav, QuotaAsConfiguredAndAWrongPasswordRefused) {
    create(*store, "any", "x");  // the quota is that of the collection, which the first file makes
    runScript("set-quota", "1000 3000");
    std::optional<QMRStorageSpaceInfo> space = store->getStorageSpace(error);
    ASSERT_TRUE(space.has_value()) << error->localizedDescription();
    EXPECT_EQ(space->allocatedPlusUnallocatedBytes(), 4000);
    EXPECT_EQ(space->unallocatedBytes(), 3000);

    auto intruder = otherStore("not the password");
    EXPECT_EQ(intruder->getStorageSpace(error), std::nullopt);
    expectError(102, "Either login name or password is invalid");
}

}  // namespace
