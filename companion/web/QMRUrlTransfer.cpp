#include "companion/web/QMRUrlTransfer.h"

#include <curl/curl.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <mutex>
#include <new>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/web/QMRUrlError.h"

static_assert(CURL_ERROR_SIZE <= 256, "the error text buffer must hold curl's longest message");

namespace {

// Answers are read in pieces of up to this much: with curl's default of 16 KiB a large body costs
// several times the reads and callbacks that the curl tool (100 KiB) spends on it.
constexpr long receiveBufferBytes = 128 * 1024;

struct CurlUrlDeleter {
    void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
};
using CurlUrl = std::unique_ptr<CURLU, CurlUrlDeleter>;

struct CurlListDeleter {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using CurlList = std::unique_ptr<curl_slist, CurlListDeleter>;

struct CurlStringDeleter {
    void operator()(char* text) const noexcept { curl_free(text); }
};
using CurlString = std::unique_ptr<char, CurlStringDeleter>;

long urlErrorCodeFor(CURLcode code, bool idleTimedOut) {
    switch (code) {
        case CURLE_UNSUPPORTED_PROTOCOL:
            return QMRUrlErrorUnsupportedURL;
        case CURLE_URL_MALFORMAT:
            return QMRUrlErrorBadURL;
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_RESOLVE_HOST:
            return QMRUrlErrorCannotFindHost;
        case CURLE_COULDNT_CONNECT:
            return QMRUrlErrorCannotConnectToHost;
        case CURLE_OPERATION_TIMEDOUT:
            return QMRUrlErrorTimedOut;
        case CURLE_ABORTED_BY_CALLBACK:
            return idleTimedOut ? QMRUrlErrorTimedOut : QMRUrlErrorCancelled;
        case CURLE_GOT_NOTHING:
        case CURLE_RECV_ERROR:
        case CURLE_SEND_ERROR:
        case CURLE_PARTIAL_FILE:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return QMRUrlErrorNetworkConnectionLost;
        case CURLE_WEIRD_SERVER_REPLY:
            return QMRUrlErrorBadServerResponse;
        case CURLE_BAD_CONTENT_ENCODING:
            return QMRUrlErrorCannotDecodeContentData;
        case CURLE_TOO_MANY_REDIRECTS:
            return QMRUrlErrorHTTPTooManyRedirects;
        case CURLE_FILESIZE_EXCEEDED:
            return QMRUrlErrorDataLengthExceedsMaximum;
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
        case CURLE_SSL_INVALIDCERTSTATUS:
            return QMRUrlErrorServerCertificateUntrusted;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_ENGINE_NOTFOUND:
        case CURLE_SSL_ENGINE_SETFAILED:
        case CURLE_SSL_ENGINE_INITFAILED:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_SHUTDOWN_FAILED:
        case CURLE_SSL_CRL_BADFILE:
        case CURLE_SSL_CLIENTCERT:
        case CURLE_USE_SSL_FAILED:
            return QMRUrlErrorSecureConnectionFailed;
        default:
            return QMRUrlErrorUnknown;
    }
}

std::string_view descriptionFor(long code) {
    switch (code) {
        case QMRUrlErrorCancelled:
            return "cancelled";
        case QMRUrlErrorBadURL:
            return "bad URL";
        case QMRUrlErrorTimedOut:
            return "The request timed out.";
        case QMRUrlErrorUnsupportedURL:
            return "unsupported URL";
        case QMRUrlErrorCannotFindHost:
            return "A server with that host name could not be found.";
        case QMRUrlErrorCannotConnectToHost:
            return "Could not connect to the server.";
        case QMRUrlErrorNetworkConnectionLost:
            return "The network connection was lost.";
        case QMRUrlErrorHTTPTooManyRedirects:
            return "too many HTTP redirects";
        case QMRUrlErrorBadServerResponse:
            return "bad server response";
        case QMRUrlErrorUserCancelledAuthentication:
            return "The server asked for authentication and no credentials were given.";
        case QMRUrlErrorCannotDecodeContentData:
            return "The content of the answer could not be decoded.";
        case QMRUrlErrorDataLengthExceedsMaximum:
            return "The resource exceeds the maximum size.";
        case QMRUrlErrorSecureConnectionFailed:
            return "An SSL error has occurred and a secure connection to the server cannot be made.";
        case QMRUrlErrorServerCertificateUntrusted:
            return "The certificate for this server is invalid.";
        default:
            return "An unknown error occurred.";
    }
}

template <class Value>
void setOption(CURL* handle, CURLoption option, Value value) {
    const CURLcode result = curl_easy_setopt(handle, option, value);
    if (result == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (result != CURLE_OK)
        comQuillmereUtil_ExceptionUtil::raise(
            QMRInternalInconsistencyException::exceptionName,
            fmt::format("libcurl refused option {}: {}", static_cast<int>(option), curl_easy_strerror(result)));
}

void appendLine(CurlList& list, const std::string& line) {
    curl_slist* extended = curl_slist_append(list.get(), line.c_str());
    if (extended == nullptr) throw std::bad_alloc();
    list.release();
    list.reset(extended);
}

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool endsWithLabel(std::string_view host, std::string_view label) {
    if (host.ends_with('.')) host.remove_suffix(1);
    if (host.size() < label.size()) return false;
    const std::string_view tail = host.substr(host.size() - label.size());
    return QMRHttpHeaderFields::namesEqual(tail, label) &&
           (host.size() == label.size() || host[host.size() - label.size() - 1] == '.');
}

[[noreturn]] void refuseContentLength(std::string_view declared, std::string_view what) {
    comQuillmereUtil_ExceptionUtil::raise(
        QMRInvalidArgumentException::exceptionName,
        fmt::format("The Content-Length header \"{}\" does not match {}", declared, what));
}

// Header fields that only describe the request may follow it to another origin; curl removes
// Authorization and Cookie there itself.
bool goesAnywhere(std::string_view name) {
    static constexpr std::string_view neutral[] = {
        "Accept", "Accept-Encoding", "Accept-Language", "Authorization", "Content-Length", "Content-Type",
        "Cookie", "Depth",           "Expect",          "Overwrite",     "Timeout",        "User-Agent"};
    return std::ranges::any_of(neutral,
                               [name](std::string_view one) { return QMRHttpHeaderFields::namesEqual(name, one); });
}

CurlList buildHeaderLines(const QMRUrlRequest& request, bool bodyAttached) {
    CurlList lines;
    const QMRHttpHeaderFields& fields = request.allHTTPHeaderFields();
    for (const auto& [name, value] : fields) {
        // curl states the length of the body it sends, which has been checked against the caller's.
        // The caller's own line would also go out on a redirect that drops the body (a POST
        // followed as a GET), and the server would wait for bytes that never come.
        if (QMRHttpHeaderFields::namesEqual(name, "Content-Length")) continue;
        // curl reads "Name:" as "drop that header"; "Name;" is its spelling of an empty value.
        appendLine(lines, value.empty() ? name + ";" : fmt::format("{}: {}", name, value));
    }
    // The servers localise the texts that the back-ends look for.
    if (!fields.contains("Accept-Language")) appendLine(lines, "Accept-Language: en");
    // No 100-continue round trip: it stalls on servers that ignore it and the platform never sent it.
    if (!fields.contains("Expect")) appendLine(lines, "Expect:");
    // curl would label a body as a form; the body goes out with exactly the type the caller set, or none.
    if (bodyAttached && !fields.contains("Content-Type")) appendLine(lines, "Content-Type:");
    return lines;
}

}  // namespace

// How the request's body goes out and where it goes; decided (and checked) before anything is sent.
struct QMRUrlTransfer::Plan {
    QMRData streamedWhole;
    const QMRData* bytes = nullptr;
    // Set when the body is read from the request's stream while sending.
    ComQuillmereIO_Stream* stream = nullptr;
    // Streamed bodies: the length announced by Content-Length (-1: chunked) and what is still due.
    curl_off_t streamLength = -1;
    curl_off_t streamRemaining = -1;
    bool attached = false;
    CurlList headerLines;
    // The first header field set by the caller that must not reach another origin; empty if none.
    std::string privateHeaderField;
    CurlUrl url;
};

// curl's C callbacks; exceptions never cross them.
struct QMRUrlTransfer::Callbacks {
    static std::size_t receiveBody(char* data, std::size_t size, std::size_t count, void* userData) {
        auto& transfer = *static_cast<QMRUrlTransfer*>(userData);
        const std::size_t length = size * count;
        if (transfer._abandoned) return 0;
        transfer.noteActivity();
        if (!transfer.didReceiveBody(QMRDataView(reinterpret_cast<const std::uint8_t*>(data), length))) {
            transfer._abandoned = true;
            return 0;
        }
        return length;
    }

