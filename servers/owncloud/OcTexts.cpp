#include "OcTexts.h"

#include <algorithm>
#include <string>

#include "OcText.h"

namespace fake_owncloud {

namespace {

const OcTexts english{"Lost your password?",
                      "Username",
                      "Password",
                      "Log in",
                      {"January", "February", "March", "April", "May", "June", "July", "August", "September", "October",
                       "November", "December"},
                      "You have used <strong>{}</strong> of the available <strong>{}",
                      "Token expired. Please reload page.",
                      "Authentication error",
                      "today",
                      "{} days ago",
                      "Not enough space available",
                      "Not enough storage available",
                      "Email",
                      "Your email address",
                      "Email saved",
                      "Invalid email",
                      "You will receive a link to reset your password via Email.",
                      "Request reset",
                      "Requested",
                      "Login failed!",
                      "Reset email send.",
                      "Request failed!",
                      "Change password",
                      "Current password",
                      "New password"};

const OcTexts german{"Passwort vergessen?",
                     "Benutzername",
                     "Passwort",
                     "Einloggen",
                     {"Januar", "Februar", "M&auml;rz", "April", "Mai", "Juni", "Juli", "August", "September",
                      "Oktober", "November", "Dezember"},
                     "Sie verwenden <strong>{}</strong> der verf&uuml;gbaren <strong>{}",
                     "Token abgelaufen. Bitte laden Sie die Seite neu.",
                     "Authentifizierungs-Fehler",
                     "heute",
                     "vor {} Tagen",
                     "Nicht genug Speicherplatz verfügbar",
                     "Nicht genug Speicher verfügbar",
                     "E-Mail",
                     "Ihre E-Mail-Adresse",
                     "E-Mail Adresse gespeichert",
                     "Ungültige E-Mail Adresse",
                     "Sie erhalten einen Link per E-Mail, um Ihr Passwort zurückzusetzen.",
                     "Beantrage Zurücksetzung",
                     "Angefragt",
                     "Login fehlgeschlagen!",
                     "E-Mail zum Zurücksetzen gesendet.",
                     "Anfrage fehlgeschlagen!",
                     "Passwort ändern",
                     "Aktuelles Passwort",
                     "Neues Passwort"};

}  // namespace

const OcTexts& OcTexts::forAcceptLanguage(std::string_view acceptLanguage) {
    for (std::size_t at = 0; at < acceptLanguage.size();) {
        std::size_t end = acceptLanguage.find(',', at);
        if (end == std::string_view::npos) end = acceptLanguage.size();
        std::string_view tag = acceptLanguage.substr(at, end - at);
        tag.remove_prefix(std::min(tag.find_first_not_of(' '), tag.size()));
        const std::string language = lowerCase(tag.substr(0, tag.find_first_of("-_; ")));
        if (language == "en") return english;
        if (language == "de") return german;
        at = end + 1;
    }
    return german;
}

}  // namespace fake_owncloud
