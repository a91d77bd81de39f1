#pragma once
// An XML namespace: the prefix this document uses for it and its URI. An empty prefix stands for
// the default namespace. Elements and attributes in the namespace are written with the prefix; an
// element carries the `xmlns` declaration when the namespace is one of its constructs.
#include <string>
#include <string_view>

class QMRXmlNamespace {
public:
    // The namespace every document binds to the prefix "xml" without declaring it.
    static constexpr const char* xmlUri = "http://www.w3.org/XML/1998/namespace";

    // Raises QMRInvalidArgumentException for a prefix that is not an XML name without colon, the
    // reserved "xmlns" prefix or namespace, "xml" with another URI than xmlUri (or xmlUri under
    // another prefix), a prefixed namespace with an empty URI, or a URI XML cannot carry.
    QMRXmlNamespace(std::string prefix, std::string uri);

    const std::string& prefix() const noexcept { return _prefix; }
    const std::string& uri() const noexcept { return _uri; }

    // "prefix:localName", or the local name alone for the default namespace.
    std::string qualifiedName(std::string_view localName) const;

    bool operator==(const QMRXmlNamespace&) const = default;

private:
    std::string _prefix;
    std::string _uri;
};
