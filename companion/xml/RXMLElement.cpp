#include "companion/xml/RXMLElement.h"

#include <pugixml.hpp>
#include <utility>

#include "companion/xml/QMRHtmlEntityTranslator.h"

namespace {

// Keep whitespace-only text: a value of " " is data (a property written as a single space must be
// read back as such), not layout. Parsing as a fragment keeps text beside the root element visible,
// so soleRootElement() can refuse it; pugixml would otherwise drop it silently.
constexpr unsigned int kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata | pugi::parse_fragment;

std::string_view localName(const pugi::char_t* qualifiedName) {
    const std::string_view name(qualifiedName);
    const auto colon = name.rfind(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

bool isTextNode(const pugi::xml_node& node) {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// The single root element, or an empty node when the document has none, several, or text beside it.
pugi::xml_node soleRootElement(const pugi::xml_document& document) {
    pugi::xml_node root;
    for (pugi::xml_node node = document.first_child(); node; node = node.next_sibling()) {
        if (node.type() == pugi::node_element) {
            if (root) return {};
            root = node;
        } else if (isTextNode(node) && !isBlank(node.value())) {
            return {};
        }
    }
    return root;
}

// Calls `visit` with each child element in order while it returns true.
template <class Visit>
void forEachChildElement(pugi::xml_node_struct* parent, Visit visit) {
    for (pugi::xml_node node = pugi::xml_node(parent).first_child(); node; node = node.next_sibling()) {
        if (node.type() == pugi::node_element && !visit(node)) return;
    }
}

pugi::xml_attribute findAttribute(pugi::xml_node_struct* element, std::string_view name) {
    for (pugi::xml_attribute a = pugi::xml_node(element).first_attribute(); a; a = a.next_attribute()) {
        if (std::string_view(a.name()) == name) return a;
    }
    return {};
}

}  // namespace

RXMLElement::RXMLElement(std::shared_ptr<const pugi::xml_document> document, pugi::xml_node_struct* node)
    : _document(std::move(document)), _node(node) {}

RXMLElement RXMLElement::elementFromXMLString(std::string_view text) {
    const auto translated = QMRHtmlEntityTranslator::toNumericReferences(text);
    const std::string_view markup = translated ? std::string_view(*translated) : text;
    auto document = std::make_shared<pugi::xml_document>();
    if (!document->load_buffer(markup.data(), markup.size(), kParseOptions, pugi::encoding_utf8)) return {};
    pugi::xml_node root = soleRootElement(*document);
    if (!root) return {};
    return RXMLElement(std::move(document), root.internal_object());
}

RXMLElement RXMLElement::elementFromXMLData(QMRDataView data) {
    return elementFromXMLString(std::string_view(reinterpret_cast<const char*>(data.data()), data.size()));
}

std::string RXMLElement::tag() const {
    if (!_node) return {};
    return std::string(localName(pugi::xml_node(_node).name()));
}

std::string RXMLElement::text() const {
    std::string text;
    const pugi::xml_node element(_node);
    // Walk the subtree without recursion: nesting depth is the server's choice.
    pugi::xml_node node = element.first_child();
    while (node) {
        if (isTextNode(node)) text += node.value();
        if (node.first_child()) {
            node = node.first_child();
            continue;
        }
        while (node != element && !node.next_sibling()) node = node.parent();
        if (node == element) break;
        node = node.next_sibling();
    }
    return text;
}

RXMLElement RXMLElement::firstChild(std::string_view tag) const {
    RXMLElement found;
    forEachChildElement(_node, [&](const pugi::xml_node& node) {
        if (localName(node.name()) != tag) return true;
        found = RXMLElement(_document, node.internal_object());
        return false;
    });
    return found;
}

RXMLElement RXMLElement::child(std::string_view tagPath) const {
    RXMLElement current = *this;
    std::size_t start = 0;
    while (current.isValid()) {
        const std::size_t dot = tagPath.find('.', start);
        current = current.firstChild(tagPath.substr(start, dot == std::string_view::npos ? dot : dot - start));
        if (dot == std::string_view::npos) break;
        start = dot + 1;
    }
    return current;
}

std::vector<RXMLElement> RXMLElement::children(std::string_view tag) const {
    std::vector<RXMLElement> found;
    forEachChildElement(_node, [&](const pugi::xml_node& node) {
        if (localName(node.name()) == tag) found.push_back(RXMLElement(_document, node.internal_object()));
        return true;
    });
    return found;
}

std::vector<RXMLElement> RXMLElement::childElements() const {
    std::vector<RXMLElement> found;
    forEachChildElement(_node, [&](const pugi::xml_node& node) {
        found.push_back(RXMLElement(_document, node.internal_object()));
        return true;
    });
    return found;
}

std::string RXMLElement::attribute(std::string_view name) const {
    return std::string(attributeView(name));
}

std::string_view RXMLElement::attributeView(std::string_view name) const {
    return findAttribute(_node, name).value();
}

bool RXMLElement::hasAttribute(std::string_view name) const {
    return !findAttribute(_node, name).empty();
}

std::vector<std::string> RXMLElement::attributeNames() const {
    std::vector<std::string> names;
    for (pugi::xml_attribute a = pugi::xml_node(_node).first_attribute(); a; a = a.next_attribute())
        names.emplace_back(a.name());
    return names;
}
