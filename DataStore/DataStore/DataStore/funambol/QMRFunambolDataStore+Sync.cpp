#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolErrorConverter.h"
#include "DataStore/funambol/QMRFunambolJson.h"

namespace {
using QMRFunambolJson::member;

// Collection by collection, then new, updated and deleted, each in the server's order. Missing
// parts, and ids that are neither numbers nor texts, contribute nothing.
std::vector<QMRChangeInfo> extractChangeInfoFromFunambolResponse(const std::optional<nlohmann::json>& root) {
    static constexpr std::pair<const char*, std::int32_t> kinds[] = {
        {"N", QMRChangeInfo::changeNew}, {"U", QMRChangeInfo::changeUpdated}, {"D", QMRChangeInfo::changeDeleted}};
    std::vector<QMRChangeInfo> changes;
    const nlohmann::json* data = member(QMRFunambolJson::rootOf(root), "data");
    for (const QMRFunambolSystemContentTypeAndJsonNodeName& collection : QMRFunambolDataStore::systemContentType()) {
        // Changes are keyed by the collection's path name, not its node name.
        const nlohmann::json* changed = member(data, collection.systemContentType());
        for (auto [kind, changesMade] : kinds)
            if (const nlohmann::json* fileIds = QMRFunambolJson::arrayMember(changed, kind))
                for (const nlohmann::json& fileId : *fileIds)
                    if (auto text = QMRFunambolJson::toText(&fileId)) changes.emplace_back(*text, changesMade);
    }
    return changes;
}
}  // namespace

QMREnumerablePtr<QMRChangeInfo> QMRFunambolDataStore::retrieveFileChangesWithSyncToken(std::string& syncToken,
                                                                                       QMRErrorSlot& error) {
    validateNotLoggedOut();
    QMRUrlRequest request(constructRetrieveFileChangesRequestUri(syncToken));
    request.setHTTPMethod("POST");
    QMRFunambolErrorConverter converter = exchange(request, error);
    if (error) return nullptr;
    const std::optional<nlohmann::json>& root = converter.deserializedJSON();
    // An answer without a response time leaves no token, so the next call starts from the beginning.
    syncToken = QMRFunambolJson::toText(member(QMRFunambolJson::rootOf(root), "responsetime")).value_or("");
    return QMRMakeArrayEnumerable(extractChangeInfoFromFunambolResponse(root));
}

std::string QMRFunambolDataStore::constructRetrieveFileChangesRequestUri(const std::string& syncToken) const {
    return constructRequestUri(
        "/sapi/profile/changes", "action=get",
        {{"type", "all"}, {"responsetime", "true"}, {"from", syncToken.empty() ? "0" : syncToken}});
}
