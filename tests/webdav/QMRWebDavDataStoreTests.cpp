#include "DataStore/webdav/QMRWebDavDataStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "DataStore/DataStore.h"
#include "companion/util/QMRDateFormat.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/webdav/WebDavAnswers.h"

using namespace webdav_answers;
using test_support::writing;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Pair;

namespace {

constexpr char token[] = "opaquelocktoken:6f1c-42";
constexpr char ifToken[] = "(<opaquelocktoken:6f1c-42>)";
const std::string none = "-";  // a header that was not sent

std::string lockAnswerBody(const std::string& timeout, const std::string& lockToken) {
    std::string tokenElement = lockToken.empty() ? "" : "<d:locktoken><d:href>" + lockToken + "</d:href></d:locktoken>";
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<d:prop xmlns:d=\"DAV:\"><d:lockdiscovery><d:activelock>"
           "<d:lockscope><d:exclusive/></d:lockscope><d:locktype><d:write/></d:locktype><d:timeout>" +
           timeout + "</d:timeout>" + tokenElement + "</d:activelock></d:lockdiscovery></d:prop>";
}

QMRFileMetadata record(const std::string& fileId, const std::string& mimeContentType = "text/plain") {
    QMRFileMetadata metadata;
    metadata.setFileId(fileId);
    metadata.setName("notes.txt");
    metadata.setMimeContentType(mimeContentType);
    metadata.setSizeInBytes(5);
    return metadata;
}

// "METHOD target" of every request the server got.
std::vector<std::string> trafficOf(const ScriptedHttpServer& server) {
    std::vector<std::string> lines;
    for (const ScriptedHttpRequest& request : server.requests()) lines.push_back(request.method + " " + request.target);
    return lines;
}

class WebDavDataStore : public ::testing::Test {
protected:
    std::vector<std::string> headerOfEach(const char* name) const {
        std::vector<std::string> values;
        for (const ScriptedHttpRequest& request : server.requests())
            values.push_back(request.header(name).value_or(none));
        return values;
    }
    void expectError(long code, const std::string& description) const {
        test_support::expectDataStoreError(error, code, description);
    }

