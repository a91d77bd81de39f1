#include "DataStore/owncloud/QMROcEnableFileOrFolderSharingRequestv4_5_7.h"

QMROcEnableFileOrFolderSharingRequestv4_5_7::QMROcEnableFileOrFolderSharingRequestv4_5_7(
    QMRUrlSession& session, std::string requestToken, std::string baseUrl, std::string_view fileOrFolderId,
    QMRSharingPartyInfo sharingPartyInfo, std::int32_t sharingPermission)
    : QMROcShareChangeRequest(session, std::move(requestToken), std::move(baseUrl), fileOrFolderId,
                              std::move(sharingPartyInfo), sharingPermission) {}

void QMROcEnableFileOrFolderSharingRequestv4_5_7::send(QMRErrorSlot& error) {
    sendChange(constructEnableSharingRequestUrl(), constructEnableSharingRequestBody(), error);
}

std::string QMROcEnableFileOrFolderSharingRequestv4_5_7::constructEnableSharingRequestUrl() const {
    return fixedUrl(endpointPathv4_5_7);
}

QMRData QMROcEnableFileOrFolderSharingRequestv4_5_7::constructEnableSharingRequestBody() const {
    return shareChangeBody("share");
}
