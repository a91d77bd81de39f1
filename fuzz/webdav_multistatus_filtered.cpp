// A 207 answer cleaned by each change filter the data store uses (listing, sync, single file),
// then turned into records and changes as those reads do.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "fuzz/FuzzSupport.h"

namespace {

// The document left after cleaning, or an invalid element when the answer was refused.
RXMLElement cleanedMultistatus(const QMRData& body, std::vector<std::string> unwantedChanges) {
    QMRWebDavTransceiver transceiver(fuzz::session());
    transceiver.reqUrl = std::string(fuzz::baseUrl) + "/data";
    transceiver.reqHttpMethod = "PROPFIND";
    transceiver.reqDepth = "1";
    transceiver.respFilterForChange = std::move(unwantedChanges);
    transceiver.respCode = 207;
    transceiver.respRawData = body;
    if (QMRErrorSlot error = transceiver.constructError()) {
        (void)error->localizedDescription();
        return {};
    }
    fuzz::require(transceiver.respXml.isValid(), "a multistatus accepted without error has been parsed");
    return transceiver.respXml;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QMRData body = fuzz::bodyOf(data, size);

    const RXMLElement listing =
        cleanedMultistatus(body, {QMRWebDavDataStoreChangeIsDeleted, QMRWebDavDataStoreChangeIsPending});
    for (const QMRWebDavFileMetadataPtr& record : QMRWebDavDataStore::extractAllFileMetadataFromXml(listing))
        (void)record->description();

    const RXMLElement changes = cleanedMultistatus(body, {QMRWebDavDataStoreChangeIsPending});
    for (const QMRChangeInfo& change : QMRWebDavDataStore::extractChangeInfoFromMetadata(
             QMRWebDavDataStore::extractAllFileMetadataFromXml(changes), QMRDate{}))
        (void)change.description();

    const RXMLElement single = cleanedMultistatus(body, {});
    if (const RXMLElement response = single.child("response"); response.isValid())
        (void)QMRWebDavDataStore::extractFileMetadataFromXml(response)->description();
    return 0;
}
