// The Funambol data store against the fake media server (servers/funambol), started by the CTest
// fixture "funambol_server". Every test starts from an empty account with the default quota.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "DataStore/DataStore.h"
#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolFileMetadata.h"
#include "companion/util/QMRDateFormat.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ServerState.h"

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::Pair;

namespace {

constexpr std::int64_t defaultQuota = 100 * 1024 * 1024;
// 2013-03-05 14:07:09 and 2014-01-02 03:04:05 UTC, whole seconds: the client writes no fractions.
const QMRDate createdAt = QMRDateFormat::fromMillisecondsSince1970(1362492429000.0);
const QMRDate modifiedAt = QMRDateFormat::fromMillisecondsSince1970(1388631845000.0);

// (fileId, changesMade) pairs, for readable failures.
std::vector<std::pair<std::string, int>> changeList(const QMREnumerablePtr<QMRChangeInfo>& changes) {
    std::vector<std::pair<std::string, int>> list;
    if (changes)
        for (const QMRChangeInfo& change : *changes) list.emplace_back(change.fileId(), change.changesMade());
    return list;
}

class FakeFunambol : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(_state.load("QMR_FUNAMBOL_STATE_FILE"));
        control("/test/reset");
        setQuota(defaultQuota);
        store = QMRFunambolDataStore::initWithUsername(user(), password(), _state["url"], error);
        ASSERT_TRUE(store) << error->description();
        ASSERT_FALSE(error);
    }

    void TearDown() override {
        if (store && store->isLoggedIn()) {
            QMRErrorSlot closing;
            store->close(closing);
            EXPECT_FALSE(closing) << closing->description();
        }
    }

    // The server's test-only controls, outside the REST interface.
    void control(const std::string& target) { _state.control(target); }
    void setQuota(std::int64_t bytes) { control("/test/quota?bytes=" + std::to_string(bytes)); }

    static QMRFileMetadata describe(const std::string& name, const std::string& mimeType, std::int64_t size) {
        QMRFileMetadata metadata;
        metadata.setName(name);
        metadata.setMimeContentType(mimeType);
        metadata.setSizeInBytes(size);
        metadata.setClientSideCreationDateInLocalTime(createdAt);
        metadata.setClientSideModificationDateInLocalTime(createdAt);
        return metadata;
    }

    // Creates a file and returns its id; an error stays in the slot for the caller to see.
    std::string create(const std::string& name, const std::string& mimeType, const std::string& content) {
        QMRFileMetadata metadata = describe(name, mimeType, static_cast<std::int64_t>(content.size()));
        store->createNewFile(metadata, error, [&content](ComQuillmereIO_Stream& stream) { stream.write(content); });
        return metadata.fileId();
    }

    std::string content(const std::string& fileId) { return test_support::contentOf(*store, fileId, error); }

    // The server's record of one file, or null with the error in the slot.
    std::shared_ptr<QMRFunambolFileMetadata> record(const std::string& fileId) {
        auto records = store->readFileMetadataWithSpecificFileIds({fileId}, error);
        if (!records) return nullptr;
        std::vector<QMRFileMetadataPtr> list = records->toVector();
        return list.size() == 1 ? std::dynamic_pointer_cast<QMRFunambolFileMetadata>(list[0]) : nullptr;
    }

    static std::vector<std::string> idsOf(const QMREnumerablePtr<QMRFileMetadataPtr>& records) {
        std::vector<std::string> ids;
        if (records)
            for (const QMRFileMetadataPtr& record : *records) ids.push_back(record->fileId());
        return ids;
    }

    // The listing requests the server has logged so far ("GET /sapi/media/TYPE?..."), in order.
    std::vector<std::string> loggedListingRequests() const {
        std::vector<std::string> requests;
        std::istringstream log(_state.log());
        for (std::string line; std::getline(log, line);)
            if (line.starts_with("GET /sapi/media/")) requests.push_back(line);
        return requests;
    }

    const std::string& user() const { return _state["user"]; }
    const std::string& password() const { return _state["password"]; }

    std::shared_ptr<QMRFunambolDataStore> store;
    QMRErrorSlot error;

