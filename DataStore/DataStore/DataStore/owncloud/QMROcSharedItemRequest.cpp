#include "DataStore/owncloud/QMROcSharedItemRequest.h"

#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"

namespace {

constexpr std::int32_t readPermission = 1;
constexpr std::int32_t allButCreatePermission = 27;  // read, update, delete, share

}  // namespace

QMROcSharedItemRequest::QMROcSharedItemRequest(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                               std::string_view fileOrFolderId)
    : QMROcSharingRequest(session, std::move(requestToken), std::move(baseUrl)) {
    QMROcFileOrFolderId item(fileOrFolderId);
    _resourceType = item.resourceType();
    _fileOrFolderId = item.identifier();
    _resourceTypeName = item.resourceTypeName();
}

std::int32_t QMROcSharedItemRequest::correctedPermission(std::int32_t permission) const {
    switch (_resourceType) {
        case QMRFileMetadata::resourceTypeFolder:
            return permission | readPermission;
        case QMRFileMetadata::resourceTypeFile:
            return (permission & allButCreatePermission) | readPermission;
        default:
            return permission;
    }
}

std::vector<QMROcRequest::FormField> QMROcSharedItemRequest::itemFields() const {
    // The id admits only "file" and "folder", so the type name is lower-case already.
    return {{"itemType", _resourceTypeName}, {"itemSource", _fileOrFolderId}};
}
