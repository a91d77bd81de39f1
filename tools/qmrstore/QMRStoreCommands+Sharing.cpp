#include <fmt/format.h>

#include "QMRSharingPermission.h"
#include "QMRStoreCommands.h"
#include "QMRStoreFailure.h"

namespace {

std::int32_t permissionOf(const std::string& text) {
    auto permission = QMRSharingPermission::parse(text);
    if (!permission)
        throw QMRStoreFailure(
            QMRStoreFailure::usage,
            fmt::format("--permission {}: use read,update,create,delete,share, all or a number", text));
    return *permission;
}

nlohmann::json shareJson(const QMRStoreCommands::ShareRequest& request) {
    return {{"fileId", request.fileId}, {"sharingPartyName", request.party}, {"sharingType", request.sharingType}};
}

}  // namespace

void QMRStoreCommands::findSharingParties(const std::string& nameBeginning) {
    require(QMRDataStoreOperation::readAllowedSharingPartyInfo, "share find");
    QMRErrorSlot error;
    auto found = store().readAllowedSharingPartyInfo(nameBeginning, error);
    std::vector<QMRSharingPartyInfo> parties = found ? found->toVector() : std::vector<QMRSharingPartyInfo>();
    check(error);
    _output.sharingParties(parties);
}

void QMRStoreCommands::share(const ShareRequest& request) {
    require(QMRDataStoreOperation::enableFileOrFolderSharing, "share add");
    const std::int32_t permission = permissionOf(request.permission);
    QMRErrorSlot error;
    store().enableFileOrFolderSharing(storeId(request.fileId), {request.sharingType, request.party}, permission, error);
    check(error);
    nlohmann::json result = shareJson(request);
    result["sharingPermission"] = permission;
    _output.result(result, fmt::format("shared {} with {} ({})", _connector.displayableId(request.fileId),
                                       request.party, QMRSharingPermission::text(permission)));
}

void QMRStoreCommands::changeSharing(const ShareRequest& request) {
    require(QMRDataStoreOperation::changeFileOrFolderSharingPermission, "share set");
    const std::int32_t permission = permissionOf(request.permission);
    QMRErrorSlot error;
    store().changeFileOrFolderSharingPermission(storeId(request.fileId), {request.sharingType, request.party},
                                                permission, error);
    check(error);
    nlohmann::json result = shareJson(request);
    result["sharingPermission"] = permission;
    _output.result(result, fmt::format("{} may now {} {}", request.party, QMRSharingPermission::text(permission),
                                       _connector.displayableId(request.fileId)));
}

void QMRStoreCommands::unshare(const ShareRequest& request) {
    require(QMRDataStoreOperation::disableFileOrFolderSharing, "share remove");
    QMRErrorSlot error;
    store().disableFileOrFolderSharing(storeId(request.fileId), {request.sharingType, request.party}, error);
    check(error);
    _output.result(shareJson(request), fmt::format("no longer shared with {}: {}", request.party,
                                                   _connector.displayableId(request.fileId)));
}

void QMRStoreCommands::showSharing(const std::string& fileId) {
    require(QMRDataStoreOperation::readSharedFileOrFolderInfo, "share show");
    QMRErrorSlot error;
    auto found = store().readSharedFileOrFolderInfo(storeId(fileId), error);
    std::vector<QMRSharingFileOrFolderInfo> shares =
        found ? found->toVector() : std::vector<QMRSharingFileOrFolderInfo>();
    check(error);
    _output.shares(shares);
}
