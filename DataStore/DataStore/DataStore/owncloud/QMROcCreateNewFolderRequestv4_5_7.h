#pragma once
// Creates a folder through the files application's ajax script. The answer is a small JSON text,
// checked by searching it; the new folder's server id is read from it.
#include <optional>
#include <string>

#include "DataStore/owncloud/QMROcCreateNewFolderResponsev4_5_7.h"
#include "DataStore/owncloud/QMROcRequest.h"

class QMROcCreateNewFolderRequestv4_5_7 : public QMROcRequest {
public:
    QMROcCreateNewFolderRequestv4_5_7() = delete;
    // initWithRequestToken:baseUrl:path: with the new folder's full path. An empty path, a forbidden
    // character or a component "Shared" raises QMRInvalidArgumentException before any traffic.
    QMROcCreateNewFolderRequestv4_5_7(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                      std::string path);

    // On success the response's folderId is set; otherwise the error.
    void send(QMROcCreateNewFolderResponsev4_5_7& response, QMRErrorSlot& error);

    // 302 passes besides 200.
    void validateResponseCode(long statusCode, QMRErrorSlot& error) const override;

    virtual std::string constructCreateNewFolderRequestUrl() const;
    virtual QMRData constructNewFolderRequestBody() const;
    virtual void validateCreateNewFolderResponseBody(const QMRData& body, QMRErrorSlot& error) const;
    // The server's id of the new folder, or none with the error set.
    virtual std::optional<std::string> extractId(const QMRData& body, QMRErrorSlot& error) const;

protected:
    const std::string& requestToken() const noexcept { return _requestToken; }
    const std::string& path() const noexcept { return _path; }

private:
    std::string _requestToken;
    std::string _path;
};
