#pragma once
// Judges one answer of the media server: a transport failure by its code, any other answer by its
// JSON alone, whatever its HTTP status. A new converter serves each exchange; after a success it
// holds the parsed answer.
#include <cstdint>
#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "DataStore/funambol/QMRFunambolKeyValuePair.h"
#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"

class QMRFunambolErrorConverter {
public:
    // The error of the answer, or none. An empty body is a success without JSON.
    QMRErrorSlot wrapError(QMRDataView data, long httpCommResponseCode, const QMRErrorSlot& httpCommError,
                           const QMRFunambolErrorExtraInfo& customErrorExtraInfo);
    // 102 for a refused or cancelled authentication, 103 with the transport error otherwise.
    static QMRError wrapHttpCommError(const QMRError& httpCommError, long httpCommResponseCode);
    // 101 for a body that is not JSON; the server's own error if the answer carries one.
    QMRErrorSlot wrapFunambolErrorFromRawData(QMRDataView rawData,
                                              const QMRFunambolErrorExtraInfo& customErrorWithExtraInfo);
    // The error for a server code ("MED-1007"); the raw body, when given, becomes the failure reason
    // of an unknown code.
    static QMRError wrapFunambolErrorCode(std::string_view code,
                                          const QMRFunambolErrorExtraInfo& customErrorWithExtraInfo,
                                          std::optional<QMRDataView> unknownErrorExtraInfo);

    // The root object of a successful answer; none for an empty answer or before a success.
    const std::optional<nlohmann::json>& deserializedJSON() const noexcept { return _deserializedJSON; }

private:
    std::optional<nlohmann::json> _deserializedJSON;
};
