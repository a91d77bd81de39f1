// The commands over a store with folders and streamed transfers (as ownCloud's are): pieces go
// through the run loop and a failed download leaves nothing behind. That a streamed download
// arrives whole, and that listings keep the asked-for type, the end-to-end runs against the
// ownCloud servers show.
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

// A store that takes in content one piece per run-loop turn, and whose downloads break after the first.
class StreamingStore : public QMRDataStore {
public:
    std::map<std::string, QMRData> files;
    std::size_t uploadPieces = 0;

    bool supportsOperation(QMRDataStoreOperation operation) const override {
        using enum QMRDataStoreOperation;
        // A store with folders: put names the file by its path.
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
            bool stop = false;
            onDataAvailable(files.at(fileId), stop);
            onCompletion(
                QMRDataStoreError::errorWithCode(QMRDataStoreErrorServerUnavailable, "Server down or server busy"));
        });
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

    std::filesystem::path directory;
    QMRData content;
    StreamingConnector connector;
    std::ostringstream out;
    QMRStoreOutput output{out, true};
    QMRStoreCommands commands{connector, output, false, [] { return std::string("pw"); }};
};

TEST_F(QMRStoreStreamedTransfer, PutStreamsTheFileInPiecesUnderItsPath) {
    const std::string local = directory / "big.bin";
    std::ofstream(local, std::ios::binary)
        .write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    commands.put({local, {}});
    EXPECT_EQ(connector.store->files.at("id-/big.bin"), content);
    EXPECT_GT(connector.store->uploadPieces, 1u);
    const nlohmann::json printed = nlohmann::json::parse(out.str());
    EXPECT_EQ(printed["file"]["fileId"], "id-/big.bin");
    EXPECT_EQ(printed["file"]["sizeInBytes"], content.size());
}

TEST_F(QMRStoreStreamedTransfer, AFailedGetLeavesNoFile) {
    connector.store->files["f"] = content;
    const std::string target = directory / "back.bin";
    try {
        commands.get({"f", target});
        FAIL() << "the download failure was not raised";
    } catch (const QMRStoreFailure& failure) {
        EXPECT_EQ(failure.exitStatus(), 13);
    }
    EXPECT_TRUE(std::filesystem::is_empty(directory / "")) << "left behind in " << directory;
}

}  // namespace
