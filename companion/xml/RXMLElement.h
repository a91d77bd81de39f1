#pragma once
// A read-only view of one element of a parsed XML document. Elements are cheap to copy and share
// the parsed document, which lives as long as any element of it. An element is either valid or
// invalid: parsing text that is not well-formed, or asking for a child that does not exist, gives
// an invalid element, on which every query answers empty, so lookups can be chained safely.
// Elements only read their document, so elements of one document may be used from several threads.
//
// Names are matched by local name (the prefix is ignored: "d:response" matches "response"), since
// servers choose their own prefixes. HTML named character references (&eacute;, &nbsp;, ...) are
// read as the characters they stand for, as servers put them into markup read as XML.
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "companion/util/QMRTypes.h"

namespace pugi {
class xml_document;
struct xml_node_struct;
}  // namespace pugi

class RXMLElement {
public:
    // An invalid element.
    RXMLElement() = default;

    // The root element of UTF-8 text (a leading byte order mark is allowed); invalid when the text
    // is not a well-formed document with exactly one root element. Never throws for bad input.
    static RXMLElement elementFromXMLString(std::string_view text);
    // The same for the bytes of a UTF-8 document.
    static RXMLElement elementFromXMLData(QMRDataView data);

    bool isValid() const noexcept { return _node != nullptr; }

    // The local name ("response" for <d:response>); empty for an invalid element.
    std::string tag() const;
    // All text inside the element, CDATA included, concatenated in document order and untrimmed;
    // empty for an invalid element. Line ends are read as the XML rules say (CR LF becomes LF).
    std::string text() const;

    // The first child element with that local name. A dotted path walks down: "locktoken.href" is
    // the "href" child of the "locktoken" child (so a name holding a dot cannot be looked up here;
    // children() can). Invalid when any step is missing.
    RXMLElement child(std::string_view tagPath) const;
    // All child elements with that local name, in document order.
    std::vector<RXMLElement> children(std::string_view tag) const;
    // All child elements, in document order.
    std::vector<RXMLElement> childElements() const;

    // The value of the attribute with exactly that name ("data-id", "xml:lang"); empty when missing.
    std::string attribute(std::string_view name) const;
    // The same without a copy: the view lives as long as the element's document.
    std::string_view attributeView(std::string_view name) const;
    bool hasAttribute(std::string_view name) const;
    // The attribute names as written, in document order.
    std::vector<std::string> attributeNames() const;

private:
    RXMLElement(std::shared_ptr<const pugi::xml_document> document, pugi::xml_node_struct* node);

    RXMLElement firstChild(std::string_view tag) const;

    std::shared_ptr<const pugi::xml_document> _document;
    pugi::xml_node_struct* _node = nullptr;
};
