#include "DataStore/owncloud/QMROcDataStore.h"

void QMROcDataStore::openFileForReadingAsync(const std::string& fileId, QMRReadFileCompletionBlock onCompletionBlock,
                                             QMRDataAvailableBlock onDataAvailableBlock) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    newReadFileContentRequest(fileId, std::move(onCompletionBlock), std::move(onDataAvailableBlock))->send();
}

QMREnumerablePtr<QMRFileMetadataPtr> QMROcDataStore::readRootFolderContent(QMRErrorSlot& error) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    QMROcReadFolderContentResponsev4_5_7 response;
    newReadRootFolderContentRequest()->send(response, error);
    return enumerableOf(response.metadatas());
}

QMREnumerablePtr<QMRFileMetadataPtr> QMROcDataStore::readFolderContent(const std::string& folderId,
                                                                       QMRErrorSlot& error) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    QMROcReadFolderContentResponsev4_5_7 response;
    newReadFolderContentRequest(folderId)->send(response, error);
    return enumerableOf(response.metadatas());
}
