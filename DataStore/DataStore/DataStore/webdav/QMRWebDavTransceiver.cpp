#include "DataStore/webdav/QMRWebDavTransceiver.h"

#include <fmt/format.h>

#include <mutex>
#include <unordered_map>
#include <utility>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/contract/QMRDataStoreError.h"
#include "companion/util/QMRDateFormat.h"
#include "companion/util/QMRRegularExpression.h"
#include "companion/web/QMRHttpUrlResponse.h"
#include "companion/web/QMRUriBuilder.h"
#include "companion/web/QMRUrlConnection.h"
#include "companion/web/QMRUrlError.h"
#include "companion/web/QMRUrlRequest.h"
#include "companion/xml/QMRXmlSyntax.h"

namespace {

std::string textOf(const QMRData& data) { return std::string(data.begin(), data.end()); }

// reqDepth split at ",": the depth itself, then an optional "noroot".
std::vector<std::string_view> depthPieces(std::string_view depth) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    while (true) {
        std::size_t comma = depth.find(',', start);
        pieces.push_back(depth.substr(start, comma == std::string_view::npos ? std::string_view::npos : comma - start));
        if (comma == std::string_view::npos) break;
        start = comma + 1;
    }
    return pieces;
}

// The cleaning patterns differ only by prefix, path and change values, so a handful serve every
// answer: compile each once instead of once per answer. Copies share the compiled code.
QMRRegularExpression cleaningPattern(const std::string& pattern) {
    static std::mutex mutex;
    static std::unordered_map<std::string, QMRRegularExpression> compiled;
    std::lock_guard lock(mutex);
    if (auto found = compiled.find(pattern); found != compiled.end()) return found->second;
    // Odd server prefixes could make new patterns without end; start over rather than grow.
    if (compiled.size() >= 64) compiled.clear();
    return compiled.try_emplace(pattern, pattern, QMRRegularExpressionOptions::DotMatchesLineSeparators)
        .first->second;
}

}  // namespace

QMRWebDavTransceiver::QMRWebDavTransceiver(QMRUrlSession& session) : _session(&session) {}

void QMRWebDavTransceiver::send() {
    QMRUrlRequest request(reqUrl);
    request.setHTTPMethod(reqHttpMethod);
    if (!reqAuthenticationToken.empty()) request.setValue(reqAuthenticationToken, "Authorization");
    if (!reqAcceptEncoding.empty()) request.setValue(reqAcceptEncoding, "Accept-Encoding");
    if (!reqDepth.empty()) request.setValue(std::string(depthPieces(reqDepth).front()), "Depth");
    if (!reqLockTimeout.empty()) request.setValue(reqLockTimeout, "Timeout");
    if (!reqIf.empty()) request.setValue(reqIf, "If");
    if (!reqLockToken.empty()) request.setValue(reqLockToken, "Lock-Token");
    if (reqContent && !reqContentType.empty()) {
        request.setValue(fmt::format("{}", reqContent->size()), "Content-Length");
        request.setValue(reqContentType, "Content-Type");
        request.setHTTPBody(*reqContent);
    }

    QMRHttpUrlResponse response;
    QMRErrorSlot error;
    std::optional<QMRData> body = QMRUrlConnection::sendSynchronousRequest(*_session, request, response, error);
    respError = std::move(error);
    respDate = toDateFromHttpResponseDateString(response.valueForHTTPHeaderField("Date").value_or(""));
    respCode = response.statusCode();
    respRawData = body ? std::move(*body) : QMRData{};
}

QMRErrorSlot QMRWebDavTransceiver::constructError() { return constructError(std::nullopt); }

QMRErrorSlot QMRWebDavTransceiver::constructError(const std::optional<std::vector<std::string>>& fileIdsForNotFound,
                                                  const std::optional<std::string>& unknownErrorExtraInfo) {
    switch (respCode) {
        case 200:
        case 201:
        case 204: return std::nullopt;
        case 207: return HandleMultiStatusCode();
        case 401:
        case QMRUrlErrorUserCancelledAuthentication: return HandleUnauthorizedError();
        case 404: return HandleFileNotFoundError(fileIdsForNotFound);
        case 408:
        case 500:
        case 503:
        case QMRUrlErrorTimedOut:
        case QMRUrlErrorCannotFindHost:
        case QMRUrlErrorCannotConnectToHost: return HandleIOError();
        case 409:
        case 412:
        case 423: return HandleApplicationExclusiveLockUnlockError(static_cast<long>(respCode));
        case 507: return HandleInsufficientStorageSpaceError();
        default: return HandleUnknownError(unknownErrorExtraInfo);
    }
}

std::optional<QMRDate> QMRWebDavTransceiver::toDateFromHttpResponseDateString(std::string_view text) {
    if (text.empty()) return std::nullopt;
    return QMRDateFormat::fromRfc1123String(text);
}

QMRError QMRWebDavTransceiver::HandleUnauthorizedError() {
    return QMRDataStoreError::errorWithCode(QMRDataStoreErrorAuthentication, "Either login name or password is invalid");
}

QMRError QMRWebDavTransceiver::HandleFileNotFoundError(const std::optional<std::vector<std::string>>& fileIds) {
    static constexpr const char* description = "One or more specified fileId is not found";
    if (fileIds) return QMRDataStoreError::errorWithCode(QMRDataStoreErrorFileOrFolderNotFound, description, *fileIds);
    return QMRDataStoreError::errorWithCode(QMRDataStoreErrorFileOrFolderNotFound, description);
}

