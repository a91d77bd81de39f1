#include <fmt/format.h>

#include <charconv>
#include <strings.h>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "DataStore/webdav/QMRWebDavXml.h"
#include "companion/web/QMRUrlRequest.h"

std::uint32_t QMRWebDavDataStore::applyApplicationExclusiveAccessLockWithTimeout(std::uint32_t timeout,
                                                                                 QMRErrorSlot& error) {
    const std::string collection = constructCollectionUri(QMRWebDavDataStoreUserFileParentCollection);
    // Make sure the collection exists; 405 says it does already.
    QMRWebDavTransceiver mkcol = newTransceiver("MKCOL", collection);
    mkcol.send();
    error = mkcol.respCode == 405 ? std::nullopt : mkcol.constructError();
    if (error) return 0;

    QMRWebDavTransceiver lock = newTransceiver("LOCK", collection);
    lock.reqDepth = "infinity";
    lock.reqLockTimeout = toStringFromLockTimeout(timeout);
    lock.reqContentType = QMRWebDavXml::contentType;
    lock.reqContent = constructAppExclusiveAccessLockRequestBody();
    lock.send();
    error = lock.constructError();
    if (error) return 0;
    QMRWebDavLockInfo info = extractLockInfoFromXml(RXMLElement::elementFromXMLData(lock.respRawData));
    if (info.lockToken().empty() || !QMRUrlRequest::isFieldValue(info.lockToken())) {
        // A lock we cannot name, or not in a header, is no lock: writes could never prove they hold it.
        error = QMRWebDavTransceiver::unrecognizedResponseError();
        return 0;
    }
    setApplicationExclusiveAccessLockToken(info.lockToken());
    return info.timeoutInSeconds();
}

std::uint32_t QMRWebDavDataStore::refreshApplicationExclusiveAccessLockWithTimeout(std::uint32_t timeout,
                                                                                   QMRErrorSlot& error) {
    QMRWebDavTransceiver refresh =
        newTransceiver("LOCK", constructCollectionUri(QMRWebDavDataStoreUserFileParentCollection));
    refresh.reqLockTimeout = toStringFromLockTimeout(timeout);
    refresh.reqIf = constructIfHeaderValueFromLockToken();
    refresh.send();
    error = refresh.constructError();
    if (error) return 0;
    // The held token stays as it is, even if the server names another.
    return extractLockInfoFromXml(RXMLElement::elementFromXMLData(refresh.respRawData)).timeoutInSeconds();
}

void QMRWebDavDataStore::applyApplicationExclusiveAccessUnlock(QMRErrorSlot& error) {
    QMRWebDavTransceiver unlock =
        newTransceiver("UNLOCK", constructCollectionUri(QMRWebDavDataStoreUserFileParentCollection));
    unlock.reqLockToken = _applicationExclusiveAccessLockToken;
    unlock.send();
    // The token is kept after unlocking; only the next successful lock replaces it.
    error = unlock.constructError();
}

QMRData QMRWebDavDataStore::constructAppExclusiveAccessLockRequestBody() {
    const QMRXmlNamespace& dav = QMRWebDavXml::davNamespace();
    return QMRWebDavXml::document(
        QMRXmlElement(dav, "lockinfo",
                      {dav, QMRXmlElement(dav, "lockscope", {QMRXmlElement(dav, "exclusive")}),
                       QMRXmlElement(dav, "locktype", {QMRXmlElement(dav, "write")})}));
}

std::string QMRWebDavDataStore::constructIfHeaderValueFromLockToken() const {
    if (_applicationExclusiveAccessLockToken.empty()) return {};
    return fmt::format("(<{}>)", _applicationExclusiveAccessLockToken);
}

std::string QMRWebDavDataStore::toStringFromLockTimeout(std::uint32_t timeout) {
    if (timeout == 0) return "Infinite";
    return fmt::format("Second-{}", static_cast<std::int32_t>(timeout));
}

QMRWebDavLockInfo QMRWebDavDataStore::extractLockInfoFromXml(const RXMLElement& prop) {
    RXMLElement activeLock = prop.child("lockdiscovery.activelock");
    std::string timeoutText = activeLock.child("timeout").text();
    std::uint32_t timeout = 0;
    if (strcasecmp(timeoutText.c_str(), "infinite") != 0) {
        // "Second-3600": the number after the dash.
        std::size_t dash = timeoutText.find('-');
        if (dash != std::string::npos)
            std::from_chars(timeoutText.data() + dash + 1, timeoutText.data() + timeoutText.size(), timeout);
    }
    return QMRWebDavLockInfo(activeLock.child("locktoken.href").text(), timeout);
}
