#pragma once
// Shares a file or folder with a party.
#include <cstdint>
#include <string>
#include <string_view>

#include "DataStore/owncloud/QMROcShareChangeRequest.h"

class QMROcEnableFileOrFolderSharingRequestv4_5_7 : public QMROcShareChangeRequest {
public:
    QMROcEnableFileOrFolderSharingRequestv4_5_7() = delete;
    // initWithRequestToken:baseUrl:fileOrFolderId:sharingPartyInfo:sharingPermission:.
    // A malformed id raises "Invalid Resource Type". The permission is kept corrected.
    QMROcEnableFileOrFolderSharingRequestv4_5_7(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                                std::string_view fileOrFolderId, QMRSharingPartyInfo sharingPartyInfo,
                                                std::int32_t sharingPermission);

    void send(QMRErrorSlot& error);

    virtual std::string constructEnableSharingRequestUrl() const;
    virtual QMRData constructEnableSharingRequestBody() const;
};