    static std::size_t receiveHeader(char* line, std::size_t size, std::size_t count, void* userData) {
        auto& transfer = *static_cast<QMRUrlTransfer*>(userData);
        // Header fields are read from curl when needed; arriving ones only count as activity, and
        // the lines that open and close an answer's fields are noted.
        if (transfer._abandoned) return 0;
        transfer.noteActivity();
        const std::string_view text(line, size * count);
        try {
            noteHeaderLine(transfer, text);
        } catch (...) {
            transfer._abandoned = true;
        }
        return transfer._abandoned || !transfer._redirectRefusedFor.empty() ? 0 : size * count;
    }

    static void noteHeaderLine(QMRUrlTransfer& transfer, std::string_view text) {
        static constexpr std::string_view location = "Location:";
        if (text.starts_with("HTTP/")) {
            transfer._headerFieldsEnded = false;
            transfer._redirectLocation.clear();
        } else if (text.size() > location.size() &&
                   QMRHttpHeaderFields::namesEqual(text.substr(0, location.size()), location)) {
            const std::string_view value = text.substr(location.size());
            const auto first = value.find_first_not_of(" \t");
            if (first != std::string_view::npos)
                transfer._redirectLocation = value.substr(first, value.find_last_not_of(" \t\r\n") + 1 - first);
        } else if (text == "\r\n" || text == "\n") {
            transfer._headerFieldsEnded = true;
            transfer._redirectRefusedFor = transfer.privateDataTakenByRedirect();
        }
    }

