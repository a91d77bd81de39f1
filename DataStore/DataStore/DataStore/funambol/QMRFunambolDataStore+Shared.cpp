#include <fmt/format.h>

#include <algorithm>

#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolErrorConverter.h"
#include "companion/util/QMRDateFormat.h"
#include "companion/web/QMRUriBuilder.h"
#include "companion/web/QMRUrlConnection.h"

QMRFunambolDataStore::QMRFunambolDataStore(std::string baseUrl, const QMRUrlSessionConfiguration& configuration)
    : _baseUrl(std::move(baseUrl)), _session(configuration) {}

QMRFunambolDataStore::~QMRFunambolDataStore() = default;

bool QMRFunambolDataStore::supportsOperation(QMRDataStoreOperation operation) const {
    return QMRDataStoreOperationIsOneOf(operation, QMRFlatFileStoreOperations) ||
           operation == QMRDataStoreOperation::close;
}

const QMRFunambolDataStore::CollectionList& QMRFunambolDataStore::systemContentType() {
    static const CollectionList collections = {
        {"file", "files"},
        {"picture", "pictures"},
        {"video", "videos"},
    };
    return collections;
}

const std::vector<std::string>& QMRFunambolDataStore::recognizedImageType() {
    static const std::vector<std::string> types = {"gif", "jfif", "jif", "jpe", "jpeg", "jpg", "png"};
    return types;
}

const std::vector<std::string>& QMRFunambolDataStore::recognizedVideoType() {
    static const std::vector<std::string> types = {"3g2",   "3gp", "asf", "avi", "flv", "m4u",  "m4v", "mov",
                                                   "movie", "mp2", "mp4", "mpa", "mpe", "mpeg", "mpg", "wmv"};
    return types;
}

std::string QMRFunambolDataStore::toStringFromDate(QMRDate date) {
    return QMRDateFormat::toCompactDateString(date);
}

std::optional<QMRDate> QMRFunambolDataStore::toDateFromString(std::string_view text) {
    return QMRDateFormat::fromCompactDateString(text);
}

QMRFunambolErrorExtraInfo QMRFunambolDataStore::singleEntryErrorMapper(const std::string& code, std::string key,
                                                                       QMRFunambolKeyValuePair::Value value) {
    QMRFunambolErrorExtraInfo extraInfo;
    extraInfo.emplace(code, QMRFunambolKeyValuePair(std::move(key), std::move(value)));
    return extraInfo;
}

std::string QMRFunambolDataStore::constructRequestUri(std::string_view path, std::string_view query,
                                                      const std::vector<QMRFunambolKeyValuePair>& params) const {
    QMRUriBuilder builder(_baseUrl);
    builder.setPath(path);
    builder.setQuery(query);
    for (const QMRFunambolKeyValuePair& param : params)
        if (const auto* text = std::get_if<std::string>(&param.value())) builder.setParamValue(*text, param.key());
    return builder.toString();
}

QMRUrlRequest QMRFunambolDataStore::newRequestWithBody(std::string method, std::string url, std::string contentType,
                                                       QMRData body) {
    QMRUrlRequest request(std::move(url));
    request.setHTTPMethod(std::move(method));
    request.setValue(fmt::format("{}", body.size()), "Content-Length");
    request.setValue(std::move(contentType), "Content-Type");
    request.setHTTPBody(std::move(body));
    return request;
}

QMRFunambolErrorConverter QMRFunambolDataStore::exchange(const QMRUrlRequest& request, QMRErrorSlot& error,
                                                         const QMRFunambolErrorExtraInfo& customErrorExtraInfo) {
    QMRHttpUrlResponse response;
    error.reset();
    std::optional<QMRData> data = QMRUrlConnection::sendSynchronousRequest(_session, request, response, error);
    QMRFunambolErrorConverter converter;
    error = converter.wrapError(data ? QMRDataView(*data) : QMRDataView(), response.statusCode(), error,
                                customErrorExtraInfo);
    return converter;
}
