#include "companion/web/QMRUriUtil.h"

#include <optional>

namespace {

bool isUnreserved(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~';
}

bool isSubDelimiter(unsigned char c) {
    switch (c) {
        case '!':
        case '$':
        case '&':
        case '\'':
        case '(':
        case ')':
        case '*':
        case '+':
        case ',':
        case ';':
        case '=':
            return true;
        default:
            return false;
    }
}

// RFC 3986 "pchar" without the percent escapes, plus "/" (the path's separator).
bool isPathCharacter(unsigned char c) {
    return isUnreserved(c) || isSubDelimiter(c) || c == ':' || c == '@' || c == '/';
}

bool isQueryCharacter(unsigned char c) {
    return isPathCharacter(c) || c == '?';
}

std::optional<unsigned char> hexDigitValue(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned char>(c - '0');
    if (c >= 'A' && c <= 'F') return static_cast<unsigned char>(c - 'A' + 10);
    if (c >= 'a' && c <= 'f') return static_cast<unsigned char>(c - 'a' + 10);
    return std::nullopt;
}

// The byte of the escape "%XX" at text[index], if a well-formed one starts there.
std::optional<unsigned char> escapedByteAt(std::string_view text, std::size_t index) {
    if (text[index] != '%' || index + 2 >= text.size()) return std::nullopt;
    auto high = hexDigitValue(text[index + 1]);
    auto low = hexDigitValue(text[index + 2]);
    if (!high || !low) return std::nullopt;
    return static_cast<unsigned char>(*high << 4 | *low);
}

void appendEscape(std::string& out, unsigned char byte) {
    static constexpr char kHexDigits[] = "0123456789ABCDEF";
    out += '%';
    out += kHexDigits[byte >> 4];
    out += kHexDigits[byte & 0x0F];
}

template <typename KeepPredicate>
std::string encodeKeepingEscapes(std::string_view text, KeepPredicate keep) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto byte = static_cast<unsigned char>(text[i]);
        if (keep(byte) || escapedByteAt(text, i)) {
            out += text[i];
        } else {
            appendEscape(out, byte);
        }
    }
    return out;
}

}  // namespace

std::string QMRUriUtil::encodeToPercentEscapeString(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        auto byte = static_cast<unsigned char>(c);
        if (isUnreserved(byte)) {
            out += c;
        } else {
            appendEscape(out, byte);
        }
    }
    return out;
}

std::string QMRUriUtil::decodeFromPercentEscapeString(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    // The runs between escapes are copied whole: a listing decodes a name per row.
    std::size_t copiedUpTo = 0;
    for (std::size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 1)) {
        const std::optional<unsigned char> byte = escapedByteAt(text, at);
        if (!byte) continue;
        out.append(text.substr(copiedUpTo, at - copiedUpTo));
        out += static_cast<char>(*byte);
        at += 2;
        copiedUpTo = at + 1;
    }
    out.append(text.substr(copiedUpTo));
    return out;
}

std::string QMRUriUtil::encodeIllegalPathCharacters(std::string_view path) {
    return encodeKeepingEscapes(path, isPathCharacter);
}

std::string QMRUriUtil::encodeIllegalQueryCharacters(std::string_view query) {
    return encodeKeepingEscapes(query, isQueryCharacter);
}
