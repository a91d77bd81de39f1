// Uploads and downloads against the fake ownCloud servers of both releases (fixtures
// "owncloud_4_5_7_server" and "owncloud_5_0_6_server"), each case from an empty account, logged in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/owncloud/QMROcAuthenticatorv5_0_6.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcReadFileContentRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv5_0_6.h"
#include "companion/web/QMRRunLoop.h"
#include "tests/support/ServerState.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

namespace {

QMRData patterned(std::size_t count) {
    QMRData bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>((i * 7 + i / 256) & 0xff);
    return bytes;
}

struct UploadResult {
    int calls = 0;
    QMRFileMetadataPtr metadata;
    std::optional<QMRError> error;
};

struct DownloadResult {
    std::vector<std::size_t> pieces;  // the size of each data call
    QMRData content;
    std::vector<std::optional<QMRError>> completions;
};

class FakeOwnCloudTransfer : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(_state.load(v4() ? "QMR_OWNCLOUD_4_5_7_STATE_FILE" : "QMR_OWNCLOUD_5_0_6_STATE_FILE"));
        _state.control("/test/reset");
        _state.control("/test/end-sessions");
        _state.control("/test/quota?bytes=" + std::to_string(std::int64_t{2} << 30));
        QMRErrorSlot error;
        auth = v4() ? QMROcAuthenticatorv4_5_7::initWithUrl(url(), "4.5.7", _state["user"], _state["password"], error)
                    : QMROcAuthenticatorv5_0_6::initWithUrl(url(), "5.0.6", _state["user"], _state["password"], error);
        ASSERT_TRUE(auth) << error->description();
    }
    void TearDown() override {
        QMRErrorSlot closing;
        if (auth && auth->isLoggedIn()) auth->close(closing);
    }

    bool v4() const { return GetParam() == "4.5.7"; }
    const std::string& url() const { return _state["url"]; }

    // Uploads content in pieces of pieceSize through the release's request.
    UploadResult upload(const std::string& path, const QMRData& content, std::size_t pieceSize) {
        UploadResult result;
        auto metadata = std::make_shared<QMRFileMetadata>();
        metadata->setName(path);
        metadata->setMimeContentType("application/octet-stream");
        metadata->setSizeInBytes(static_cast<std::int64_t>(content.size()));
        auto onCompletion = [&result](QMRFileMetadataPtr created, std::optional<QMRError> error) {
            ++result.calls;
            result.metadata = std::move(created);
            result.error = std::move(error);
        };
        auto onSpace = [&content, pieceSize, offset = std::size_t{0}](std::optional<QMRData>& data, bool&) mutable {
            const std::size_t count = std::min(pieceSize, content.size() - offset);
            data = QMRData(content.begin() + offset, content.begin() + offset + count);
            offset += count;
        };
        if (v4())
            std::make_shared<QMROcCreateNewFileRequestv4_5_7>(auth->session(), auth->requestToken(), url(), metadata,
                                                              onCompletion, onSpace)
                ->send();
        else
            std::make_shared<QMROcCreateNewFileRequestv5_0_6>(auth->session(), auth->requestToken(), url(), metadata,
                                                              onCompletion, onSpace)
                ->send();
        QMRRunLoop::current().run();
        return result;
    }

    DownloadResult download(const std::string& fileId, bool stopOnFirst = false) {
        DownloadResult result;
        auto onCompletion = [&result](std::optional<QMRError> error) { result.completions.push_back(error); };
        auto onData = [&result, stopOnFirst](QMRDataView data, bool& stop) {
            result.pieces.push_back(data.size());
            result.content.insert(result.content.end(), data.begin(), data.end());
            stop = stopOnFirst;
        };
        if (v4())
            std::make_shared<QMROcReadFileContentRequestv4_5_7>(auth->session(), url(), fileId, onCompletion, onData)
                ->send();
        else
            std::make_shared<QMROcReadFileContentRequestv5_0_6>(auth->session(), url(), fileId, onCompletion, onData)
                ->send();
        QMRRunLoop::current().run();
        return result;
    }

    QMROcReadFolderContentResponsev4_5_7::MetadataList listRoot() {
        QMROcReadFolderContentResponsev4_5_7 response;
        QMRErrorSlot error;
        if (v4())
            QMROcReadFolderContentRequestv4_5_7(auth->session(), url()).send(response, error);
        else
            QMROcReadFolderContentRequestv5_0_6(auth->session(), url()).send(response, error);
        EXPECT_FALSE(error) << error->description();
        return response.metadatas().value_or(QMROcReadFolderContentResponsev4_5_7::MetadataList{});
    }

    // A file put straight into the server's state; its id.
    std::string put(const std::string& path, const QMRData& content) {
        const std::string answer =
            _state.control("/test/put?path=" + path, std::string(content.begin(), content.end()));
        return QMROcFileOrFolderId(nlohmann::json::parse(answer).at("id").dump(), path,
                                   QMRFileMetadata::resourceTypeFile)
            .toString();
    }
    std::string control(const std::string& target) { return _state.control(target); }

    std::shared_ptr<QMROcAuthenticatorv4_5_7> auth;

private:
    ServerState _state;
};

