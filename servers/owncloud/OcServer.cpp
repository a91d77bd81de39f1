#include "OcServer.h"

#include "OcCall.h"
#include "OcText.h"

namespace fake_owncloud {

namespace {

// The file name of the script a request runs: "upload.php" for both releases' upload URLs.
std::string scriptOf(const OcRequest& request) {
    const std::string getfile = request.param("getfile");
    return nameOf(getfile.empty() ? request.path : getfile);
}

}  // namespace

OcServer::Home::Home(bool v4, const std::string& user, const std::string& password, std::int64_t quota,
                     const std::filesystem::path& contentParent)
    : store(contentParent),
      account(user, password, quota),
      pages(v4, account, store),
      filesScripts(v4, store, account, pages),
      sharing(v4, store, account),
      accountScripts(account, pages) {}

OcServer::OcServer(const Settings& settings)
    : _v4(settings.v4),
      _scheme(settings.https ? "https://" : "http://"),
      _cookieName("oc" + randomText(10, "0123456789abcdef")) {
    _homes.push_back(
        std::make_unique<Home>(_v4, settings.user, settings.password, settings.quota, settings.contentParent));
    if (!settings.secondUser.empty())
        _homes.push_back(std::make_unique<Home>(_v4, settings.secondUser, settings.secondPassword, settings.quota,
                                                settings.contentParent));
}

OcServer::Home* OcServer::homeOf(const std::string& user) const {
    if (user.empty()) return _homes.front().get();
    for (const auto& home : _homes)
        if (home->account.user() == user) return home.get();
    return nullptr;
}

std::optional<unsigned> OcServer::takeInjectedFailure(const OcRequest& request) {
    std::lock_guard lock(_mutex);
    if (_failure.remaining <= 0 || request.path.starts_with("/test/")) return std::nullopt;
    if (!_failure.script.empty() && scriptOf(request) != _failure.script) return std::nullopt;
    --_failure.remaining;
    return _failure.status;
}

OcBodyReader::Keep OcServer::bodyKeep(const OcRequest& request) const {
    return request.path == "/test/put" ? OcBodyReader::Keep::OnDisk : OcBodyReader::Keep::InMemory;
}

OcReply OcServer::handle(OcRequest& request) {
    std::lock_guard lock(_mutex);
    OcReply reply = route(request);
    // Pages are made per request; a cache must not hand one session's page to another.
    reply.headers.emplace_back("Cache-Control", "no-store");
    return reply;
}

OcReply OcServer::route(OcRequest& request) {
    const std::string& path = request.path;
    if (path.starts_with("/test/")) return control(request);
    if (path == "/status.php")
        return OcReply::ofJson({{"installed", "true"},
                                {"version", _v4 ? "4.5.7" : "5.0.6"},
                                {"versionstring", _v4 ? "4.5.7" : "5.0.6"},
                                {"edition", ""}});
    auto session = _sessions.find(request.session);
    const bool known = session != _sessions.end();
    const OcCall call{request, OcTexts::forAcceptLanguage(request.acceptLanguage),
                      known ? &session->second.token : nullptr, _scheme + request.host};
    // A logged-out caller sees the first account's pages and scripts, which refuse it alike; a reset
    // request goes to the account it names.
    Home& home = known ? *session->second.home : *_homes.front();
    const auto lostPassword = [&] {
        Home* named = homeOf(request.field("user"));
        return (named != nullptr ? *named : home).accountScripts.lostPassword(call);
    };
    const bool frontController = path == "/" || path == "/index.php";
    if (frontController && request.param("logout") == "true") return logout(call);
    if (_v4) {
        if (frontController && request.method == "POST" && !request.query.contains("app")) return login(call);
        if (frontController && request.param("app") == "files") {
            const std::string getfile = request.param("getfile");
            if (getfile.empty()) return call.loggedIn() ? home.pages.files(call) : home.pages.login(call);
            return home.filesScripts.handle(call, getfile.starts_with("ajax/") ? getfile.substr(5) : getfile);
        }
        if (frontController) return call.loggedIn() ? home.pages.redirect(call, "/?app=files") : home.pages.login(call);
        if (path == "/settings/personal.php")
            return call.loggedIn() ? home.pages.personal(call) : home.pages.login(call);
        if (path == "/core/ajax/share.php") return home.sharing.handle(call);
        if (path == "/settings/ajax/changepassword.php") return home.accountScripts.changePassword(call);
        if (path == "/settings/ajax/lostpassword.php") return home.accountScripts.setEmail(call);
        if (path == "/core/lostpassword/index.php") return lostPassword();
        return home.pages.notFound(call);
    }
    if (frontController && request.method == "POST") return login(call);
    if (frontController)
        return call.loggedIn() ? home.pages.redirect(call, "/index.php/apps/files") : home.pages.login(call);
    if (path == "/index.php/apps/files" || path == "/index.php/apps/files/")
        return call.loggedIn() ? home.pages.files(call) : home.pages.loggedOut(call);
    if (path.starts_with("/index.php/apps/files/ajax/")) return home.filesScripts.handle(call, path.substr(27));
    if (path == "/index.php/settings/personal")
        return call.loggedIn() ? home.pages.personal(call) : home.pages.loggedOut(call);
    if (path == "/index.php/core/ajax/share.php") return home.sharing.handle(call);
    if (path == "/index.php/settings/ajax/changepassword.php") return home.accountScripts.changePassword(call);
    if (path == "/index.php/settings/ajax/lostpassword.php") return home.accountScripts.setEmail(call);
    if (path == "/index.php/lostpassword" || path == "/index.php/lostpassword/") return lostPassword();
    return home.pages.notFound(call);
}

OcReply OcServer::login(const OcCall& call) {
    const OcRequest& request = call.request;
    Home* home = request.form.contains("user") && request.form.contains("password") && !request.field("user").empty()
                     ? homeOf(request.field("user"))
                     : nullptr;
    if (home == nullptr || !home->account.hasPassword(request.field("password")))
        return _homes.front()->pages.login(call, request.field("user"));
    const std::string id = randomText(26, "0123456789abcdefghijklmnopqrstuvwxyz");
    _sessions[id] = Session{newToken(), home};
    OcReply reply = home->pages.redirect(call, _v4 ? "/?app=files" : "/index.php/apps/files");
    reply.headers.emplace_back("Set-Cookie", _cookieName + "=" + id + "; path=/; HttpOnly");
    return reply;
}

OcReply OcServer::logout(const OcCall& call) {
    _sessions.erase(call.request.session);
    OcReply reply = _homes.front()->pages.redirect(call, _v4 ? "/" : "/index.php");
    reply.headers.emplace_back("Set-Cookie", _cookieName + "=deleted; path=/; Max-Age=0");
    return reply;
}

std::string OcServer::newToken() {
    return randomText(30, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789");
}

std::string OcServer::randomText(std::size_t length, std::string_view alphabet) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) text += alphabet[_random() % alphabet.size()];
    return text;
}

}  // namespace fake_owncloud
