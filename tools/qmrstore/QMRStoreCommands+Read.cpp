#include <fmt/format.h>

#include <strings.h>
#include <algorithm>
#include <iostream>
#include <optional>

#include "DataStore/owncloud/QMROwnCloudDataStore.h"
#include "QMRContentSink.h"
#include "QMRHumanText.h"
#include "QMRProgressBar.h"
#include "QMRStoreCommands.h"
#include "QMRStoreFailure.h"

void QMRStoreCommands::list(const ListRequest& request) {
    using enum QMRDataStoreOperation;
    // "/" is the root folder, which has no id of its own.
    const bool inFolder = !request.folderId.empty() && request.folderId != "/";
    Operation operation;
    if (!request.fileIds.empty()) {
        operation = readFileMetadataWithSpecificFileIds;
        require(operation, "ls --id");
    } else if (!request.since.empty()) {
        operation = readFileMetadataWithSpecificDate;
        require(operation, "ls --since");
    } else if (inFolder) {
        operation = readFolderContent;
        require(operation, "ls FOLDER");
    } else if (!request.type.empty() || !request.folderId.empty()) {
        operation = readRootFolderContent;
        require(operation, request.type.empty() ? "ls FOLDER" : "ls --type");
    } else {
        operation = firstOffered({readAllFileMetadata, readRootFolderContent}, "ls");
    }
    std::optional<QMRDate> since;
    if (!request.since.empty() && !(since = QMRHumanText::parseDate(request.since)))
        throw QMRStoreFailure(QMRStoreFailure::usage, fmt::format("--since {}: not a date", request.since));
    std::optional<std::int32_t> wantedType;
    if (!request.type.empty())
        wantedType = request.type == "folder" ? QMRFileMetadata::resourceTypeFolder : QMRFileMetadata::resourceTypeFile;

    QMRErrorSlot error;
    QMREnumerablePtr<QMRFileMetadataPtr> found;
    // The library's type filters work over the folder listing of any store.
    switch (operation) {
        case readFileMetadataWithSpecificFileIds:
            found = store().readFileMetadataWithSpecificFileIds(request.fileIds, error);
            break;
        case readFileMetadataWithSpecificDate:
            found = store().readFileMetadataWithSpecificDate(*since, error);
            break;
        case readFolderContent: {
            const std::string folderId = storeId(request.folderId);
            found = wantedType ? QMROwnCloudDataStore::readFolderContent(store(), folderId, *wantedType, error)
                               : store().readFolderContent(folderId, error);
            break;
        }
        case readRootFolderContent:
            found = wantedType ? QMROwnCloudDataStore::readRootFolderContent(store(), *wantedType, error)
                               : store().readRootFolderContent(error);
            break;
        default:
            found = store().readAllFileMetadata(error);
            break;
    }
    std::vector<QMRFileMetadataPtr> files = walk(found, error);
    // Asked-for ids keep the order they were asked in; anything else reads best by name.
    if (operation != readFileMetadataWithSpecificFileIds)
        std::stable_sort(files.begin(), files.end(), [](const QMRFileMetadataPtr& a, const QMRFileMetadataPtr& b) {
            return strcasecmp(a->name().c_str(), b->name().c_str()) < 0;
        });
    _output.files(files);
}

void QMRStoreCommands::stat(const std::vector<std::string>& fileIds) {
    require(QMRDataStoreOperation::readFileMetadataWithSpecificFileIds, "stat");
    QMRErrorSlot error;
    auto found = store().readFileMetadataWithSpecificFileIds(fileIds, error);
    _output.fileDetails(walk(found, error));
}

void QMRStoreCommands::get(const GetRequest& request) {
    using enum QMRDataStoreOperation;
    const Operation operation = firstOffered({openFileForReading, openFileForReadingAsync}, "get");
    if ((request.outputPath.empty() || request.outputPath == "-") && _output.json())
        throw QMRStoreFailure(QMRStoreFailure::usage, "get --json needs --output: the content itself goes to stdout");
    QMRContentSink sink(request.outputPath);

    const std::string fileId = storeId(request.fileId);
    QMRProgressBar progress(std::cerr, _showProgress, _connector.displayableId(fileId));
    QMRErrorSlot error;
    if (operation == openFileForReading) {
        // The store hands over the content only once it holds all of it: phases are all there is to show.
        progress.phase("downloading");
        store().openFileForReading(fileId, error, [&](ComQuillmereIO_Stream& stream) {
            const QMRData content = stream.readDataFromCurrentToEnd();
            progress.phase(fmt::format("received {}", QMRHumanText::size(static_cast<std::int64_t>(content.size()))));
            sink.write(content);
        });
    } else {
        TransferOutcome outcome;
        progress.start(std::nullopt);
        store().openFileForReadingAsync(
            fileId,
            [&](std::optional<QMRError> failure) {
                error = std::move(failure);
                outcome.completed = true;
            },
            [&](QMRDataView piece, bool& stop) {
                outcome.guard(stop, [&] {
                    sink.write(piece);
                    progress.advance(piece.size());
                });
            });
        runTransfer(outcome, "download");
    }
    check(error);
    sink.commit();
    progress.finish();
    if (!sink.isStdout())
        _output.result({{"fileId", request.fileId}, {"bytes", sink.bytesWritten()}, {"output", sink.path()}},
                       fmt::format("saved {} to {}", QMRHumanText::size(static_cast<std::int64_t>(sink.bytesWritten())),
                                   sink.path()));
}

void QMRStoreCommands::changes(const std::string& syncToken) {
    require(QMRDataStoreOperation::retrieveFileChangesWithSyncToken, "changes");
    std::string token = syncToken;
    QMRErrorSlot error;
    auto found = store().retrieveFileChangesWithSyncToken(token, error);
    std::vector<QMRChangeInfo> changes = found ? found->toVector() : std::vector<QMRChangeInfo>();
    check(error);
    _output.changes(changes, token);
}

void QMRStoreCommands::quota() {
    require(QMRDataStoreOperation::getStorageSpace, "quota");
    QMRErrorSlot error;
    std::optional<QMRStorageSpaceInfo> space = store().getStorageSpace(error);
    check(error);
    if (!space) throw QMRStoreFailure(QMRStoreFailure::unexpected, "the server reported no quota");
    _output.storageSpace(*space);
}
