#include "DataStore/funambol/QMRFunambolErrorConverter.h"

#include <algorithm>
#include <string>
#include <variant>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/funambol/QMRFunambolJson.h"
#include "companion/web/QMRUrlError.h"

namespace {
// The platform's domain and code for a body that is not JSON, kept so the underlying error reads
// the same as the platform's parser error.
constexpr char jsonParserErrorDomain[] = "NSCocoaErrorDomain";
constexpr long jsonParserErrorCode = 3840;
}  // namespace

QMRErrorSlot QMRFunambolErrorConverter::wrapError(QMRDataView data, long httpCommResponseCode,
                                                  const QMRErrorSlot& httpCommError,
                                                  const QMRFunambolErrorExtraInfo& customErrorExtraInfo) {
    if (httpCommError) return wrapHttpCommError(*httpCommError, httpCommResponseCode);
    // Deliberately no look at the status: an answer is judged by its JSON, and an empty one is a success.
    if (data.empty()) return std::nullopt;
    return wrapFunambolErrorFromRawData(data, customErrorExtraInfo);
}

QMRError QMRFunambolErrorConverter::wrapHttpCommError(const QMRError& httpCommError, long httpCommResponseCode) {
    if (httpCommError.code() == QMRUrlErrorUserCancelledAuthentication || httpCommResponseCode == 401)
        return QMRDataStoreError::errorWithCode(
            QMRDataStoreErrorAuthentication,
            "Either login name or password is invalid or the authenticated session has expired");
    return QMRDataStoreError::errorWithCode(QMRDataStoreErrorServerUnavailable, "Server down or server busy",
                                            httpCommError);
}

QMRErrorSlot QMRFunambolErrorConverter::wrapFunambolErrorFromRawData(
    QMRDataView rawData, const QMRFunambolErrorExtraInfo& customErrorWithExtraInfo) {
    nlohmann::json root;
    try {
        root = nlohmann::json::parse(rawData.begin(), rawData.end());
    } catch (const nlohmann::json::exception& failure) {
        return QMRDataStoreError::errorWithCode(
            QMRDataStoreErrorUnknown, "JSON deserialization error",
            QMRError::withDescription(jsonParserErrorDomain, jsonParserErrorCode, failure.what()));
    }
    // The platform's parser takes only an object or an array as the root; a bare value is not JSON to it.
    if (!root.is_object() && !root.is_array())
        return QMRDataStoreError::errorWithCode(QMRDataStoreErrorUnknown, "JSON deserialization error",
                                                QMRError::withDescription(jsonParserErrorDomain, jsonParserErrorCode,
                                                                          "JSON text did not start with "
                                                                          "array or object"));
    // Every answer of the interface is an object; an array cannot be read as one.
    if (!root.is_object()) return QMRDataStoreError::errorWithCode(QMRDataStoreErrorUnknown, "Unknown Response");
    if (const nlohmann::json* serverError = QMRFunambolJson::member(&root, "error")) {
        const nlohmann::json* code = QMRFunambolJson::member(serverError, "code");
        std::string codeText = code && code->is_string() ? code->get<std::string>() : std::string();
        return wrapFunambolErrorCode(codeText, customErrorWithExtraInfo, rawData);
    }
    _deserializedJSON = std::move(root);
    return std::nullopt;
}

QMRError QMRFunambolErrorConverter::wrapFunambolErrorCode(std::string_view code,
                                                          const QMRFunambolErrorExtraInfo& customErrorWithExtraInfo,
                                                          std::optional<QMRDataView> unknownErrorExtraInfo) {
    if (code == "MED-1007")
        return QMRDataStoreError::errorWithCode(QMRDataStoreErrorInsufficientStorage, "Insufficient storage space");
    if (code == "MED-1005") {
        // Code 104 with the file-id message is the back-end's settled pairing, kept deliberately.
        QMRError error = QMRDataStoreError::errorWithCode(QMRDataStoreErrorFileOrFolderNotFound,
                                                          "One or more specified fileId is not found");
        if (auto extra = customErrorWithExtraInfo.find(code); extra != customErrorWithExtraInfo.end())
            std::visit([&](const auto& value) { error.setUserInfoValue(extra->second.key(), value); },
                       extra->second.value());
        return error;
    }
    QMRError error = QMRDataStoreError::errorWithCode(QMRDataStoreErrorUnknown, "Unknown error");
    if (unknownErrorExtraInfo) {
        auto end = std::find(unknownErrorExtraInfo->begin(), unknownErrorExtraInfo->end(), std::uint8_t{0});
        error.setUserInfoValue(QMRLocalizedFailureReasonErrorKey, std::string(unknownErrorExtraInfo->begin(), end));
    }
    return error;
}
