#include "MultipartReader.h"

#include <cctype>
#include <utility>

namespace fake_server {

namespace {

// A part's header block larger than this is taken for garbage rather than waited for.
constexpr std::size_t maxHeaderBytes = 16u << 10;

std::string lowerCase(std::string_view text) {
    std::string lower;
    for (char c : text) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// One parameter of a header value such as `form-data; name="a"; filename="b;c.txt"`, unquoted.
std::optional<std::string> parameter(std::string_view value, std::string_view key) {
    std::size_t at = value.find(';');
    while (at != std::string_view::npos) {
        std::size_t end = at + 1;
        bool quoted = false;
        for (; end < value.size() && (quoted || value[end] != ';'); ++end) {
            if (value[end] == '\\' && quoted)
                ++end;
            else if (value[end] == '"')
                quoted = !quoted;
        }
        const std::string_view field = trimmed(value.substr(at + 1, end - at - 1));
        const std::size_t equals = field.find('=');
        if (equals != std::string_view::npos && lowerCase(trimmed(field.substr(0, equals))) == key) {
            const std::string_view raw = trimmed(field.substr(equals + 1));
            if (raw.size() < 2 || raw.front() != '"' || raw.back() != '"') return std::string(raw);
            std::string text;
            for (std::size_t i = 1; i + 1 < raw.size(); ++i)
                text += raw[i] == '\\' && i + 2 < raw.size() ? raw[++i] : raw[i];
            return text;
        }
        at = end < value.size() ? end : std::string_view::npos;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> MultipartReader::boundaryOf(std::string_view contentType) {
    if (lowerCase(trimmed(contentType.substr(0, contentType.find(';')))) != "multipart/form-data") return std::nullopt;
    std::optional<std::string> boundary = parameter(contentType, "boundary");
    if (!boundary || boundary->empty()) return std::nullopt;
    return boundary;
}

// The body is read as if a line break came before it, so that a delimiter at its very start is one.
MultipartReader::MultipartReader(std::string_view boundary, Handlers handlers)
    : _delimiter("\r\n--" + std::string(boundary)), _handlers(std::move(handlers)), _unread("\r\n") {}

bool MultipartReader::feed(std::string_view piece) {
    if (_state == State::Malformed || _state == State::Epilogue) return _state != State::Malformed;
    _unread.append(piece);
    while (step()) {
    }
    return _state != State::Malformed;
}

bool MultipartReader::step() {
    switch (_state) {
        case State::Preamble:
            return skipToDelimiter(false);
        case State::Content:
            return skipToDelimiter(true);
        case State::AfterDelimiter:
            return readDelimiterEnd();
        case State::Headers:
            return readHeaders();
        case State::Epilogue:
            _unread.clear();
            return false;
        case State::Malformed:
            break;
    }
    return false;
}

// Everything before the next delimiter is passed on; a tail that may be the start of one waits.
bool MultipartReader::skipToDelimiter(bool deliverContent) {
    const std::size_t at = _unread.find(_delimiter);
    const std::size_t keep = _delimiter.size() - 1;
    const std::size_t passed = at != std::string::npos ? at : _unread.size() > keep ? _unread.size() - keep : 0;
    if (deliverContent && passed > 0 && _handlers.partContent)
        _handlers.partContent(std::string_view(_unread).substr(0, passed));
    if (at == std::string::npos) {
        _unread.erase(0, passed);
        return false;
    }
    _unread.erase(0, at + _delimiter.size());
    if (deliverContent && _handlers.partEnds) _handlers.partEnds();
    _state = State::AfterDelimiter;
    return true;
}

// A delimiter ends in "--" (the last one) or in optional blanks and a line break.
bool MultipartReader::readDelimiterEnd() {
    if (_unread.starts_with("--")) {
        _state = State::Epilogue;
        return true;
    }
    const std::size_t padding = _unread.find_first_not_of(" \t");
    const std::string_view rest = padding == std::string::npos ? "" : std::string_view(_unread).substr(padding);
    if (rest.starts_with("\r\n")) {
        _unread.erase(0, padding + 2);
        _state = State::Headers;
        return true;
    }
    const bool mayEndWell = rest.empty() || rest == "\r" || _unread == "-";
    if (!mayEndWell || _unread.size() > maxHeaderBytes) _state = State::Malformed;
    return false;
}

bool MultipartReader::readHeaders() {
    const bool none = _unread.starts_with("\r\n");
    const std::size_t end = none ? 0 : _unread.find("\r\n\r\n");
    if (end == std::string::npos) {
        if (_unread.size() > maxHeaderBytes) _state = State::Malformed;
        return false;
    }
    PartHeaders headers;
    const std::string_view block = std::string_view(_unread).substr(0, end);
    for (std::size_t at = 0; at < block.size();) {
        std::size_t lineEnd = block.find("\r\n", at);
        if (lineEnd == std::string_view::npos) lineEnd = block.size();
        const std::string_view line = block.substr(at, lineEnd - at);
        const std::size_t colon = line.find(':');
        const std::string name = lowerCase(trimmed(line.substr(0, colon)));
        const std::string_view value =
            colon == std::string_view::npos ? std::string_view{} : trimmed(line.substr(colon + 1));
        if (name == "content-disposition") {
            headers.name = parameter(value, "name").value_or("");
            const std::optional<std::string> filename = parameter(value, "filename");
            headers.hasFilename = filename.has_value();
            headers.filename = filename.value_or("");
        } else if (name == "content-type") {
            headers.contentType = value;
        }
        at = lineEnd + 2;
    }
    _unread.erase(0, none ? 2 : end + 4);
    _state = State::Content;
    if (_handlers.partBegins) _handlers.partBegins(headers);
    return true;
}

}  // namespace fake_server
