// A content update of the WebDAV store whose PUT fails after the file was marked "pending", against
// the SabreDAV test server (fixture "webdav_server") behind an in-process relay that breaks that
// one exchange: the half-written file stays hidden from every read and from synchronisation until a
// later content update completes it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "companion/web/QMRUrlConnection.h"
#include "tests/robustness/BrokenAnswers.h"
#include "tests/robustness/TextRecord.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ServerState.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

namespace {

// Sends the request on to the real server through session and hands back its answer; the fields
// that describe the connection or the encoding are its own on each leg.
ScriptedHttpAnswer relay(QMRUrlSession& session, const std::string& serverUrl, const ScriptedHttpRequest& request) {
    static const std::vector<std::string> ownPerLeg = {"Host",   "Connection", "Content-Length",  "Transfer-Encoding",
                                                       "Expect", "Keep-Alive", "Accept-Encoding", "Content-Encoding"};
    auto perLeg = [](const std::string& name) {
        for (const std::string& own : ownPerLeg)
            if (QMRHttpHeaderFields::namesEqual(name, own)) return true;
        return false;
    };
    QMRUrlRequest forwarded(serverUrl + request.target);
    forwarded.setHTTPMethod(request.method);
    for (const auto& [name, value] : request.headers)
        if (!perLeg(name)) forwarded.addValue(value, name);
    forwarded.setHTTPBody(request.body);
    QMRHttpUrlResponse response;
    QMRErrorSlot error;
    const std::optional<QMRData> body = QMRUrlConnection::sendSynchronousRequest(session, forwarded, response, error);
    if (!body) return ScriptedHttpAnswer::withStatus(502, error->localizedDescription());
    ScriptedHttpAnswer answer = ScriptedHttpAnswer::withStatus(static_cast<unsigned>(response.statusCode()));
    for (const auto& [name, value] : response.allHeaderFields())
        if (!perLeg(name)) answer.headers.append(name, value);
    answer.body = *body;
    return answer;
}

class InterruptedWebDavWrite : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(_state.load("QMR_WEBDAV_STATE_FILE"));
        _relay.setHandler([this](const ScriptedHttpRequest& request) {
            if (request.method == "PUT" && _breakNextPut.exchange(false)) return _fault(request);
            return relayed(request);
        });
        store = std::make_unique<QMRWebDavDataStore>(_state["user"], _state["password"], _relay.baseUrl());
    }

    // The real server's answer to the request.
    ScriptedHttpAnswer relayed(const ScriptedHttpRequest& request) {
        return relay(_forwarding, _state["url"], request);
    }

    void reset() { ASSERT_NO_FATAL_FAILURE(_state.runScript("reset")); }

    // The next PUT gets this answer instead of the server's.
    void breakNextPut(std::function<ScriptedHttpAnswer(const ScriptedHttpRequest&)> fault) {
        _fault = std::move(fault);
        _breakNextPut = true;
    }

    std::string create(const std::string& content) {
        QMRFileMetadata record = test_records::textRecord("");
        record.setSizeInBytes(static_cast<std::int64_t>(content.size()));
        store->createNewFile(record, error, test_support::writing(content));
        return record.fileId();
    }

    void updateContent(const std::string& fileId, const std::string& content) {
        QMRFileMetadata record = test_records::textRecord(fileId);
        record.setSizeInBytes(static_cast<std::int64_t>(content.size()));
        store->openFileForUpdating(record, error, test_support::writing(content));
    }

    std::vector<std::string> liveIds() {
        std::vector<std::string> ids;
        if (auto records = store->readAllFileMetadata(error))
            for (const QMRFileMetadataPtr& record : *records) ids.push_back(record->fileId());
        return ids;
    }

    std::vector<std::pair<std::string, int>> changesSinceTheStart() {
        std::string token;
        std::vector<std::pair<std::string, int>> reported;
        const QMREnumerablePtr<QMRChangeInfo> changes = store->retrieveFileChangesWithSyncToken(token, error);
        for (const QMRChangeInfo& change : *changes) reported.emplace_back(change.fileId(), change.changesMade());
        return reported;
    }

    std::unique_ptr<QMRWebDavDataStore> store;
    QMRErrorSlot error;

private:
    ServerState _state;
    QMRUrlSession _forwarding;
    ScriptedHttpServer _relay;
    std::atomic<bool> _breakNextPut = false;
    std::function<ScriptedHttpAnswer(const ScriptedHttpRequest&)> _fault;
};

TEST_F(InterruptedWebDavWrite, StaysHiddenUntilALaterContentUpdateCompletesIt) {
    struct Case {
        std::string name;
        std::function<ScriptedHttpAnswer(const ScriptedHttpRequest&)> fault;
        long code;
        std::string description;
    };
    const Case cases[] = {
        {"the server is busy and stores nothing",
         [](const ScriptedHttpRequest&) { return ScriptedHttpAnswer::withStatus(503); }, 103,
         "Server down or server busy"},
        {"the server stores the content, then the answer breaks off",
         [this](const ScriptedHttpRequest& request) {
             relayed(request);
             return broken_answers::closedBeforeTheContentLengthWasSent();
         },
         101, "Unknown error"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        reset();
        const std::string fileId = create("first");
        ASSERT_FALSE(error.has_value()) << error->localizedDescription();

        breakNextPut(one.fault);
        updateContent(fileId, "second");
        test_support::expectDataStoreError(error, one.code, one.description);

        // Pending: hidden from the listing, unknown by id, silent in synchronisation.
        EXPECT_THAT(liveIds(), IsEmpty());
        EXPECT_EQ(store->readFileMetadataWithSpecificFileIds({fileId}, error), nullptr);
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->unknownFileIds(), std::vector<std::string>{fileId});
        EXPECT_EQ(test_support::contentOf(*store, fileId, error), "");
        EXPECT_EQ(error->code(), QMRDataStoreErrorFileOrFolderNotFound);
        EXPECT_THAT(changesSinceTheStart(), IsEmpty());

        updateContent(fileId, "third");
        EXPECT_FALSE(error.has_value());
        EXPECT_THAT(liveIds(), ElementsAre(fileId));
        EXPECT_EQ(test_support::contentOf(*store, fileId, error), "third");
        EXPECT_THAT(changesSinceTheStart(), ElementsAre(Pair(fileId, 2)));
    }
}

}  // namespace
