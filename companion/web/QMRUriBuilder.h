#pragma once
// Builds a URL from a base URL: replace its path, replace its query, append escaped parameters.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct Curl_URL;

class QMRUriBuilder {
public:
    QMRUriBuilder() = delete;
    // Parses an absolute URL (scheme, optional user info, host, optional port, path, query, fragment). A text
    // that is not such a URL raises QMRInvalidArgumentException. Characters that may not stand in the path,
    // query or fragment (a raw space, non-ASCII bytes) are percent-encoded; everything else is kept as written.
    explicit QMRUriBuilder(std::string_view uri);
    QMRUriBuilder(const QMRUriBuilder& other);
    QMRUriBuilder& operator=(const QMRUriBuilder& other);
    QMRUriBuilder(QMRUriBuilder&&) noexcept;
    QMRUriBuilder& operator=(QMRUriBuilder&&) noexcept;
    ~QMRUriBuilder();

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

    std::string scheme() const;
    std::string host() const;
    // The port written in the URL, if any.
    std::optional<std::uint16_t> port() const;
    std::string path() const;
    // The query without its "?"; empty when there is none.
    std::string query() const;

    // The whole URL.
    std::string toString() const;

private:
    struct CurlUrlDeleter {
        void operator()(Curl_URL* url) const noexcept;
    };

    std::unique_ptr<Curl_URL, CurlUrlDeleter> _url;
};
