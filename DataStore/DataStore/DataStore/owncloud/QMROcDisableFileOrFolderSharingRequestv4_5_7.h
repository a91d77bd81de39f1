#pragma once
// Stops sharing a file or folder with a party; no permission is sent.
#include <cstdint>
#include <string>
#include <string_view>

#include "DataStore/owncloud/QMROcShareChangeRequest.h"

class QMROcDisableFileOrFolderSharingRequestv4_5_7 : public QMROcShareChangeRequest {
public:
    QMROcDisableFileOrFolderSharingRequestv4_5_7() = delete;
    // initWithRequestToken:baseUrl:fileOrFolderId:sharingPartyInfo:.
    // A malformed id raises "Invalid Resource Type".
    QMROcDisableFileOrFolderSharingRequestv4_5_7(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                                 std::string_view fileOrFolderId,
                                                 QMRSharingPartyInfo unsharedWithPartyInfo);

    void send(QMRErrorSlot& error);

    virtual std::string constructDisableSharingRequestUrl() const;
    virtual QMRData constructDisableSharingRequestBody() const;
};
