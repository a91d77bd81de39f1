#include "DataStore/webdav/QMRWebDavXml.h"

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "companion/xml/QMRXmlDocument.h"

const QMRXmlNamespace& QMRWebDavXml::davNamespace() {
    static const QMRXmlNamespace dav("D", "DAV:");
    return dav;
}

const QMRXmlNamespace& QMRWebDavXml::customNamespace() {
    static const QMRXmlNamespace custom("p", QMRWebDavDataStoreXmlNamespace);
    return custom;
}

QMRXmlElement QMRWebDavXml::element(const QMRWebDavDataStore::Property& property, std::string text) {
    const QMRXmlNamespace& inNamespace =
        property.inNamespace == QMRWebDavDataStore::Property::Namespace::dav ? davNamespace() : customNamespace();
    QMRXmlElement element(inNamespace, std::string(property.localName));
    element.add(std::move(text));
    return element;
}

QMRData QMRWebDavXml::document(QMRXmlElement root) {
    return QMRXmlDocument(QMRXmlDeclaration("1.0", "utf-8"), std::move(root)).toData();
}
