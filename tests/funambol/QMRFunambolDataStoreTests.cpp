#include "DataStore/funambol/QMRFunambolDataStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "companion/util/QMRDateFormat.h"
#include "companion/util/QMRExceptions.h"
#include "companion/web/QMRUriUtil.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ScriptedHttpServer.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using test_support::writing;

namespace {

ScriptedHttpAnswer json(std::string_view body, unsigned status = 200) {
    return ScriptedHttpAnswer::withStatus(status, body).withHeader("Content-Type", "application/json");
}
ScriptedHttpAnswer empty(unsigned status = 200) {
    return ScriptedHttpAnswer::withStatus(status);
}

// One collection's page of records with the given ids, each naming its collection ("files" holds "file").
std::string page(const std::string& node, const std::vector<std::string>& ids,
                 const std::string& serverUrl = "http://content.example") {
    const std::string mediaType = node.substr(0, node.size() - 1);
    std::string entries;
    for (const std::string& id : ids)
        entries += (entries.empty() ? "" : ",") + ("{\"id\":" + id + ",\"mediatype\":\"" + mediaType + "\"}");
    return "{\"data\":{\"mediaserverurl\":\"" + serverUrl + "\",\"" + node + "\":[" + entries + "]}}";
}

// "METHOD target" with the query decoded, of every request after the login.
std::vector<std::string> trafficOf(const ScriptedHttpServer& server) {
    std::vector<std::string> lines;
    for (const ScriptedHttpRequest& request : server.requests())
        lines.push_back(request.method + " " + QMRUriUtil::decodeFromPercentEscapeString(request.target));
    lines.erase(lines.begin());
    return lines;
}

class FunambolDataStore : public ::testing::Test {
protected:
    void SetUp() override {
        server.enqueue(empty().withHeader("Set-Cookie", "JSESSIONID=s1; Path=/"));
        store = QMRFunambolDataStore::initWithUsername("bob", "p&w=rd", server.baseUrl(), error);
        ASSERT_TRUE(store);
        ASSERT_FALSE(error);
    }
    void expectError(long code, const std::string& description) const {
        test_support::expectDataStoreError(error, code, description);
    }

