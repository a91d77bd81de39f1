#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv5_0_6.h"

void QMROcDeleteFileOrFolderRequestv5_0_6::validateResponseHeader(long statusCode, QMRErrorSlot& error) const {
    if (statusCode == 404) {
        error = createError("File or folder not found", QMRDataStoreErrorFileOrFolderNotFound);
        return;
    }
    QMROcDeleteFileOrFolderRequestv4_5_7::validateResponseHeader(statusCode, error);
}

std::string QMROcDeleteFileOrFolderRequestv5_0_6::constructDeleteFileContentRequestUrl() const {
    return fixedUrl("/index.php/apps/files/ajax/delete.php");
}
