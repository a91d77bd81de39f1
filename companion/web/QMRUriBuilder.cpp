#include "companion/web/QMRUriBuilder.h"

#include <curl/curl.h>

#include <new>
#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/web/QMRUriUtil.h"
#include "companion/web/QMRUrlEncodedBodyBuilder.h"

namespace {

// Any scheme, dot segments kept, and raw spaces accepted here because they get encoded right after parsing.
constexpr unsigned int kParseFlags = CURLU_NON_SUPPORT_SCHEME | CURLU_PATH_AS_IS | CURLU_ALLOW_SPACE;

[[noreturn]] void throwOutOfMemory() { throw std::bad_alloc(); }

Curl_URL* duplicateOrThrow(const Curl_URL* url) {
    Curl_URL* copy = curl_url_dup(url);
    if (!copy) throwOutOfMemory();
    return copy;
}

// A part as stored (no decoding); nullopt when the URL has none.
std::optional<std::string> getPart(const Curl_URL* url, CURLUPart part, unsigned int flags = 0) {
    char* text = nullptr;
    CURLUcode rc = curl_url_get(url, part, &text, flags);
    if (rc == CURLUE_OUT_OF_MEMORY) throwOutOfMemory();
    if (rc != CURLUE_OK || !text) return std::nullopt;
    std::string result(text);
    curl_free(text);
    return result;
}

// Sets a part that this builder has already made valid; an empty text clears it.
void setPart(Curl_URL* url, CURLUPart part, const std::string& text) {
    CURLUcode rc = curl_url_set(url, part, text.empty() ? nullptr : text.c_str(), 0);
    if (rc == CURLUE_OUT_OF_MEMORY) throwOutOfMemory();
    if (rc != CURLUE_OK)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              std::string("Invalid URI part: ") + curl_url_strerror(rc));
}

}  // namespace

void QMRUriBuilder::CurlUrlDeleter::operator()(Curl_URL* url) const noexcept { curl_url_cleanup(url); }

QMRUriBuilder::QMRUriBuilder(std::string_view uri) : _url(curl_url()) {
    if (!_url) throwOutOfMemory();
    std::string text(uri);
    if (text.find('\0') != std::string::npos)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Invalid URI: it contains a NUL character");
    CURLUcode rc = curl_url_set(_url.get(), CURLUPART_URL, text.c_str(), kParseFlags);
    if (rc == CURLUE_OUT_OF_MEMORY) throwOutOfMemory();
    if (rc != CURLUE_OK)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Invalid URI \"" + text + "\": " + curl_url_strerror(rc));
    setPath(path());
    setQuery(query());
    if (auto fragment = getPart(_url.get(), CURLUPART_FRAGMENT))
        setPart(_url.get(), CURLUPART_FRAGMENT, QMRUriUtil::encodeIllegalQueryCharacters(*fragment));
}

QMRUriBuilder::QMRUriBuilder(const QMRUriBuilder& other) : _url(duplicateOrThrow(other._url.get())) {}

QMRUriBuilder& QMRUriBuilder::operator=(const QMRUriBuilder& other) {
    if (this != &other) _url.reset(duplicateOrThrow(other._url.get()));
    return *this;
}

QMRUriBuilder::QMRUriBuilder(QMRUriBuilder&&) noexcept = default;
QMRUriBuilder& QMRUriBuilder::operator=(QMRUriBuilder&&) noexcept = default;
QMRUriBuilder::~QMRUriBuilder() = default;

void QMRUriBuilder::setPath(std::string_view path) {
    std::string encoded = QMRUriUtil::encodeIllegalPathCharacters(path);
    // A URL with a host has an absolute path: "data/x" can only mean "/data/x".
    if (encoded.empty() || encoded.front() != '/') encoded.insert(encoded.begin(), '/');
    setPart(_url.get(), CURLUPART_PATH, encoded);
}

void QMRUriBuilder::setQuery(std::string_view query) {
    setPart(_url.get(), CURLUPART_QUERY, QMRUriUtil::encodeIllegalQueryCharacters(query));
}

void QMRUriBuilder::setParamValue(std::string_view value, std::string_view param) {
    // Parameters in a query are encoded exactly as form fields are.
    QMRUrlEncodedBodyBuilder parameters(query());
    parameters.setParamValue(value, param);
    setPart(_url.get(), CURLUPART_QUERY, parameters.toString());
}

std::string QMRUriBuilder::scheme() const { return getPart(_url.get(), CURLUPART_SCHEME).value_or(""); }

std::string QMRUriBuilder::host() const { return getPart(_url.get(), CURLUPART_HOST).value_or(""); }

std::optional<std::uint16_t> QMRUriBuilder::port() const {
    auto text = getPart(_url.get(), CURLUPART_PORT);
    if (!text) return std::nullopt;
    // The parser has already refused anything but a decimal number up to 65535.
    return static_cast<std::uint16_t>(std::stoul(*text));
}

std::string QMRUriBuilder::path() const { return getPart(_url.get(), CURLUPART_PATH).value_or("/"); }

std::string QMRUriBuilder::query() const { return getPart(_url.get(), CURLUPART_QUERY).value_or(""); }

std::string QMRUriBuilder::toString() const {
    auto url = getPart(_url.get(), CURLUPART_URL);
    if (!url)
        comQuillmereUtil_ExceptionUtil::raise(QMRInternalInconsistencyException::exceptionName,
                                              "The URL could not be assembled");
    return *url;
}
