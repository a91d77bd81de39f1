#pragma once
// A sharing request about one file or folder: the item is named to the endpoint by its type name and
// the server's own id, both taken from the caller's id text.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "DataStore/owncloud/QMROcSharingRequest.h"

class QMROcSharedItemRequest : public QMROcSharingRequest {
public:
    QMROcSharedItemRequest() = delete;

    std::int32_t resourceType() const noexcept { return _resourceType; }
    // The server's id of the item.
    const std::string& fileOrFolderId() const noexcept { return _fileOrFolderId; }
    const std::string& resourceTypeName() const noexcept { return _resourceTypeName; }

    // Read is always granted; a file never carries the create permission (4), which only a folder
    // can honour. Any other type keeps the permission as given.
    std::int32_t correctedPermission(std::int32_t permission) const;

protected:
    // A malformed id text raises QMRInvalidOperationException "Invalid Resource Type".
    QMROcSharedItemRequest(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                           std::string_view fileOrFolderId);

    // "itemType" and "itemSource", as the endpoint names the item.
    std::vector<FormField> itemFields() const;

private:
    std::int32_t _resourceType;
    std::string _fileOrFolderId;
    std::string _resourceTypeName;
};
