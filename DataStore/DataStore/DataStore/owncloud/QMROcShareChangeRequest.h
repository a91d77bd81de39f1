#pragma once
// A change of an item's sharing with one party (share, unshare, set permissions): a form post to the
// endpoint whose answer is searched for the server's error mark.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "DataStore/contract/QMRSharingPartyInfo.h"
#include "DataStore/owncloud/QMROcSharedItemRequest.h"

class QMROcShareChangeRequest : public QMROcSharedItemRequest {
public:
    QMROcShareChangeRequest() = delete;

    const QMRSharingPartyInfo& sharingPartyInfo() const noexcept { return _sharingPartyInfo; }
    // The corrected permission sent; none for a change that sends no permission.
    std::optional<std::int32_t> sharingPermission() const noexcept { return _sharingPermission; }

    // The token check of the reads, then 101 "Unrecognized response: <body>" when the server reports
    // an error; the second replaces the first when both apply, deliberately.
    void validateResponseBody(const QMRData& body, QMRErrorSlot& error) const override;

protected:
    // The permission, where given, is kept corrected.
    QMROcShareChangeRequest(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                            std::string_view fileOrFolderId, QMRSharingPartyInfo sharingPartyInfo,
                            std::optional<std::int32_t> sharingPermission);

    // "action", the item, the party and, where there is one, "permissions".
    QMRData shareChangeBody(std::string_view action) const;
    void sendChange(std::string url, QMRData body, QMRErrorSlot& error) const;

private:
    QMRSharingPartyInfo _sharingPartyInfo;
    std::optional<std::int32_t> _sharingPermission;
};
