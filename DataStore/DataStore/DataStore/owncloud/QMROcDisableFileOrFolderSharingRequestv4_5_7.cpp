#include "DataStore/owncloud/QMROcDisableFileOrFolderSharingRequestv4_5_7.h"

QMROcDisableFileOrFolderSharingRequestv4_5_7::QMROcDisableFileOrFolderSharingRequestv4_5_7(
    QMRUrlSession& session, std::string requestToken, std::string baseUrl, std::string_view fileOrFolderId,
    QMRSharingPartyInfo unsharedWithPartyInfo)
    : QMROcShareChangeRequest(session, std::move(requestToken), std::move(baseUrl), fileOrFolderId,
                              std::move(unsharedWithPartyInfo), std::nullopt) {}

void QMROcDisableFileOrFolderSharingRequestv4_5_7::send(QMRErrorSlot& error) {
    sendChange(constructDisableSharingRequestUrl(), constructDisableSharingRequestBody(), error);
}

std::string QMROcDisableFileOrFolderSharingRequestv4_5_7::constructDisableSharingRequestUrl() const {
    return fixedUrl(endpointPathv4_5_7);
}

QMRData QMROcDisableFileOrFolderSharingRequestv4_5_7::constructDisableSharingRequestBody() const {
    return shareChangeBody("unshare");
}
