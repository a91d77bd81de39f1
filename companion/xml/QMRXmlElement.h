#pragma once
// An XML element to write: a name (optionally in a namespace), the namespace declarations it
// carries, ordered attributes and ordered content (child elements and text).
//
//   QMRXmlNamespace D("D", "DAV:");
//   QMRXmlElement lockinfo(D, "lockinfo", {D,
//       QMRXmlElement(D, "lockscope", {QMRXmlElement(D, "exclusive")}),
//       QMRXmlElement(D, "locktype", {QMRXmlElement(D, "write")})});
//   lockinfo.toStringWithIndentation(0);
//   // <D:lockinfo xmlns:D="DAV:"><D:lockscope><D:exclusive/></D:lockscope>...</D:lockinfo>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "companion/xml/QMRXmlAttribute.h"
#include "companion/xml/QMRXmlNamespace.h"

class QMRXmlElement;

// One thing to put into an element, in order: a child element, text (std::string), an attribute,
// or a namespace to declare on the element.
using QMRXmlConstruct = std::variant<QMRXmlElement, std::string, QMRXmlAttribute, QMRXmlNamespace>;

class QMRXmlElement {
public:
    // An element named `name` (written as given; it may hold a prefix the caller declares itself)
    // holding the constructs in order. Raises QMRInvalidArgumentException for a name that is not an
    // XML name and for any construct add() refuses.
    explicit QMRXmlElement(std::string name, std::vector<QMRXmlConstruct> constructs = {});
    // An element in a namespace: `name` is the local name, written with the namespace's prefix.
    QMRXmlElement(QMRXmlNamespace elementNamespace, std::string name, std::vector<QMRXmlConstruct> constructs = {});

    // Appends one construct. Text is escaped when written; empty text adds nothing. Raises
    // QMRInvalidArgumentException for text XML 1.0 cannot carry (invalid UTF-8, control characters
    // other than tab, line feed and carriage return): such text is refused rather than silently
    // altered. Also refused: an attribute whose name the element already has, a second declaration
    // of the same prefix, and a declaration that binds the prefix of the element or of one of its
    // attributes to another URI.
    QMRXmlElement& add(QMRXmlConstruct construct);

    const std::string& name() const noexcept { return _name; }
    const std::optional<QMRXmlNamespace>& elementNamespace() const noexcept { return _namespace; }
    std::string qualifiedName() const;
    const std::vector<QMRXmlNamespace>& declaredNamespaces() const noexcept { return _declarations; }
    const std::vector<QMRXmlAttribute>& attributes() const noexcept { return _attributes; }

    // 0: compact, nothing added between the tags. n > 0: each element on its own line, indented by
    // n spaces per level; an element holding text is written compactly inside, so text is never
    // altered. Declarations come first in the order added, then attributes in order. A namespace
    // that an element or attribute uses but that is not declared in scope is declared on that
    // element, so the output is always namespace-well-formed. Raises QMRInvalidArgumentException
    // for a negative indentation.
    std::string toStringWithIndentation(int indentation) const;

    // Appends what QMRXmlElement(name, {text}).toStringWithIndentation(0) gives, with the same checks,
    // without building the element: for small texts written in bulk, such as ids.
    static void appendTextElement(std::string& out, std::string_view name, std::string_view text);

private:
    using Content = std::variant<QMRXmlElement, std::string>;
    struct Binding;

    void addDeclaration(QMRXmlNamespace declaration);
    void addAttribute(QMRXmlAttribute attribute);
    void checkPrefixBinding(const QMRXmlNamespace& used) const;
    void write(std::string& out, int indentation, int depth, std::vector<Binding>& scope) const;

    std::optional<QMRXmlNamespace> _namespace;
    std::string _name;
    std::vector<QMRXmlNamespace> _declarations;
    std::vector<QMRXmlAttribute> _attributes;
    std::vector<Content> _content;
};
