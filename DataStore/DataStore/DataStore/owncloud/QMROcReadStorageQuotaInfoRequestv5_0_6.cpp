#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv5_0_6.h"

#include "companion/util/QMRRegularExpression.h"

std::string QMROcReadStorageQuotaInfoRequestv5_0_6::constructReadStorageQuotaInfoReqUrl() const {
    return fixedUrl("/index.php/settings/personal");
}

std::optional<QMRStorageSpaceInfo> QMROcReadStorageQuotaInfoRequestv5_0_6::extractStorageQuotaInfo(
    const QMRData& body, QMRErrorSlot& error) const {
    static const QMRRegularExpression quotaSentence(
        "<p id=\"quotatext\">You have used <strong>(.*)? (B|kB|MB|GB)</strong> of the available "
        "<strong>(.*)? (B|kB|MB|GB)</strong></p>",
        QMRRegularExpressionOptions::CaseInsensitive | QMRRegularExpressionOptions::DotMatchesLineSeparators);
    return extractStorageQuotaInfoWithPattern(quotaSentence, body, error);
}