    ScriptedHttpServer server;
    QMRErrorSlot error;
    std::shared_ptr<QMRFunambolDataStore> store;
};

TEST_F(FunambolDataStore, LoginSendsTheCredentialsAsTheyStandAndARefusalYieldsNoStore) {
    const ScriptedHttpRequest login = server.request(0);
    EXPECT_EQ(login.method, "POST");
    EXPECT_EQ(login.target, "/sapi/login?action=login");
    EXPECT_EQ(login.bodyText(), "login=bob&password=p&w=rd");
    EXPECT_EQ(login.header("Content-Length"), "25");
    EXPECT_EQ(login.header("Content-Type"), "application/x-www-form-urlencoded; charset=UTF-8");
    EXPECT_TRUE(store->isLoggedIn());

    server.enqueue(ScriptedHttpAnswer::withStatus(401, "no").withHeader("WWW-Authenticate", "Basic realm=\"m\""));
    EXPECT_FALSE(QMRFunambolDataStore::initWithUsername("bob", "wrong", server.baseUrl(), error));
    expectError(QMRDataStoreErrorAuthentication,
                "Either login name or password is invalid or the authenticated session has expired");
    EXPECT_FALSE(error->underlyingError());
    EXPECT_FALSE(std::is_default_constructible_v<QMRFunambolDataStore>);
}

TEST_F(FunambolDataStore, AfterCloseEveryOperationRaisesBeforeAnyTraffic) {
    server.enqueue(json("{}"));
    store->close(error);
    EXPECT_FALSE(error);
    EXPECT_THAT(trafficOf(server), ElementsAre("GET /sapi/login?action=logout"));
    EXPECT_FALSE(store->isLoggedIn());

    // A second close has nothing to end: no request, and the slot is left as it was.
    error = QMRError("Earlier", 9);
    store->close(error);
    EXPECT_EQ(error->code(), 9);

    QMRFileMetadata metadata;
    metadata.setFileId("1");
    metadata.setSizeInBytes(1);
    std::string token;
    const std::vector<std::function<void()>> operations = {
        [&] { store->createNewFile(metadata, error, writing("")); },
        [&] { store->openFileForReading("1", error, writing("")); },
        [&] { store->readAllFileMetadata(error); },
        [&] { store->readFileMetadataWithSpecificDate(QMRDate(), error); },
        [&] { store->readFileMetadataWithSpecificFileIds({"1"}, error); },
        [&] { store->updateFileMetadata(metadata, error); },
        [&] { store->openFileForUpdating(metadata, error, writing("")); },
        [&] { store->deleteAllFiles(error); },
        [&] { store->deleteFileWithSpecificFileIds({"1"}, error); },
        [&] { store->retrieveFileChangesWithSyncToken(token, error); },
        [&] { store->getStorageSpace(error); },
    };
    for (const auto& operation : operations) {
        try {
            operation();
            ADD_FAILURE() << "nothing raised";
        } catch (const QMRInvalidOperationException& raised) {
            EXPECT_EQ(raised.reason(), "Not logged in");
        }
    }
    EXPECT_EQ(server.requestCount(), 2u);
}

TEST_F(FunambolDataStore, OffersExactlyTheFlatFileOperationsAndClose) {
    using enum QMRDataStoreOperation;
    const std::vector<QMRDataStoreOperation> offered = {createNewFile,
                                                        openFileForReading,
                                                        readAllFileMetadata,
                                                        readFileMetadataWithSpecificDate,
                                                        readFileMetadataWithSpecificFileIds,
                                                        updateFileMetadata,
                                                        openFileForUpdating,
                                                        deleteAllFiles,
                                                        deleteFileWithSpecificFileIds,
                                                        retrieveFileChangesWithSyncToken,
                                                        getStorageSpace,
                                                        close};
    for (QMRDataStoreOperation operation : QMRAllDataStoreOperations)
        EXPECT_EQ(store->supportsOperation(operation), std::ranges::count(offered, operation) == 1)
            << QMRDataStoreOperationSelector(operation);
    EXPECT_THROW(store->createNewFolder("/a", error), QMRNotSupportedException);
}

TEST_F(FunambolDataStore, CreateSavesMetadataThenTheContentWithTheDeclaredSize) {
    server.enqueue(json("{\"success\":true,\"id\":123}")).enqueue(json("{\"success\":true}"));
    QMRFileMetadata metadata;
    metadata.setName("photo.jpg");
    metadata.setMimeContentType("image/JPEG");
    metadata.setClientSideCreationDateInLocalTime(QMRDateFormat::fromXmlDateString("2013-03-05T14:07:09Z"));
    metadata.setSizeInBytes(10);

    store->createNewFile(metadata, error, writing("1234567"));

    EXPECT_FALSE(error);
    EXPECT_EQ(metadata.fileId(), "123");
    EXPECT_THAT(trafficOf(server),
                ElementsAre("POST /sapi/upload/picture?action=save-metadata", "POST /sapi/upload/picture?action=save"));
    const ScriptedHttpRequest save = server.request(1);
    // Dates go out as text although the server reports them as milliseconds.
    const std::string body =
        R"({"data":{"name":"photo.jpg","creationdate":"20130305T140709Z","contenttype":"image/JPEG","size":10}})";
    EXPECT_EQ(save.bodyText(), body);
    EXPECT_EQ(save.header("Content-Type"), "application/json; charset=UTF-8");
    EXPECT_EQ(save.header("Content-Length"), std::to_string(body.size()));
    const ScriptedHttpRequest content = server.request(2);
    EXPECT_EQ(content.bodyText(), "1234567");
    EXPECT_EQ(content.header("Content-Length"), "7");
    EXPECT_EQ(content.header("x-funambol-file-size"), "10");
    EXPECT_EQ(content.header("x-funambol-id"), "123");
    EXPECT_EQ(content.header("Content-Type"), "binary/octet-stream");
}

TEST_F(FunambolDataStore, CreateMisuseRaisesBeforeAnyTraffic) {
    QMRFileMetadata metadata;
    metadata.setFileId("7");
    metadata.setName("a.txt");
    metadata.setMimeContentType("text/plain");
    metadata.setSizeInBytes(1);
    try {
        store->createNewFile(metadata, error, writing(""));
        ADD_FAILURE() << "nothing raised";
    } catch (const QMRInvalidArgumentException& raised) {
        EXPECT_EQ(raised.reason(), "FileId should not be provided");
    }
    metadata.setFileId("");
    metadata.setSizeInBytes(-1);
    EXPECT_THROW(store->createNewFile(metadata, error, writing("")), QMRInvalidArgumentException);
    // Only the subtype chooses the collection, so a type without one has none.
    metadata.setSizeInBytes(1);
    metadata.setMimeContentType("plain");
    EXPECT_THROW(store->createNewFile(metadata, error, writing("")), QMRRangeException);
    EXPECT_EQ(server.requestCount(), 1u);
}

TEST_F(FunambolDataStore, UpdatesGoToTheCollectionThatHoldsTheFileIfAnyDoes) {
    server.enqueue(json(page("files", {}))).enqueue(json(page("pictures", {"17"}))).enqueue(json(page("videos", {})));
    server.enqueue(json("{}")).enqueue(json("{}"));
    QMRFileMetadata metadata;
    metadata.setFileId("17");
    metadata.setSizeInBytes(3);

    store->openFileForUpdating(metadata, error, writing("abcd"));

    EXPECT_FALSE(error);
    EXPECT_THAT(trafficOf(server),
                ElementsAre("GET /sapi/media/file?action=get&id={\"ids\":[17]}",
                            "GET /sapi/media/picture?action=get&id={\"ids\":[17]}",
                            "GET /sapi/media/video?action=get&id={\"ids\":[17]}",
                            "POST /sapi/upload/picture?action=save-metadata", "POST /sapi/upload/picture?action=save"));
    EXPECT_EQ(server.request(4).bodyText(), R"({"data":{"id":"17","size":3}})");
    EXPECT_EQ(server.request(5).header("x-funambol-file-size"), "3");
    EXPECT_EQ(server.request(5).header("Content-Length"), "4");

    // A file that no collection holds is named, and nothing is saved.
    server.enqueue(json(page("files", {}))).enqueue(json(page("pictures", {}))).enqueue(json(page("videos", {})));
    metadata.setFileId("99");
    store->updateFileMetadata(metadata, error);
    expectError(QMRDataStoreErrorFileOrFolderNotFound, "One or more specified fileId is not found");
    EXPECT_EQ(error->unknownFileIds(), std::vector<std::string>{"99"});
    EXPECT_EQ(server.requestCount(), 9u);
}

TEST_F(FunambolDataStore, ReadingByIdsAsksEveryCollectionAndNamesTheUnknownIdsInRequestOrder) {
    server.enqueue(json(page("files", {"42"})))
        .enqueue(json(page("pictures", {})))
        .enqueue(json(page("videos", {"17"})));
    auto records = store->readFileMetadataWithSpecificFileIds({"17", "42"}, error);
    ASSERT_FALSE(error);
    ASSERT_TRUE(records);
    std::vector<std::string> ids;
    for (const QMRFileMetadataPtr& record : *records) ids.push_back(record->fileId());
    EXPECT_THAT(ids, ElementsAre("42", "17"));
    EXPECT_EQ(server.request(1).target, "/sapi/media/file?action=get&id=%7B%22ids%22%3A%5B17%2C42%5D%7D");

    server.enqueue(json(page("files", {"1"}))).enqueue(json(page("pictures", {}))).enqueue(json(page("videos", {})));
    records = store->readFileMetadataWithSpecificFileIds({"3", "1", "2"}, error);
    EXPECT_FALSE(records);
    expectError(QMRDataStoreErrorFileOrFolderNotFound, "One or more specified fileId is not found");
    EXPECT_EQ(error->unknownFileIds(), (std::vector<std::string>{"3", "2"}));
}

TEST_F(FunambolDataStore, EntriesBecomeRecordsWithDefaultsForWhatIsMissing) {
    server.enqueue(json(R"({"data":{"mediaserverurl":"http://m.example/c","files":[
        {"id":5,"date":1362492429250,"url":"/5.txt","mediatype":"file"},
        {"id":"6"}]}})"));
    server.enqueue(json("{}")).enqueue(empty(500));
    auto records = store->readFileMetadataWithSpecificFileIds({"5", "6"}, error);
    ASSERT_TRUE(records) << error->description();
    auto all = records->toVector();
    ASSERT_EQ(all.size(), 2u);
    auto first = std::dynamic_pointer_cast<QMRFunambolFileMetadata>(all[0]);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->serverSideModificationDateInLocalTime(), QMRDateFormat::fromMillisecondsSince1970(1362492429250));
    EXPECT_EQ(first->contentDownloadUrl(), "http://m.example/c/5.txt");
    EXPECT_FALSE(first->mimeContentTypeAvailable());
    auto second = std::dynamic_pointer_cast<QMRFunambolFileMetadata>(all[1]);
    EXPECT_EQ(second->contentDownloadUrl(), "http://m.example/c");
    EXPECT_EQ(second->serverSideModificationDateInLocalTime(), QMRDate());
    EXPECT_EQ(second->sizeInBytes(), 0);
}

