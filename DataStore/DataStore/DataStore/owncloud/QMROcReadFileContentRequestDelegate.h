#pragma once
// Hands a download's pieces to the caller as the connection delivers them, and ends it: a status
// other than 200 cancels the transfer and reports the error, a stop from the caller cancels it
// silently, the normal end brings one empty piece and then the completion.
#include <memory>

#include "DataStore/contract/QMRDataStore.h"
#include "companion/web/QMRUrlConnection.h"
#include "companion/web/QMRUrlConnectionDelegate.h"

class QMROcReadFileContentRequestv4_5_7;

class QMROcReadFileContentRequestDelegate : public QMRUrlConnectionDelegate {
public:
    QMROcReadFileContentRequestDelegate() = delete;
    // initWithOnCompletionBlock:onDataAvailableBlock:delegateCallback:
    QMROcReadFileContentRequestDelegate(QMRReadFileCompletionBlock onCompletionBlock,
                                        QMRDataAvailableBlock onDataAvailableBlock,
                                        std::shared_ptr<QMROcReadFileContentRequestv4_5_7> delegateCallback);

    void setConnection(std::shared_ptr<QMRUrlConnection> connection) { _connection = std::move(connection); }

    void connection(QMRUrlConnection& connection, const QMRHttpUrlResponse& response) override;
    void connection(QMRUrlConnection& connection, QMRDataView data) override;
    void connection(QMRUrlConnection& connection, const QMRError& error) override;
    void connectionDidFinishLoading(QMRUrlConnection& connection) override;

private:
    // Releases the request, cancels the transfer and releases the connection.
    void abandon();

    QMRReadFileCompletionBlock _onCompletionBlock;
    QMRDataAvailableBlock _onDataAvailableBlock;
    std::shared_ptr<QMROcReadFileContentRequestv4_5_7> _delegateCallback;
    std::shared_ptr<QMRUrlConnection> _connection;
};
