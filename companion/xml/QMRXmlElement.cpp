#include "companion/xml/QMRXmlElement.h"

#include <fmt/format.h>
#include <algorithm>
#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/xml/QMRXmlSyntax.h"

struct QMRXmlElement::Binding {
    std::string_view prefix;
    std::string_view uri;
};

namespace {
template <class... Ts>
struct Overloaded : Ts... {
    using Ts::operator()...;
};
template <class... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

void appendDeclaration(std::string& out, const QMRXmlNamespace& ns) {
    out += ns.prefix().empty() ? " xmlns" : " xmlns:";
    out += ns.prefix();
    out += "=\"";
    QMRXmlSyntax::appendEscapedAttributeValue(out, ns.uri());
    out += '"';
}

constexpr std::size_t kInitialOutputCapacity = 256;

void appendNewLine(std::string& out, int indentation, int depth) {
    out += '\n';
    out.append(static_cast<std::size_t>(indentation) * static_cast<std::size_t>(depth), ' ');
}
}  // namespace

QMRXmlElement::QMRXmlElement(std::string name, std::vector<QMRXmlConstruct> constructs) : _name(std::move(name)) {
    QMRXmlSyntax::validateName(_name, true, "Element name");
    _content.reserve(constructs.size());
    for (auto& construct : constructs) add(std::move(construct));
}

QMRXmlElement::QMRXmlElement(QMRXmlNamespace elementNamespace, std::string name,
                             std::vector<QMRXmlConstruct> constructs)
    : _namespace(std::move(elementNamespace)), _name(std::move(name)) {
    QMRXmlSyntax::validateName(_name, false, "Element name");
    _content.reserve(constructs.size());
    for (auto& construct : constructs) add(std::move(construct));
}

QMRXmlElement& QMRXmlElement::add(QMRXmlConstruct construct) {
    std::visit(Overloaded{[this](QMRXmlElement&& child) { _content.emplace_back(std::move(child)); },
                          [this](std::string&& text) {
                              if (text.empty()) return;
                              QMRXmlSyntax::validateRepresentable(text, "Text");
                              _content.emplace_back(std::move(text));
                          },
                          [this](QMRXmlAttribute&& attribute) { addAttribute(std::move(attribute)); },
                          [this](QMRXmlNamespace&& declaration) { addDeclaration(std::move(declaration)); }},
               std::move(construct));
    return *this;
}

std::string QMRXmlElement::qualifiedName() const {
    return _namespace ? _namespace->qualifiedName(_name) : _name;
}

void QMRXmlElement::addDeclaration(QMRXmlNamespace declaration) {
    const bool alreadyDeclared = std::any_of(_declarations.begin(), _declarations.end(), [&](const auto& existing) {
        return existing.prefix() == declaration.prefix();
    });
    if (alreadyDeclared)
        comQuillmereUtil_ExceptionUtil::raise(
            QMRInvalidArgumentException::exceptionName,
            fmt::format("Element \"{}\" declares the prefix \"{}\" twice", qualifiedName(), declaration.prefix()));
    checkPrefixBinding(declaration);
    _declarations.push_back(std::move(declaration));
}

void QMRXmlElement::addAttribute(QMRXmlAttribute attribute) {
    const std::string name = attribute.qualifiedName();
    const bool duplicate = std::any_of(_attributes.begin(), _attributes.end(),
                                       [&](const auto& existing) { return existing.qualifiedName() == name; });
    if (duplicate)
        comQuillmereUtil_ExceptionUtil::raise(
            QMRInvalidArgumentException::exceptionName,
            fmt::format("Element \"{}\" already has the attribute \"{}\"", qualifiedName(), name));
    if (attribute.attributeNamespace()) checkPrefixBinding(*attribute.attributeNamespace());
    _attributes.push_back(std::move(attribute));
}