    ScriptedHttpServer server;
    // The base URL has a path of its own: the files must still be addressed from the server root.
    QMRWebDavDataStore store{"alice", "secret", server.url("/remote/home/")};
    QMRErrorSlot error;
    // Put in the slot before calls that must leave it empty.
    const QMRError previousError{"Earlier", 9};
};

TEST_F(WebDavDataStore, CreatingTheFirstFileMakesTheCollectionAndWritesEveryProperty) {
    server.enqueue(answer(404)).enqueue(answer(201)).enqueue(answer(201, "", 42)).enqueue(propertiesSet("x"));
    QMRFileMetadata metadata = record("");
    metadata.setClientSideCreationDateInLocalTime(QMRDateFormat::fromXmlDateString("2013-04-30T08:00:00Z"));
    error = previousError;

    store.createNewFile(metadata, error, writing("hello"));

    EXPECT_FALSE(error.has_value());
    const std::string id = metadata.fileId();
    EXPECT_THAT(id, MatchesRegex("[0-9a-f]{32}"));
    EXPECT_THAT(trafficOf(server),
                ElementsAre("PUT /data/" + id, "MKCOL /data", "PUT /data/" + id, "PROPPATCH /data/" + id));
    EXPECT_THAT(headerOfEach("Authorization"), Each(std::string("Basic YWxpY2U6c2VjcmV0")));
    EXPECT_THAT(headerOfEach("If"), Each(none));
    for (std::size_t put : {0u, 2u}) {
        EXPECT_EQ(server.request(put).bodyText(), "hello");
        EXPECT_EQ(server.request(put).header("Content-Type"), "binary/octet-stream");
        EXPECT_EQ(server.request(put).header("Content-Length"), "5");
    }
    // Unset properties are written as " " so that the file passes the readers' filter; never a size.
    EXPECT_EQ(server.request(3).header("Content-Type"), "application/xml; charset=\"utf-8\"");
    EXPECT_THAT(server.request(3).bodyText(),
                MatchesRegex("<\\?xml version=\"1.0\" encoding=\"utf-8\"\\?>\\s*<D:propertyupdate "
                             "xmlns:D=\"DAV:\"><D:set><D:prop xmlns:p=\"" +
                             std::string(QMRWebDavDataStoreXmlNamespace) +
                             "\"><p:name>notes.txt</p:name>"
                             "<p:serverSideCreationDateInUtc>2013-05-01T10:20:42Z</p:serverSideCreationDateInUtc>"
                             "<p:clientSideCreationDateInUtc>2013-04-30T08:00:00Z</p:clientSideCreationDateInUtc>"
                             "<p:clientSideModificationDateInUtc> </p:clientSideModificationDateInUtc>"
                             "<p:mimeContentType>text/plain</p:mimeContentType><p:change>new</p:change>"
                             "<p:changeDateInUtc>2013-05-01T10:20:42Z</p:changeDateInUtc>"
                             "</D:prop></D:set></D:propertyupdate>\\s*"));
}

TEST_F(WebDavDataStore, MisuseRaisesBeforeAnyRequest) {
    enum Operation { create, updateMetadata, updateContent };
    struct Case {
        Operation operation;
        const char* fileId;
        const char* name;
        const char* type;
        std::int64_t size;
        const char* reason;
    };
    const Case cases[] = {
        {create, "f", "n", "t", 1, "FileId should not be provided"},
        {create, "", "", "t", 1, "Name must be provided"},
        {create, "", "n", "", 1, "MimeContentType must be provided"},
        {create, "", "n", "t", -1, "SizeInBytes must be provided"},
        {updateMetadata, "", "n", "t", 1, "FileId should be provided"},
        {updateContent, "", "n", "t", 1, "FileId should be provided"},
        {updateContent, "f", "n", "t", -1, "SizeInBytes must be provided"},
    };
    for (const Case& one : cases) {
        QMRFileMetadata metadata = record(one.fileId, one.type);
        metadata.setName(one.name);
        metadata.setSizeInBytes(one.size);
        try {
            if (one.operation == create) store.createNewFile(metadata, error, writing(""));
            if (one.operation == updateMetadata) store.updateFileMetadata(metadata, error);
            if (one.operation == updateContent) store.openFileForUpdating(metadata, error, writing(""));
            ADD_FAILURE() << "nothing raised for " << one.reason;
        } catch (const QMRInvalidArgumentException& raised) {
            EXPECT_EQ(raised.reason(), one.reason);
        }
    }
    EXPECT_EQ(server.requestCount(), 0u);
    EXPECT_FALSE(std::is_default_constructible_v<QMRWebDavDataStore>);
}

TEST_F(WebDavDataStore, AContentUpdateHidesTheFileWhileItsContentIsWritten) {
    store.setApplicationExclusiveAccessLockToken(token);
    server.enqueue(changeAnswer("f1", "new", 31)).enqueue(propertiesSet("f1")).enqueue(answer(204, "", 32));
    server.enqueue(propertiesSet("f1"));

    store.openFileForUpdating(record("f1", ""), error, writing("fresh"));

    EXPECT_FALSE(error.has_value());
    EXPECT_THAT(trafficOf(server),
                ElementsAre("PROPFIND /data/f1", "PROPPATCH /data/f1", "PUT /data/f1", "PROPPATCH /data/f1"));
    // Reads prove nothing about the lock; every write does.
    EXPECT_THAT(headerOfEach("If"), ElementsAre(none, ifToken, ifToken, ifToken));
    EXPECT_THAT(headerOfEach("Depth"), Each(none));
    EXPECT_THAT(server.request(1).bodyText(),
                HasSubstr("<D:prop xmlns:p=\"" + std::string(QMRWebDavDataStoreXmlNamespace) +
                          "\"><p:change>pending</p:change><p:changeDateInUtc>" + xmlDate(31) +
                          "</p:changeDateInUtc></D:prop>"));
    EXPECT_EQ(server.request(2).bodyText(), "fresh");
    // Not a creation: what the record leaves unset stays as it is on the server.
    EXPECT_THAT(server.request(3).bodyText(), HasSubstr("\"><p:name>notes.txt</p:name><p:change>updated</p:change>"
                                                        "<p:changeDateInUtc>" +
                                                        xmlDate(32) + "</p:changeDateInUtc></D:prop>"));
}

// Every operation on one file reads its change state first; which states it accepts differs.
TEST_F(WebDavDataStore, HiddenFilesAreUnknownExceptThatAContentUpdateTakesOverAPendingOne) {
    enum Operation { updateMetadata, updateContent, readContent };
    struct Case {
        Operation operation;
        std::string change;
        std::vector<std::string> traffic;  // after the PROPFIND
    };
    const Case cases[] = {
        {updateMetadata, "updated", {"PROPPATCH /data/f1"}},
        {updateMetadata, "pending", {}},
        {updateMetadata, "deleted", {}},
        {updateContent, "deleted", {}},
        {updateContent, "pending", {"PROPPATCH /data/f1", "PUT /data/f1", "PROPPATCH /data/f1"}},
        {readContent, "new", {"GET /data/f1"}},
        {readContent, "deleted", {}},
        {readContent, "pending", {}},
    };
    for (const Case& one : cases) {
        ScriptedHttpServer fresh;
        QMRWebDavDataStore freshStore("alice", "secret", fresh.baseUrl());
        fresh.setHandler([&one](const ScriptedHttpRequest& r) {
            if (r.method == "PROPFIND") return changeAnswer("f1", one.change);
            return r.method == "GET" ? answer(200, "content") : r.method == "PUT" ? answer(204) : propertiesSet("f1");
        });
        std::string content;
        error = previousError;
        if (one.operation == updateMetadata) freshStore.updateFileMetadata(record("f1"), error);
        if (one.operation == updateContent) freshStore.openFileForUpdating(record("f1"), error, writing("x"));
        if (one.operation == readContent) content = test_support::contentOf(freshStore, "f1", error);
        std::vector<std::string> traffic = trafficOf(fresh);
        EXPECT_EQ(traffic.at(0), "PROPFIND /data/f1");
        EXPECT_EQ(std::vector<std::string>(traffic.begin() + 1, traffic.end()), one.traffic) << one.change;
        EXPECT_EQ(error.has_value(), one.traffic.empty()) << one.change;
        if (error) {
            EXPECT_EQ(error->unknownFileIds(), std::vector<std::string>{"f1"});
        }
        EXPECT_EQ(content, one.operation == readContent && !error ? "content" : "");
    }
}

TEST_F(WebDavDataStore, ReadingByIdsNamesEveryUnknownIdInOrderAndReturnsNothing) {
    const std::string a =
        response("/data/a", {{"name", "a.txt"}, {"change", "new"}}, "<d:getcontentlength>5</d:getcontentlength>");
    server.enqueue(multistatusAnswer({a})).enqueue(answer(404)).enqueue(changeAnswer("c", "deleted"));

    EXPECT_EQ(store.readFileMetadataWithSpecificFileIds({"a", "b", "c"}, error), nullptr);
    expectError(104, "One or more specified fileId is not found");
    EXPECT_EQ(error->unknownFileIds(), (std::vector<std::string>{"b", "c"}));
    EXPECT_THAT(trafficOf(server), ElementsAre("PROPFIND /data/a", "PROPFIND /data/b", "PROPFIND /data/c"));
    EXPECT_THAT(headerOfEach("Depth"), Each(none));
}

TEST_F(WebDavDataStore, ReadAllKeepsOnlyLiveCompleteFilesWithTheirFields) {
    const std::string dav =
        "<d:getlastmodified>Tue, 30 Apr 2013 09:00:00 "
        "GMT</d:getlastmodified><d:getcontentlength>12</d:getcontentlength>";
    auto file = [&dav](const std::string& id, const std::string& change) {
        return response("/data/" + id,
                        {{"name", "R &amp; D"},
                         {"clientSideCreationDateInUtc", xmlDate(1)},
                         {"clientSideModificationDateInUtc", " "},
                         {"mimeContentType", "text/plain"},
                         {"change", change}},
                        dav);
    };
    // The collection's own entry lacks the custom properties, as does "d" whose creation never finished.
    server.enqueue(multistatusAnswer(
        {response("/data/", {}, "", {"name"}), file("a", "updated"), file("b", "pending"), file("c", "deleted"),
         response("/data/d", {{"change", "new"}}, dav, {"clientSideCreationDateInUtc"}), file("e", "new")}));
    error = previousError;

    auto all = store.readAllFileMetadata(error);

    EXPECT_FALSE(error.has_value());
    ASSERT_NE(all, nullptr);
    std::vector<QMRFileMetadataPtr> records = all->toVector();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[1]->fileId(), "e");
    const QMRFileMetadata& a = *records[0];
    EXPECT_EQ(a.fileId(), "a");
    EXPECT_EQ(a.name(), "R & D");
    EXPECT_EQ(a.serverSideModificationDateInLocalTime(), QMRDateFormat::fromXmlDateString("2013-04-30T09:00:00Z"));
    EXPECT_EQ(trafficOf(server), std::vector<std::string>{"PROPFIND /data"});
    EXPECT_EQ(server.request(0).header("Depth"), "1");
    EXPECT_THAT(
        server.request(0).bodyText(),
        HasSubstr("<D:propfind xmlns:D=\"DAV:\"><D:prop xmlns:p=\"" + std::string(QMRWebDavDataStoreXmlNamespace) +
                  "\"><p:name/><D:getlastmodified/><p:clientSideCreationDateInUtc/>"
                  "<p:clientSideModificationDateInUtc/><p:mimeContentType/><D:getcontentlength/><p:change/>"
                  "</D:prop></D:propfind>"));
}

