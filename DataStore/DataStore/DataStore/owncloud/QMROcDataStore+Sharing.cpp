#include "DataStore/owncloud/QMROcDataStore.h"

QMREnumerablePtr<QMRSharingPartyInfo> QMROcDataStore::readAllowedSharingPartyInfo(
    const std::string& partyThatBeginsWith, QMRErrorSlot& error) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    QMROcReadSharingPartyInfoResponsev4_5_7 response;
    newReadSharingPartyInfoRequest(partyThatBeginsWith)->send(response, error);
    return enumerableOf(response.sharingPartyInfos());
}

void QMROcDataStore::enableFileOrFolderSharing(const std::string& fileOrFolderId,
                                               const QMRSharingPartyInfo& sharingPartyInfo,
                                               std::int32_t sharingPermission, QMRErrorSlot& error) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    newEnableFileOrFolderSharingRequest(fileOrFolderId, sharingPartyInfo, sharingPermission)->send(error);
}

void QMROcDataStore::disableFileOrFolderSharing(const std::string& fileOrFolderId,
                                                const QMRSharingPartyInfo& sharingPartyInfo, QMRErrorSlot& error) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    newDisableFileOrFolderSharingRequest(fileOrFolderId, sharingPartyInfo)->send(error);
}

void QMROcDataStore::changeFileOrFolderSharingPermission(const std::string& fileOrFolderId,
                                                         const QMRSharingPartyInfo& sharingPartyInfo,
                                                         std::int32_t sharingPermission, QMRErrorSlot& error) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    newChangeFileOrFolderSharingPermissionRequest(fileOrFolderId, sharingPartyInfo, sharingPermission)->send(error);
}

QMREnumerablePtr<QMRSharingFileOrFolderInfo> QMROcDataStore::readSharedFileOrFolderInfo(
    const std::string& fileOrFolderId, QMRErrorSlot& error) {
    _authenticator->throwExceptionWhenNotLoggedIn();
    QMROcReadSharingFileOrFolderInfoResponsev4_5_7 response;
    newReadSharingFileOrFolderInfoRequest(fileOrFolderId)->send(response, error);
    return enumerableOf(response.sharingFileOrFolderInfo());
}
