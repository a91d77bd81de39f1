#include "DataStore/owncloud/QMROcCreateNewFileRequestv4_5_7.h"

#include <fmt/format.h>

#include "DataStore/contract/QMRFileMetadataValidation.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestDelegate.h"
#include "DataStore/owncloud/QMROcPathUtil.h"
#include "companion/io/ComQuillmereIO_MemoryStream.h"
#include "companion/io/QMRStreamUtil.h"
#include "companion/util/QMRGuid.h"
#include "companion/util/QMRRegularExpression.h"
#include "companion/web/QMRBinaryMimeComponent.h"
#include "companion/web/QMRMimeWriter.h"
#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRTextualMimeComponent.h"
#include "companion/web/QMRUrlConnection.h"

namespace {

// As much as curl sends at once (its upload buffer): each send can then carry a whole buffer, where
// a smaller one (8 KiB) cut every send short and halved the upload's speed. Memory stays bounded.
constexpr std::size_t bodyBufferSize = 64 * 1024;

const QMRFileMetadataPtr& validatedNewFile(const QMRFileMetadataPtr& metadata) {
    QMRFileMetadataValidation::validateFileIdNotAvailable(*metadata);
    QMRFileMetadataValidation::validateNameAvailable(*metadata);
    // Required although every file is sent as application/octet-stream.
    QMRFileMetadataValidation::validateContentTypeAvailable(*metadata);
    QMRFileMetadataValidation::validateSizeInBytesAvailable(*metadata);
    QMROcPathUtil::validatePath(metadata->name());
    return metadata;
}

}  // namespace

QMROcCreateNewFileRequestv4_5_7::QMROcCreateNewFileRequestv4_5_7(QMRUrlSession& session, std::string requestToken,
                                                                 std::string baseUrl, QMRFileMetadataPtr metadata,
                                                                 QMRCreateNewFileCompletionBlock onCompletionBlock,
                                                                 QMRSpaceAvailableBlock onSpaceAvailableBlock)
    : QMROcRequest(session, std::move(baseUrl)),
      _requestToken(std::move(requestToken)),
      _metadata(validatedNewFile(metadata)),
      _onCompletionBlock(std::move(onCompletionBlock)),
      _onSpaceAvailableBlock(std::move(onSpaceAvailableBlock)) {}

void QMROcCreateNewFileRequestv4_5_7::send() {
    // The server stores the file under its name plus this suffix, so that uploads never collide.
    const std::string guidExtension = "." + QMRGuid::newGuid().toStringIncludeDash(false);
    const std::string boundary = QMRMimeWriter::generateBoundary();
    std::shared_ptr<QMRBoundInputStream> inputStream;
    std::shared_ptr<QMRBoundOutputStream> outputStream;
    QMRStreamUtil::createBoundInputStream(inputStream, outputStream, bodyBufferSize);
    QMRData prefixData, suffixData;
    constructPrefixSuffixData(boundary, guidExtension, prefixData, suffixData);

    QMRUrlRequest request = newRequest("POST", constructUploadNewFileReqUrl());
    request.setValue(_requestToken, "requesttoken");
    request.setValue(fmt::format("multipart/form-data; boundary={}", boundary), "Content-Type");
    // From the declared size: the caller's pieces must add up to it.
    request.setValue(std::to_string(static_cast<std::int64_t>(prefixData.size()) + _metadata->sizeInBytes() +
                                    static_cast<std::int64_t>(suffixData.size())),
                     "Content-Length");
    request.setHTTPBodyStream(inputStream);

    auto delegate = std::make_shared<QMROcCreateNewFileRequestDelegate>(
        guidExtension, outputStream, std::move(prefixData), std::move(suffixData), _metadata, _onCompletionBlock,
        _onSpaceAvailableBlock, shared_from_this());
    QMRRunLoop& runLoop = QMRRunLoop::current();
    std::shared_ptr<QMRUrlConnection> connection =
        QMRUrlConnection::initWithRequest(session(), request, delegate, false);
    connection->scheduleInRunLoop(runLoop);
    delegate->setConnection(connection);
    connection->start();
    outputStream->setDelegate(delegate);
    outputStream->scheduleInRunLoop(runLoop);
    outputStream->open();
}

std::string QMROcCreateNewFileRequestv4_5_7::constructUploadNewFileReqUrl() const {
    return builtUrl("/", "app=files", {{"getfile", "ajax/upload.php"}});
}

void QMROcCreateNewFileRequestv4_5_7::constructPrefixSuffixData(const std::string& boundary,
                                                                const std::string& guidExtension, QMRData& prefixData,
                                                                QMRData& suffixData) const {
    ComQuillmereIO_MemoryStream stream;
    QMRMimeWriter writer(stream, boundary);
    writer.writeMimeComponent(QMRTextualMimeComponent("form-data; name=\"MAX_FILE_SIZE\"", "2147483648"));
    writer.writeMimeComponent(QMRTextualMimeComponent("form-data; name=\"requesttoken\"", _requestToken));
    writer.writeMimeComponent(QMRTextualMimeComponent("form-data; name=\"dir\"",
                                                      QMROcPathUtil::extractParentFolderFromPath(_metadata->name())));
    // Headers only: the content is streamed between the prefix and the suffix.
    const std::string fileName = QMROcPathUtil::extractFolderOrFileFromPath(_metadata->name()) + guidExtension;
    writer.writeMimeComponent(QMRBinaryMimeComponent(
        fmt::format("form-data; name=\"files[]\"; filename=\"{}\"", fileName), "application/octet-stream"));
    prefixData = stream.readDataFromStartToEnd();
    const std::uint64_t endOfPrefix = stream.position();
    writer.close();
    stream.seekToOffset(endOfPrefix);
    suffixData = stream.readDataFromCurrentToEnd();
}

void QMROcCreateNewFileRequestv4_5_7::validateResponseBody(const QMRData& body, QMRErrorSlot& error) const {
    const std::string_view text = textOf(body);
    const std::string lower = lowercased(text);
    if (reportsSuccessWithId(lower)) return;
    if (lower.find("not enough space available") != std::string::npos) {
        error = createError("Insufficient storage space", QMRDataStoreErrorInsufficientStorage);
        return;
    }
    error = expiredOrUnrecognizedResponse(text);
}

std::optional<std::string> QMROcCreateNewFileRequestv4_5_7::extractId(const QMRData& body, QMRErrorSlot& error) const {
    // Greedy and not parsed as JSON; deliberate.
    static const QMRRegularExpression idPattern("\"id\":\"(.+)\",\"name\"",
                                                QMRRegularExpressionOptions::CaseInsensitive);
    return firstCapture(body, idPattern, error);
}