TEST_F(WebDavDataStore, DeletingByIdsDeletesNothingUnlessEveryIdIsLive) {
    store.setApplicationExclusiveAccessLockToken(token);
    // An error already in the slot counts as a failed read: each id is asked about, none deleted.
    server.enqueue(changeAnswer("a", "new")).enqueue(changeAnswer("b", "new"));
    error = previousError;
    store.deleteFileWithSpecificFileIds({"a", "b"}, error);
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->domain(), "Earlier");

    server.enqueue(changeAnswer("a", "new", 33)).enqueue(propertiesSet("a")).enqueue(answer(204, "", 34));
    server.enqueue(propertiesSet("a"));
    error.reset();
    store.deleteFileWithSpecificFileIds({"a"}, error);
    EXPECT_FALSE(error.has_value());

    EXPECT_THAT(trafficOf(server), ElementsAre("PROPFIND /data/a", "PROPFIND /data/b", "PROPFIND /data/a",
                                               "PROPPATCH /data/a", "PUT /data/a", "PROPPATCH /data/a"));
    EXPECT_THAT(headerOfEach("If"), ElementsAre(none, none, none, ifToken, ifToken, ifToken));
    EXPECT_THAT(server.request(3).bodyText(),
                HasSubstr("<p:change>pending</p:change><p:changeDateInUtc>" + xmlDate(33)));
    EXPECT_THAT(server.request(4).body, IsEmpty());
    EXPECT_EQ(server.request(4).header("Content-Length"), "0");
    EXPECT_EQ(server.request(4).header("Content-Type"), "binary/octet-stream");
    EXPECT_THAT(server.request(5).bodyText(),
                HasSubstr("<p:change>deleted</p:change><p:changeDateInUtc>" + xmlDate(34)));
}

