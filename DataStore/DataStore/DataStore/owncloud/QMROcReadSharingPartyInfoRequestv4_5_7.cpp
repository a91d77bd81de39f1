#include "DataStore/owncloud/QMROcReadSharingPartyInfoRequestv4_5_7.h"

#include "DataStore/owncloud/QMROcSharingJson.h"

QMROcReadSharingPartyInfoRequestv4_5_7::QMROcReadSharingPartyInfoRequestv4_5_7(QMRUrlSession& session,
                                                                               std::string requestToken,
                                                                               std::string baseUrl,
                                                                               std::string partyThatBeginsWith)
    : QMROcSharingRequest(session, std::move(requestToken), std::move(baseUrl)),
      _partyThatBeginsWith(std::move(partyThatBeginsWith)) {}

void QMROcReadSharingPartyInfoRequestv4_5_7::send(QMROcReadSharingPartyInfoResponsev4_5_7& response,
                                                  QMRErrorSlot& error) {
    const std::optional<QMRData> body =
        sendSharingRequest(newSharingRequest("GET", constructReadSharingPartyRequestUrl()), error);
    if (!body) return;
    if (auto infos = extractSharingPartyInfo(*body, error)) response.setSharingPartyInfos(std::move(infos));
}

std::string QMROcReadSharingPartyInfoRequestv4_5_7::constructReadSharingPartyRequestUrl() const {
    return readSharingPartyRequestUrlOn(endpointPathv4_5_7);
}

std::string QMROcReadSharingPartyInfoRequestv4_5_7::readSharingPartyRequestUrlOn(std::string_view endpointPath) const {
    return builtUrl(endpointPath, "fetch=getShareWith", {{"search", _partyThatBeginsWith}});
}

std::optional<QMROcReadSharingPartyInfoResponsev4_5_7::SharingPartyInfoList>
QMROcReadSharingPartyInfoRequestv4_5_7::extractSharingPartyInfo(const QMRData& body, QMRErrorSlot& error) const {
    using namespace QMROcSharingJson;
    const std::optional<nlohmann::ordered_json> answer = parse(body, error);
    if (!answer) return std::nullopt;
    QMROcReadSharingPartyInfoResponsev4_5_7::SharingPartyInfoList infos;
    const nlohmann::ordered_json* entries = member(&*answer, "data");
    if (!entries || !entries->is_array()) return infos;
    for (const nlohmann::ordered_json& entry : *entries) {
        const nlohmann::ordered_json* value = member(&entry, "value");
        infos.emplace_back(integerValue(member(value, "shareType")), textValue(member(value, "shareWith")));
    }
    return infos;
}
