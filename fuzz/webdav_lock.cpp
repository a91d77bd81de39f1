// The answer to a LOCK: the granted token and its remaining lifetime. A token the store accepts
// goes out again in the "If" header of every later write, so it must be one a header can carry.
#include <cstddef>
#include <cstdint>

#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "companion/web/QMRUrlRequest.h"
#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static QMRWebDavDataStore store("user", "password", fuzz::baseUrl);
    const QMRWebDavLockInfo info =
        QMRWebDavDataStore::extractLockInfoFromXml(RXMLElement::elementFromXMLData(QMRDataView(data, size)));
    (void)info.description();
    // The lock's own rule: no token, or one no header can carry, is no lock.
    if (info.lockToken().empty() || !QMRUrlRequest::isFieldValue(info.lockToken())) return 0;
    store.setApplicationExclusiveAccessLockToken(info.lockToken());
    QMRUrlRequest write(store.constructCollectionUri("data"));
    write.setValue(store.constructIfHeaderValueFromLockToken(), "If");
    return 0;
}
