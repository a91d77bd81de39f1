// A 207 answer read without a change filter, as the storage-space read takes it, and with the
// collection's own entry dropped ("1,noroot"); then what the data store makes of the result.
#include <cstddef>
#include <cstdint>
#include <string>

#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "fuzz/FuzzSupport.h"

namespace {

void readMultistatus(const QMRData& body, const char* depth) {
    QMRWebDavTransceiver transceiver(fuzz::session());
    transceiver.reqUrl = std::string(fuzz::baseUrl) + "/data";
    transceiver.reqHttpMethod = "PROPFIND";
    transceiver.reqDepth = depth;
    transceiver.respCode = 207;
    transceiver.respRawData = body;
    if (QMRErrorSlot error = transceiver.constructError()) {
        (void)error->localizedDescription();
        return;
    }
    fuzz::require(transceiver.respXml.isValid(), "a multistatus accepted without error has been parsed");
    (void)QMRWebDavDataStore::extractStorageSpaceInfoFromXml(transceiver.respXml).description();
    for (const QMRWebDavFileMetadataPtr& record :
         QMRWebDavDataStore::extractAllFileMetadataFromXml(transceiver.respXml))
        (void)record->description();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QMRData body = fuzz::bodyOf(data, size);
    readMultistatus(body, "0");
    readMultistatus(body, "1,noroot");
    return 0;
}
