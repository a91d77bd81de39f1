#include "companion/xml/QMRXmlDocument.h"

#include <utility>

QMRXmlDocument::QMRXmlDocument(QMRXmlDeclaration declaration, QMRXmlElement root)
    : _declaration(std::move(declaration)), _root(std::move(root)) {}

std::string QMRXmlDocument::toString() const {
    return toStringWithIndentation(0);
}

std::string QMRXmlDocument::toStringWithIndentation(int indentation) const {
    std::string root = _root.toStringWithIndentation(indentation);
    std::string text = _declaration.toString();
    if (indentation > 0) text += '\n';
    text += root;
    return text;
}

QMRData QMRXmlDocument::toData() const {
    const std::string text = toString();
    return QMRData(text.begin(), text.end());
}
