#include "companion/web/QMRUriBuilder.h"

#include <curl/curl.h>

#include <memory>
#include <new>
#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/web/QMRUriUtil.h"
#include "companion/web/QMRUrlEncodedBodyBuilder.h"

// libcurl's URL API does the parsing and validation (schemes, IPv6 literals, port range). The parts are then
// kept here, because libcurl rewrites escapes in parts set later ("%2F" becomes "%2f") and escapes are ours.
namespace {

// Any scheme, dot segments kept, and raw spaces accepted here because they get encoded right after parsing.
constexpr unsigned int kParseFlags = CURLU_NON_SUPPORT_SCHEME | CURLU_PATH_AS_IS | CURLU_ALLOW_SPACE;

struct CurlUrlDeleter {
    void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
};
using CurlUrl = std::unique_ptr<CURLU, CurlUrlDeleter>;

// A part as written (no decoding); nullopt when the URL has none.
std::optional<std::string> getPart(const CurlUrl& url, CURLUPart part) {
    char* text = nullptr;
    CURLUcode rc = curl_url_get(url.get(), part, &text, 0);
    if (rc == CURLUE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (rc != CURLUE_OK || !text) return std::nullopt;
    std::string result(text);
    curl_free(text);
    return result;
}

CurlUrl parseOrRaise(std::string_view uri) {
    std::string text(uri);
    if (text.find('\0') != std::string::npos)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Invalid URI: it contains a NUL character");
    CurlUrl url(curl_url());
    if (!url) throw std::bad_alloc();
    CURLUcode rc = curl_url_set(url.get(), CURLUPART_URL, text.c_str(), kParseFlags);
    if (rc == CURLUE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (rc != CURLUE_OK)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Invalid URI \"" + text + "\": " + curl_url_strerror(rc));
    return url;
}

std::optional<std::string> userInfoOf(const CurlUrl& url) {
    auto user = getPart(url, CURLUPART_USER);
    if (!user) return std::nullopt;
    if (auto options = getPart(url, CURLUPART_OPTIONS)) *user += ";" + *options;
    if (auto password = getPart(url, CURLUPART_PASSWORD)) *user += ":" + *password;
    return user;
}

std::string hostOf(const CurlUrl& url) {
    std::string host = getPart(url, CURLUPART_HOST).value_or("");
    // An IPv6 zone comes back apart from its address; put it back inside the brackets, escaped as in RFC 6874.
    auto zone = getPart(url, CURLUPART_ZONEID);
    if (zone && !host.empty() && host.back() == ']') host.insert(host.size() - 1, "%25" + *zone);
    return host;
}

std::optional<std::uint16_t> portOf(const CurlUrl& url) {
    auto text = getPart(url, CURLUPART_PORT);
    if (!text) return std::nullopt;
    // The parser has already refused anything but a decimal number up to 65535.
    return static_cast<std::uint16_t>(std::stoul(*text));
}

}  // namespace

QMRUriBuilder::QMRUriBuilder(std::string_view uri) {
    CurlUrl url = parseOrRaise(uri);
    _scheme = getPart(url, CURLUPART_SCHEME).value_or("");
    _userInfo = userInfoOf(url);
    _host = hostOf(url);
    _port = portOf(url);
    setPath(getPart(url, CURLUPART_PATH).value_or("/"));
    setQuery(getPart(url, CURLUPART_QUERY).value_or(""));
    if (auto fragment = getPart(url, CURLUPART_FRAGMENT))
        _fragment = QMRUriUtil::encodeIllegalQueryCharacters(*fragment);
}

void QMRUriBuilder::setPath(std::string_view path) {
    _path = QMRUriUtil::encodeIllegalPathCharacters(path);
    // A URL with a host has an absolute path: "data/x" can only mean "/data/x".
    if (_path.empty() || _path.front() != '/') _path.insert(_path.begin(), '/');
}

void QMRUriBuilder::setQuery(std::string_view query) {
    _query = QMRUriUtil::encodeIllegalQueryCharacters(query);
}

void QMRUriBuilder::setParamValue(std::string_view value, std::string_view param) {
    // Parameters in a query are encoded exactly as form fields are.
    QMRUrlEncodedBodyBuilder parameters(std::move(_query));
    parameters.setParamValue(value, param);
    _query = parameters.toString();
}

std::string QMRUriBuilder::toString() const {
    std::string url = _scheme + "://";
    if (_userInfo) url += *_userInfo + "@";
    url += _host;
    if (_port) url += ":" + std::to_string(*_port);
    url += _path;
    if (!_query.empty()) url += "?" + _query;
    if (_fragment) url += "#" + *_fragment;
    return url;
}
