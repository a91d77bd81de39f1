#pragma once
// The pieces every WebDAV request body is made of: the "D" (DAV:) and "p" (the service's)
// namespaces, property elements, and the document with its declaration as UTF-8 bytes.
#include <string>

#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "companion/util/QMRTypes.h"
#include "companion/xml/QMRXmlElement.h"
#include "companion/xml/QMRXmlNamespace.h"

class QMRWebDavXml {
public:
    QMRWebDavXml() = delete;

    // The content type of every XML request body (the charset value stands in quotes on the wire).
    static constexpr char contentType[] = "application/xml; charset=\"utf-8\"";

    static const QMRXmlNamespace& davNamespace();
    static const QMRXmlNamespace& customNamespace();
    // The property's element, holding text when given.
    static QMRXmlElement element(const QMRWebDavDataStore::Property& property, std::string text = {});
    // <?xml version="1.0" encoding="utf-8"?> followed by the root, as bytes.
    static QMRData document(QMRXmlElement root);
};
