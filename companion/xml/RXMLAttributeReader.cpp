#include "companion/xml/RXMLAttributeReader.h"

#include <array>
#include <cstdint>
#include <optional>

#include "companion/xml/QMRHtmlEntityTranslator.h"

namespace {

// What a byte may be in the plain form, looked up rather than compared: rows are read by the thousand.
enum ByteClass : std::uint8_t {
    blank = 1,
    nameStart = 2,
    nameChar = 4,
    // Where a value or a text stops being plain: a character the parser would change (whitespace in
    // values becomes spaces) or might refuse, or in a text a reference.
    notPlainInValue = 8,
    notPlainInText = 16,
    nameCharOfReference = 32,
};

constexpr std::array<std::uint8_t, 256> byteClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    const auto mark = [&classes](std::string_view bytes, std::uint8_t what) {
        for (char c : bytes) classes[static_cast<unsigned char>(c)] |= what;
    };
    mark(" \t\r\n", blank);
    // ASCII only: a name with other characters goes the long way.
    for (char c = 'a'; c <= 'z'; ++c) mark({&c, 1}, nameStart | nameChar);
    for (char c = 'A'; c <= 'Z'; ++c) mark({&c, 1}, nameStart | nameChar);
    mark("_:", nameStart | nameChar);
    mark("0123456789-.", nameChar);
    mark(std::string_view("<\t\r\n\0", 5), notPlainInValue);
    mark(std::string_view("&\0", 2), notPlainInText);
    for (char c = 'a'; c <= 'z'; ++c) mark({&c, 1}, nameCharOfReference);
    for (char c = 'A'; c <= 'Z'; ++c) mark({&c, 1}, nameCharOfReference);
    for (char c = '0'; c <= '9'; ++c) mark({&c, 1}, nameCharOfReference);
    return classes;
}();

bool is(char c, std::uint8_t what) {
    return (byteClasses[static_cast<unsigned char>(c)] & what) != 0;
}

// Reads text from a position on, never past its end.
class Cursor {
public:
    explicit Cursor(std::string_view text) : _text(text) {}

    bool atEnd() const { return _at >= _text.size(); }
    bool at(char c) const { return !atEnd() && _text[_at] == c; }
    bool atBlank() const { return !atEnd() && is(_text[_at], blank); }
    void skip() { ++_at; }

    void skipBlanks() {
        while (atBlank()) ++_at;
    }

    // The name at the cursor, or empty when none starts there.
    std::string_view name() {
        const std::size_t start = _at;
        if (atEnd() || !is(_text[_at], nameStart)) return {};
        while (!atEnd() && is(_text[_at], nameChar)) ++_at;
        return _text.substr(start, _at - start);
    }

    // The plain run up to the next c (the cursor then stands on it); none when a byte of the class
    // notPlain or the end comes first.
    std::optional<std::string_view> plainUpTo(char c, std::uint8_t notPlain) {
        const std::size_t start = _at;
        while (!atEnd() && _text[_at] != c) {
            if (is(_text[_at], notPlain)) return std::nullopt;
            ++_at;
        }
        if (atEnd()) return std::nullopt;
        return _text.substr(start, _at - start);
    }

    bool consume(std::string_view expected) {
        if (_text.substr(_at, expected.size()) != expected) return false;
        _at += expected.size();
        return true;
    }

private:
    std::string_view _text;
    std::size_t _at = 0;
};

void appendUtf8(std::string& out, char32_t character) {
    const auto byte = [](char32_t bits) { return static_cast<char>(bits); };
    if (character < 0x80) {
        out += byte(character);
    } else if (character < 0x800) {
        out += byte(0xC0 | character >> 6);
        out += byte(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        out += byte(0xE0 | character >> 12);
        out += byte(0x80 | (character >> 6 & 0x3F));
        out += byte(0x80 | (character & 0x3F));
    } else {
        out += byte(0xF0 | character >> 18);
        out += byte(0x80 | (character >> 12 & 0x3F));
        out += byte(0x80 | (character >> 6 & 0x3F));
        out += byte(0x80 | (character & 0x3F));
    }
}

// Appends a plain value with its named references ("&eacute;", "&amp;") as the characters they
// stand for, as the parser reads them after RXMLElement's translation; false for any other
// reference (numeric, unknown, unterminated), whose reading is left to the parser.
bool appendDecodedValue(std::string& out, std::string_view value) {
    std::size_t copiedUpTo = 0;
    for (std::size_t at = value.find('&'); at != std::string_view::npos; at = value.find('&', copiedUpTo)) {
        std::size_t nameEnd = at + 1;
        while (nameEnd < value.size() && is(value[nameEnd], nameCharOfReference)) ++nameEnd;
        if (nameEnd == value.size() || value[nameEnd] != ';') return false;
        const std::optional<char32_t> character =
            QMRHtmlEntityTranslator::codePointOfEntity(value.substr(at + 1, nameEnd - at - 1));
        if (!character) return false;
        out.append(value.substr(copiedUpTo, at - copiedUpTo));
        appendUtf8(out, *character);
        copiedUpTo = nameEnd + 1;
    }
    out.append(value.substr(copiedUpTo));
    return true;
}

}  // namespace

void RXMLAttributeReader::read(std::string_view text) {
    _plainAttributes.clear();
    // Every named reference takes at least four bytes ("&lt;") and its character at most four, so
    // the decoded values fit in text's size: appending one never moves those read before.
    _decodedValues.clear();
    _decodedValues.reserve(text.size());
    _plain = readPlain(text);
    _parsed = _plain ? RXMLElement() : RXMLElement::elementFromXMLString(text);
}

std::string_view RXMLAttributeReader::attribute(std::string_view name) const {
    if (!_plain) return _parsed.attributeView(name);
    for (const auto& [attributeName, value] : _plainAttributes)
        if (attributeName == name) return value;
    return {};
}

// The plain form: blanks, "<name", attributes each after blanks as name="value" or name='value'
// (named references allowed), ">", text without markup or references, "</name>", blanks. A subset
// of what the parser accepts, read to the same values; whatever falls outside it is left to the
// parser rather than judged here.
bool RXMLAttributeReader::readPlain(std::string_view text) {
    Cursor cursor(text);
    cursor.skipBlanks();
    if (!cursor.consume("<")) return false;
    const std::string_view elementName = cursor.name();
    if (elementName.empty()) return false;
    // One attribute per round; each round moves past at least a blank and a name, so it ends.
    while (!cursor.at('>')) {
        if (!cursor.atBlank()) return false;
        cursor.skipBlanks();
        if (cursor.at('>')) break;
        const std::string_view attributeName = cursor.name();
        if (attributeName.empty() || !cursor.consume("=")) return false;
        const char quote = cursor.at('"') ? '"' : '\'';
        if (!cursor.consume({&quote, 1})) return false;
        std::optional<std::string_view> value = cursor.plainUpTo(quote, notPlainInValue);
        if (!value) return false;
        cursor.skip();
        if (value->find('&') != std::string_view::npos) {
            const std::size_t start = _decodedValues.size();
            if (!appendDecodedValue(_decodedValues, *value)) return false;
            value = std::string_view(_decodedValues).substr(start);
        }
        _plainAttributes.emplace_back(attributeName, *value);
    }
    cursor.skip();
    if (!cursor.plainUpTo('<', notPlainInText)) return false;
    if (!cursor.consume("</") || !cursor.consume(elementName) || !cursor.consume(">")) return false;
    cursor.skipBlanks();
    return cursor.atEnd();
}