// Answers listing pages from collections of the given sizes, as the server would.
ScriptedHttpServer::Handler collectionsOf(std::map<std::string, int> sizes) {
    return [sizes](const ScriptedHttpRequest& request) {
        const std::string target = request.target;
        const std::string type = target.substr(12, target.find('?') - 12);  // after "/sapi/media/"
        const int offset = std::stoi(target.substr(target.find("offset=") + 7));
        std::vector<std::string> ids;
        for (int i = offset; i < std::min(offset + 50, sizes.at(type)); ++i) ids.push_back(std::to_string(i));
        return json(page(type + "s", ids));
    };
}

TEST_F(FunambolDataStore, TheListingPagesLazilyThroughEachCollectionInTurn) {
    server.setHandler(collectionsOf({{"file", 0}, {"picture", 120}, {"video", 50}}));
    auto listing = store->readAllFileMetadata(error);
    EXPECT_EQ(server.requestCount(), 1u);

    EXPECT_EQ(listing->toVector().size(), 170u);
    EXPECT_FALSE(error);
    EXPECT_THAT(trafficOf(server), ElementsAre("GET /sapi/media/file?action=get&offset=0&limit=50",
                                               "GET /sapi/media/picture?action=get&offset=0&limit=50",
                                               "GET /sapi/media/picture?action=get&offset=50&limit=50",
                                               "GET /sapi/media/picture?action=get&offset=100&limit=50",
                                               "GET /sapi/media/video?action=get&offset=0&limit=50",
                                               "GET /sapi/media/video?action=get&offset=50&limit=50"));
    // Once read to its end, the listing stays ended.
    EXPECT_THAT(listing->toVector(), IsEmpty());
    EXPECT_EQ(server.requestCount(), 7u);
}