TEST_P(FakeOwnCloudTransfer, AnUploadedFileIsListedUnderItsNameAndReadsBackTheSameBytes) {
    const QMRData content = patterned(50000);
    const UploadResult uploaded = upload("/report.bin", content, 12000);
    EXPECT_EQ(uploaded.calls, 1);
    ASSERT_FALSE(uploaded.error) << uploaded.error->description();
    ASSERT_TRUE(uploaded.metadata);
    const QMROcFileOrFolderId created(uploaded.metadata->fileId());
    EXPECT_THAT(created.path(), MatchesRegex("/report\\.bin\\.[0-9a-f]{32}"));

    // The suffix is hidden in the listed name and kept in the id, which is the upload's.
    const auto listed = listRoot();
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0]->name(), "/report.bin");
    EXPECT_EQ(listed[0]->fileId(), uploaded.metadata->fileId());
    EXPECT_EQ(listed[0]->sizeInBytes(), 50000);

    const DownloadResult read = download(uploaded.metadata->fileId());
    EXPECT_EQ(read.content, content);
    ASSERT_GE(read.pieces.size(), 2u);
    EXPECT_EQ(read.pieces.back(), 0u) << "one empty piece marks the end";
    EXPECT_EQ(std::count(read.pieces.begin(), read.pieces.end(), 0u), 1);
    ASSERT_EQ(read.completions.size(), 1u);
    EXPECT_FALSE(read.completions[0]);
}

TEST_P(FakeOwnCloudTransfer, DownloadsEndOnAMissingFileOrOnTheCallersStop) {
    const DownloadResult missing = download(QMROcFileOrFolderId("9", "/gone.txt", 2).toString());
    EXPECT_THAT(missing.pieces, IsEmpty());
    ASSERT_EQ(missing.completions.size(), 1u);
    ASSERT_TRUE(missing.completions[0]);
    EXPECT_EQ(missing.completions[0]->code(), QMRDataStoreErrorUnknown);
    EXPECT_EQ(missing.completions[0]->localizedDescription(), "Unknown error - Response code 404");

    // Large enough to come in several pieces.
    const DownloadResult stopped = download(put("/big.bin", patterned(4 << 20)), true);
    EXPECT_EQ(stopped.pieces.size(), 1u) << "no data after the stop";
    EXPECT_THAT(stopped.completions, IsEmpty());
}

// 4.5.7 says "Not enough space available", which the back-end knows; 5.0.6 words it "Not enough
// storage available", which it deliberately does not.
TEST_P(FakeOwnCloudTransfer, UploadsRefusedForQuotaOrAStaleTokenReportWhy) {
    control("/test/quota?bytes=1000");
    const UploadResult full = upload("/big.bin", patterned(5000), 4096);
    EXPECT_EQ(full.calls, 1);
    ASSERT_TRUE(full.error);
    if (v4()) {
        EXPECT_EQ(full.error->code(), QMRDataStoreErrorInsufficientStorage);
        EXPECT_EQ(full.error->localizedDescription(), "Insufficient storage space");
    } else {
        EXPECT_EQ(full.error->code(), QMRDataStoreErrorUnknown);
        EXPECT_THAT(full.error->localizedDescription(),
                    MatchesRegex("Unrecognized response: .*\"Not enough storage available\".*"));
    }

    control("/test/quota?bytes=100000");
    control("/test/expire-sessions");
    const UploadResult stale = upload("/small.bin", patterned(10), 10);
    EXPECT_EQ(stale.calls, 1);
    ASSERT_TRUE(stale.error);
    EXPECT_EQ(stale.error->code(), QMRDataStoreErrorAuthentication);
    EXPECT_EQ(stale.error->localizedDescription(), "Unauthorized");
    EXPECT_THAT(listRoot(), IsEmpty());
}

TEST_P(FakeOwnCloudTransfer, A503GivesServerBusyWithNoDataCall) {
    control("/test/fail?status=503&script=upload.php");
    const UploadResult refused = upload("/busy.bin", patterned(20000), 8192);
    EXPECT_EQ(refused.calls, 1);
    EXPECT_FALSE(refused.metadata);
    ASSERT_TRUE(refused.error);
    EXPECT_EQ(refused.error->code(), QMRDataStoreErrorServerUnavailable);
    EXPECT_EQ(refused.error->localizedDescription(), "Server down or server busy");
    EXPECT_THAT(listRoot(), IsEmpty());

    const std::string fileId = put("/kept.bin", patterned(20000));
    control("/test/fail?status=503&script=download.php");
    const DownloadResult busy = download(fileId);
    EXPECT_THAT(busy.pieces, IsEmpty());
    ASSERT_EQ(busy.completions.size(), 1u);
    ASSERT_TRUE(busy.completions[0]);
    EXPECT_EQ(busy.completions[0]->code(), QMRDataStoreErrorServerUnavailable);
}

INSTANTIATE_TEST_SUITE_P(Releases, FakeOwnCloudTransfer, ::testing::Values("4.5.7", "5.0.6"),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             return "v" + info.param.substr(0, 1) + "_" + info.param.substr(2, 1) + "_" +
                                    info.param.substr(4, 1);
                         });

}  // namespace
