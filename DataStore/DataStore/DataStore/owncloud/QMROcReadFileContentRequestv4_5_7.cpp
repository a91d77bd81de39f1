#include "DataStore/owncloud/QMROcReadFileContentRequestv4_5_7.h"

#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcPathUtil.h"
#include "DataStore/owncloud/QMROcReadFileContentRequestDelegate.h"
#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRUrlConnection.h"

namespace {

std::string validatedFilePath(const std::string& fileId) {
    std::string path = QMROcFileOrFolderId(fileId).path();
    QMROcPathUtil::validatePath(path, true);  // a file inside "Shared" may be read
    return path;
}

}  // namespace

QMROcReadFileContentRequestv4_5_7::QMROcReadFileContentRequestv4_5_7(QMRUrlSession& session, std::string baseUrl,
                                                                     const std::string& fileId,
                                                                     QMRReadFileCompletionBlock onCompletionBlock,
                                                                     QMRDataAvailableBlock onDataAvailableBlock)
    : QMROcRequest(session, std::move(baseUrl)),
      _filePath(validatedFilePath(fileId)),
      _onCompletionBlock(std::move(onCompletionBlock)),
      _onDataAvailableBlock(std::move(onDataAvailableBlock)) {}

void QMROcReadFileContentRequestv4_5_7::send() {
    const QMRUrlRequest request = newRequest("GET", constructReadFileContentReqUrl());
    auto delegate = std::make_shared<QMROcReadFileContentRequestDelegate>(_onCompletionBlock, _onDataAvailableBlock,
                                                                          shared_from_this());
    std::shared_ptr<QMRUrlConnection> connection =
        QMRUrlConnection::initWithRequest(session(), request, delegate, false);
    connection->scheduleInRunLoop(QMRRunLoop::current());
    delegate->setConnection(connection);
    connection->start();
}

std::string QMROcReadFileContentRequestv4_5_7::constructReadFileContentReqUrl() const {
    return builtUrl("/", "app=files",
                    {{"getfile", "ajax/download.php"},
                     {"files", QMROcPathUtil::extractFolderOrFileFromPath(_filePath)},
                     {"dir", QMROcPathUtil::extractParentFolderFromPath(_filePath)}});
}