private:
    ServerState _state;
};

TEST_F(FakeFunambol, EachMimeTypeLandsInItsCollectionWithItsMetadataAndContent) {
    const std::string picture = create("beach.jpg", "image/JPEG", "jpeg bytes");
    const std::string video = create("clip.mp4", "application/mp4", "mp4 bytes");
    const std::string file = create("notes.txt", "text/plain", "plain text\n");
    const std::string quicktime = create("old.mov", "video/quicktime", "");
    ASSERT_FALSE(error) << error->description();

    const std::map<std::string, std::string> expectedCollection = {
        {picture, "picture"}, {video, "video"}, {file, "file"}, {quicktime, "file"}};
    for (const auto& [id, collection] : expectedCollection) {
        SCOPED_TRACE(id);
        auto found = record(id);
        ASSERT_TRUE(found) << (error ? error->description() : "not exactly one record");
        EXPECT_EQ(found->systemContentType(), collection);
        EXPECT_THAT(found->contentDownloadUrl(), EndsWith("/" + collection + "/" + id));
        // Written as text, read back as milliseconds: the same instant.
        EXPECT_EQ(found->clientSideCreationDateInLocalTime(), createdAt);
        EXPECT_EQ(found->clientSideModificationDateInLocalTime(), createdAt);
        EXPECT_TRUE(found->serverSideModificationDateInLocalTimeAvailable());
    }
    EXPECT_EQ(record(picture)->name(), "beach.jpg");
    EXPECT_EQ(record(file)->sizeInBytes(), 11);
    EXPECT_EQ(record(quicktime)->sizeInBytes(), 0);

    EXPECT_EQ(content(picture), "jpeg bytes");
    EXPECT_EQ(content(video), "mp4 bytes");
    EXPECT_EQ(content(file), "plain text\n");
    EXPECT_FALSE(error);
}

TEST_F(FakeFunambol, ListingPagesLazilyThroughEveryCollectionInOrder) {
    // No files, 120 pictures and 49 videos; one more of each arrives while the listing runs, making
    // the videos exactly one full page.
    std::vector<std::string> pictures, videos;
    for (int i = 0; i < 120; ++i) pictures.push_back(create("p" + std::to_string(i) + ".png", "image/png", "p"));
    for (int i = 0; i < 49; ++i) videos.push_back(create("v" + std::to_string(i) + ".avi", "video/avi", "v"));
    ASSERT_FALSE(error) << error->description();

    const std::size_t requestsBefore = loggedListingRequests().size();
    auto listing = store->readAllFileMetadata(error);
    ASSERT_TRUE(listing);
    // Nothing has been read yet: a file created now is still listed.
    pictures.push_back(create("late.gif", "image/gif", "g"));
    std::vector<std::string> listed;
    for (const QMRFileMetadataPtr& entry : *listing) {
        listed.push_back(entry->fileId());
        // Mid-walk, the videos are not read yet either.
        if (listed.size() == 10) videos.push_back(create("later.mpg", "video/mpeg", "m"));
    }
    ASSERT_FALSE(error) << error->description();
    std::vector<std::string> expected = pictures;
    expected.insert(expected.end(), videos.begin(), videos.end());
    EXPECT_THAT(listed, ElementsAreArray(expected));
    // One collection at a time, 50 a page; a short page ends a collection, a full one costs one more.
    std::vector<std::string> pages = loggedListingRequests();
    pages.erase(pages.begin(), pages.begin() + static_cast<std::ptrdiff_t>(requestsBefore));
    EXPECT_THAT(pages, ElementsAre("GET /sapi/media/file?action=get&limit=50&offset=0 -> 200",
                                   "GET /sapi/media/picture?action=get&limit=50&offset=0 -> 200",
                                   "GET /sapi/media/picture?action=get&limit=50&offset=50 -> 200",
                                   "GET /sapi/media/picture?action=get&limit=50&offset=100 -> 200",
                                   "GET /sapi/media/video?action=get&limit=50&offset=0 -> 200",
                                   "GET /sapi/media/video?action=get&limit=50&offset=50 -> 200"));

    // A date narrows nothing: the client always asks "from" 0, and the server keeps only files
    // changed from then on.
    auto dated =
        store->readFileMetadataWithSpecificDate(std::chrono::system_clock::now() + std::chrono::hours(24), error);
    EXPECT_THAT(idsOf(dated), ElementsAreArray(expected));
    EXPECT_FALSE(error);
}

