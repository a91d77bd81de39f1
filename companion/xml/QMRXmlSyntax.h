#pragma once
// The XML 1.0 rules the writer enforces: which names and characters may appear, and how text and
// attribute values are escaped. Kept in one place so every writer class applies the same rules.
#include <string>
#include <string_view>

class QMRXmlSyntax {
public:
    QMRXmlSyntax() = delete;

    // True for an XML 1.0 Name ("D:prop", "data-id"); with allowColon false, a name without a colon
    // (a local name or a namespace prefix).
    static bool isName(std::string_view name, bool allowColon);

    // True when the text is valid UTF-8 and holds only characters an XML 1.0 document may carry
    // (no C0 controls other than tab, line feed and carriage return; no U+FFFE or U+FFFF).
    static bool isRepresentable(std::string_view text);

    // Raise QMRInvalidArgumentException naming `what` ("Element name", "Text", ...) when the check fails.
    static void validateName(std::string_view name, bool allowColon, std::string_view what);
    static void validateRepresentable(std::string_view text, std::string_view what);

    // Append the text escaped for element content: & < > and '\r' (as &#13;, so a parser's line-end
    // normalisation keeps it).
    static void appendEscapedText(std::string& out, std::string_view text);

    // Append the value escaped for a double-quoted attribute: & < > " and tab, line feed and carriage
    // return as character references, which attribute-value normalisation would otherwise turn into spaces.
    static void appendEscapedAttributeValue(std::string& out, std::string_view value);
};
