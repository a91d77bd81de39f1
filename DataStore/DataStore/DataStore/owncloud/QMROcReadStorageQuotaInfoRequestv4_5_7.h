#pragma once
// Reads the quota from the sentence "You have used <amount> of the available <amount>" of the
// personal settings page. Units are binary (1 kB = 1024 B) as the server counts them.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "DataStore/contract/QMRStorageSpaceInfo.h"
#include "DataStore/owncloud/QMROcReadStorageQuotaInfoResponsev4_5_7.h"
#include "DataStore/owncloud/QMROcRequest.h"

class QMRRegularExpression;

class QMROcReadStorageQuotaInfoRequestv4_5_7 : public QMROcRequest {
public:
    QMROcReadStorageQuotaInfoRequestv4_5_7() = delete;
    // initWithUrl:
    QMROcReadStorageQuotaInfoRequestv4_5_7(QMRUrlSession& session, std::string url);

    // On success the response's storageSpaceInfo is set; otherwise the error.
    void send(QMROcReadStorageQuotaInfoResponsev4_5_7& response, QMRErrorSlot& error);

    virtual std::string constructReadStorageQuotaInfoReqUrl() const;
    // No quota sentence: 101 "Unknown Response".
    virtual std::optional<QMRStorageSpaceInfo> extractStorageQuotaInfo(const QMRData& body, QMRErrorSlot& error) const;
    // B, KB, MB, GB in any case; anything else gives 0 and 101 "Unknown storage quota identifier".
    static std::int64_t multiplierFromIdentifier(std::string_view identifier, QMRErrorSlot& error);

protected:
    // Reads the quota sentence with the release's pattern.
    static std::optional<QMRStorageSpaceInfo> extractStorageQuotaInfoWithPattern(const QMRRegularExpression& pattern,
                                                                                 const QMRData& body,
                                                                                 QMRErrorSlot& error);
};
