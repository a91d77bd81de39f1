#include "companion/xml/QMRXmlAttribute.h"

#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/xml/QMRXmlSyntax.h"

QMRXmlAttribute::QMRXmlAttribute(std::string name, std::string value)
    : _name(std::move(name)), _value(std::move(value)) {
    QMRXmlSyntax::validateName(_name, true, "Attribute name");
    if (_name == "xmlns" || _name.starts_with("xmlns:"))
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Namespace declarations are made with QMRXmlNamespace, not attributes");
    QMRXmlSyntax::validateRepresentable(_value, "Attribute value");
}

QMRXmlAttribute::QMRXmlAttribute(QMRXmlNamespace attributeNamespace, std::string name, std::string value)
    : _namespace(std::move(attributeNamespace)), _name(std::move(name)), _value(std::move(value)) {
    QMRXmlSyntax::validateName(_name, false, "Attribute name");
    if (_namespace->prefix().empty())
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "An attribute in a namespace needs a prefixed namespace");
    QMRXmlSyntax::validateRepresentable(_value, "Attribute value");
}

std::string QMRXmlAttribute::qualifiedName() const {
    return _namespace ? _namespace->qualifiedName(_name) : _name;
}