QMRError QMRWebDavTransceiver::HandleApplicationExclusiveLockUnlockError(long code) {
    return QMRDataStoreError::errorWithCode(
        QMRDataStoreErrorExclusiveLock,
        code == 423 ? "Already locked" : "Not locked or lock released due to timeout or invalid lock token");
}

QMRError QMRWebDavTransceiver::HandleIOError() const {
    static constexpr const char* description = "Server down or server busy";
    if (respError) return QMRDataStoreError::errorWithCode(QMRDataStoreErrorServerUnavailable, description, *respError);
    return QMRDataStoreError::errorWithCode(QMRDataStoreErrorServerUnavailable, description);
}

QMRError QMRWebDavTransceiver::HandleInsufficientStorageSpaceError() {
    return QMRDataStoreError::errorWithCode(QMRDataStoreErrorInsufficientStorage, "Insufficient storage space");
}

QMRError QMRWebDavTransceiver::HandleUnknownError(const std::optional<std::string>& extraInfo) const {
    QMRError error = QMRDataStoreError::errorWithCode(
        QMRDataStoreErrorUnknown,
        respRawData.empty() ? std::string("Unknown error") : fmt::format("Unknown error - {}", textOf(respRawData)));
    if (extraInfo) error.setUserInfoValue(QMRLocalizedFailureReasonErrorKey, *extraInfo);
    return error;
}

QMRError QMRWebDavTransceiver::unrecognizedResponseError() {
    return QMRDataStoreError::errorWithCode(QMRDataStoreErrorUnknown, "Unknown Response");
}

QMRErrorSlot QMRWebDavTransceiver::HandleMultiStatusCode() {
    try {
        std::string xml = removeRoot(textOf(respRawData));
        if (respFilterForChange) {
            std::optional<std::string> prefix = findNamespaceNameForUri(QMRWebDavDataStoreXmlNamespace, xml);
            // Every filtered read asks for custom properties, so an answer that never names their
            // namespace is not one we can judge. The prefix goes into the cleaning patterns, so
            // anything but a real prefix (an XML name) is refused as well.
            if (!prefix || !QMRXmlSyntax::isName(*prefix, false)) return unrecognizedResponseError();
            xml = filterChangeElementWithNamespace(*prefix, std::move(xml));
        }
        respXml = RXMLElement::elementFromXMLString(xml);
    } catch (const QMRRegularExpressionMatchException&) {
        return unrecognizedResponseError();
    }
    if (!respXml.isValid()) return unrecognizedResponseError();
    return extractErrorForMultiStatusResponse();
}

std::string QMRWebDavTransceiver::removeRoot(std::string xml) const {
    auto pieces = depthPieces(reqDepth);
    if (pieces.size() != 2 || pieces[1] != "noroot") return xml;
    // The path and the marker go into the pattern as they stand: the collection paths are plain.
    const QMRRegularExpression root = cleaningPattern(
        fmt::format("<d:response>(?:(?!</d:response>).)+{}(?:(?!</d:response>).)+{}(?:(?!</d:response>).)+</d:response>",
                    QMRUriBuilder(reqUrl).path(), "<d:collection/>"));
    return root.stringByReplacingMatchesInString(xml, "");
}

std::optional<std::string> QMRWebDavTransceiver::findNamespaceNameForUri(std::string_view uri, std::string_view xml) {
    std::size_t valueAt = xml.find(fmt::format("=\"{}\"", uri));
    if (valueAt == std::string_view::npos) return std::nullopt;
    static constexpr std::string_view declaration = "xmlns:";
    std::size_t declarationAt = xml.rfind(declaration, valueAt);
    if (declarationAt == std::string_view::npos) return std::nullopt;
    return std::string(xml.substr(declarationAt + declaration.size(), valueAt - declarationAt - declaration.size()));
}

std::string QMRWebDavTransceiver::filterChangeElementWithNamespace(std::string_view prefix, std::string xml) const {
    // The prefix and the change values go in unescaped, deliberately: prefixes are XML names and
    // the change values plain lower-case words. The "d" prefix of DAV: is the server's, kept on purpose.
    // The change element's opening tag may not reach past its own ">": otherwise the tag of
    // changeDateInUtc would run on into the next response and drop a wanted file with an unwanted one.
    std::string alternation = "(?:<d:status>HTTP/1.1 404 Not Found</d:status>)";
    for (const std::string& value : respFilterForChange.value_or(std::vector<std::string>{}))
        alternation += fmt::format("|(?:<{0}:change[^>]*>{1}</{0}:change>)", prefix, value);
    const QMRRegularExpression unwanted = cleaningPattern(
        fmt::format("<d:response>(?:(?!</d:response>).)+(?:{})(?:(?!</d:response>).)+</d:response>", alternation));
    return unwanted.stringByReplacingMatchesInString(xml, "");
}

QMRErrorSlot QMRWebDavTransceiver::extractErrorForMultiStatusResponse() const {
    QMRErrorSlot error;
    for (const RXMLElement& response : respXml.children("response")) {
        for (const RXMLElement& propstat : response.children("propstat")) {
            std::string status = propstat.child("status").text();
            if (status.find("200") == std::string::npos)
                error = QMRDataStoreError::errorWithCode(QMRDataStoreErrorUnknown,
                                                         fmt::format("Unknown Error ({})", status));
        }
    }
    return error;
}
