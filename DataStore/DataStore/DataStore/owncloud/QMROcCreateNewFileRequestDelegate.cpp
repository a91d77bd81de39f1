#include "DataStore/owncloud/QMROcCreateNewFileRequestDelegate.h"

#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"

QMROcCreateNewFileRequestDelegate::QMROcCreateNewFileRequestDelegate(
    std::string guidExtension, std::shared_ptr<QMRBoundOutputStream> outputStream, QMRData prefixData,
    QMRData suffixData, QMRFileMetadataPtr metadata, QMRCreateNewFileCompletionBlock onCompletionBlock,
    QMRSpaceAvailableBlock onSpaceAvailableBlock, std::shared_ptr<QMROcCreateNewFileRequestv4_5_7> delegateCallback)
    : _guidExtension(std::move(guidExtension)),
      _outputStream(std::move(outputStream)),
      _prefixData(std::move(prefixData)),
      _suffixData(std::move(suffixData)),
      _metadata(std::move(metadata)),
      _onCompletionBlock(std::move(onCompletionBlock)),
      _onSpaceAvailableBlock(std::move(onSpaceAvailableBlock)),
      _delegateCallback(std::move(delegateCallback)) {
    setData(_prefixData);
    _dataType = dataTypePrefix;
}

// ---- the body ----

void QMROcCreateNewFileRequestDelegate::stream(QMRBoundOutputStream&, QMRStreamEvent eventCode) {
    if (eventCode == QMRStreamEventHasSpaceAvailable) processHasSpaceEvent();
    if (eventCode == QMRStreamEventErrorOccurred) processErrorOccurredEvent();
}

void QMROcCreateNewFileRequestDelegate::processHasSpaceEvent() {
    switch (_dataType) {
        case dataTypePrefix:
            writePrefixData();
            break;
        case dataTypeMiddle:
            writeMiddleData();
            break;
        case dataTypeSuffix:
            writeSuffixData();
            break;
        default:
            break;
    }
}

void QMROcCreateNewFileRequestDelegate::processErrorOccurredEvent() {
    _delegateCallback.reset();
    cleanup();
    // Deliberate: the request is released before the failure is reported, so no error can be built
    // from it and the completion receives neither record nor error.
    complete(nullptr, std::nullopt);
}

void QMROcCreateNewFileRequestDelegate::writePrefixData() {
    if (_dataRange.length > 0) return writeData();
    setData({});
    _dataType = dataTypeMiddle;
    writeMiddleData();
}

void QMROcCreateNewFileRequestDelegate::writeMiddleData() {
    if (_dataRange.length > 0) return writeData();
    std::optional<QMRData> piece;
    bool stop = false;
    _onSpaceAvailableBlock(piece, stop);
    if (stop) {
        _delegateCallback.reset();
        if (_connection) _connection->cancel();
        cleanup();
        return;
    }
    if (piece && !piece->empty()) {
        setData(std::move(*piece));
        return writeData();
    }
    // No piece: the content is complete.
    setData(_suffixData);
    _dataType = dataTypeSuffix;
    writeSuffixData();
}

void QMROcCreateNewFileRequestDelegate::writeSuffixData() {
    if (_dataRange.length > 0) return writeData();
    setData({});
    _dataType = dataTypeNone;
    cleanup();
}

void QMROcCreateNewFileRequestDelegate::writeData() {
    const std::int64_t count = _outputStream->write(QMRDataView(_data).subspan(_dataRange.location, _dataRange.length));
    // Deliberate: the count is applied unchecked; a refused write (-1) is followed by the error
    // event, which ends the upload before the range is used again.
    _dataRange.location += static_cast<std::uint64_t>(count);
    _dataRange.length -= static_cast<std::uint64_t>(count);
}

void QMROcCreateNewFileRequestDelegate::cleanup() {
    _connection.reset();
    if (_outputStream) {
        // Closing the writing end ends the HTTP body.
        _outputStream->close();
        _outputStream.reset();
    }
}

void QMROcCreateNewFileRequestDelegate::setData(QMRData data) {
    _data = std::move(data);
    _dataRange = {0, _data.size()};
}

// ---- the answer ----

void QMROcCreateNewFileRequestDelegate::connection(QMRUrlConnection&, const QMRHttpUrlResponse& response) {
    _responseHeader = response;
}

void QMROcCreateNewFileRequestDelegate::connection(QMRUrlConnection&, QMRDataView data) {
    _responseBody.insert(_responseBody.end(), data.begin(), data.end());
}

void QMROcCreateNewFileRequestDelegate::connection(QMRUrlConnection&, const QMRError&) {
    _delegateCallback.reset();
    // Deliberate, as for a stream error: the request is gone before the failure could be wrapped.
    complete(nullptr, std::nullopt);
}

void QMROcCreateNewFileRequestDelegate::connectionDidFinishLoading(QMRUrlConnection&) {
    // The request is released however this ends, a raising callback included.
    const std::shared_ptr<QMROcCreateNewFileRequestv4_5_7> request = std::move(_delegateCallback);
    if (!request) return;  // the exchange already ended on the stream's side
    QMRErrorSlot error;
    request->validateResponseCode(_responseHeader ? _responseHeader->statusCode() : 0, error);
    if (!error) request->validateResponseBody(_responseBody, error);
    if (error) return complete(nullptr, std::move(error));
    if (!_onCompletionBlock) return;
    const std::optional<std::string> identifier = request->extractId(_responseBody, error);
    if (error || !identifier) return complete(nullptr, std::move(error));
    const QMROcFileOrFolderId fileId(*identifier, _metadata->name() + _guidExtension,
                                     QMRFileMetadata::resourceTypeFile);
    _metadata->setFileId(fileId.toString());
    complete(_metadata, std::nullopt);
}

void QMROcCreateNewFileRequestDelegate::complete(QMRFileMetadataPtr metadata, std::optional<QMRError> error) {
    if (!_onCompletionBlock) return;
    const QMRCreateNewFileCompletionBlock completion = std::move(_onCompletionBlock);
    _onCompletionBlock = nullptr;
    completion(std::move(metadata), std::move(error));
}
