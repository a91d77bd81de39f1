#pragma once
// An XML document to write: the declaration, then the root element.
#include <string>

#include "companion/util/QMRTypes.h"
#include "companion/xml/QMRXmlDeclaration.h"
#include "companion/xml/QMRXmlElement.h"

class QMRXmlDocument {
public:
    QMRXmlDocument(QMRXmlDeclaration declaration, QMRXmlElement root);

    const QMRXmlDeclaration& declaration() const noexcept { return _declaration; }
    const QMRXmlElement& root() const noexcept { return _root; }

    // The declaration immediately followed by the compact root element.
    std::string toString() const;
    // The declaration, a line break, then the root written with QMRXmlElement::toStringWithIndentation;
    // 0 gives the same text as toString().
    std::string toStringWithIndentation(int indentation) const;
    // The UTF-8 bytes of toString(), ready to send as a request body.
    QMRData toData() const;

private:
    QMRXmlDeclaration _declaration;
    QMRXmlElement _root;
};
