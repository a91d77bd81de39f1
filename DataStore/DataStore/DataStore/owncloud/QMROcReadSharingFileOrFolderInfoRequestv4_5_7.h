#pragma once
// Reads who a file or folder is shared with: the owner, when the item was shared with the user, and
// each party the user shared it with.
#include <optional>
#include <string>
#include <string_view>

#include "DataStore/owncloud/QMROcReadSharingFileOrFolderInfoResponsev4_5_7.h"
#include "DataStore/owncloud/QMROcSharedItemRequest.h"

class QMROcReadSharingFileOrFolderInfoRequestv4_5_7 : public QMROcSharedItemRequest {
public:
    using SharingFileOrFolderInfoList = QMROcReadSharingFileOrFolderInfoResponsev4_5_7::SharingFileOrFolderInfoList;

    QMROcReadSharingFileOrFolderInfoRequestv4_5_7() = delete;
    // initWithRequestToken:baseUrl:fileOrFolderId:. A malformed id raises "Invalid Resource Type".
    QMROcReadSharingFileOrFolderInfoRequestv4_5_7(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                                  std::string_view fileOrFolderId);

    // On success the response's sharingFileOrFolderInfo is set; otherwise the error.
    void send(QMROcReadSharingFileOrFolderInfoResponsev4_5_7& response, QMRErrorSlot& error);

    virtual std::string constructReadSharingFileOrFolderInfoRequestUrl() const;
    // A file's shares come keyed by share id, unless the answer holds collections, when it is read as
    // a folder's. Each gives none with the parser's error when the answer is no JSON.
    virtual std::optional<SharingFileOrFolderInfoList> extractFileSharingInfo(const QMRData& body,
                                                                              QMRErrorSlot& error) const;
    // A folder's shares come as a list.
    virtual std::optional<SharingFileOrFolderInfoList> extractFolderSharingInfo(const QMRData& body,
                                                                                QMRErrorSlot& error) const;

protected:
    std::string readSharingFileOrFolderInfoRequestUrlOn(std::string_view endpointPath) const;
};
