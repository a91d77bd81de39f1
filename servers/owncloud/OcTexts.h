#pragma once
// The texts of the server's pages and answers that clients search for, in the two languages it
// speaks. German ones hold HTML entities where the server writes them.
#include <array>
#include <string_view>

namespace fake_owncloud {

struct OcTexts {
    std::string_view lostPassword, user, password, logIn;
    std::array<std::string_view, 12> months;
    std::string_view quota;  // used, then available
    std::string_view tokenExpired, authenticationError, today, daysAgo;
    std::string_view notEnoughSpace, notEnoughStorage;  // the upload's quota refusal: 4.5.7, then 5.0.6
    std::string_view email, emailPlaceholder, emailSaved, invalidEmail;
    std::string_view resetIntro, resetButton;
    std::string_view resetRequested, resetRefused;  // 4.5.7
    std::string_view resetEmailSent, resetFailed;   // 5.0.6
    std::string_view changePassword, currentPassword, newPassword;

    // The first supported language of an Accept-Language list ("de-DE,en;q=0.8"), in the order
    // written; German, the server's own language, when none is.
    static const OcTexts& forAcceptLanguage(std::string_view acceptLanguage);
};

}  // namespace fake_owncloud
