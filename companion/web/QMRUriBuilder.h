#pragma once
// Builds a URL from a base URL: replace its path, replace its query, append escaped parameters.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class QMRUriBuilder {
public:
    QMRUriBuilder() = delete;
    // Parses an absolute URL (scheme, optional user info, host, optional port, path, query, fragment). A text
    // that is not such a URL raises QMRInvalidArgumentException. Characters that may not stand in the path,
    // query or fragment (a raw space, non-ASCII bytes) are percent-encoded; everything else is kept as written.
    explicit QMRUriBuilder(std::string_view uri);

    // Replaces the whole path, dropping any path the base URL had. The text is used as written, already
    // escaped parts ("%2F") included; only characters that may not stand in a path are percent-encoded
    // (see QMRUriUtil::encodeIllegalPathCharacters), so "?" and "#" are part of the path. A path without
    // a leading "/" is taken from the root.
    void setPath(std::string_view path);

    // Replaces the whole query with a literal text: "&", "=", "/" and existing escapes stay as written; only
    // characters that may not stand in a query (space, '"', '<', '>', '#', controls, non-ASCII bytes, a "%"
    // starting no escape) are percent-encoded. An empty text removes the query.
    void setQuery(std::string_view query);

    // Appends "param=value" to the query ("&"-separated, in call order), both percent-encoded with
    // QMRUriUtil::encodeToPercentEscapeString.
    void setParamValue(std::string_view value, std::string_view param);

    // The scheme in lower case, e.g. "https".
    const std::string& scheme() const { return _scheme; }
    // "user" or "user:password" as written, if the URL has user info.
    const std::optional<std::string>& userInfo() const { return _userInfo; }
    // As written; an IPv6 address keeps its brackets.
    const std::string& host() const { return _host; }
    // The port written in the URL, if any.
    std::optional<std::uint16_t> port() const { return _port; }
    // Never empty: at least "/".
    const std::string& path() const { return _path; }
    // The query without its "?"; empty when there is none.
    const std::string& query() const { return _query; }

    // The whole URL.
    std::string toString() const;

private:
    std::string _scheme;
    std::optional<std::string> _userInfo;
    std::string _host;
    std::optional<std::uint16_t> _port;
    std::string _path;
    std::string _query;
    std::optional<std::string> _fragment;
};