// One prefix means one namespace on a single element; otherwise no declaration could make both
// uses right.
void QMRXmlElement::checkPrefixBinding(const QMRXmlNamespace& used) const {
    auto conflicts = [&](const QMRXmlNamespace& ns) { return ns.prefix() == used.prefix() && ns.uri() != used.uri(); };
    bool conflict = (_namespace && conflicts(*_namespace)) ||
                    std::any_of(_declarations.begin(), _declarations.end(), conflicts) ||
                    std::any_of(_attributes.begin(), _attributes.end(), [&](const QMRXmlAttribute& attribute) {
                        return attribute.attributeNamespace() && conflicts(*attribute.attributeNamespace());
                    });
    if (conflict)
        comQuillmereUtil_ExceptionUtil::raise(
            QMRInvalidArgumentException::exceptionName,
            fmt::format("Element \"{}\" binds the prefix \"{}\" to two namespaces", qualifiedName(), used.prefix()));
}

std::string QMRXmlElement::toStringWithIndentation(int indentation) const {
    if (indentation < 0)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Indentation must not be negative");
    std::string out;
    // Enough for a small element in one allocation; larger ones grow as usual.
    out.reserve(kInitialOutputCapacity);
    std::vector<Binding> scope{{"xml", QMRXmlNamespace::xmlUri}};
    write(out, indentation, 0, scope);
    return out;
}

void QMRXmlElement::appendTextElement(std::string& out, std::string_view name, std::string_view text) {
    QMRXmlSyntax::validateName(name, true, "Element name");
    out += '<';
    out += name;
    // Empty text adds nothing, so the element is empty.
    if (text.empty()) {
        out += "/>";
        return;
    }
    QMRXmlSyntax::validateRepresentable(text, "Text");
    out += '>';
    QMRXmlSyntax::appendEscapedText(out, text);
    out += "</";
    out += name;
    out += '>';
}

void QMRXmlElement::write(std::string& out, int indentation, int depth, std::vector<Binding>& scope) const {
    const std::size_t outerScopeSize = scope.size();
    auto boundUri = [&scope](std::string_view prefix) -> std::string_view {
        auto found = std::find_if(scope.rbegin(), scope.rend(), [&](const Binding& b) { return b.prefix == prefix; });
        return found == scope.rend() ? std::string_view() : found->uri;
    };
    auto declareIfUnbound = [&](const QMRXmlNamespace& ns) {
        if (boundUri(ns.prefix()) == ns.uri()) return;
        appendDeclaration(out, ns);
        scope.push_back({ns.prefix(), ns.uri()});
    };

    // The qualified name is built only when there is a prefix to put before the name.
    const std::string prefixed = _namespace ? qualifiedName() : std::string();
    const std::string_view name = _namespace ? std::string_view(prefixed) : std::string_view(_name);
    out += '<';
    out += name;
    for (const auto& declaration : _declarations) {
        appendDeclaration(out, declaration);
        scope.push_back({declaration.prefix(), declaration.uri()});
    }
    if (_namespace) declareIfUnbound(*_namespace);
    for (const auto& attribute : _attributes) {
        if (attribute.attributeNamespace()) declareIfUnbound(*attribute.attributeNamespace());
    }
    for (const auto& attribute : _attributes) {
        out += ' ';
        out += attribute.qualifiedName();
        out += "=\"";
        QMRXmlSyntax::appendEscapedAttributeValue(out, attribute.value());
        out += '"';
    }

    if (_content.empty()) {
        out += "/>";
    } else {
        out += '>';
        // Whitespace added next to text would become part of it: indent only element-only content.
        const bool indentChildren =
            indentation > 0 && std::none_of(_content.begin(), _content.end(), [](const Content& item) {
                return std::holds_alternative<std::string>(item);
            });
        for (const auto& item : _content) {
            if (const auto* text = std::get_if<std::string>(&item)) {
                QMRXmlSyntax::appendEscapedText(out, *text);
            } else if (indentChildren) {
                appendNewLine(out, indentation, depth + 1);
                std::get<QMRXmlElement>(item).write(out, indentation, depth + 1, scope);
            } else {
                std::get<QMRXmlElement>(item).write(out, 0, 0, scope);
            }
        }
        if (indentChildren) appendNewLine(out, indentation, depth);
        out += "</";
        out += name;
        out += '>';
    }
    scope.resize(outerScopeSize);
}
