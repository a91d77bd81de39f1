#include "DataStore/owncloud/QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7.h"

QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7::QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7(
    QMRUrlSession& session, std::string requestToken, std::string baseUrl, std::string_view fileOrFolderId,
    QMRSharingPartyInfo sharingPartyInfo, std::int32_t sharingPermission)
    : QMROcShareChangeRequest(session, std::move(requestToken), std::move(baseUrl), fileOrFolderId,
                              std::move(sharingPartyInfo), sharingPermission) {}

void QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7::send(QMRErrorSlot& error) {
    sendChange(constructChangeSharingPermissionRequestUrl(), constructChangeSharingPermissionRequestBody(), error);
}

std::string QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7::constructChangeSharingPermissionRequestUrl() const {
    return fixedUrl(endpointPathv4_5_7);
}

QMRData QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7::constructChangeSharingPermissionRequestBody() const {
    return shareChangeBody("setPermissions");
}