TEST_F(FunambolDataStore, TheListingKeepsItsStoreAliveAndReportsALaterPageFailureInTheCallersSlot) {
    std::vector<std::string> fifty;
    for (int i = 0; i < 50; ++i) fifty.push_back(std::to_string(i));
    server.enqueue(json(page("files", fifty))).enqueue(json("<html>busy</html>", 503));
    auto listing = store->readAllFileMetadata(error);
    store.reset();

    EXPECT_EQ(listing->toVector().size(), 50u);
    expectError(QMRDataStoreErrorUnknown, "JSON deserialization error");
    EXPECT_TRUE(error->underlyingError());
    EXPECT_EQ(server.requestCount(), 3u);
}

TEST_F(FunambolDataStore, ReadingContentHandsOverTheBodyOfAnyStatus) {
    server.enqueue(json(page("files", {"8"}, server.url("/content")))).enqueue(json("{}")).enqueue(json("{}"));
    server.enqueue(ScriptedHttpAnswer::withStatus(404, "missing page"));

    EXPECT_EQ(test_support::contentOf(*store, "8", error), "missing page");
    EXPECT_FALSE(error);
    EXPECT_EQ(trafficOf(server).back(), "GET /content");
}

TEST_F(FunambolDataStore, DeletingByIdsSendsEveryIdToEachCollectionUntilOneFails) {
    server.enqueue(json("{}")).enqueue(json("{}")).enqueue(json("{}"));
    store->deleteFileWithSpecificFileIds({"17", "42"}, error);
    EXPECT_FALSE(error);
    EXPECT_THAT(trafficOf(server),
                ElementsAre("POST /sapi/media/file?action=delete", "POST /sapi/media/picture?action=delete",
                            "POST /sapi/media/video?action=delete"));
    const std::string bodies[] = {R"({"data":{"files":[17,42]}})", R"({"data":{"pictures":[17,42]}})",
                                  R"({"data":{"videos":[17,42]}})"};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(server.request(i + 1).bodyText(), bodies[i]);
        EXPECT_EQ(server.request(i + 1).header("Content-Length"), std::to_string(bodies[i].size()));
        EXPECT_EQ(server.request(i + 1).header("Content-Type"), "application/json; charset=UTF-8");
    }

    // Nothing names the ids here, so the server's "unknown" comes without them.
    server.enqueue(json("{}")).enqueue(json(R"({"error":{"code":"MED-1005"}})"));
    store->deleteFileWithSpecificFileIds({"5"}, error);
    expectError(QMRDataStoreErrorFileOrFolderNotFound, "One or more specified fileId is not found");
    EXPECT_FALSE(error->unknownFileIds());
    EXPECT_EQ(server.requestCount(), 6u);

    server.enqueue(empty()).enqueue(empty()).enqueue(empty());
    store->deleteAllFiles(error);
    EXPECT_FALSE(error);
    EXPECT_EQ(trafficOf(server).back(), "POST /sapi/media/video?action=reset");
    EXPECT_THAT(server.request(8).body, IsEmpty());
}

