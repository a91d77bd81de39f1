#include "DataStore/owncloud/QMROcDataStore.h"

void QMROcDataStore::createNewFileAsync(QMRFileMetadataPtr metadata, QMRCreateNewFileCompletionBlock onCompletionBlock,
                                        QMRSpaceAvailableBlock onSpaceAvailableBlock) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    newCreateNewFileRequest(std::move(metadata), std::move(onCompletionBlock), std::move(onSpaceAvailableBlock))
        ->send();
}

std::optional<std::string> QMROcDataStore::createNewFolder(const std::string& path, QMRErrorSlot& error) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    QMROcCreateNewFolderResponsev4_5_7 response;
    newCreateNewFolderRequest(path)->send(response, error);
    if (error) return std::nullopt;
    return response.folderId();
}
