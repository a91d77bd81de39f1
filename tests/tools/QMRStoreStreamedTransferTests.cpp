// The commands over a store with folders and streamed transfers (as ownCloud's are): pieces go
// through the run loop, content arrives whole, and a failed download leaves nothing behind.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "DataStore/contract/QMRDataStoreError.h"
#include "QMRStoreCommands.h"
#include "QMRStoreFailure.h"
#include "companion/web/QMRRunLoop.h"

namespace {

// A store that hands out and takes in content one piece per run-loop turn.
class StreamingStore : public QMRDataStore {
public:
    std::map<std::string, QMRData> files;
    std::size_t uploadPieces = 0;
    std::optional<QMRError> downloadFailure;  // reported after the first piece

    bool supportsOperation(QMRDataStoreOperation operation) const override {
        using enum QMRDataStoreOperation;
        return operation == createNewFileAsync || operation == openFileForReadingAsync ||
               operation == readRootFolderContent;
    }

    void createNewFileAsync(QMRFileMetadataPtr metadata, QMRCreateNewFileCompletionBlock onCompletion,
                            QMRSpaceAvailableBlock onSpaceAvailable) override {
        auto upload = std::make_shared<Upload>(
            Upload{std::move(metadata), std::move(onCompletion), std::move(onSpaceAvailable), {}});
        QMRRunLoop::current().performBlock([this, upload] { askForPiece(upload); });
    }

    void openFileForReadingAsync(const std::string& fileId, QMRReadFileCompletionBlock onCompletion,
                                 QMRDataAvailableBlock onDataAvailable) override {
        QMRRunLoop::current().performBlock([this, fileId, onCompletion, onDataAvailable] {
            const QMRData& content = files.at(fileId);
            bool stop = false;
            const std::size_t half = content.size() / 2;
            onDataAvailable(QMRDataView(content).first(half), stop);
            if (downloadFailure) return onCompletion(downloadFailure);
            onDataAvailable(QMRDataView(content).subspan(half), stop);
            onDataAvailable(QMRDataView(), stop);
            onCompletion(std::nullopt);
        });
    }

    QMREnumerablePtr<QMRFileMetadataPtr> readRootFolderContent(QMRErrorSlot&) override {
        auto folder = std::make_shared<QMRFileMetadata>(), file = std::make_shared<QMRFileMetadata>();
        folder->setName("photos");
        folder->setResourceType(QMRFileMetadata::resourceTypeFolder);
        file->setName("notes.txt");
        file->setResourceType(QMRFileMetadata::resourceTypeFile);
        return QMRMakeArrayEnumerable<QMRFileMetadataPtr>({file, folder});
    }

private:
    struct Upload {
        QMRFileMetadataPtr metadata;
        QMRCreateNewFileCompletionBlock onCompletion;
        QMRSpaceAvailableBlock onSpaceAvailable;
        QMRData received;
    };

    void askForPiece(const std::shared_ptr<Upload>& upload) {
        std::optional<QMRData> piece;
        bool stop = false;
        upload->onSpaceAvailable(piece, stop);
        if (piece && !piece->empty() && !stop) {
            ++uploadPieces;
            upload->received.insert(upload->received.end(), piece->begin(), piece->end());
            QMRRunLoop::current().performBlock([this, upload] { askForPiece(upload); });
            return;
        }
        upload->metadata->setFileId("id-" + upload->metadata->name());
        files[upload->metadata->fileId()] = upload->received;
        upload->onCompletion(upload->metadata, std::nullopt);
    }
};

class StreamingConnector : public QMRStoreConnector {
public:
    std::shared_ptr<StreamingStore> store = std::make_shared<StreamingStore>();

    std::string_view backendName() const override { return "streaming"; }
    bool supportsOperation(QMRDataStoreOperation operation) const override {
        return store->supportsOperation(operation);
    }
    bool supportsAccountAdministration() const override { return false; }
    bool supportsServerVersion() const override { return false; }
    std::shared_ptr<QMRDataStore> connect(QMRErrorSlot&) override { return store; }
    void disconnect(QMRErrorSlot&) override {}
    std::string heldLockToken() const override { return {}; }
    std::unique_ptr<QMRStoreAccountAdministration> accountAdministration(bool, QMRErrorSlot&) override {
        return nullptr;
    }
    std::optional<std::string> readServerVersion(QMRErrorSlot&) override { return std::nullopt; }
};

class QMRStoreStreamedTransfer : public ::testing::Test {
protected:
    void SetUp() override {
        directory = std::filesystem::temp_directory_path() /
                    ("qmrstore-test-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "-" +
                     ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(directory);
        content.resize(300 * 1024);
        for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    }
    void TearDown() override { std::filesystem::remove_all(directory); }

    std::string writeLocal(const std::string& name) {
        const std::string path = directory / name;
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
        return path;
    }
    nlohmann::json printed() const { return nlohmann::json::parse(out.str()); }

    std::filesystem::path directory;
    QMRData content;
    StreamingConnector connector;
    std::ostringstream out;
    QMRStoreOutput output{out, true};
    QMRStoreCommands commands{connector, output, false, [] { return std::string("pw"); }};
};

TEST_F(QMRStoreStreamedTransfer, PutStreamsTheFileInPiecesUnderItsPath) {
    commands.put({writeLocal("big.bin"), {}});
    EXPECT_EQ(connector.store->files.at("id-/big.bin"), content);
    EXPECT_GT(connector.store->uploadPieces, 1u);
    EXPECT_EQ(printed()["file"]["fileId"], "id-/big.bin");
    EXPECT_EQ(printed()["file"]["sizeInBytes"], content.size());
}

TEST_F(QMRStoreStreamedTransfer, GetWritesEveryPiece) {
    connector.store->files["f"] = content;
    const std::string target = directory / "back.bin";
    commands.get({"f", target});
    std::ifstream back(target, std::ios::binary);
    EXPECT_EQ(QMRData(std::istreambuf_iterator<char>(back), {}), content);
    EXPECT_EQ(printed()["bytes"], content.size());
}

TEST_F(QMRStoreStreamedTransfer, AFailedGetLeavesNoFile) {
    connector.store->files["f"] = content;
    connector.store->downloadFailure =
        QMRDataStoreError::errorWithCode(QMRDataStoreErrorServerUnavailable, "Server down or server busy");
    const std::string target = directory / "back.bin";
    try {
        commands.get({"f", target});
        FAIL() << "the download failure was not raised";
    } catch (const QMRStoreFailure& failure) {
        EXPECT_EQ(failure.exitStatus(), 13);
    }
    EXPECT_TRUE(std::filesystem::is_empty(directory / "")) << "left behind in " << directory;
}

TEST_F(QMRStoreStreamedTransfer, ListingByTypeKeepsOnlyThatType) {
    QMRStoreCommands::ListRequest request;
    request.type = "folder";
    commands.list(request);
    ASSERT_EQ(printed()["files"].size(), 1u);
    EXPECT_EQ(printed()["files"][0]["name"], "photos");
    EXPECT_EQ(printed()["files"][0]["resourceType"], "folder");
}

}  // namespace