    static std::size_t sendBody(char* buffer, std::size_t size, std::size_t count, void* userData) {
        auto& transfer = *static_cast<QMRUrlTransfer*>(userData);
        Plan& plan = *transfer._plan;
        if (transfer._abandoned) return CURL_READFUNC_ABORT;
        std::size_t room = size * count;
        // Never more than announced: the surplus would desynchronise a kept-alive connection.
        if (plan.streamRemaining >= 0 && static_cast<curl_off_t>(room) > plan.streamRemaining)
            room = static_cast<std::size_t>(plan.streamRemaining);
        if (room == 0) return 0;
        const std::optional<std::size_t> supplied =
            transfer.supplyBody(std::span<std::uint8_t>(reinterpret_cast<std::uint8_t*>(buffer), room));
        if (transfer._abandoned) return CURL_READFUNC_ABORT;
        if (!supplied) return CURL_READFUNC_PAUSE;
        if (*supplied > 0) transfer.noteActivity();
        if (plan.streamRemaining >= 0) plan.streamRemaining -= static_cast<curl_off_t>(*supplied);
        return *supplied;
    }

    // curl's own speed limit counts whole seconds; this gives the idle time-out millisecond precision
    // (within the interval at which curl calls back while a transfer is idle).
    static int checkProgress(void* userData, curl_off_t, curl_off_t, curl_off_t, curl_off_t uploadedNow) {
        auto& transfer = *static_cast<QMRUrlTransfer*>(userData);
        if (transfer._abandoned) return 1;
        if (uploadedNow != transfer._uploaded) {
            transfer._uploaded = uploadedNow;
            transfer.noteActivity();
        }
        if (!transfer.idleLimitPassed(Clock::now())) return 0;
        transfer._idleTimedOut = true;
        return 1;
    }
};

QMRUrlTransfer::QMRUrlTransfer(const QMRUrlRequest& request, std::chrono::milliseconds idleLimit, BodyMode bodyMode)
    : _request(request), _idleLimit(idleLimit), _plan(std::make_unique<Plan>()) {
    // Every check that can raise comes first, so misuse never leaves a half-sent request.
    request.validateHeaderFields();
    Plan& plan = *_plan;
    const std::string& method = request.HTTPMethod();
    const std::optional<std::string> declared = request.valueForHTTPHeaderField("Content-Length");
    plan.bytes = &request.HTTPBody();
    if (request.HTTPBodyStream() && bodyMode == BodyMode::whole) {
        plan.streamedWhole = request.HTTPBodyStream()->readDataFromCurrentToEnd();
        plan.bytes = &plan.streamedWhole;
    } else if (request.HTTPBodyStream()) {
        plan.stream = request.HTTPBodyStream().get();
    }

    if (plan.stream != nullptr) {
        plan.attached = method != "HEAD";
        if (declared && plan.attached) {
            const std::string_view digits = trimmed(*declared);
            curl_off_t length = -1;
            const auto [end, problem] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
            if (problem != std::errc() || end != digits.data() + digits.size() || length < 0)
                refuseContentLength(*declared, "a length in bytes");
            plan.streamLength = plan.streamRemaining = length;
        }
    } else {
        // POST and PUT always state their length, even when empty; other methods only carry a body they were given.
        plan.attached = method != "HEAD" && (!plan.bytes->empty() || method == "POST" || method == "PUT");
        // A length that disagrees with the bytes sent would desynchronise the kept-alive connection.
        const std::size_t sent = plan.attached ? plan.bytes->size() : 0;
        if (declared && trimmed(*declared) != std::to_string(sent))
            refuseContentLength(*declared, fmt::format("the {} bytes of the body", sent));
    }
    plan.headerLines = buildHeaderLines(request, plan.attached);
    for (const auto& [name, value] : request.allHTTPHeaderFields())
        if (!goesAnywhere(name)) {
            plan.privateHeaderField = name;
            break;
        }

    plan.url.reset(curl_url());
    if (!plan.url) throw std::bad_alloc();
    const std::string& text = request.URL();
    if (text.find('\0') != std::string::npos) {
        _refusal = urlError(QMRUrlErrorBadURL, text, "The URL contains a NUL character");
        return;
    }
    // Paths go out as written: "." segments are not folded away, as the platform left them.
    const CURLUcode result = curl_url_set(plan.url.get(), CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS);
    if (result == CURLUE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (result != CURLUE_OK) {
        const bool schemeProblem =
            result == CURLUE_UNSUPPORTED_SCHEME || result == CURLUE_BAD_SCHEME || result == CURLUE_NO_SCHEME;
        _refusal =
            urlError(schemeProblem ? QMRUrlErrorUnsupportedURL : QMRUrlErrorBadURL, text, curl_url_strerror(result));
        return;
    }
    char* rawScheme = nullptr;
    char* rawHost = nullptr;
    curl_url_get(plan.url.get(), CURLUPART_SCHEME, &rawScheme, 0);
    CurlString scheme(rawScheme);
    curl_url_get(plan.url.get(), CURLUPART_HOST, &rawHost, 0);
    CurlString host(rawHost);
    const std::string_view schemeText = scheme ? scheme.get() : "";
    if (schemeText != "http" && schemeText != "https") {
        _refusal =
            urlError(QMRUrlErrorUnsupportedURL, text, fmt::format("The scheme \"{}\" is not supported", schemeText));
    } else if (host && endsWithLabel(host.get(), "invalid")) {
        // RFC 6761: names under .invalid never resolve, so no query is sent for them.
        _refusal = urlError(QMRUrlErrorCannotFindHost, text,
                            fmt::format("The host \"{}\" is under the reserved .invalid domain", host.get()));
    }
}

QMRUrlTransfer::~QMRUrlTransfer() = default;

void QMRUrlTransfer::configure(void* rawHandle) {
    CURL* handle = rawHandle;
    _handle = rawHandle;
    const Plan& plan = *_plan;
    setOption(handle, CURLOPT_CURLU, plan.url.get());
    setOption(handle, CURLOPT_PATH_AS_IS, 1L);
    setOption(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    setOption(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    setOption(handle, CURLOPT_FOLLOWLOCATION, 1L);
    setOption(handle, CURLOPT_MAXREDIRS, 10L);
    setOption(handle, CURLOPT_UNRESTRICTED_AUTH, 0L);
    setOption(handle, CURLOPT_NOSIGNAL, 1L);
    setOption(handle, CURLOPT_SSL_VERIFYPEER, 1L);
    setOption(handle, CURLOPT_SSL_VERIFYHOST, 2L);
    // Offer every encoding curl can decode; the caller always gets the decoded body.
    setOption(handle, CURLOPT_ACCEPT_ENCODING, "");
    setOption(handle, CURLOPT_HTTPHEADER, plan.headerLines.get());
    setOption(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(_idleLimit.count()));
    setOption(handle, CURLOPT_WRITEFUNCTION, &Callbacks::receiveBody);
    setOption(handle, CURLOPT_WRITEDATA, this);
    setOption(handle, CURLOPT_HEADERFUNCTION, &Callbacks::receiveHeader);
    setOption(handle, CURLOPT_HEADERDATA, this);
    setOption(handle, CURLOPT_XFERINFOFUNCTION, &Callbacks::checkProgress);
    setOption(handle, CURLOPT_XFERINFODATA, this);
    setOption(handle, CURLOPT_NOPROGRESS, 0L);
    setOption(handle, CURLOPT_ERRORBUFFER, _errorText.data());
    // Only a hint: curl refuses it while the handle still holds the buffer of a transfer that ended
    // on a refused redirect, and that buffer serves as it is.
    curl_easy_setopt(handle, CURLOPT_BUFFERSIZE, receiveBufferBytes);

    const std::string& method = _request.HTTPMethod();
    if (method == "HEAD") {
        // A HEAD answer announces a length it does not send; curl must not wait for it.
        setOption(handle, CURLOPT_NOBODY, 1L);
    } else {
        if (plan.stream != nullptr) {
            setOption(handle, CURLOPT_POST, 1L);
            // -1 makes curl send the body chunked, ended by the stream's end.
            setOption(handle, CURLOPT_POSTFIELDSIZE_LARGE, plan.streamLength);
            setOption(handle, CURLOPT_READFUNCTION, &Callbacks::sendBody);
            setOption(handle, CURLOPT_READDATA, this);
        } else if (plan.attached) {
            static constexpr char empty[] = "";
            setOption(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(plan.bytes->size()));
            // A null pointer would make curl read the body from stdin.
            setOption(handle, CURLOPT_POSTFIELDS,
                      plan.bytes->empty() ? empty : reinterpret_cast<const char*>(plan.bytes->data()));
        }
        // A plain POST turns into GET on a 301/302/303, as browsers do.
        if (method != "POST" && (method != "GET" || plan.attached)) {
            setOption(handle, CURLOPT_CUSTOMREQUEST, method.c_str());
            // Any other method is repeated as it is on a redirect, so its body goes along too.
            if (plan.attached) setOption(handle, CURLOPT_POSTREDIR, static_cast<long>(CURL_REDIR_POST_ALL));
        }
    }
    noteActivity();
}

std::optional<std::size_t> QMRUrlTransfer::supplyBody(std::span<std::uint8_t> room) {
    return _plan->stream->read(room);
}

std::optional<QMRError> QMRUrlTransfer::failureFor(int curlResult) const {
    const auto result = static_cast<CURLcode>(curlResult);
    if (_idleTimedOut) return idleTimeoutFailure();
    if (!_redirectRefusedFor.empty())
        return urlError(QMRUrlErrorCancelled, _request.URL(),
                        fmt::format("Not followed: the redirect to {} would take {} to another host", _redirectLocation,
                                    _redirectRefusedFor));
    // curl takes a connection closed inside the header fields for the end of a complete answer.
    if (result == CURLE_OK && !_headerFieldsEnded)
        return urlError(QMRUrlErrorNetworkConnectionLost, _request.URL(), "The answer ended inside its header fields");
    if (result == CURLE_OK) return std::nullopt;
    long code = urlErrorCodeFor(result, false);
    long statusCode = 0;
    curl_easy_getinfo(_handle, CURLINFO_RESPONSE_CODE, &statusCode);
    // Without a readable status line curl refuses the answer as a protocol it does not speak: the
    // URL was fine (foreign schemes are refused before sending, or after a redirect's status), the
    // answer was not.
    if (result == CURLE_UNSUPPORTED_PROTOCOL && statusCode == 0) code = QMRUrlErrorBadServerResponse;
    return urlError(code, _request.URL(), _errorText[0] != '\0' ? _errorText.data() : curl_easy_strerror(result));
}

std::string QMRUrlTransfer::privateDataTakenByRedirect() const {
    long status = 0;
    curl_easy_getinfo(_handle, CURLINFO_RESPONSE_CODE, &status);
    // curl follows the Location of any 3xx answer.
    if (_redirectLocation.empty() || status < 300 || status > 399) return {};
    // An empty body takes nothing along. A POST becomes a GET on 301, 302 and 303; every other
    // method, and a POST on any other redirect, keeps its body.
    const bool bodyHoldsBytes = _plan->stream != nullptr || !_plan->bytes->empty();
    const bool postTurnsIntoGet = _request.HTTPMethod() == "POST" && status >= 301 && status <= 303;
    const bool bodyGoesAlong = _plan->attached && bodyHoldsBytes && !postTurnsIntoGet;
    if (!bodyGoesAlong && _plan->privateHeaderField.empty()) return {};
    if (!redirectLeavesOrigin()) return {};
    return bodyGoesAlong ? std::string("the request's body")
                         : fmt::format("the request's header field \"{}\"", _plan->privateHeaderField);
}

bool QMRUrlTransfer::redirectLeavesOrigin() const {
    char* current = nullptr;
    curl_easy_getinfo(_handle, CURLINFO_EFFECTIVE_URL, &current);
    CurlUrl target(curl_url());
    if (!target) throw std::bad_alloc();  // the header callback then abandons the transfer
    // Resolved against the answering URL, as curl resolves it; what curl cannot read it will not follow.
    if (current == nullptr || curl_url_set(target.get(), CURLUPART_URL, current, 0) != CURLUE_OK ||
        curl_url_set(target.get(), CURLUPART_URL, _redirectLocation.c_str(), 0) != CURLUE_OK)
        return false;
    auto part = [](CURLU* url, CURLUPart which) {
        char* raw = nullptr;
        curl_url_get(url, which, &raw, CURLU_DEFAULT_PORT);
        const CurlString text(raw);
        return std::string(text ? text.get() : "");
    };
    return !QMRHttpHeaderFields::namesEqual(part(_plan->url.get(), CURLUPART_HOST),
                                            part(target.get(), CURLUPART_HOST)) ||
           part(_plan->url.get(), CURLUPART_PORT) != part(target.get(), CURLUPART_PORT);
}

QMRError QMRUrlTransfer::idleTimeoutFailure() const {
    return urlError(QMRUrlErrorTimedOut, _request.URL(), fmt::format("No data moved for {} ms", _idleLimit.count()));
}

QMRHttpUrlResponse QMRUrlTransfer::receivedResponse() const {
    long statusCode = 0;
    char* effectiveUrl = nullptr;
    curl_easy_getinfo(_handle, CURLINFO_RESPONSE_CODE, &statusCode);
    curl_easy_getinfo(_handle, CURLINFO_EFFECTIVE_URL, &effectiveUrl);
    QMRHttpHeaderFields fields;
    curl_header* header = nullptr;
    // Request -1 is the last one of the transfer: the answer that ended the redirects.
    while ((header = curl_easy_nextheader(_handle, CURLH_HEADER, -1, header)) != nullptr)
        fields.append(header->name, header->value);
    return QMRHttpUrlResponse(effectiveUrl != nullptr ? effectiveUrl : _request.URL(), statusCode, std::move(fields));
}

QMRError QMRUrlTransfer::urlError(long code, const std::string& url, std::string_view reason) {
    QMRError error = QMRError::withDescription(QMRUrlErrorDomain, code, std::string(descriptionFor(code)));
    error.setUserInfoValue(QMRUrlErrorFailingUrlStringKey, url);
    if (!reason.empty()) error.setUserInfoValue(QMRLocalizedFailureReasonErrorKey, std::string(reason));
    return error;
}

void QMRUrlTransfer::initializeCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw std::bad_alloc();
    });
}
