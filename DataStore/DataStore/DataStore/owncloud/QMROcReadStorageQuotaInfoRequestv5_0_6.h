#pragma once
// The 5.0.6 quota: another page address, and the sentence closed with "</strong>".
#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv4_5_7.h"

class QMROcReadStorageQuotaInfoRequestv5_0_6 : public QMROcReadStorageQuotaInfoRequestv4_5_7 {
public:
    QMROcReadStorageQuotaInfoRequestv5_0_6() = delete;
    using QMROcReadStorageQuotaInfoRequestv4_5_7::QMROcReadStorageQuotaInfoRequestv4_5_7;

    std::string constructReadStorageQuotaInfoReqUrl() const override;
    std::optional<QMRStorageSpaceInfo> extractStorageQuotaInfo(const QMRData& body, QMRErrorSlot& error) const override;
};