TEST_F(WebDavDataStore, SyncReportsChangesFromTheTokenOnAndMovesTheTokenToTheServersDate) {
    auto changed = [](const std::string& id, const std::string& change, int second) {
        return response("/data/" + id, {{"change", change}, {"changeDateInUtc", xmlDate(second)}});
    };
    server.enqueue(multistatusAnswer(
        {changed("before", "updated", 19), changed("same", "new", 20), changed("later", "updated", 25),
         changed("gone", "deleted", 26), changed("busy", "pending", 27)},
        50));
    server.enqueue(answer(503));
    std::string syncToken = xmlDate(20);
    error = previousError;

    auto changes = store.retrieveFileChangesWithSyncToken(syncToken, error);

    EXPECT_FALSE(error.has_value());
    EXPECT_EQ(syncToken, xmlDate(50));
    std::vector<std::pair<std::string, int>> reported;
    for (const QMRChangeInfo& change : *changes) reported.emplace_back(change.fileId(), change.changesMade());
    EXPECT_THAT(reported, ElementsAre(Pair("same", 1), Pair("later", 2), Pair("gone", 3)));
    EXPECT_THAT(server.request(0).bodyText(), HasSubstr("\"><p:change/><p:changeDateInUtc/></D:prop>"));

    // A failed read still answers with a collection, and the token starts over.
    changes = store.retrieveFileChangesWithSyncToken(syncToken, error);
    ASSERT_NE(changes, nullptr);
    EXPECT_THAT(changes->toVector(), IsEmpty());
    EXPECT_EQ(syncToken, "");
    expectError(103, "Server down or server busy");
}

