#include "DataStore/owncloud/QMROcDataStore.h"

std::optional<QMRStorageSpaceInfo> QMROcDataStore::getStorageSpace(QMRErrorSlot& error) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    QMROcReadStorageQuotaInfoResponsev4_5_7 response;
    newReadStorageQuotaInfoRequest()->send(response, error);
    return response.storageSpaceInfo();
}
