#include <fmt/format.h>
#include <fmt/ranges.h>

#include <iostream>
#include <memory>
#include <optional>

#include "QMRHumanText.h"
#include "QMRLocalFile.h"
#include "QMRProgressBar.h"
#include "QMRStoreCommands.h"
#include "QMRStoreFailure.h"

namespace {

// Pieces of a streamed upload: big enough to keep the pipe full, small enough to show progress.
constexpr std::size_t uploadPieceSize = 64 * 1024;

std::string sizeText(std::size_t bytes) {
    return QMRHumanText::size(static_cast<std::int64_t>(bytes));
}

}  // namespace

void QMRStoreCommands::put(const PutRequest& request) {
    using enum QMRDataStoreOperation;
    const Operation operation = firstOffered({createNewFile, createNewFileAsync}, "put");
    QMRLocalFile local(request.localPath);

    auto metadata = std::make_shared<QMRFileMetadata>();
    metadata->setName(local.baseName());
    if (local.modificationDate()) {
        metadata->setClientSideCreationDateInLocalTime(local.modificationDate());
        metadata->setClientSideModificationDateInLocalTime(local.modificationDate());
    }
    applyFields(request.fields, *metadata);
    if (!metadata->nameAvailable()) throw QMRStoreFailure(QMRStoreFailure::usage, "put from stdin needs --name");
    // In a store with folders the name is the file's path.
    if (_connector.supportsOperation(readRootFolderContent) && metadata->name().front() != '/')
        metadata->setName("/" + metadata->name());
    if (!metadata->mimeContentTypeAvailable())
        metadata->setMimeContentType(QMRLocalFile::mimeTypeForName(metadata->name()));

    QMRProgressBar progress(std::cerr, _showProgress, metadata->name());
    QMRErrorSlot error;
    if (operation == createNewFile) {
        // The store sends the content only once it holds all of it: phases are all there is to show.
        progress.phase("reading");
        const QMRData content = local.readAll();
        metadata->setSizeInBytes(static_cast<std::int64_t>(content.size()));
        progress.phase(fmt::format("uploading {}", sizeText(content.size())));
        store().createNewFile(*metadata, error, [&](ComQuillmereIO_Stream& stream) { stream.write(content); });
        check(error);
        progress.phase(fmt::format("uploaded {}", sizeText(content.size())));
    } else {
        // A streamed upload declares its size first: stdin has none until it is read.
        std::optional<QMRData> buffered;
        if (!local.size()) buffered = local.readAll();
        metadata->setSizeInBytes(buffered ? static_cast<std::int64_t>(buffered->size()) : *local.size());
        TransferOutcome outcome;
        QMRFileMetadataPtr created;
        progress.start(metadata->sizeInBytes());
        store().createNewFileAsync(
            metadata,
            [&](QMRFileMetadataPtr result, std::optional<QMRError> failure) {
                created = std::move(result);
                error = std::move(failure);
                outcome.completed = true;
            },
            [&](std::optional<QMRData>& data, bool& stop) {
                outcome.guard(stop, [&] {
                    if (buffered) {
                        data = std::move(buffered);
                        buffered.reset();
                    } else if (!local.size()) {
                        data.reset();
                    } else {
                        data = local.read(uploadPieceSize);
                    }
                    if (data) progress.advance(data->size());
                });
            });
        runTransfer(outcome, "upload");
        check(error);
        if (created) metadata = created;
    }
    progress.finish();
    _output.createdFile(*metadata);
}

void QMRStoreCommands::update(const UpdateRequest& request) {
    const bool withFields = !request.fields.name.empty() || !request.fields.mimeType.empty() ||
                            !request.fields.created.empty() || !request.fields.modified.empty();
    if (request.contentPath.empty() && !withFields)
        throw QMRStoreFailure(QMRStoreFailure::usage, "update needs --content or a field to change (see --help)");
    require(request.contentPath.empty() ? QMRDataStoreOperation::updateFileMetadata
                                        : QMRDataStoreOperation::openFileForUpdating,
            "update");

    QMRFileMetadata metadata;
    metadata.setFileId(request.fileId);
    QMRErrorSlot error;
    if (request.contentPath.empty()) {
        applyFields(request.fields, metadata);
        store().updateFileMetadata(metadata, error);
        check(error);
        _output.result({{"fileId", request.fileId}, {"updated", "metadata"}}, "updated " + request.fileId);
        return;
    }
    QMRLocalFile local(request.contentPath);
    // New content was modified when the local file was, unless the user says otherwise.
    if (local.modificationDate()) metadata.setClientSideModificationDateInLocalTime(local.modificationDate());
    applyFields(request.fields, metadata);
    QMRProgressBar progress(std::cerr, _showProgress, _connector.displayableId(request.fileId));
    progress.phase("reading");
    const QMRData content = local.readAll();
    metadata.setSizeInBytes(static_cast<std::int64_t>(content.size()));
    // Updates are sent whole, like creations: only the phases show.
    progress.phase(fmt::format("uploading {}", sizeText(content.size())));
    store().openFileForUpdating(metadata, error, [&](ComQuillmereIO_Stream& stream) { stream.write(content); });
    check(error);
    progress.phase(fmt::format("uploaded {}", sizeText(content.size())));
    progress.finish();
    _output.result({{"fileId", request.fileId}, {"updated", "content"}, {"sizeInBytes", content.size()}},
                   fmt::format("updated {} ({})", request.fileId, sizeText(content.size())));
}

void QMRStoreCommands::remove(const RemoveRequest& request) {
    using enum QMRDataStoreOperation;
    if (request.all) {
        require(deleteAllFiles, "rm --all");
        QMRErrorSlot error;
        store().deleteAllFiles(error);
        check(error);
        _output.result({{"deletedAll", true}}, "deleted every file");
        return;
    }
    const Operation operation = firstOffered({deleteFileWithSpecificFileIds, deleteFileOrFolder}, "rm");
    QMRErrorSlot error;
    if (operation == deleteFileWithSpecificFileIds) {
        store().deleteFileWithSpecificFileIds(request.fileIds, error);
        check(error);
        _output.result({{"deleted", request.fileIds}}, fmt::format("deleted {} {}", request.fileIds.size(),
                                                                   request.fileIds.size() == 1 ? "file" : "files"));
        return;
    }
    // Entries of a store with folders go one at a time, and are named as the user named them.
    std::vector<std::string> shown;
    for (const std::string& fileId : request.fileIds) {
        store().deleteFileOrFolder(storeId(fileId), error);
        check(error);
        shown.push_back(_connector.displayableId(fileId));
    }
    _output.result({{"deleted", request.fileIds}}, fmt::format("deleted {}", fmt::join(shown, ", ")));
}

void QMRStoreCommands::makeFolder(const std::string& path) {
    require(QMRDataStoreOperation::createNewFolder, "mkdir");
    QMRErrorSlot error;
    std::optional<std::string> folderId = store().createNewFolder(path, error);
    check(error);
    const std::string id = folderId.value_or("");
    _output.result({{"folderId", id}, {"path", path}},
                   fmt::format("created folder {} as {}", path, _connector.displayableId(id)));
}
