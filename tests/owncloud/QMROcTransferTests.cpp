// The ownCloud upload and download: how the upload feeds its body (driven event by event, no
// network), its traffic and answers, and the download's pieces and endings against a scripted server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestDelegate.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcReadFileContentRequestv5_0_6.h"
#include "companion/io/QMRStreamUtil.h"
#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRUrlError.h"
#include "tests/companion/async/AsyncTestSupport.h"
#include "tests/owncloud/QMROcTestSupport.h"
#include "tests/support/OwnCloudScriptedServer.h"

using oc_test::bytes;
using oc_test::reasonRaisedBy;
using test_support::expectDataStoreError;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

namespace {

QMRFileMetadataPtr newFile(std::string name, std::int64_t size) {
    auto metadata = std::make_shared<QMRFileMetadata>();
    metadata->setName(std::move(name));
    metadata->setMimeContentType("text/plain");
    metadata->setSizeInBytes(size);
    return metadata;
}

struct Completion {
    int calls = 0;
    QMRFileMetadataPtr metadata;
    std::optional<QMRError> error;
    QMRCreateNewFileCompletionBlock block() {
        return [this](QMRFileMetadataPtr received, std::optional<QMRError> failure) {
            ++calls;
            metadata = std::move(received);
            error = std::move(failure);
        };
    }
};

// Upload: the body, event by event ------------------------------------------------------------

// The delegate as the request builds it, over a bound pair whose reading end the test drains by hand.
class UploadDelegate : public ::testing::Test {
protected:
    void make(std::size_t bufferSize, QMRSpaceAvailableBlock onSpace) {
        QMRStreamUtil::createBoundInputStream(input, output, bufferSize);
        auto request = std::make_shared<QMROcCreateNewFileRequestv4_5_7>(session, "tk", "http://127.0.0.1:9",
                                                                         newFile("/a.txt", 20), nullptr, nullptr);
        requestAlive = request;
        delegate = std::make_shared<QMROcCreateNewFileRequestDelegate>(".guid", output, bytes("PRE"), bytes("SUF"),
                                                                       newFile("/a.txt", 20), completion.block(),
                                                                       std::move(onSpace), std::move(request));
        output->open();
    }
    // One has-space event, then the reader takes everything buffered.
    void hasSpace() {
        delegate->stream(*output, QMRStreamEventHasSpaceAvailable);
        drain();
    }
    void drain() {
        std::uint8_t chunk[64];
        while (auto count = input->readIfAvailable(chunk)) {
            if (*count == 0) {
                ended = true;
                break;
            }
            received.insert(received.end(), chunk, chunk + *count);
        }
    }

