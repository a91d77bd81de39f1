// The sharing endpoint's answers, for both releases: the party search, who a file or a folder is
// shared with, and the answers to share, unshare and set-permissions. The records read are printed,
// as the data store's caller would.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcChangeFileOrFolderSharingPermissionRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcDisableFileOrFolderSharingRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcDisableFileOrFolderSharingRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcEnableFileOrFolderSharingRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcEnableFileOrFolderSharingRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcReadSharingFileOrFolderInfoRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadSharingFileOrFolderInfoRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadSharingPartyInfoRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadSharingPartyInfoRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcSharingJson.h"
#include "fuzz/FuzzSupport.h"

namespace {

using SharingInfoList = QMROcReadSharingFileOrFolderInfoRequestv4_5_7::SharingFileOrFolderInfoList;

constexpr char token[] = "tk";

std::string itemId(std::int32_t resourceType) {
    return QMROcFileOrFolderId("7", "/docs/item", resourceType).toString();
}

// nlohmann's own parser takes steps in the square of an object's members, so it is compared on
// small answers only.
constexpr std::size_t largestAnswerForTheReferenceParser = 16384;

// The answer's document is the one nlohmann's own parser builds (repeated members included), only
// built faster.
void requireDocumentAsParsed(const QMRData& answer) {
    if (answer.size() > largestAnswerForTheReferenceParser) return;
    QMRErrorSlot error;
    const std::optional<nlohmann::ordered_json> document = QMROcSharingJson::parse(answer, error);
    const nlohmann::ordered_json parsed = nlohmann::ordered_json::parse(answer.begin(), answer.end(), nullptr, false);
    if (parsed.is_discarded() || !parsed.is_structured())
        fuzz::require(!document && error, "an answer that is no JSON document gives the parser's error");
    else
        fuzz::require(document && !error && *document == parsed, "an answer reads as nlohmann's parser reads it");
}

// A record list as the caller would show it; two lists read alike when their texts are equal.
template <class Record>
std::string described(const std::optional<std::vector<Record>>& records) {
    if (!records) return "none";
    std::string text;
    for (const Record& record : *records) text += record.description() + '\n';
    return text;
}

std::string readParties(const QMROcReadSharingPartyInfoRequestv4_5_7& request, const QMRData& answer) {
    QMRErrorSlot error;
    const auto parties = request.extractSharingPartyInfo(answer, error);
    fuzz::require(parties.has_value() != error.has_value(), "a party search gives the parties or an error");
    return described(parties);
}

// The owner, where the answer names one, comes first, and only once.
void requireOwnerFirst(const SharingInfoList& infos) {
    for (std::size_t i = 1; i < infos.size(); ++i)
        fuzz::require(!infos[i].sharingPartyIsOwner(), "only the first entry is the owner");
}

std::string readShares(const QMROcReadSharingFileOrFolderInfoRequestv4_5_7& request, const QMRData& answer) {
    QMRErrorSlot fileError, folderError;
    const std::optional<SharingInfoList> asFile = request.extractFileSharingInfo(answer, fileError);
    const std::optional<SharingInfoList> asFolder = request.extractFolderSharingInfo(answer, folderError);
    fuzz::require(asFile.has_value() != fileError.has_value(), "a file's sharing gives the shares or an error");
    fuzz::require(asFolder.has_value() != folderError.has_value(), "a folder's sharing gives the shares or an error");
    if (asFile) requireOwnerFirst(*asFile);
    if (asFolder) requireOwnerFirst(*asFolder);
    return described(asFile) + described(asFolder);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string file = itemId(QMRFileMetadata::resourceTypeFile);
    static const std::string folder = itemId(QMRFileMetadata::resourceTypeFolder);
    static const QMRSharingPartyInfo party(0, "bob");
    static const QMROcReadSharingPartyInfoRequestv4_5_7 partiesV4(fuzz::session(), token, fuzz::baseUrl, "b");
    static const QMROcReadSharingPartyInfoRequestv5_0_6 partiesV5(fuzz::session(), token, fuzz::baseUrl, "b");
    static const QMROcReadSharingFileOrFolderInfoRequestv4_5_7 sharesV4(fuzz::session(), token, fuzz::baseUrl, file);
    static const QMROcReadSharingFileOrFolderInfoRequestv5_0_6 sharesV5(fuzz::session(), token, fuzz::baseUrl, folder);
    static const QMROcEnableFileOrFolderSharingRequestv4_5_7 enableV4(fuzz::session(), token, fuzz::baseUrl, file,
                                                                      party, 31);
    static const QMROcEnableFileOrFolderSharingRequestv5_0_6 enableV5(fuzz::session(), token, fuzz::baseUrl, folder,
                                                                      party, 31);
    static const QMROcDisableFileOrFolderSharingRequestv4_5_7 disableV4(fuzz::session(), token, fuzz::baseUrl, file,
                                                                        party);
    static const QMROcDisableFileOrFolderSharingRequestv5_0_6 disableV5(fuzz::session(), token, fuzz::baseUrl, folder,
                                                                        party);
    static const QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7 changeV4(fuzz::session(), token, fuzz::baseUrl,
                                                                                file, party, 19);
    static const QMROcChangeFileOrFolderSharingPermissionRequestv5_0_6 changeV5(fuzz::session(), token, fuzz::baseUrl,
                                                                                folder, party, 19);
    const QMRData answer = fuzz::bodyOf(data, size);

    requireDocumentAsParsed(answer);
    fuzz::require(readParties(partiesV4, answer) == readParties(partiesV5, answer),
                  "both releases read a party search alike");
    fuzz::require(readShares(sharesV4, answer) == readShares(sharesV5, answer),
                  "both releases read an item's sharing alike");

    // The reads look only for an expired token; an answer they refuse, every change refuses too.
    const long readRefusal = fuzz::refusalOf(sharesV4, answer);
    const long refusal = fuzz::refusalOf(enableV4, answer);
    for (const long other :
         {fuzz::refusalOf(enableV5, answer), fuzz::refusalOf(disableV4, answer), fuzz::refusalOf(disableV5, answer),
          fuzz::refusalOf(changeV4, answer), fuzz::refusalOf(changeV5, answer)})
        fuzz::require(other == refusal, "every change judges an answer alike");
    fuzz::require(readRefusal == 0 || refusal != 0, "a change answer with an expired token is refused");
    return 0;
}