TEST_F(FakeFunambol, MetadataUpdatesAndContentReplacementKeepTheFile) {
    const std::string id = create("draft.txt", "text/plain", "first");
    ASSERT_FALSE(error) << error->description();

    QMRFileMetadata rename;
    rename.setFileId(id);
    rename.setName("final.txt");
    rename.setClientSideModificationDateInLocalTime(modifiedAt);
    store->updateFileMetadata(rename, error);
    ASSERT_FALSE(error) << error->description();
    auto renamed = record(id);
    ASSERT_TRUE(renamed);
    EXPECT_EQ(renamed->name(), "final.txt");
    EXPECT_EQ(renamed->clientSideModificationDateInLocalTime(), modifiedAt);
    EXPECT_EQ(renamed->clientSideCreationDateInLocalTime(), createdAt);
    EXPECT_EQ(renamed->sizeInBytes(), 5);

    QMRFileMetadata replacement;
    replacement.setFileId(id);
    replacement.setSizeInBytes(13);
    store->openFileForUpdating(replacement, error,
                               [](ComQuillmereIO_Stream& stream) { stream.write(std::string_view("second, longer")); });
    ASSERT_FALSE(error) << error->description();
    EXPECT_EQ(content(id), "second, longer");
    auto replaced = record(id);
    ASSERT_TRUE(replaced);
    EXPECT_EQ(replaced->name(), "final.txt");
    // The size is what arrived, not what was declared.
    EXPECT_EQ(replaced->sizeInBytes(), 14);
    EXPECT_EQ(replaced->systemContentType(), "file");
}

TEST_F(FakeFunambol, UnknownIdsAreNamedInTheError) {
    const std::string known = create("a.txt", "text/plain", "a");
    ASSERT_FALSE(error) << error->description();

    EXPECT_FALSE(store->readFileMetadataWithSpecificFileIds({known, "999999"}, error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorFileOrFolderNotFound);
    EXPECT_THAT(error->unknownFileIds(), Optional(ElementsAre("999999")));

    error.reset();
    QMRFileMetadata ghost;
    ghost.setFileId("888888");
    ghost.setName("ghost");
    store->updateFileMetadata(ghost, error);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorFileOrFolderNotFound);
    EXPECT_THAT(error->unknownFileIds(), Optional(ElementsAre("888888")));

    error.reset();
    bool called = false;
    store->openFileForReading("777777", error, [&called](ComQuillmereIO_Stream&) { called = true; });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorFileOrFolderNotFound);
    EXPECT_FALSE(called);
}

