#include "DataStore/owncloud/QMROcDataStore.h"

void QMROcDataStore::deleteFileOrFolder(const std::string& fileOrFolderId, QMRErrorSlot& error) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    newDeleteFileOrFolderRequest(fileOrFolderId)->send(error);
}