TEST_F(FunambolDataStore, ChangesComeByCollectionThenNewUpdatedDeletedAndMoveTheTokenOnlyOnSuccess) {
    server.enqueue(json(R"({"responsetime":1362492429250,"data":{
        "picture":{"N":[5]},"files":{"N":[99]},"file":{"D":[7],"U":["2"],"N":[1,3]}}})"));
    std::string token;
    auto changes = store->retrieveFileChangesWithSyncToken(token, error);
    ASSERT_TRUE(changes);
    std::vector<std::string> seen;
    for (const QMRChangeInfo& change : *changes) seen.push_back(change.fileId() + change.changesMadeString());
    EXPECT_THAT(seen, ElementsAre("1New", "3New", "2Updated", "7Deleted", "5New"));
    EXPECT_EQ(token, "1362492429250");
    EXPECT_EQ(trafficOf(server).back(), "POST /sapi/profile/changes?action=get&type=all&responsetime=true&from=0");

    server.enqueue(json(R"({"error":{"code":"SEC-1002"}})"));
    changes = store->retrieveFileChangesWithSyncToken(token, error);
    EXPECT_FALSE(changes);
    EXPECT_EQ(error->code(), QMRDataStoreErrorUnknown);
    EXPECT_EQ(token, "1362492429250");
    EXPECT_EQ(trafficOf(server).back(),
              "POST /sapi/profile/changes?action=get&type=all&responsetime=true&from=1362492429250");
}

