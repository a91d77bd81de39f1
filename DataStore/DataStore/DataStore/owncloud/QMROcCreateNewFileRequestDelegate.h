#pragma once
// Feeds an upload's body and reads the server's answer. As the writer of the body stream it writes
// the multipart prefix, then the caller's pieces, then the suffix, one write per has-space event,
// and asks the caller for a piece only once everything given before is written. As the delegate of
// the connection it gathers the answer and reports the created record.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "DataStore/contract/QMRDataStore.h"
#include "companion/io/QMRBoundOutputStream.h"
#include "companion/io/QMRStreamDelegate.h"
#include "companion/web/QMRUrlConnection.h"
#include "companion/web/QMRUrlConnectionDelegate.h"

class QMROcCreateNewFileRequestv4_5_7;

class QMROcCreateNewFileRequestDelegate : public QMRStreamDelegate, public QMRUrlConnectionDelegate {
public:
    // Which piece is being written.
    enum DataType : std::int32_t { dataTypeNone = 0, dataTypePrefix = 1, dataTypeMiddle = 2, dataTypeSuffix = 3 };

    QMROcCreateNewFileRequestDelegate() = delete;
    // initWithGuidExtension:outputStream:prefixData:suffixData:metadata:onCompletionBlock:
    // onSpaceAvailableBlock:delegateCallback:. Starts with the prefix.
    QMROcCreateNewFileRequestDelegate(std::string guidExtension, std::shared_ptr<QMRBoundOutputStream> outputStream,
                                      QMRData prefixData, QMRData suffixData, QMRFileMetadataPtr metadata,
                                      QMRCreateNewFileCompletionBlock onCompletionBlock,
                                      QMRSpaceAvailableBlock onSpaceAvailableBlock,
                                      std::shared_ptr<QMROcCreateNewFileRequestv4_5_7> delegateCallback);

    void setConnection(std::shared_ptr<QMRUrlConnection> connection) { _connection = std::move(connection); }

    // Acts on has-space and error events only.
    void stream(QMRBoundOutputStream& stream, QMRStreamEvent eventCode) override;

    void connection(QMRUrlConnection& connection, const QMRHttpUrlResponse& response) override;
    void connection(QMRUrlConnection& connection, QMRDataView data) override;
    void connection(QMRUrlConnection& connection, const QMRError& error) override;
    void connectionDidFinishLoading(QMRUrlConnection& connection) override;

    DataType dataType() const noexcept { return _dataType; }

private:
    struct Range {
        std::uint64_t location = 0;
        std::uint64_t length = 0;
    };

    void processHasSpaceEvent();
    void processErrorOccurredEvent();
    void writePrefixData();
    void writeMiddleData();
    void writeSuffixData();
    void writeData();
    void cleanup();
    void setData(QMRData data);
    // Calls the completion, if any, at most once: a failed connection also ends the body stream
    // with an error event, and the caller hears of the end once.
    void complete(QMRFileMetadataPtr metadata, std::optional<QMRError> error);

    std::string _guidExtension;
    std::shared_ptr<QMRBoundOutputStream> _outputStream;
    QMRData _prefixData;
    QMRData _suffixData;
    std::shared_ptr<QMRUrlConnection> _connection;
    QMRFileMetadataPtr _metadata;
    QMRCreateNewFileCompletionBlock _onCompletionBlock;
    QMRSpaceAvailableBlock _onSpaceAvailableBlock;
    QMRData _data;
    Range _dataRange;
    DataType _dataType = dataTypePrefix;
    std::optional<QMRHttpUrlResponse> _responseHeader;
    QMRData _responseBody;
    std::shared_ptr<QMROcCreateNewFileRequestv4_5_7> _delegateCallback;
};