    QMRUrlSession session;
    std::shared_ptr<QMRBoundInputStream> input;
    std::shared_ptr<QMRBoundOutputStream> output;
    std::shared_ptr<QMROcCreateNewFileRequestDelegate> delegate;
    std::weak_ptr<QMROcCreateNewFileRequestv4_5_7> requestAlive;
    Completion completion;
    QMRData received;
    bool ended = false;
};

TEST_F(UploadDelegate, APieceLargerThanTheFreeSpaceIsWrittenOverSeveralEventsBeforeTheCallerIsAskedAgain) {
    const QMRData piece = patternedBytes(20);
    std::vector<std::size_t> asks;  // the event during which the caller was asked
    std::size_t event = 0;
    make(8, [&](std::optional<QMRData>& data, bool&) {
        asks.push_back(event);
        if (asks.size() == 1) data = piece;
    });
    std::vector<std::size_t> totals;
    for (event = 1; event <= 6; ++event) {
        hasSpace();
        totals.push_back(received.size());
    }
    // One write per event: the prefix, the piece in three writes of at most 8, the suffix, the close.
    EXPECT_THAT(totals, ElementsAre(3, 11, 19, 23, 26, 26));
    EXPECT_THAT(asks, ElementsAre(2, 5));
    QMRData expected = bytes("PRE");
    expected.insert(expected.end(), piece.begin(), piece.end());
    expected.insert(expected.end(), {'S', 'U', 'F'});
    EXPECT_EQ(received, expected);
    EXPECT_TRUE(ended) << "the body ends once the suffix is written";
    EXPECT_EQ(delegate->dataType(), QMROcCreateNewFileRequestDelegate::dataTypeNone);
    EXPECT_EQ(completion.calls, 0) << "only the server's answer completes";
}

TEST_F(UploadDelegate, TheStopFlagCancelsAndEndsTheBodyWithoutCompletion) {
    auto connectionDelegate = std::make_shared<RecordingConnectionDelegate>();
    make(64, [](std::optional<QMRData>& data, bool& stop) {
        data = bytes("never sent");
        stop = true;
    });
    auto connection =
        QMRUrlConnection::initWithRequest(session, QMRUrlRequest("http://127.0.0.1:9/"), connectionDelegate, false);
    delegate->setConnection(connection);
    connection.reset();
    hasSpace();
    hasSpace();
    hasSpace();
    EXPECT_EQ(received, bytes("PRE"));
    EXPECT_TRUE(ended);
    EXPECT_TRUE(requestAlive.expired()) << "the request is released";
    EXPECT_EQ(completion.calls, 0);
}

TEST_F(UploadDelegate, AStreamErrorEndsWithOneCompletionCarryingNeitherRecordNorError) {
    make(64, [](std::optional<QMRData>&, bool&) {});
    hasSpace();
    delegate->stream(*output, QMRStreamEventErrorOccurred);
    drain();
    EXPECT_EQ(completion.calls, 1);
    EXPECT_FALSE(completion.metadata);
    EXPECT_FALSE(completion.error);
    EXPECT_TRUE(requestAlive.expired());
    EXPECT_TRUE(ended) << "the writing end is closed";
    // The connection's failure that usually goes with it is not reported a second time.
    delegate->connection(*QMRUrlConnection::initWithRequest(session, QMRUrlRequest("http://127.0.0.1:9/"),
                                                            std::make_shared<RecordingConnectionDelegate>(), false),
                         QMRError(QMRUrlErrorDomain, QMRUrlErrorCannotConnectToHost));
    EXPECT_EQ(completion.calls, 1);
}

// Upload: arguments, traffic and answers ------------------------------------------------------

TEST(OwnCloudUpload, TheRecordIsCheckedInOrderBeforeAnyTraffic) {
    QMRUrlSession session;
    const auto reason = [&](QMRFileMetadataPtr metadata) {
        return reasonRaisedBy<QMRInvalidArgumentException>(
            [&] { QMROcCreateNewFileRequestv4_5_7(session, "tk", "http://127.0.0.1:9", metadata, nullptr, nullptr); });
    };
    auto withId = newFile("", -1);
    withId->setFileId("x");
    EXPECT_EQ(reason(withId), "FileId should not be provided");
    EXPECT_EQ(reason(newFile("", -1)), "Name must be provided");
    auto noType = newFile("/a.txt", -1);
    noType->setMimeContentType("");
    EXPECT_EQ(reason(noType), "MimeContentType must be provided");
    EXPECT_EQ(reason(newFile("/a.txt", -1)), "SizeInBytes must be provided");
    EXPECT_EQ(reason(newFile("/Shared/a.txt", 0)), "Shared is a reserved keyword and not allowed");
    EXPECT_EQ(reason(newFile("/a.txt", 0)), "<nothing raised>");
}

TEST(OwnCloudUpload, AnswersAreReadWithoutRegardToCaseAndIdsByTheReleasesPattern) {
    QMRUrlSession session;
    const QMROcCreateNewFileRequestv4_5_7 v4(session, "tk", "http://h", newFile("/a", 0), nullptr, nullptr);
    const QMROcCreateNewFileRequestv5_0_6 v5(session, "tk", "http://h", newFile("/a", 0), nullptr, nullptr);
    const auto check = [&](std::string_view body) {
        QMRErrorSlot error;
        v4.validateResponseBody(bytes(body), error);
        return error;
    };
    EXPECT_FALSE(check(R"([{"STATUS":"Success","Id":"7"}])"));
    expectDataStoreError(check("Not Enough SPACE available"), QMRDataStoreErrorInsufficientStorage,
                         "Insufficient storage space");
    expectDataStoreError(check("{\"data\":{\"message\":\"Token Expired. Please reload page.\"}}"),
                         QMRDataStoreErrorAuthentication, "Unauthorized");

    // 4.5.7 takes only a quoted id, 5.0.6 only one that an id text can carry.
    QMRErrorSlot error;
    EXPECT_FALSE(v4.extractId(bytes(R"([{"status":"success","id":123,"name":"a"}])"), error));
    expectDataStoreError(error, QMRDataStoreErrorUnknown,
                         R"(Unrecognized response: [{"status":"success","id":123,"name":"a"}])");
    error.reset();
    EXPECT_FALSE(v5.extractId(bytes("[{\"status\":\"success\",\"id\":1\x02,\"name\":\"a\"}]"), error));
    expectDataStoreError(error, QMRDataStoreErrorUnknown,
                         "Unrecognized response: [{\"status\":\"success\",\"id\":1\x02,\"name\":\"a\"}]");
}

TEST(OwnCloudUpload, AnEmptyFileSendsPrefixAndSuffixOnlyAndTheIdKeepsTheStoredName) {
    ScriptedHttpServer server;
    QMRUrlSession session;
    Completion completion;
    const QMRFileMetadataPtr metadata = newFile("/docs/a b.txt", 0);
    int asks = 0;
    server.enqueue(ScriptedHttpAnswer::withStatus(200, R"([{"status":"success","id":"42","name":"a b.txt"}])"));
    const auto request = std::make_shared<QMROcCreateNewFileRequestv4_5_7>(
        session, "tk1", server.url("/oc"), metadata, completion.block(),
        [&asks](std::optional<QMRData>&, bool&) { ++asks; });
    request->send();
    QMRRunLoop::current().run();

    EXPECT_EQ(oc_test::requestLines(server), std::vector<std::string>{"POST /oc/?app=files&getfile=ajax%2Fupload.php"});
    const ScriptedHttpRequest sent = server.request(0);
    EXPECT_EQ(sent.header("requesttoken"), "tk1");
    EXPECT_EQ(sent.header("Content-Length"), std::to_string(sent.body.size()));
    const std::string contentType = sent.header("Content-Type").value_or("");
    ASSERT_THAT(contentType, MatchesRegex("multipart/form-data; boundary=.+"));
    const std::string boundary = contentType.substr(contentType.find('=') + 1);
    const std::string text = sent.bodyText();
    const std::size_t at = text.find("filename=\"a b.txt.");
    ASSERT_NE(at, std::string::npos);
    const std::string guid = text.substr(at + 17, 33);
    EXPECT_THAT(guid, MatchesRegex("\\.[0-9a-f]{32}"));

    // The body is the framing alone: nothing between prefix and suffix.
    QMRData prefix, suffix;
    request->constructPrefixSuffixData(boundary, guid, prefix, suffix);
    prefix.insert(prefix.end(), suffix.begin(), suffix.end());
    EXPECT_EQ(sent.body, prefix);
    for (const char* field : {"MAX_FILE_SIZE\"\r\n\r\n2147483648", "requesttoken\"\r\n\r\ntk1", "dir\"\r\n\r\n/docs"})
        EXPECT_NE(text.find(field), std::string::npos) << field;
    EXPECT_EQ(asks, 1);

    EXPECT_EQ(completion.calls, 1);
    ASSERT_FALSE(completion.error) << completion.error->description();
    EXPECT_EQ(completion.metadata, metadata) << "the caller's own record";
    EXPECT_EQ(QMROcFileOrFolderId(metadata->fileId()).path(), "/docs/a b.txt" + guid);
}

// Download ------------------------------------------------------------------------------------

struct Download {
    std::vector<std::string> calls;  // "data:<bytes>" and "done" or "error:<code>"
    std::optional<QMRError> error;