TEST_F(WebDavDataStore, LockRefreshAndUnlockCarryTheirOwnHeaders) {
    server.enqueue(answer(201)).enqueue(answer(200, lockAnswerBody("Infinite", token)));
    server.enqueue(answer(405)).enqueue(answer(200, lockAnswerBody("Second-3600", "opaquelocktoken:second")));
    server.enqueue(answer(200, lockAnswerBody("Second-60", "opaquelocktoken:other"))).enqueue(answer(204));
    error = previousError;

    EXPECT_EQ(store.applyApplicationExclusiveAccessLockWithTimeout(0, error), 0u);
    EXPECT_FALSE(error.has_value());
    EXPECT_EQ(store.applicationExclusiveAccessLockToken(), token);
    EXPECT_EQ(store.applyApplicationExclusiveAccessLockWithTimeout(3600, error), 3600u);
    EXPECT_EQ(store.refreshApplicationExclusiveAccessLockWithTimeout(60, error), 60u);
    store.applyApplicationExclusiveAccessUnlock(error);
    EXPECT_FALSE(error.has_value());

    EXPECT_THAT(trafficOf(server),
                ElementsAre("MKCOL /data", "LOCK /data", "MKCOL /data", "LOCK /data", "LOCK /data", "UNLOCK /data"));
    EXPECT_THAT(headerOfEach("Timeout"), ElementsAre(none, "Infinite", none, "Second-3600", "Second-60", none));
    EXPECT_THAT(headerOfEach("Depth"), ElementsAre(none, "infinity", none, "infinity", none, none));
    EXPECT_THAT(headerOfEach("If"), ElementsAre(none, none, none, none, "(<opaquelocktoken:second>)", none));
    EXPECT_THAT(headerOfEach("Lock-Token"), ElementsAre(none, none, none, none, none, "opaquelocktoken:second"));
    EXPECT_THAT(server.request(1).bodyText(),
                MatchesRegex("<\\?xml version=\"1.0\" encoding=\"utf-8\"\\?>\\s*<D:lockinfo xmlns:D=\"DAV:\">"
                             "<D:lockscope><D:exclusive/></D:lockscope><D:locktype><D:write/></D:locktype>"
                             "</D:lockinfo>\\s*"));
    EXPECT_THAT(server.request(4).body, IsEmpty());
    EXPECT_EQ(store.applicationExclusiveAccessLockToken(), "opaquelocktoken:second");
}

TEST_F(WebDavDataStore, LockRefusalsGiveNoTokenAndNoTimeout) {
    server.enqueue(answer(403)).enqueue(answer(412));

    EXPECT_EQ(store.applyApplicationExclusiveAccessLockWithTimeout(60, error), 0u);
    expectError(101, "Unknown error");
    EXPECT_EQ(store.refreshApplicationExclusiveAccessLockWithTimeout(60, error), 0u);
    expectError(106, "Not locked or lock released due to timeout or invalid lock token");

    EXPECT_THAT(trafficOf(server), ElementsAre("MKCOL /data", "LOCK /data"));
    EXPECT_THAT(headerOfEach("If"), Each(none));
    EXPECT_EQ(store.applicationExclusiveAccessLockToken(), "");
}

TEST_F(WebDavDataStore, UnreadableAnswersAreUnknownErrors) {
    const std::string unnamedNamespace =
        multistatus({"<d:response><d:href>/data/a</d:href><d:propstat><d:prop><change>new</change></d:prop>"
                     "<d:status>HTTP/1.1 200 OK</d:status></d:propstat></d:response>"});
    server.enqueue(answer(207, unnamedNamespace));
    EXPECT_EQ(store.readAllFileMetadata(error), nullptr);
    expectError(101, "Unknown Response");

    for (const char* lockAnswer : {"locked, trust me", ""}) {
        server.enqueue(answer(405)).enqueue(answer(200, *lockAnswer ? lockAnswer : lockAnswerBody("Second-60", "")));
        EXPECT_EQ(store.applyApplicationExclusiveAccessLockWithTimeout(60, error), 0u);
        expectError(101, "Unknown Response");
    }
    EXPECT_EQ(store.applicationExclusiveAccessLockToken(), "");
}

TEST_F(WebDavDataStore, StorageSpaceBeyondSixtyFourBitsEndsAtTheLimit) {
    const auto quotaAnswer = [](const char* available, const char* used) {
        return answer(207, multistatus({fmt::format(
                               "<d:response><d:href>/data/</d:href><d:propstat><d:prop><d:quota-available-bytes>{}"
                               "</d:quota-available-bytes><d:quota-used-bytes>{}</d:quota-used-bytes></d:prop>"
                               "<d:status>HTTP/1.1 200 OK</d:status></d:propstat></d:response>",
                               available, used)}));
    };
    server.enqueue(quotaAnswer("9223372036854775807", "1000"));

    std::optional<QMRStorageSpaceInfo> unlimited = store.getStorageSpace(error);
    ASSERT_TRUE(unlimited.has_value());
    EXPECT_EQ(unlimited->allocatedPlusUnallocatedBytes(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(unlimited->unallocatedBytes(), std::numeric_limits<std::int64_t>::max());
}

TEST_F(WebDavDataStore, AnUnreachableServerIsUnavailable) {
    QMRWebDavDataStore unreachable("alice", "secret",
                                   "http://127.0.0.1:" + std::to_string(test_support::closedLoopbackPort()));

    EXPECT_EQ(unreachable.getStorageSpace(error), std::nullopt);
    expectError(103, "Server down or server busy");
    ASSERT_NE(error->underlyingError(), nullptr);
    EXPECT_EQ(error->underlyingError()->code(), -1004);
}

}  // namespace
