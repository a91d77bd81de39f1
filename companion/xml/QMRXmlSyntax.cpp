#include "companion/xml/QMRXmlSyntax.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {

constexpr char32_t kInvalidCodePoint = 0xFFFFFFFF;

// Decodes the UTF-8 sequence at `pos` and advances past it; kInvalidCodePoint for a malformed,
// overlong or surrogate sequence (one byte is then skipped).
char32_t decodeUtf8(std::string_view text, std::size_t& pos) {
    const auto lead = static_cast<unsigned char>(text[pos++]);
    if (lead < 0x80) return lead;
    int length = 0;
    char32_t codePoint = 0;
    char32_t minimum = 0;
    if ((lead & 0xE0) == 0xC0) {
        length = 1, codePoint = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 2, codePoint = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 3, codePoint = lead & 0x07, minimum = 0x10000;
    } else {
        return kInvalidCodePoint;
    }
    if (text.size() - pos < static_cast<std::size_t>(length)) return kInvalidCodePoint;
    for (int i = 0; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[pos + i]);
        if ((next & 0xC0) != 0x80) return kInvalidCodePoint;
        codePoint = (codePoint << 6) | (next & 0x3F);
    }
    pos += length;
    if (codePoint < minimum || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
        return kInvalidCodePoint;
    return codePoint;
}

bool isNameStartChar(char32_t c, bool allowColon) {
    if (c == ':') return allowColon;
    return (c >= 'A' && c <= 'Z') || c == '_' || (c >= 'a' && c <= 'z') || (c >= 0xC0 && c <= 0xD6) ||
           (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) || (c >= 0x370 && c <= 0x37D) ||
           (c >= 0x37F && c <= 0x1FFF) || (c >= 0x200C && c <= 0x200D) || (c >= 0x2070 && c <= 0x218F) ||
           (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF) ||
           (c >= 0xFDF0 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0xEFFFF);
}

bool isNameChar(char32_t c, bool allowColon) {
    return isNameStartChar(c, allowColon) || c == '-' || c == '.' || (c >= '0' && c <= '9') || c == 0xB7 ||
           (c >= 0x300 && c <= 0x36F) || (c >= 0x203F && c <= 0x2040);
}

bool isXmlChar(char32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

// Appends text with each character for which reference() gives a non-empty text replaced by it.
// The runs between are found by table and copied whole: byte by byte, long texts cost several times
// as much.
template <class Reference>
void appendEscaped(std::string& out, std::string_view text, Reference reference) {
    static const std::array<bool, 256> escaped = [&reference] {
        std::array<bool, 256> table{};
        for (std::size_t byte = 0; byte < table.size(); ++byte)
            table[byte] = !reference(static_cast<char>(byte)).empty();
        return table;
    }();
    std::size_t copiedUpTo = 0;
    for (std::size_t pos = 0; pos < text.size(); ++pos) {
        if (!escaped[static_cast<unsigned char>(text[pos])]) continue;
        out.append(text.substr(copiedUpTo, pos - copiedUpTo));
        out.append(reference(text[pos]));
        copiedUpTo = pos + 1;
    }
    out.append(text.substr(copiedUpTo));
}

}  // namespace

bool QMRXmlSyntax::isName(std::string_view name, bool allowColon) {
    if (name.empty()) return false;
    // Names are ASCII nearly always ("Id", "D:prop"): judged without decoding.
    if (std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
        const auto startsName = [allowColon](char c) {
            return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || (c == ':' && allowColon);
        };
        return startsName(name.front()) && std::all_of(name.begin() + 1, name.end(), [&](char c) {
                   return startsName(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
               });
    }
    std::size_t pos = 0;
    if (!isNameStartChar(decodeUtf8(name, pos), allowColon)) return false;
    while (pos < name.size()) {
        if (!isNameChar(decodeUtf8(name, pos), allowColon)) return false;
    }
    return true;
}

bool QMRXmlSyntax::isRepresentable(std::string_view text) {
    std::size_t pos = 0;
    while (pos < text.size()) {
        // Printable ASCII needs no decoding, and eight bytes of it are judged at once: every byte
        // has its high bit clear and none is below 0x20.
        if (text.size() - pos >= 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, text.data() + pos, sizeof word);
            constexpr std::uint64_t highBits = 0x8080808080808080ULL;
            // With the high bits clear, adding 0x60 carries into a byte's high bit exactly when the
            // byte is 0x20 or more, and never into the next byte.
            if ((word & highBits) == 0 && ((word + 0x6060606060606060ULL) & highBits) == highBits) {
                pos += 8;
                continue;
            }
        }
        const auto byte = static_cast<unsigned char>(text[pos]);
        if (byte >= 0x20 && byte < 0x80) {
            ++pos;
            continue;
        }
        if (!isXmlChar(decodeUtf8(text, pos))) return false;
    }
    return true;
}

void QMRXmlSyntax::validateName(std::string_view name, bool allowColon, std::string_view what) {
    if (!isName(name, allowColon))
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              fmt::format("{} \"{}\" is not a valid XML name", what, name));
}

void QMRXmlSyntax::validateRepresentable(std::string_view text, std::string_view what) {
    if (!isRepresentable(text))
        comQuillmereUtil_ExceptionUtil::raise(
            QMRInvalidArgumentException::exceptionName,
            fmt::format("{} holds invalid UTF-8 or a character that XML 1.0 cannot represent", what));
}

void QMRXmlSyntax::appendEscapedText(std::string& out, std::string_view text) {
    appendEscaped(out, text, [](char c) -> std::string_view {
        switch (c) {
            case '&':
                return "&amp;";
            case '<':
                return "&lt;";
            case '>':
                return "&gt;";
            case '\r':
                return "&#13;";
            default:
                return {};
        }
    });
}

void QMRXmlSyntax::appendEscapedAttributeValue(std::string& out, std::string_view value) {
    appendEscaped(out, value, [](char c) -> std::string_view {
        switch (c) {
            case '&':
                return "&amp;";
            case '<':
                return "&lt;";
            case '>':
                return "&gt;";
            case '"':
                return "&quot;";
            case '\t':
                return "&#9;";
            case '\n':
                return "&#10;";
            case '\r':
                return "&#13;";
            default:
                return {};
        }
    });
}
