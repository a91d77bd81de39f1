#pragma once
// Uploads one new file through the files application's ajax upload script, as a multipart form
// whose file part is streamed from the caller's pieces on the calling thread's run loop.
//
// The request must be owned by a std::shared_ptr: once send has returned, only the exchange's
// delegate keeps it, until the exchange ends.
#include <memory>
#include <optional>
#include <string>

#include "DataStore/contract/QMRDataStore.h"
#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcRequest.h"

class QMROcCreateNewFileRequestv4_5_7 : public QMROcRequest,
                                        public std::enable_shared_from_this<QMROcCreateNewFileRequestv4_5_7> {
public:
    QMROcCreateNewFileRequestv4_5_7() = delete;
    // initWithRequestToken:url:fileMetadata:onCompletionBlock:onSpaceAvailableBlock:. The record
    // must have no fileId, and a name (the new file's full path), a content type and a size;
    // otherwise QMRInvalidArgumentException, in that order, then the path check.
    QMROcCreateNewFileRequestv4_5_7(QMRUrlSession& session, std::string requestToken, std::string baseUrl,
                                    QMRFileMetadataPtr metadata, QMRCreateNewFileCompletionBlock onCompletionBlock,
                                    QMRSpaceAvailableBlock onSpaceAvailableBlock);

    // Starts the upload on the calling thread's run loop and returns at once; the callbacks come
    // from that loop. On success the record's fileId is set and handed to the completion.
    void send();

    virtual std::string constructUploadNewFileReqUrl() const;
    // The multipart text before the streamed content and the one after it.
    void constructPrefixSuffixData(const std::string& boundary, const std::string& guidExtension, QMRData& prefixData,
                                   QMRData& suffixData) const;

    // 105 when the quota is exhausted, 102 when the token expired, 101 for any other answer that
    // is not a success with an id.
    void validateResponseBody(const QMRData& body, QMRErrorSlot& error) const;
    // The server's id of the new file, or none with the error set.
    virtual std::optional<std::string> extractId(const QMRData& body, QMRErrorSlot& error) const;

    const std::string& requestToken() const noexcept { return _requestToken; }
    const QMRFileMetadataPtr& metadata() const noexcept { return _metadata; }

private:
    std::string _requestToken;
    QMRFileMetadataPtr _metadata;  // shared with the caller: its fileId is filled in on success
    QMRCreateNewFileCompletionBlock _onCompletionBlock;
    QMRSpaceAvailableBlock _onSpaceAvailableBlock;
};
