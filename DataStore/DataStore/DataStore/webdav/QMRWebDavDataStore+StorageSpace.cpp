#include <charconv>
#include <limits>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "DataStore/webdav/QMRWebDavXml.h"

namespace {
std::int64_t toInt64(const std::string& text) {
    std::int64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

// A sum beyond 64 bits (a server announcing its largest number as "unlimited") ends at the limit.
std::int64_t saturatingSum(std::int64_t a, std::int64_t b) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    if (b > 0 && a > most - b) return most;
    if (b < 0 && a < least - b) return least;
    return a + b;
}
}  // namespace

std::optional<QMRStorageSpaceInfo> QMRWebDavDataStore::getStorageSpace(QMRErrorSlot& error) {
    QMRWebDavTransceiver propfind =
        newTransceiver("PROPFIND", constructCollectionUri(QMRWebDavDataStoreUserFileParentCollection));
    propfind.reqDepth = "0";
    propfind.reqContentType = QMRWebDavXml::contentType;
    propfind.reqContent = constructReadStorageSpaceRequestBody();
    propfind.send();
    // No filter: a server without the quota properties answers a 404 property status, an error here.
    error = propfind.constructError();
    if (error) return std::nullopt;
    return extractStorageSpaceInfoFromXml(propfind.respXml);
}

QMRData QMRWebDavDataStore::constructReadStorageSpaceRequestBody() {
    const QMRXmlNamespace& dav = QMRWebDavXml::davNamespace();
    return QMRWebDavXml::document(QMRXmlElement(
        dav, "propfind",
        {dav, QMRXmlElement(dav, "prop", {QMRWebDavXml::element({Property::Namespace::dav, "quota-available-bytes"}),
                                           QMRWebDavXml::element({Property::Namespace::dav, "quota-used-bytes"})})}));
}

QMRStorageSpaceInfo QMRWebDavDataStore::extractStorageSpaceInfoFromXml(const RXMLElement& multistatus) {
    RXMLElement prop = multistatus.child("response.propstat.prop");
    std::int64_t available = toInt64(prop.child("quota-available-bytes").text());
    std::int64_t used = toInt64(prop.child("quota-used-bytes").text());
    return QMRStorageSpaceInfo(saturatingSum(used, available), available);
}
