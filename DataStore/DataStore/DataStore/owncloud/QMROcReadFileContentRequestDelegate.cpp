#include "DataStore/owncloud/QMROcReadFileContentRequestDelegate.h"

#include "DataStore/owncloud/QMROcReadFileContentRequestv4_5_7.h"

QMROcReadFileContentRequestDelegate::QMROcReadFileContentRequestDelegate(
    QMRReadFileCompletionBlock onCompletionBlock, QMRDataAvailableBlock onDataAvailableBlock,
    std::shared_ptr<QMROcReadFileContentRequestv4_5_7> delegateCallback)
    : _onCompletionBlock(std::move(onCompletionBlock)),
      _onDataAvailableBlock(std::move(onDataAvailableBlock)),
      _delegateCallback(std::move(delegateCallback)) {}

void QMROcReadFileContentRequestDelegate::connection(QMRUrlConnection&, const QMRHttpUrlResponse& response) {
    if (!_delegateCallback) return;
    QMRErrorSlot error;
    _delegateCallback->validateResponseCode(response.statusCode(), error);
    if (!error) return;
    // Cancelled before any of the body: an error page is never handed over as content.
    abandon();
    if (_onCompletionBlock) _onCompletionBlock(std::move(error));
}

void QMROcReadFileContentRequestDelegate::connection(QMRUrlConnection&, QMRDataView data) {
    bool stop = false;
    _onDataAvailableBlock(data, stop);
    if (stop) abandon();
}

void QMROcReadFileContentRequestDelegate::connection(QMRUrlConnection&, const QMRError& error) {
    _connection.reset();
    if (_onCompletionBlock) _onCompletionBlock(QMROcRequest::wrapIOError(error));
    _delegateCallback.reset();
}

void QMROcReadFileContentRequestDelegate::connectionDidFinishLoading(QMRUrlConnection&) {
    _delegateCallback.reset();
    _connection.reset();
    // The empty piece marks the end of the content; a stop asked for now changes nothing.
    bool stop = false;
    _onDataAvailableBlock(QMRDataView(), stop);
    if (_onCompletionBlock) _onCompletionBlock(std::nullopt);
}

void QMROcReadFileContentRequestDelegate::abandon() {
    _delegateCallback.reset();
    if (_connection) _connection->cancel();
    _connection.reset();
}
