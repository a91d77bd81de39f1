#include "DataStore/owncloud/QMROcCreateNewFolderRequestv4_5_7.h"

#include <fmt/format.h>

#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcPathUtil.h"
#include "companion/util/QMRRegularExpression.h"

namespace {

std::string validatedNewFolderPath(std::string path) {
    QMROcPathUtil::validatePath(path);  // no folder "Shared" at any depth
    return path;
}

}  // namespace

QMROcCreateNewFolderRequestv4_5_7::QMROcCreateNewFolderRequestv4_5_7(QMRUrlSession& session, std::string requestToken,
                                                                     std::string baseUrl, std::string path)
    : QMROcRequest(session, std::move(baseUrl)),
      _requestToken(std::move(requestToken)),
      _path(validatedNewFolderPath(std::move(path))) {}

void QMROcCreateNewFolderRequestv4_5_7::send(QMROcCreateNewFolderResponsev4_5_7& response, QMRErrorSlot& error) {
    QMRUrlRequest request = newRequest("POST", constructCreateNewFolderRequestUrl());
    setAjaxFormHeaders(request, _requestToken);
    request.setHTTPBody(constructNewFolderRequestBody());
    std::optional<QMRData> body = exchange(request, error);
    if (!body) return;
    validateCreateNewFolderResponseBody(*body, error);
    if (error) return;
    std::optional<std::string> identifier = extractId(*body, error);
    if (error || !identifier) return;
    response.setFolderId(QMROcFileOrFolderId(*identifier, _path, QMRFileMetadata::resourceTypeFolder).toString());
}

void QMROcCreateNewFolderRequestv4_5_7::validateResponseCode(long statusCode, QMRErrorSlot& error) const {
    if (statusCode == 302) return;
    QMROcRequest::validateResponseCode(statusCode, error);
}

std::string QMROcCreateNewFolderRequestv4_5_7::constructCreateNewFolderRequestUrl() const {
    return builtUrl("/", "app=files", {{"getfile", "ajax/newfolder.php"}});
}

QMRData QMROcCreateNewFolderRequestv4_5_7::constructNewFolderRequestBody() const {
    return formBody({{"dir", QMROcPathUtil::extractParentFolderFromPath(_path)},
                     {"foldername", QMROcPathUtil::extractFolderOrFileFromPath(_path)}});
}

void QMROcCreateNewFolderRequestv4_5_7::validateCreateNewFolderResponseBody(const QMRData& body,
                                                                            QMRErrorSlot& error) const {
    const std::string_view text = textOf(body);
    const std::string lower = lowercased(text);
    if (reportsSuccessWithId(lower)) return;
    error = expiredOrUnrecognizedResponse(text);
}

std::optional<std::string> QMROcCreateNewFolderRequestv4_5_7::extractId(const QMRData& body,
                                                                        QMRErrorSlot& error) const {
    // Greedy: the id runs to the last quote before "},"status"; deliberate.
    static const QMRRegularExpression idPattern("\"id\":\"(.+)\"\\},\"status\"",
                                                QMRRegularExpressionOptions::CaseInsensitive);
    return firstCapture(body, idPattern, error);
}