TEST_F(FakeFunambol, DeletionRemovesTheGivenFilesOrEverything) {
    const std::string picture = create("a.png", "image/png", "a");
    const std::string file = create("b.txt", "text/plain", "b");
    const std::string video = create("c.mov", "video/mov", "c");
    ASSERT_FALSE(error) << error->description();

    // Every id goes to every collection; each collection drops the ones it holds.
    store->deleteFileWithSpecificFileIds({picture, file, "999999"}, error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_THAT(idsOf(store->readAllFileMetadata(error)), ElementsAre(video));
    ASSERT_FALSE(error) << error->description();

    create("d.jpg", "image/jpeg", "d");
    store->deleteAllFiles(error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_THAT(idsOf(store->readAllFileMetadata(error)), IsEmpty());
    EXPECT_FALSE(error);
}

TEST_F(FakeFunambol, ChangesSinceATokenReportEachFileOnceWithItsLatestState) {
    const std::string kept = create("kept.txt", "text/plain", "k");
    const std::string doomed = create("doomed.jpg", "image/jpeg", "d");
    ASSERT_FALSE(error) << error->description();

    std::string token;
    // Collection order ("file", "picture", "video"), then N, U, D.
    EXPECT_THAT(changeList(store->retrieveFileChangesWithSyncToken(token, error)),
                ElementsAre(Pair(kept, 1), Pair(doomed, 1)));
    ASSERT_FALSE(error) << error->description();
    ASSERT_FALSE(token.empty());
    const std::string firstToken = token;

    QMRFileMetadata rename;
    rename.setFileId(kept);
    rename.setName("renamed.txt");
    store->updateFileMetadata(rename, error);
    store->deleteFileWithSpecificFileIds({doomed}, error);
    const std::string fresh = create("fresh.mp4", "video/mp4", "f");
    const std::string transient = create("transient.txt", "text/plain", "t");
    store->deleteFileWithSpecificFileIds({transient}, error);
    ASSERT_FALSE(error) << error->description();

    // A file both made and deleted since the token is not reported.
    EXPECT_THAT(changeList(store->retrieveFileChangesWithSyncToken(token, error)),
                ElementsAre(Pair(kept, 2), Pair(doomed, 3), Pair(fresh, 1)));
    ASSERT_FALSE(error) << error->description();
    EXPECT_NE(token, firstToken);
    EXPECT_THAT(changeList(store->retrieveFileChangesWithSyncToken(token, error)), IsEmpty());
    EXPECT_FALSE(error);
}

TEST_F(FakeFunambol, TheQuotaIsReportedAndEnforced) {
    setQuota(1000);
    auto space = store->getStorageSpace(error);
    ASSERT_FALSE(error) << error->description();
    ASSERT_TRUE(space);
    EXPECT_EQ(space->allocatedPlusUnallocatedBytes(), 1000);
    EXPECT_EQ(space->unallocatedBytes(), 1000);

    create("six-hundred.bin", "application/octet-stream", std::string(600, 'x'));
    ASSERT_FALSE(error) << error->description();
    space = store->getStorageSpace(error);
    ASSERT_TRUE(space);
    EXPECT_EQ(space->unallocatedBytes(), 400);

    // Refused at the metadata save: no id, and the content is never asked for.
    QMRFileMetadata tooBig = describe("too-big.bin", "application/octet-stream", 600);
    bool asked = false;
    store->createNewFile(tooBig, error, [&asked](ComQuillmereIO_Stream&) { asked = true; });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorInsufficientStorage);
    EXPECT_FALSE(tooBig.fileIdAvailable());
    EXPECT_FALSE(asked);

    // Declared small, written large: refused at the content save, the metadata-only file stays.
    error.reset();
    QMRFileMetadata understated = describe("understated.bin", "application/octet-stream", 10);
    store->createNewFile(understated, error,
                         [](ComQuillmereIO_Stream& stream) { stream.write(std::string(500, 'y')); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorInsufficientStorage);
    ASSERT_TRUE(understated.fileIdAvailable());
    error.reset();
    auto stayed = record(understated.fileId());
    ASSERT_TRUE(stayed) << (error ? error->description() : "not exactly one record");
    EXPECT_EQ(stayed->sizeInBytes(), 10);
}

TEST_F(FakeFunambol, AWrongPasswordGivesNoStore) {
    QMRErrorSlot refused;
    EXPECT_FALSE(QMRFunambolDataStore::initWithUsername(user(), password() + "x", store->baseUrl(), refused));
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->domain(), QMRDataStoreErrorDomain);
    EXPECT_EQ(refused->code(), QMRDataStoreErrorAuthentication);
}

TEST_F(FakeFunambol, AnEndedSessionReportsAuthenticationAndCloseEndsTheStore) {
    control("/test/expire-sessions");
    store->getStorageSpace(error);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorAuthentication);

    // Logging in again revives the store; after close nothing is sent any more.
    error.reset();
    store->loginUsername(user(), password(), error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_TRUE(store->getStorageSpace(error));
    EXPECT_FALSE(error);
    store->close(error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_FALSE(store->isLoggedIn());
    EXPECT_THROW(store->getStorageSpace(error), QMRInvalidOperationException);
}

}  // namespace
