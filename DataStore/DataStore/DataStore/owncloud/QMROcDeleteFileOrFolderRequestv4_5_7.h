#pragma once
// Deletes a file or folder through the files application's ajax script. Only an answer holding
// "files":null counts as failure; any other answer is success.
#include <string>
#include <string_view>

#include "DataStore/owncloud/QMROcRequest.h"

class QMROcDeleteFileOrFolderRequestv4_5_7 : public QMROcRequest {
public:
    QMROcDeleteFileOrFolderRequestv4_5_7() = delete;
    // initWithRequestToken:baseUrl:fileOrFolderId:. A malformed id raises "Invalid Resource Type";
    // a path with a forbidden character raises; entries of "Shared" may be deleted.
    QMROcDeleteFileOrFolderRequestv4_5_7(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                         std::string_view fileOrFolderId);

    const std::string& fileOrFolderPath() const noexcept { return _fileOrFolderPath; }

    void send(QMRErrorSlot& error);

    // Forwards to validateResponseHeader, this class's name for the status check.
    void validateResponseCode(long statusCode, QMRErrorSlot& error) const final;
    virtual void validateResponseHeader(long statusCode, QMRErrorSlot& error) const;
    virtual std::string constructDeleteFileContentRequestUrl() const;
    virtual QMRData constructDeleteFileOrFolderRequestBody() const;
    virtual void validateResponseBody(const QMRData& body, QMRErrorSlot& error) const;

protected:
    const std::string& requestToken() const noexcept { return _requestToken; }

private:
    std::string _requestToken;
    std::string _fileOrFolderPath;
};
