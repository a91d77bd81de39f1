#include "OcAccountScripts.h"

#include <algorithm>
#include <string_view>

namespace fake_owncloud {

namespace {

// Close to PHP's FILTER_VALIDATE_EMAIL: a plain local part, "@", and a domain of two labels or more.
bool isEmailAddress(std::string_view address) {
    const std::size_t at = address.find('@');
    if (at == 0 || at == std::string_view::npos || at > 64) return false;
    const std::string_view local = address.substr(0, at), domain = address.substr(at + 1);
    const std::string_view localCharacters = "!#$%&'*+/=?^_`{|}~.-";
    const auto alnum = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    };
    if (local.front() == '.' || local.back() == '.' || local.find("..") != std::string_view::npos ||
        !std::all_of(local.begin(), local.end(),
                     [&](char c) { return alnum(c) || localCharacters.find(c) != std::string_view::npos; }))
        return false;
    std::size_t labels = 0;
    for (std::size_t start = 0; start <= domain.size(); ++labels) {
        std::size_t end = domain.find('.', start);
        if (end == std::string_view::npos) end = domain.size();
        const std::string_view label = domain.substr(start, end - start);
        if (label.empty() || label.front() == '-' || label.back() == '-' ||
            !std::all_of(label.begin(), label.end(), [&](char c) { return alnum(c) || c == '-'; }))
            return false;
        start = end + 1;
    }
    return labels >= 2;
}

}  // namespace

OcAccountScripts::OcAccountScripts(OcAccount& account, const OcPages& pages) : _account(account), _pages(pages) {}

// An admin may change anyone's password without the old one; this account is no admin, so the old
// password must be right. The script's own messages are not translated.
OcReply OcAccountScripts::changePassword(const OcCall& call) {
    if (!call.tokenValid()) return OcReply::error(call.texts.tokenExpired);
    const OcRequest& request = call.request;
    const std::string user = request.form.contains("username") ? request.field("username") : _account.user();
    if (user != _account.user() || !_account.hasPassword(request.field("oldpassword")))
        return OcReply::error("Authentication error");
    if (request.field("password").empty()) return OcReply::error("Unable to change password");
    _account.setPassword(request.field("password"));
    return OcReply::success({{"username", user}});
}

OcReply OcAccountScripts::setEmail(const OcCall& call) {
    if (!call.loggedIn()) return OcReply::error(call.texts.authenticationError);
    if (!call.tokenValid()) return OcReply::error(call.texts.tokenExpired);
    const std::string address = call.request.field("email");
    if (!isEmailAddress(address)) return OcReply::error(call.texts.invalidEmail);
    _account.setEmail(address);
    return OcReply::success({{"message", call.texts.emailSaved}});
}

// The reset goes out only to a user who has an e-mail address; no other user of the server has one.
OcReply OcAccountScripts::lostPassword(const OcCall& call) const {
    if (call.request.method != "POST" || !call.request.form.contains("user")) return _pages.lostPassword(call);
    const bool sent = call.request.field("user") == _account.user() && !_account.email().empty();
    return _pages.lostPassword(call, sent);
}

}  // namespace fake_owncloud
