#pragma once
// Reads one file's content through the files application's download script and hands it to the
// caller piece by piece, as it arrives, on the calling thread's run loop. No request token is sent:
// the session's login cookie authorises it.
//
// The request must be owned by a std::shared_ptr: once send has returned, only the exchange's
// delegate keeps it, until the exchange ends.
#include <memory>
#include <string>

#include "DataStore/contract/QMRDataStore.h"
#include "DataStore/owncloud/QMROcRequest.h"

class QMROcReadFileContentRequestv4_5_7 : public QMROcRequest,
                                          public std::enable_shared_from_this<QMROcReadFileContentRequestv4_5_7> {
public:
    QMROcReadFileContentRequestv4_5_7() = delete;
    // initWithBaseUrl:fileId:onCompletionBlock:onDataAvailableBlock:. An id text that does not parse
    // or whose path is invalid raises before any traffic; its resource type is not checked.
    QMROcReadFileContentRequestv4_5_7(QMRUrlSession& session, std::string baseUrl, const std::string& fileId,
                                      QMRReadFileCompletionBlock onCompletionBlock,
                                      QMRDataAvailableBlock onDataAvailableBlock);

    // Starts the download on the calling thread's run loop and returns at once. The pieces come
    // from that loop, then one empty piece, then the completion without error.
    void send();

    virtual std::string constructReadFileContentReqUrl() const;

    const std::string& filePath() const noexcept { return _filePath; }

private:
    std::string _filePath;
    QMRReadFileCompletionBlock _onCompletionBlock;
    QMRDataAvailableBlock _onDataAvailableBlock;
};
