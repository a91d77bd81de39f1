#include "DataStore/owncloud/QMROcReadPersonalSettingsRequestv_4_5_7.h"

#include "companion/util/QMRRegularExpression.h"

QMROcReadPersonalSettingsRequestv_4_5_7::QMROcReadPersonalSettingsRequestv_4_5_7(QMRUrlSession& session,
                                                                                 std::string url)
    : QMROcRequest(session, std::move(url)) {}

void QMROcReadPersonalSettingsRequestv_4_5_7::send(QMROcReadPersonalSettingsResponsev_4_5_7& response,
                                                   QMRErrorSlot& error) {
    std::optional<QMRData> body = exchange(newRequest("GET", constructPersonalSettingsReqUrl()), error);
    if (!body) return;
    std::optional<QMROwnCloudPersonalSettings> settings = extractPersonalSettings(*body, error);
    if (!error) response.setPersonalSettings(std::move(settings));
}

std::string QMROcReadPersonalSettingsRequestv_4_5_7::constructPersonalSettingsReqUrl() const {
    return fixedUrl("/settings/personal.php");
}

std::optional<QMROwnCloudPersonalSettings> QMROcReadPersonalSettingsRequestv_4_5_7::extractPersonalSettings(
    const QMRData& body, QMRErrorSlot& error) const {
    // The field is read as the one pattern
    //   <input type="text" name="email" id="email" value="(.*)?".*?placeholder="Your email address" />
    // would read it, dot matching line ends (5.0.6 breaks the input's line) and the value greedy, so
    // that it runs to the last quote before the last placeholder (deliberate). That pattern retries
    // once per quote over the rest of the page and exceeds PCRE2's match limit on ordinary pages,
    // so it is searched in two linear steps with the same result: the last placeholder, then the
    // value before it.
    constexpr auto options =
        QMRRegularExpressionOptions::CaseInsensitive | QMRRegularExpressionOptions::DotMatchesLineSeparators;
    static const QMRRegularExpression lastPlaceholder("\\A.*(placeholder=\"Your email address\" />)", options);
    static const QMRRegularExpression valueBeforeIt("<input type=\"text\" name=\"email\" id=\"email\" value=\"(.*)?\"",
                                                    options);
    const std::string_view text = textOf(body);
    try {
        const QMRUtf8Text page = QMRUtf8Text::validated(text);
        if (const auto placeholder = lastPlaceholder.firstMatchInString(page, QMRTextRange{0, text.size()})) {
            const QMRTextRange beforePlaceholder{0, placeholder->rangeAtIndex(1).location};
            if (const auto field = valueBeforeIt.firstMatchInString(page, beforePlaceholder))
                return QMROwnCloudPersonalSettings(std::string(field->substringAtIndex(text, 1).value_or("")));
        }
    } catch (const QMRRegularExpressionMatchException&) {
        // Neither a match nor a no-match: a page we do not know.
    }
    error = createError("Unknown Response", QMRDataStoreErrorUnknown);
    return std::nullopt;
}
