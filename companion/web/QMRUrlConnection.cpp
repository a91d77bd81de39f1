#include "companion/web/QMRUrlConnection.h"

#include <curl/curl.h>
#include <fmt/format.h>

#include <array>
#include <chrono>
#include <exception>
#include <memory>
#include <new>
#include <string_view>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/web/QMRUrlError.h"

namespace {

using Clock = std::chrono::steady_clock;

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

// What the callbacks of one transfer share with the sender.
struct Transfer {
    QMRData body;
    std::chrono::milliseconds idleLimit{};
    Clock::time_point lastActivity = Clock::now();
    curl_off_t uploaded = 0;
    bool idleTimedOut = false;
    // An exception must not cross curl's C frames; it is kept and rethrown after the transfer.
    std::exception_ptr failure;

    void noteActivity() { lastActivity = Clock::now(); }
};

std::size_t receiveBody(char* data, std::size_t size, std::size_t count, void* userData) {
    auto& transfer = *static_cast<Transfer*>(userData);
    const std::size_t length = size * count;
    transfer.noteActivity();
    try {
        // The vector grows geometrically, so a large body costs linear time.
        transfer.body.insert(transfer.body.end(), data, data + length);
    } catch (...) {
        transfer.failure = std::current_exception();
        return 0;
    }
    return length;
}

std::size_t receiveHeader(char*, std::size_t size, std::size_t count, void* userData) {
    // Header fields are read from curl once the answer is complete; arriving ones only count as activity.
    static_cast<Transfer*>(userData)->noteActivity();
    return size * count;
}

// curl's own speed limit counts whole seconds; this gives the idle time-out millisecond precision
// (within the interval at which curl calls back while a transfer is idle).
int checkProgress(void* userData, curl_off_t, curl_off_t, curl_off_t, curl_off_t uploadedNow) {
    auto& transfer = *static_cast<Transfer*>(userData);
    if (uploadedNow != transfer.uploaded) {
        transfer.uploaded = uploadedNow;
        transfer.noteActivity();
    }
    if (Clock::now() - transfer.lastActivity < transfer.idleLimit) return 0;
    transfer.idleTimedOut = true;
    return 1;
}

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

QMRError urlError(long code, const std::string& url, std::string_view reason) {
    QMRError error = QMRError::withDescription(QMRUrlErrorDomain, code, std::string(descriptionFor(code)));
    error.setUserInfoValue(QMRUrlErrorFailingUrlStringKey, url);
    if (!reason.empty()) error.setUserInfoValue(QMRLocalizedFailureReasonErrorKey, std::string(reason));
    return error;
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

// How the request's body goes out; decided (and checked) before anything is sent.
struct BodyPlan {
    QMRData streamed;
    const QMRData* bytes = nullptr;
    bool attached = false;
};

BodyPlan planBody(const QMRUrlRequest& request) {
    BodyPlan plan;
    plan.bytes = &request.HTTPBody();
    if (request.HTTPBodyStream()) {
        plan.streamed = request.HTTPBodyStream()->readDataFromCurrentToEnd();
        plan.bytes = &plan.streamed;
    }
    const std::string& method = request.HTTPMethod();
    // POST and PUT always state their length, even when empty; other methods only carry a body they were given.
    plan.attached = method != "HEAD" && (!plan.bytes->empty() || method == "POST" || method == "PUT");

    // A length that disagrees with the bytes sent would desynchronise the kept-alive connection.
    if (auto declared = request.valueForHTTPHeaderField("Content-Length")) {
        const std::size_t sent = plan.attached ? plan.bytes->size() : 0;
        if (trimmed(*declared) != std::to_string(sent))
            comQuillmereUtil_ExceptionUtil::raise(
                QMRInvalidArgumentException::exceptionName,
                fmt::format("The Content-Length header \"{}\" does not match the {} bytes of the body", *declared,
                            sent));
    }
    return plan;
}

CurlList buildHeaderLines(const QMRUrlRequest& request, bool bodyAttached) {
    CurlList lines;
    const QMRHttpHeaderFields& fields = request.allHTTPHeaderFields();
    for (const auto& [name, value] : fields)
        // curl reads "Name:" as "drop that header"; "Name;" is its spelling of an empty value.
        appendLine(lines, value.empty() ? name + ";" : fmt::format("{}: {}", name, value));
    // The servers localise the texts that the back-ends look for.
    if (!fields.contains("Accept-Language")) appendLine(lines, "Accept-Language: en");
    // No 100-continue round trip: it stalls on servers that ignore it and the platform never sent it.
    if (!fields.contains("Expect")) appendLine(lines, "Expect:");
    // curl would label a body as a form; the body goes out with exactly the type the caller set, or none.
    if (bodyAttached && !fields.contains("Content-Type")) appendLine(lines, "Content-Type:");
    return lines;
}

struct ParsedUrl {
    CurlUrl url;
    long errorCode = 0;
    std::string reason;
};

ParsedUrl parseUrl(const std::string& text) {
    ParsedUrl parsed;
    parsed.url.reset(curl_url());
    if (!parsed.url) throw std::bad_alloc();
    if (text.find('\0') != std::string::npos) {
        parsed.errorCode = QMRUrlErrorBadURL;
        parsed.reason = "The URL contains a NUL character";
        return parsed;
    }
    // Paths go out as written: "." segments are not folded away, as the platform left them.
    const CURLUcode result = curl_url_set(parsed.url.get(), CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS);
    if (result == CURLUE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (result != CURLUE_OK) {
        const bool schemeProblem =
            result == CURLUE_UNSUPPORTED_SCHEME || result == CURLUE_BAD_SCHEME || result == CURLUE_NO_SCHEME;
        parsed.errorCode = schemeProblem ? QMRUrlErrorUnsupportedURL : QMRUrlErrorBadURL;
        parsed.reason = curl_url_strerror(result);
        return parsed;
    }
    char* rawScheme = nullptr;
    char* rawHost = nullptr;
    curl_url_get(parsed.url.get(), CURLUPART_SCHEME, &rawScheme, 0);
    CurlString scheme(rawScheme);
    curl_url_get(parsed.url.get(), CURLUPART_HOST, &rawHost, 0);
    CurlString host(rawHost);
    const std::string_view schemeText = scheme ? scheme.get() : "";
    if (schemeText != "http" && schemeText != "https") {
        parsed.errorCode = QMRUrlErrorUnsupportedURL;
        parsed.reason = fmt::format("The scheme \"{}\" is not supported", schemeText);
    } else if (host && endsWithLabel(host.get(), "invalid")) {
        // RFC 6761: names under .invalid never resolve, so no query is sent for them.
        parsed.errorCode = QMRUrlErrorCannotFindHost;
        parsed.reason = fmt::format("The host \"{}\" is under the reserved .invalid domain", host.get());
    }
    return parsed;
}

void configureMethod(CURL* handle, const QMRUrlRequest& request, const BodyPlan& body) {
    const std::string& method = request.HTTPMethod();
    if (method == "HEAD") {
        // A HEAD answer announces a length it does not send; curl must not wait for it.
        setOption(handle, CURLOPT_NOBODY, 1L);
        return;
    }
    if (body.attached) {
        static constexpr char empty[] = "";
        setOption(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.bytes->size()));
        // A null pointer would make curl read the body from stdin.
        setOption(handle, CURLOPT_POSTFIELDS,
                  body.bytes->empty() ? empty : reinterpret_cast<const char*>(body.bytes->data()));
    }
    if (method == "POST") return;  // a plain POST turns into GET on a 301/302/303, as browsers do
    if (method == "GET" && !body.attached) return;
    setOption(handle, CURLOPT_CUSTOMREQUEST, method.c_str());
    // Any other method is repeated as it is on a redirect, so its body goes along too.
    if (body.attached) setOption(handle, CURLOPT_POSTREDIR, static_cast<long>(CURL_REDIR_POST_ALL));
}

QMRHttpHeaderFields receivedHeaderFields(CURL* handle) {
    QMRHttpHeaderFields fields;
    curl_header* header = nullptr;
    // Request -1 is the last one of the transfer: the answer that ended the redirects.
    while ((header = curl_easy_nextheader(handle, CURLH_HEADER, -1, header)) != nullptr)
        fields.append(header->name, header->value);
    return fields;
}

std::optional<QMRData> failWith(long code, std::string_view reason, const QMRUrlRequest& request,
                                QMRHttpUrlResponse& response, QMRErrorSlot& error) {
    response = QMRHttpUrlResponse(request.URL(), code);
    error = urlError(code, request.URL(), reason);
    return std::nullopt;
}

}  // namespace

std::optional<QMRData> QMRUrlConnection::sendSynchronousRequest(QMRUrlSession& session, const QMRUrlRequest& request,
                                                                QMRHttpUrlResponse& response, QMRErrorSlot& error) {
    // Every check that can raise comes first, so misuse never leaves a half-sent request.
    request.validateHeaderFields();
    const BodyPlan body = planBody(request);
    const CurlList headerLines = buildHeaderLines(request, body.attached);
    const ParsedUrl url = parseUrl(request.URL());
    if (url.errorCode != 0) return failWith(url.errorCode, url.reason, request, response, error);

    Transfer transfer;
    transfer.idleLimit = std::min(request.timeoutInterval(), session.timeoutInterval());
    std::array<char, CURL_ERROR_SIZE> errorText{};

    const QMRUrlSession::HandleLease lease = session.leaseSynchronousHandle();
    CURL* handle = lease.handle();
    setOption(handle, CURLOPT_CURLU, url.url.get());
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
    setOption(handle, CURLOPT_HTTPHEADER, headerLines.get());
    setOption(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(transfer.idleLimit.count()));
    setOption(handle, CURLOPT_WRITEFUNCTION, &receiveBody);
    setOption(handle, CURLOPT_WRITEDATA, &transfer);
    setOption(handle, CURLOPT_HEADERFUNCTION, &receiveHeader);
    setOption(handle, CURLOPT_HEADERDATA, &transfer);
    setOption(handle, CURLOPT_XFERINFOFUNCTION, &checkProgress);
    setOption(handle, CURLOPT_XFERINFODATA, &transfer);
    setOption(handle, CURLOPT_NOPROGRESS, 0L);
    setOption(handle, CURLOPT_ERRORBUFFER, errorText.data());
    configureMethod(handle, request, body);

    transfer.noteActivity();
    const CURLcode result = curl_easy_perform(handle);
    if (transfer.failure) std::rethrow_exception(transfer.failure);
    if (result != CURLE_OK) {
        const long code = urlErrorCodeFor(result, transfer.idleTimedOut);
        const std::string reason =
            transfer.idleTimedOut ? fmt::format("No data moved for {} ms", transfer.idleLimit.count())
                                  : std::string(errorText[0] != '\0' ? errorText.data() : curl_easy_strerror(result));
        return failWith(code, reason, request, response, error);
    }

    long statusCode = 0;
    char* effectiveUrl = nullptr;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &statusCode);
    curl_easy_getinfo(handle, CURLINFO_EFFECTIVE_URL, &effectiveUrl);
    response = QMRHttpUrlResponse(effectiveUrl != nullptr ? effectiveUrl : request.URL(), statusCode,
                                  receivedHeaderFields(handle));
    // No credentials are offered to a challenge; callers see the platform's "authentication
    // cancelled" next to the 401 and its body.
    if (statusCode == 401 && response.allHeaderFields().contains("WWW-Authenticate"))
        error = urlError(QMRUrlErrorUserCancelledAuthentication, response.URL(), {});
    else
        error.reset();
    return std::move(transfer.body);
}

std::optional<QMRData> QMRUrlConnection::sendSynchronousRequest(const QMRUrlRequest& request,
                                                                QMRHttpUrlResponse& response, QMRErrorSlot& error) {
    QMRUrlSession session;
    return sendSynchronousRequest(session, request, response, error);
}
