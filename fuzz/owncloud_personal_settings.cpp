// The account administration's answers, for both releases: the personal settings page (the e-mail
// field), the answers of the password and e-mail scripts, and the page that confirms a reset link.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "DataStore/owncloud/QMROcChangePersonalPasswordRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcChangePersonalPasswordRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadLinkForResettingPasswordRequestv_4_5_7.h"
#include "DataStore/owncloud/QMROcReadLinkForResettingPasswordRequestv_5_0_6.h"
#include "DataStore/owncloud/QMROcReadPersonalSettingsRequestv_4_5_7.h"
#include "DataStore/owncloud/QMROcReadPersonalSettingsRequestv_5_0_6.h"
#include "DataStore/owncloud/QMROcSetPersonalEmailAddressRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcSetPersonalEmailAddressRequestv5_0_6.h"
#include "companion/util/QMRRegularExpression.h"
#include "fuzz/FuzzSupport.h"

namespace {

// The reset link is asked for over https only (4.5.7 refuses anything else); nothing is sent.
constexpr char secureBaseUrl[] = "https://127.0.0.1:9";
// The one pattern the e-mail field is defined by backtracks in the square of the page's length, so
// it is compared on small pages only.
constexpr std::size_t largestPageForTheOnePattern = 1024;

// The e-mail address as the one pattern reads it: none when it finds no field, the page itself
// when it cannot complete (it then proves nothing).
std::optional<std::optional<std::string>> emailByTheOnePattern(std::string_view page) {
    static const QMRRegularExpression field(
        "<input type=\"text\" name=\"email\" id=\"email\" value=\"(.*)?\".*?placeholder=\"Your email address\" />",
        QMRRegularExpressionOptions::CaseInsensitive | QMRRegularExpressionOptions::DotMatchesLineSeparators);
    try {
        const auto match = field.firstMatchInString(page);
        if (!match) return std::optional<std::string>();
        return std::optional<std::string>(std::string(match->substringAtIndex(page, 1).value_or("")));
    } catch (const QMRRegularExpressionMatchException&) {
        return std::nullopt;
    }
}

std::optional<std::string> readEmail(const QMROcReadPersonalSettingsRequestv_4_5_7& request, const QMRData& page) {
    QMRErrorSlot error;
    const std::optional<QMROwnCloudPersonalSettings> settings = request.extractPersonalSettings(page, error);
    fuzz::require(settings.has_value() != error.has_value(), "a settings page gives the settings or an error");
    if (error) {
        fuzz::require(error->code() == QMRDataStoreErrorUnknown, "a page without the field is unknown");
        return std::nullopt;
    }
    (void)settings->description();
    return settings->emailAddress();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const QMROcReadPersonalSettingsRequestv_4_5_7 settingsV4(fuzz::session(), fuzz::baseUrl);
    static const QMROcReadPersonalSettingsRequestv_5_0_6 settingsV5(fuzz::session(), fuzz::baseUrl);
    static const QMROcChangePersonalPasswordRequestv4_5_7 passwordV4(fuzz::session(), "tk", fuzz::baseUrl, "old",
                                                                     "new");
    static const QMROcChangePersonalPasswordRequestv5_0_6 passwordV5(fuzz::session(), "tk", fuzz::baseUrl, "old",
                                                                     "new");
    static const QMROcSetPersonalEmailAddressRequestv4_5_7 emailV4(fuzz::session(), "tk", fuzz::baseUrl, "a@b.example");
    static const QMROcSetPersonalEmailAddressRequestv5_0_6 emailV5(fuzz::session(), "tk", fuzz::baseUrl, "a@b.example");
    static const QMROcReadLinkForResettingPasswordRequestv_4_5_7 resetV4(fuzz::session(), secureBaseUrl, "alice");
    static const QMROcReadLinkForResettingPasswordRequestv_5_0_6 resetV5(fuzz::session(), secureBaseUrl, "alice");
    const QMRData answer = fuzz::bodyOf(data, size);

    const std::optional<std::string> email = readEmail(settingsV4, answer);
    fuzz::require(readEmail(settingsV5, answer) == email, "both releases read a settings page alike");
    if (size <= largestPageForTheOnePattern) {
        const auto byThePattern = emailByTheOnePattern(fuzz::textOf(data, size));
        fuzz::require(!byThePattern || *byThePattern == email, "the e-mail field reads as its one pattern reads it");
    }

    const long password = fuzz::refusalOf(passwordV4, answer);
    const long emailSet = fuzz::refusalOf(emailV4, answer);
    fuzz::require(fuzz::refusalOf(passwordV5, answer) == password, "both releases judge a password answer alike");
    fuzz::require(fuzz::refusalOf(emailV5, answer) == emailSet, "both releases judge an e-mail answer alike");
    fuzz::require(password == 0 || password == QMRDataStoreErrorUnknown || password == QMRDataStoreErrorAuthentication,
                  "a password refusal is unknown or an authentication failure");
    fuzz::require(emailSet == 0 || emailSet == QMRDataStoreErrorUnknown, "an e-mail refusal is unknown");
    // "success" exactly for the password, in any case for the e-mail address.
    fuzz::require(password != 0 || emailSet == 0, "an answer that changes the password would set the e-mail address");
    for (const long reset : {fuzz::refusalOf(resetV4, answer), fuzz::refusalOf(resetV5, answer)})
        fuzz::require(reset == 0 || reset == QMRDataStoreErrorUnknown, "an unconfirmed reset is unknown");
    return 0;
}
