#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv4_5_7.h"

#include <charconv>
#include <cmath>
#include <string>

#include "companion/util/QMRRegularExpression.h"

namespace {

constexpr QMRRegularExpressionOptions quotaPatternOptions =
    QMRRegularExpressionOptions::CaseInsensitive | QMRRegularExpressionOptions::DotMatchesLineSeparators;

// The leading number of a text, with a full stop as the decimal point whatever the process locale;
// 0 when there is none.
double leadingNumber(std::string_view text) {
    std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos) return 0.0;
    if (text[start] == '+') ++start;  // from_chars takes no plus sign
    double value = 0.0;
    const auto [end, failure] = std::from_chars(text.data() + start, text.data() + text.size(), value);
    (void)end;
    return failure == std::errc() ? value : 0.0;
}

// Truncated toward zero; amounts beyond what 64 bits hold end at the nearest limit.
std::int64_t truncatedBytes(double bytes) {
    if (std::isnan(bytes)) return 0;
    if (bytes >= 9.2233720368547758e18) return INT64_MAX;
    if (bytes <= -9.2233720368547758e18) return INT64_MIN;
    return static_cast<std::int64_t>(bytes);
}

}  // namespace

QMROcReadStorageQuotaInfoRequestv4_5_7::QMROcReadStorageQuotaInfoRequestv4_5_7(QMRUrlSession& session, std::string url)
    : QMROcRequest(session, std::move(url)) {}

void QMROcReadStorageQuotaInfoRequestv4_5_7::send(QMROcReadStorageQuotaInfoResponsev4_5_7& response,
                                                  QMRErrorSlot& error) {
    std::optional<QMRData> body = exchange(newRequest("GET", constructReadStorageQuotaInfoReqUrl()), error);
    if (!body) return;
    response.setStorageSpaceInfo(extractStorageQuotaInfo(*body, error));
}

std::string QMROcReadStorageQuotaInfoRequestv4_5_7::constructReadStorageQuotaInfoReqUrl() const {
    return fixedUrl("/settings/personal.php");
}

std::optional<QMRStorageSpaceInfo> QMROcReadStorageQuotaInfoRequestv4_5_7::extractStorageQuotaInfo(
    const QMRData& body, QMRErrorSlot& error) const {
    // The sentence really ends in an opening "<strong>" on these pages; matched so, deliberately.
    static const QMRRegularExpression quotaSentence(
        "<p id=\"quotatext\">You have used <strong>(.*)? (B|kB|MB|GB)</strong> of the available "
        "<strong>(.*)? (B|kB|MB|GB)<strong></p>",
        quotaPatternOptions);
    return extractStorageQuotaInfoWithPattern(quotaSentence, body, error);
}

std::optional<QMRStorageSpaceInfo> QMROcReadStorageQuotaInfoRequestv4_5_7::extractStorageQuotaInfoWithPattern(
    const QMRRegularExpression& pattern, const QMRData& body, QMRErrorSlot& error) {
    const std::string_view text = textOf(body);
    std::optional<QMRRegularExpressionMatch> match;
    try {
        match = pattern.firstMatchInString(text);
    } catch (const QMRRegularExpressionMatchException&) {
        // Neither a match nor a no-match: a page we do not know.
    }
    if (!match) {
        error = createError("Unknown Response", QMRDataStoreErrorUnknown);
        return std::nullopt;
    }
    const auto group = [&](std::size_t index) { return match->substringAtIndex(text, index).value_or(""); };
    const double quotaAmount = leadingNumber(group(3));
    const std::int64_t quotaMultiplier = multiplierFromIdentifier(group(4), error);
    const double usedAmount = leadingNumber(group(1));
    const std::int64_t usedMultiplier = multiplierFromIdentifier(group(2), error);
    if (error) return std::nullopt;
    const double quotaBytes = quotaAmount * static_cast<double>(quotaMultiplier);
    const double usedBytes = usedAmount * static_cast<double>(usedMultiplier);
    // Not clamped: a used amount above the quota gives a negative free space.
    return QMRStorageSpaceInfo(truncatedBytes(quotaBytes), truncatedBytes(quotaBytes - usedBytes));
}

std::int64_t QMROcReadStorageQuotaInfoRequestv4_5_7::multiplierFromIdentifier(std::string_view identifier,
                                                                              QMRErrorSlot& error) {
    // Binary units although the page writes "kB": the server counts in powers of 1024.
    std::string unit(identifier);
    for (char& c : unit)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    if (unit == "B") return 1;
    if (unit == "KB") return 1024;
    if (unit == "MB") return 1048576;
    if (unit == "GB") return 1073741824;
    error = createError("Unknown storage quota identifier", QMRDataStoreErrorUnknown);
    return 0;
}
