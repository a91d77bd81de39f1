#pragma once
// Changes the permission a party holds on a shared file or folder.
#include <cstdint>
#include <string>
#include <string_view>

#include "DataStore/owncloud/QMROcShareChangeRequest.h"

class QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7 : public QMROcShareChangeRequest {
public:
    QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7() = delete;
    // initWithRequestToken:baseUrl:fileOrFolderId:sharingPartyInfo:sharingPermission:.
    // A malformed id raises "Invalid Resource Type". The permission is kept corrected.
    QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7(QMRUrlSession& session, std::string requestToken,
                                                          std::string baseUrl, std::string_view fileOrFolderId,
                                                          QMRSharingPartyInfo sharingPartyInfo,
                                                          std::int32_t sharingPermission);

    void send(QMRErrorSlot& error);

    virtual std::string constructChangeSharingPermissionRequestUrl() const;
    virtual QMRData constructChangeSharingPermissionRequestBody() const;
};
