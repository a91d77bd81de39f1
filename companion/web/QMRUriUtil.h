#pragma once
// Percent-encoding of URI components (RFC 3986).
#include <string>
#include <string_view>

class QMRUriUtil {
public:
    QMRUriUtil() = delete;

    // Encodes every byte outside the unreserved set (A-Z a-z 0-9 - . _ ~) as "%XX" with upper-case hex digits,
    // so the result is safe as a query parameter name or value, a form field or a single path segment:
    // "/" becomes "%2F", a space "%20", "+" "%2B". Text is taken as UTF-8 bytes.
    static std::string encodeToPercentEscapeString(std::string_view text);

    // Decodes every "%XX" (hex digits of either case) to its byte. Nothing else changes: "+" stays "+", and a
    // malformed escape ("%G1", a trailing "%") is kept as it stands.
    static std::string decodeFromPercentEscapeString(std::string_view text);

    // Makes a path usable in a URL as written: characters that may stand in a path (unreserved, sub-delims,
    // ":", "@", "/") and existing escapes "%XX" are kept; everything else, including "?", "#" and a "%" that
    // starts no escape, is percent-encoded. Encoding twice therefore changes nothing.
    static std::string encodeIllegalPathCharacters(std::string_view path);

    // The same for a query or fragment, which may also hold "?" (and keeps "&" and "=" as written).
    static std::string encodeIllegalQueryCharacters(std::string_view query);
};
