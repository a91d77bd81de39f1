#include "DataStore/funambol/QMRFunambolAnswers.h"

#include <memory>
#include <string_view>
#include <utility>

#include "DataStore/funambol/QMRFunambolJson.h"

namespace QMRFunambolAnswers {

namespace {
using QMRFunambolJson::member;

QMRFunambolFileMetadataPtr convertToFileMetadata(const std::string& contentServerUrl, const nlohmann::json& entry) {
    auto record = std::make_shared<QMRFunambolFileMetadata>();
    auto dateOf = [&entry](std::string_view key) {
        // A missing date reads as the epoch, as the server's own clients take it.
        return QMRFunambolDataStore::toLocalDateFromUtcMilliseconds(
            QMRFunambolJson::toDouble(member(&entry, key)).value_or(0));
    };
    record->setFileId(QMRFunambolJson::toText(member(&entry, "id")).value_or(""));
    record->setName(QMRFunambolJson::toText(member(&entry, "name")).value_or(""));
    record->setServerSideModificationDateInLocalTime(dateOf("date"));
    record->setClientSideCreationDateInLocalTime(dateOf("creationdate"));
    record->setClientSideModificationDateInLocalTime(dateOf("modificationdate"));
    record->setSizeInBytes(QMRFunambolJson::toInt64(member(&entry, "size")).value_or(0));
    record->setContentDownloadUrl(contentServerUrl + QMRFunambolJson::toText(member(&entry, "url")).value_or(""));
    record->setSystemContentType(QMRFunambolJson::toText(member(&entry, "mediatype")).value_or(""));
    return record;
}
}  // namespace

void appendFileMetadata(const nlohmann::json* root, const std::string& jsonNodeName,
                        QMRFunambolDataStore::MetadataList& records) {
    const nlohmann::json* data = member(root, "data");
    const nlohmann::json* entries = QMRFunambolJson::arrayMember(data, jsonNodeName);
    if (!entries) return;
    const std::string contentServerUrl = QMRFunambolJson::toText(member(data, "mediaserverurl")).value_or("");
    for (const nlohmann::json& entry : *entries) records.push_back(convertToFileMetadata(contentServerUrl, entry));
}

std::vector<QMRChangeInfo> changeInfo(const nlohmann::json* root) {
    static constexpr std::pair<const char*, std::int32_t> kinds[] = {
        {"N", QMRChangeInfo::changeNew}, {"U", QMRChangeInfo::changeUpdated}, {"D", QMRChangeInfo::changeDeleted}};
    std::vector<QMRChangeInfo> changes;
    const nlohmann::json* data = member(root, "data");
    for (const QMRFunambolSystemContentTypeAndJsonNodeName& collection : QMRFunambolDataStore::systemContentType()) {
        // Changes are keyed by the collection's path name, not its node name.
        const nlohmann::json* changed = member(data, collection.systemContentType());
        // Ids that are neither numbers nor texts contribute nothing.
        for (auto [kind, changesMade] : kinds)
            if (const nlohmann::json* fileIds = QMRFunambolJson::arrayMember(changed, kind))
                for (const nlohmann::json& fileId : *fileIds)
                    if (auto text = QMRFunambolJson::toText(&fileId)) changes.emplace_back(*text, changesMade);
    }
    return changes;
}

QMRStorageSpaceInfo storageSpaceInfo(const nlohmann::json* root) {
    const nlohmann::json* data = member(root, "data");
    return QMRStorageSpaceInfo(QMRFunambolJson::toInt64(member(data, "quota")).value_or(0),
                               QMRFunambolJson::toInt64(member(data, "free")).value_or(0));
}

}  // namespace QMRFunambolAnswers
