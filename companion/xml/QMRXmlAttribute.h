#pragma once
// An attribute to put on a QMRXmlElement: a name, optionally in a namespace, and a value.
#include <optional>
#include <string>

#include "companion/xml/QMRXmlNamespace.h"

class QMRXmlAttribute {
public:
    // Raises QMRInvalidArgumentException for a name that is not an XML name, a name reserved for
    // namespace declarations ("xmlns", "xmlns:…": pass a QMRXmlNamespace instead), or a value that
    // XML 1.0 cannot carry.
    QMRXmlAttribute(std::string name, std::string value);
    // The name is a local name written with the namespace's prefix; unprefixed attributes belong to
    // no namespace, so a namespace with an empty prefix is refused.
    QMRXmlAttribute(QMRXmlNamespace attributeNamespace, std::string name, std::string value);

    const std::string& name() const noexcept { return _name; }
    const std::string& value() const noexcept { return _value; }
    const std::optional<QMRXmlNamespace>& attributeNamespace() const noexcept { return _namespace; }
    // The name as written: "prefix:name" or the plain name.
    std::string qualifiedName() const;

private:
    std::optional<QMRXmlNamespace> _namespace;
    std::string _name;
    std::string _value;
};