// The error conversion, seen through the storage space, which returns its record beside any error.
TEST_F(FunambolDataStore, AnswersAreJudgedByTheirJsonNotTheirStatus) {
    server.enqueue(json(R"({"data":{"quota":1000,"free":400}})", 500));
    auto space = store->getStorageSpace(error);
    EXPECT_FALSE(error);
    EXPECT_EQ(space->allocatedPlusUnallocatedBytes(), 1000);
    EXPECT_EQ(space->unallocatedBytes(), 400);
    EXPECT_EQ(trafficOf(server).back(), "POST /sapi/media?action=get-storage-space");

    server.enqueue(empty(500));
    store->getStorageSpace(error);
    EXPECT_FALSE(error) << "an empty answer is a success whatever its status";

    server.enqueue(json(R"({"error":{"code":"MED-1007"}})"));
    space = store->getStorageSpace(error);
    expectError(QMRDataStoreErrorInsufficientStorage, "Insufficient storage space");
    EXPECT_EQ(space->allocatedPlusUnallocatedBytes(), 0);

    const std::string unknown = R"({"error":{"code":"MED-9999","message":"odd"}})";
    server.enqueue(json(unknown));
    store->getStorageSpace(error);
    expectError(QMRDataStoreErrorUnknown, "Unknown error");
    EXPECT_EQ(error->localizedFailureReason(), unknown);

    server.enqueue(ScriptedHttpAnswer::withStatus(401, "{}").withHeader("WWW-Authenticate", "Basic realm=\"m\""));
    store->getStorageSpace(error);
    expectError(QMRDataStoreErrorAuthentication,
                "Either login name or password is invalid or the authenticated session has expired");
}

TEST_F(FunambolDataStore, JsonOfTheWrongShapeNeverEscapesAsAnException) {
    const std::string bodies[] = {
        "\"text\"",
        "[1,2]",
        "{\"error\":\"MED-1007\"}",
        "{\"data\":\"x\",\"responsetime\":{\"a\":1}}",
        "{\"data\":{\"files\":{\"id\":1},\"quota\":\"many\",\"free\":1e300}}",
        "{\"data\":{\"mediaserverurl\":7,\"files\":[1,\"x\",null,{\"id\":{\"a\":1},\"size\":1e300,\"date\":\"x\","
        "\"url\":[]},{\"id\":18446744073709551615,\"size\":99999999999999999999}]}}",
        "{\"data\":{\"file\":{\"N\":{\"a\":1},\"U\":[null,{},1.5]},\"quota\":18446744073709551615}}",
        "{\"data\":{\"id\":\"\\ud800\"}}",
    };
    for (const std::string& body : bodies) {
        SCOPED_TRACE(body);
        std::string token;
        const std::vector<std::function<void()>> readers = {
            [&] { store->readFileMetadataWithSpecificFileIds({"1"}, error); },
            [&] { store->readAllFileMetadata(error)->toVector(); },
            [&] { store->retrieveFileChangesWithSyncToken(token, error); },
            [&] { store->getStorageSpace(error); },
        };
        for (const auto& reader : readers) {
            server.setHandler([&body](const ScriptedHttpRequest&) { return json(body); });
            EXPECT_NO_THROW(reader());
            // Unreadable parts count as absent, so asked-for ids may simply be unknown.
            if (error) {
                EXPECT_THAT(error->code(),
                            ::testing::AnyOf(QMRDataStoreErrorUnknown, QMRDataStoreErrorFileOrFolderNotFound));
            }
        }
    }
}

}  // namespace
