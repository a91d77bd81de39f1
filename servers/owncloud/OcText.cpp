#include "OcText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cmath>
#include <optional>

namespace fake_owncloud {

namespace {

std::optional<unsigned char> hexValue(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned char>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned char>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<unsigned char>(c - 'A' + 10);
    return std::nullopt;
}

// The code point of the UTF-8 sequence at text[at], advancing at past it; U+FFFD for a bad one.
char32_t nextCodePoint(std::string_view text, std::size_t& at) {
    const auto lead = static_cast<unsigned char>(text[at++]);
    const int length = lead < 0x80 ? 0 : lead >> 5 == 6 ? 1 : lead >> 4 == 14 ? 2 : lead >> 3 == 30 ? 3 : -1;
    if (length < 0) return U'\uFFFD';
    char32_t code = length == 0 ? lead : lead & (0x3F >> length);
    for (int i = 0; i < length; ++i) {
        if (at >= text.size() || (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80) return U'\uFFFD';
        code = code << 6 | (static_cast<unsigned char>(text[at++]) & 0x3F);
    }
    return code;
}

void appendJsonString(std::string& out, std::string_view text) {
    out += '"';
    for (std::size_t at = 0; at < text.size();) {
        const char32_t code = nextCodePoint(text, at);
        switch (code) {
            case U'"':
                out += "\\\"";
                break;
            case U'\\':
                out += "\\\\";
                break;
            case U'/':
                out += "\\/";
                break;
            case U'\b':
                out += "\\b";
                break;
            case U'\f':
                out += "\\f";
                break;
            case U'\n':
                out += "\\n";
                break;
            case U'\r':
                out += "\\r";
                break;
            case U'\t':
                out += "\\t";
                break;
            default:
                if (code >= 0x20 && code < 0x80) {
                    out += static_cast<char>(code);
                } else if (code < 0x10000) {
                    out += fmt::format("\\u{:04x}", static_cast<std::uint32_t>(code));
                } else {
                    const char32_t offset = code - 0x10000;
                    out += fmt::format("\\u{:04x}\\u{:04x}", static_cast<std::uint32_t>(0xD800 + (offset >> 10)),
                                       static_cast<std::uint32_t>(0xDC00 + (offset & 0x3FF)));
                }
        }
    }
    out += '"';
}

void appendJson(std::string& out, const json& value) {
    if (value.is_string()) {
        appendJsonString(out, value.get_ref<const std::string&>());
    } else if (value.is_object()) {
        out += '{';
        for (auto item = value.begin(); item != value.end(); ++item) {
            if (item != value.begin()) out += ',';
            appendJsonString(out, item.key());
            out += ':';
            appendJson(out, item.value());
        }
        out += '}';
    } else if (value.is_array()) {
        out += '[';
        for (std::size_t i = 0; i < value.size(); ++i) {
            if (i > 0) out += ',';
            appendJson(out, value[i]);
        }
        out += ']';
    } else {
        out += value.dump();
    }
}

}  // namespace

std::string percentDecode(std::string_view text, bool plusIsBlank) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::optional<unsigned char> high, low;
        if (text[i] == '%' && i + 2 < text.size() && (high = hexValue(text[i + 1])) && (low = hexValue(text[i + 2]))) {
            out += static_cast<char>(*high << 4 | *low);
            i += 2;
        } else {
            out += plusIsBlank && text[i] == '+' ? ' ' : text[i];
        }
    }
    return out;
}

std::map<std::string, std::string> parseFields(std::string_view text) {
    std::map<std::string, std::string> fields;
    while (!text.empty()) {
        const std::size_t amp = text.find('&');
        const std::string_view field = text.substr(0, amp);
        const std::size_t equals = field.find('=');
        if (!field.empty())
            fields[percentDecode(field.substr(0, equals), true)] =
                equals == std::string_view::npos ? "" : percentDecode(field.substr(equals + 1), true);
        text = amp == std::string_view::npos ? std::string_view{} : text.substr(amp + 1);
    }
    return fields;
}

std::string rawUrlEncode(std::string_view text, bool keepSlash) {
    std::string out;
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (byte < 0x80 && std::isalnum(byte) != 0) || c == '-' || c == '_' || c == '.' || c == '~';
        if (plain || (keepSlash && c == '/'))
            out += c;
        else
            out += fmt::format("%{:02X}", byte);
    }
    return out;
}

std::string html(std::string_view text) {
    std::string out;
    for (char c : text) switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&#039;";
                break;
            default:
                out += c;
        }
    return out;
}

std::string phpJson(const json& value) {
    std::string out;
    appendJson(out, value);
    return out;
}

std::string lowerCase(std::string_view text) {
    std::string lower;
    for (char c : text) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

std::int64_t phpInt(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\r\v\f"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    std::int64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return negative ? -value : value;
}

std::string humanSize(std::int64_t bytes) {
    if (bytes < 1024) return fmt::format("{} B", bytes);
    double amount = static_cast<double>(bytes);
    for (std::string_view unit : {"kB", "MB", "GB", "TB"}) {
        amount = std::round(amount / 1024 * 10) / 10;
        if (amount < 1024 || unit == "TB") {
            std::string number = fmt::format("{:.1f}", amount);
            if (number.ends_with(".0")) number.resize(number.size() - 2);
            return number + " " + std::string(unit);
        }
    }
    return {};
}

std::string parentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::string join(const std::string& folder, const std::string& name) {
    return (folder.ends_with('/') ? folder : folder + "/") + name;
}

std::string mimeFor(const std::string& name) {
    static const std::map<std::string, std::string, std::less<>> types{
        {"txt", "text/plain"}, {"pdf", "application/pdf"}, {"jpg", "image/jpeg"}, {"png", "image/png"}};
    const std::size_t dot = name.rfind('.');
    auto found = dot == std::string::npos ? types.end() : types.find(name.substr(dot + 1));
    return found == types.end() ? "application/octet-stream" : found->second;
}

std::int64_t now() {
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

}  // namespace fake_owncloud