    void start(QMRUrlSession& session, const std::string& base, const std::string& path) {
        std::make_shared<QMROcReadFileContentRequestv4_5_7>(
            session, base, QMROcFileOrFolderId("1", path, 2).toString(),
            [this](std::optional<QMRError> failure) {
                calls.push_back(failure ? "error:" + std::to_string(failure->code()) : "done");
                error = std::move(failure);
            },
            [this](QMRDataView data, bool&) { calls.push_back("data:" + std::to_string(data.size())); })
            ->send();
    }
};

TEST(OwnCloudDownload, TheAddressNamesTheFileAndItsFolderForEachRelease) {
    QMRUrlSession session;
    const std::string id = QMROcFileOrFolderId("1", "/Shared/a b.txt", 2).toString();
    EXPECT_EQ(
        QMROcReadFileContentRequestv4_5_7(session, "http://h", id, nullptr, nullptr).constructReadFileContentReqUrl(),
        "http://h/?app=files&getfile=ajax%2Fdownload.php&files=a%20b.txt&dir=%2FShared");
    EXPECT_EQ(
        QMROcReadFileContentRequestv5_0_6(session, "http://h", id, nullptr, nullptr).constructReadFileContentReqUrl(),
        "http://h/index.php/apps/files/ajax/download.php?files=a%20b.txt&dir=%2FShared");
}

TEST(OwnCloudDownload, EndsWithOneEmptyPieceThenCompletionOrWithTheErrorAlone) {
    ScriptedHttpServer server;
    server.enqueue(ScriptedHttpAnswer::withStatus(200));
    RefusingPort refusing;
    QMRUrlSession session;
    Download empty, unreachable;
    empty.start(session, server.url(""), "/empty");
    unreachable.start(session, refusing.url(""), "/a");
    QMRRunLoop::current().run();

    EXPECT_THAT(empty.calls, ElementsAre("data:0", "done"));
    EXPECT_THAT(unreachable.calls, ElementsAre("error:103"));
    ASSERT_TRUE(unreachable.error && unreachable.error->underlyingError());
    EXPECT_EQ(unreachable.error->underlyingError()->code(), QMRUrlErrorCannotConnectToHost);
}

// Faults in mid-transfer ----------------------------------------------------------------------

// An answer cut short: its head promises more body than comes before the server closes or falls silent.
constexpr std::string_view truncatedAnswer =
    "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: 1000\r\n\r\n0123456789";

ScriptedHttpAnswer truncatedThen(bool stall) {
    return stall ? ScriptedHttpAnswer::rawThenStall(truncatedAnswer) : ScriptedHttpAnswer::raw(truncatedAnswer);
}

// A session whose idle time-out ends a silent server's transfer soon.
const QMRUrlSessionConfiguration quickSession{.timeoutInterval = std::chrono::milliseconds(200)};

TEST(OwnCloudTransferFaults, AnUploadWhoseAnswerBreaksOffOrStallsCompletesOnceWithNeitherRecordNorError) {
    ScriptedHttpServer server;
    server.setHandler([](const ScriptedHttpRequest& request) {
        return truncatedThen(request.bodyText().find("filename=\"stalled.txt.") != std::string::npos);
    });
    QMRUrlSession quick(quickSession);
    std::map<std::string, std::vector<std::string>> events;
    for (const std::string name : {"closed.txt", "stalled.txt"}) {
        std::vector<std::string>& log = events[name];
        std::make_shared<QMROcCreateNewFileRequestv4_5_7>(
            quick, "tk", server.url(""), newFile("/" + name, 3),
            [&log](QMRFileMetadataPtr metadata, std::optional<QMRError> error) {
                log.push_back(metadata || error ? "completion with a result" : "completion");
            },
            [&log](std::optional<QMRData>& data, bool&) {
                if (log.empty()) data = bytes("abc");
                log.push_back("space");
            })
            ->send();
    }
    owncloud_server::runTransfers();
    EXPECT_EQ(server.requestCount(), 2u);
    for (const auto& [name, log] : events) EXPECT_THAT(log, ElementsAre("space", "space", "completion")) << name;
}

TEST(OwnCloudTransferFaults, ADownloadWhoseAnswerBreaksOffOrStallsEndsWith103AfterTheBytesReceived) {
    ScriptedHttpServer server;
    server.setHandler([](const ScriptedHttpRequest& request) {
        return truncatedThen(request.target.find("files=stalled") != std::string::npos);
    });
    QMRUrlSession quick(quickSession);
    Download closed, stalled;
    closed.start(quick, server.url(""), "/closed");
    stalled.start(quick, server.url(""), "/stalled");
    owncloud_server::runTransfers();
    // No empty piece marks an end, and nothing follows the error.
    EXPECT_THAT(closed.calls, ElementsAre("data:10", "error:103"));
    EXPECT_THAT(stalled.calls, ElementsAre("data:10", "error:103"));
    ASSERT_TRUE(closed.error && closed.error->underlyingError() && stalled.error && stalled.error->underlyingError());
    EXPECT_EQ(closed.error->underlyingError()->code(), QMRUrlErrorNetworkConnectionLost);
    EXPECT_EQ(stalled.error->underlyingError()->code(), QMRUrlErrorTimedOut);
}

}  // namespace
