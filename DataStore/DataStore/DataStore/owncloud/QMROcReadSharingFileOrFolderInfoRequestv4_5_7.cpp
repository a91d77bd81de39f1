#include "DataStore/owncloud/QMROcReadSharingFileOrFolderInfoRequestv4_5_7.h"

#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcSharingJson.h"

namespace {

using Json = nlohmann::ordered_json;
using SharingFileOrFolderInfoList = QMROcReadSharingFileOrFolderInfoRequestv4_5_7::SharingFileOrFolderInfoList;

QMRSharingFileOrFolderInfo sharingInfo(bool isOwner, const Json* share, std::string_view partyNameKey) {
    using namespace QMROcSharingJson;
    return {isOwner,
            QMRSharingPartyInfo(integerValue(member(share, "share_type")), textValue(member(share, partyNameKey))),
            integerValue(member(share, "permissions"))};
}

// The owner's entry, when the item was shared with the user; the server sends false otherwise.
void extractReshareInfo(const Json* reshare, SharingFileOrFolderInfoList& infos) {
    if (reshare && reshare->is_object()) infos.push_back(sharingInfo(true, reshare, "uid_owner"));
}

// The owner first, then the shares in the server's order. Shares keyed by id and shares in a list are
// both read as they come; false (or anything else) means none.
std::optional<SharingFileOrFolderInfoList> extractSharingInfo(const QMRData& body, QMRErrorSlot& error) {
    using namespace QMROcSharingJson;
    const std::optional<Json> answer = parse(body, error);
    if (!answer) return std::nullopt;
    const Json* data = member(&*answer, "data");
    SharingFileOrFolderInfoList infos;
    extractReshareInfo(member(data, "reshare"), infos);
    const Json* shares = member(data, "shares");
    if (shares && shares->is_structured())
        for (const Json& share : *shares) infos.push_back(sharingInfo(false, &share, "share_with"));
    return infos;
}

}  // namespace

QMROcReadSharingFileOrFolderInfoRequestv4_5_7::QMROcReadSharingFileOrFolderInfoRequestv4_5_7(
    QMRUrlSession& session, std::string requestToken, std::string baseUrl, std::string_view fileOrFolderId)
    : QMROcSharedItemRequest(session, std::move(requestToken), std::move(baseUrl), fileOrFolderId) {}

void QMROcReadSharingFileOrFolderInfoRequestv4_5_7::send(QMROcReadSharingFileOrFolderInfoResponsev4_5_7& response,
                                                         QMRErrorSlot& error) {
    const std::optional<QMRData> body =
        sendSharingRequest(newSharingRequest("GET", constructReadSharingFileOrFolderInfoRequestUrl()), error);
    if (!body) return;
    std::optional<SharingFileOrFolderInfoList> infos = resourceType() == QMRFileMetadata::resourceTypeFolder
                                                           ? extractFolderSharingInfo(*body, error)
                                                           : extractFileSharingInfo(*body, error);
    if (infos) response.setSharingFileOrFolderInfo(std::move(infos));
}

std::string QMROcReadSharingFileOrFolderInfoRequestv4_5_7::constructReadSharingFileOrFolderInfoRequestUrl() const {
    return readSharingFileOrFolderInfoRequestUrlOn(endpointPathv4_5_7);
}

std::string QMROcReadSharingFileOrFolderInfoRequestv4_5_7::readSharingFileOrFolderInfoRequestUrlOn(
    std::string_view endpointPath) const {
    std::vector<FormField> params = itemFields();
    params.insert(params.end(), {{"checkReshare", "true"}, {"checkShares", "true"}});
    return builtUrl(endpointPath, "fetch=getItem", params);
}

std::optional<SharingFileOrFolderInfoList> QMROcReadSharingFileOrFolderInfoRequestv4_5_7::extractFileSharingInfo(
    const QMRData& body, QMRErrorSlot& error) const {
    if (lowercased(textOf(body)).find("\"collection\"") != std::string::npos)
        return extractFolderSharingInfo(body, error);
    return extractSharingInfo(body, error);
}

std::optional<SharingFileOrFolderInfoList> QMROcReadSharingFileOrFolderInfoRequestv4_5_7::extractFolderSharingInfo(
    const QMRData& body, QMRErrorSlot& error) const {
    return extractSharingInfo(body, error);
}
