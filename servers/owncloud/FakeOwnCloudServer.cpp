// A stateful stand-in for an ownCloud server of release 4.5.7 or 5.0.6, for the integration tests and
// the demo. It serves the web front-end as a browser sees it, in the release's URL layout and markup:
// status page, login form, files pages, ajax scripts and the personal page. One account, sessions kept
// by cookie with a request token each, a tree of folders and files with sizes and dates, and a quota,
// all in memory.
//
//   qmr_fake_owncloud --release 4.5.7|5.0.6 [--port N] [--url-file PATH] [--user NAME] [--password TEXT]
//                     [--quota BYTES]
//
// Listens on 127.0.0.1 (port 0, the default, lets the system pick one), then prints its base URL, or
// writes it into PATH through a rename so that a reader never sees half of it. SIGTERM or SIGINT stops
// it. Pages follow Accept-Language (English or German); without a supported one they are German, the
// server's own language, so that a client that forgets to ask for English finds none of its texts.
// Test-only controls (any method, no session needed), each answering JSON:
//   /test/reset                          an empty root folder; sessions and the id counter stay
//   /test/quota?bytes=N                  set the quota
//   /test/mkdir?path=P[&mtime=S]         add a folder (its parent must exist), modified at S (seconds)
//   /test/put?path=P[&mtime=S][&mime=M]  add or replace a file holding the request body
//   /test/sessions                       {"tokens":[...]}: the request token of every open session
//   /test/expire-sessions                every session gets a new request token, as when the server's
//                                        session data timed out under a login that stays: pages still
//                                        load, ajax posts with the old token get "Token expired"
//   /test/end-sessions                   forget every session: everyone is logged out
#include <fmt/format.h>
#include <microhttpd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "FakeServer.h"

namespace {

// Keys keep their insertion order: the client searches some answers for adjacent keys.
using json = nlohmann::ordered_json;

// ---- texts ----

std::optional<unsigned char> hexValue(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned char>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned char>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<unsigned char>(c - 'A' + 10);
    return std::nullopt;
}

// As PHP reads query and form fields: "%XX" escapes, and "+" as a blank where plusIsBlank.
std::string percentDecode(std::string_view text, bool plusIsBlank) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::optional<unsigned char> high, low;
        if (text[i] == '%' && i + 2 < text.size() && (high = hexValue(text[i + 1])) && (low = hexValue(text[i + 2]))) {
            out += static_cast<char>(*high << 4 | *low);
            i += 2;
        } else {
            out += plusIsBlank && text[i] == '+' ? ' ' : text[i];
        }
    }
    return out;
}

std::map<std::string, std::string> parseFields(std::string_view text) {
    std::map<std::string, std::string> fields;
    while (!text.empty()) {
        const std::size_t amp = text.find('&');
        const std::string_view field = text.substr(0, amp);
        const std::size_t equals = field.find('=');
        if (!field.empty())
            fields[percentDecode(field.substr(0, equals), true)] =
                equals == std::string_view::npos ? "" : percentDecode(field.substr(equals + 1), true);
        text = amp == std::string_view::npos ? std::string_view{} : text.substr(amp + 1);
    }
    return fields;
}

// PHP's rawurlencode: everything but letters, digits and "-_.~" escaped; "/" too unless kept.
std::string rawUrlEncode(std::string_view text, bool keepSlash) {
    std::string out;
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (byte < 0x80 && std::isalnum(byte) != 0) || c == '-' || c == '_' || c == '.' || c == '~';
        if (plain || (keepSlash && c == '/'))
            out += c;
        else
            out += fmt::format("%{:02X}", byte);
    }
    return out;
}

std::string html(std::string_view text) {
    std::string out;
    for (char c : text) switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&#039;";
                break;
            default:
                out += c;
        }
    return out;
}

// Sizes as the server's pages show them: binary units, each step dividing the amount rounded to one
// decimal, a whole amount without its ".0": "512 B", "1.5 kB", "2 GB".
std::string humanSize(std::int64_t bytes) {
    if (bytes < 1024) return fmt::format("{} B", bytes);
    double amount = static_cast<double>(bytes);
    for (std::string_view unit : {"kB", "MB", "GB", "TB"}) {
        amount = std::round(amount / 1024 * 10) / 10;
        if (amount < 1024 || unit == "TB") {
            std::string number = fmt::format("{:.1f}", amount);
            if (number.ends_with(".0")) number.resize(number.size() - 2);
            return number + " " + std::string(unit);
        }
    }
    return {};
}

enum class Language { English, German };

// The texts that clients search for, per language. German ones hold HTML entities as the server writes them.
struct Texts {
    std::string_view lostPassword, user, password, logIn;
    std::array<std::string_view, 12> months;
    std::string_view quota;  // used, then available
    std::string_view tokenExpired, notEnoughSpace, authenticationError, today, daysAgo;
};

const Texts english{"Lost your password?",
                    "Username",
                    "Password",
                    "Log in",
                    {"January", "February", "March", "April", "May", "June", "July", "August", "September", "October",
                     "November", "December"},
                    "You have used <strong>{}</strong> of the available <strong>{}",
                    "Token expired. Please reload page.",
                    "Not enough space available",
                    "Authentication error",
                    "today",
                    "{} days ago"};
const Texts german{"Passwort vergessen?",
                   "Benutzername",
                   "Passwort",
                   "Einloggen",
                   {"Januar", "Februar", "M&auml;rz", "April", "Mai", "Juni", "Juli", "August", "September", "Oktober",
                    "November", "Dezember"},
                   "Sie verwenden <strong>{}</strong> der verf&uuml;gbaren <strong>{}",
                   "Token abgelaufen. Bitte laden Sie die Seite neu.",
                   "Nicht genug Speicherplatz verfügbar",
                   "Authentifizierungs-Fehler",
                   "heute",
                   "vor {} Tagen"};

// The first supported language of an Accept-Language list ("de-DE,en;q=0.8"), in the order written.
const Texts& textsFor(std::string_view acceptLanguage) {
    for (std::size_t at = 0; at < acceptLanguage.size();) {
        std::size_t end = acceptLanguage.find(',', at);
        if (end == std::string_view::npos) end = acceptLanguage.size();
        std::string_view tag = acceptLanguage.substr(at, end - at);
        tag.remove_prefix(std::min(tag.find_first_not_of(' '), tag.size()));
        std::string lower;
        for (char c : tag.substr(0, tag.find_first_of("-_; ")))
            lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (lower == "en") return english;
        if (lower == "de") return german;
        at = end + 1;
    }
    return german;
}

// ---- requests and replies ----

struct Request {
    std::string method, path, rawQuery;
    std::map<std::string, std::string> query;
    std::string session, requestToken, acceptLanguage, contentType, host, body;

    std::string param(const std::string& name) const {
        auto found = query.find(name);
        return found == query.end() ? "" : found->second;
    }
};

struct Reply {
    unsigned status = 200;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers{{"Content-Type", "text/html; charset=utf-8"}};
};

Reply jsonReply(const json& value) {
    return {200, value.dump(), {{"Content-Type", "application/json"}}};
}
Reply failure(std::string_view message) {
    return jsonReply({{"data", {{"message", message}}}, {"status", "error"}});
}

// One part of a multipart/form-data body.
struct FormPart {
    std::string name, filename, content;
};

std::vector<FormPart> parseMultipart(const std::string& contentType, const std::string& body) {
    std::vector<FormPart> parts;
    const std::size_t at = contentType.find("boundary=");
    if (at == std::string::npos) return parts;
    std::string boundary = contentType.substr(at + 9, contentType.find(';', at) - at - 9);
    if (boundary.size() >= 2 && boundary.front() == '"') boundary = boundary.substr(1, boundary.size() - 2);
    const std::string delimiter = "--" + boundary;
    std::size_t start = body.find(delimiter);
    while (start != std::string::npos) {
        start += delimiter.size();
        if (body.compare(start, 2, "--") == 0) break;
        const std::size_t headersEnd = body.find("\r\n\r\n", start);
        const std::size_t next = body.find("\r\n" + delimiter, start);
        if (headersEnd == std::string::npos || next == std::string::npos || next < headersEnd) break;
        const std::string headers = body.substr(start, headersEnd - start);
        const auto quoted = [&](std::string_view key) {
            const std::size_t from = headers.find(key);
            if (from == std::string::npos) return std::string();
            const std::size_t begin = from + key.size();
            return headers.substr(begin, headers.find('"', begin) - begin);
        };
        parts.push_back(
            {quoted(" name=\""), quoted(" filename=\""), body.substr(headersEnd + 4, next - headersEnd - 4)});
        start = next + 2;
    }
    return parts;
}

// ---- the server ----

enum class Release { v4_5_7, v5_0_6 };

struct Entry {
    std::int64_t id = 0;
    bool folder = false;
    std::string mime, content;
    std::int64_t mtime = 0;  // seconds since 1970, UTC
};

std::int64_t now() {
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

std::string parentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}
std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}
std::string join(const std::string& folder, const std::string& name) {
    return (folder.ends_with('/') ? folder : folder + "/") + name;
}

std::string mimeFor(const std::string& name) {
    static const std::map<std::string, std::string, std::less<>> types{
        {"txt", "text/plain"}, {"pdf", "application/pdf"}, {"jpg", "image/jpeg"}, {"png", "image/png"}};
    const std::size_t dot = name.rfind('.');
    auto found = dot == std::string::npos ? types.end() : types.find(name.substr(dot + 1));
    return found == types.end() ? "application/octet-stream" : found->second;
}

class OwnCloudServer {
public:
    OwnCloudServer(Release release, std::string user, std::string password, std::int64_t quota)
        : _v4(release == Release::v4_5_7), _user(std::move(user)), _password(std::move(password)), _quota(quota) {
        _cookieName = "oc" + randomText(10, "0123456789abcdef");
        reset();
    }

    Reply handle(const Request& request) {
        std::lock_guard lock(_mutex);
        Reply reply = route(request);
        // Pages are made per request; a cache must not hand one session's page to another.
        reply.headers.emplace_back("Cache-Control", "no-store");
        return reply;
    }

    const std::string& cookieName() const { return _cookieName; }

private:
    // The state of one call: who asks, in which language, under which base URL.
    struct Call {
        const Request& request;
        const Texts& texts;
        const std::string* token;  // the session's request token; null when logged out
        std::string base;
    };

    Reply route(const Request& request) {
        const std::string& path = request.path;
        if (path.starts_with("/test/")) return control(request);
        if (path == "/status.php")
            return jsonReply({{"installed", "true"},
                              {"version", _v4 ? "4.5.7" : "5.0.6"},
                              {"versionstring", _v4 ? "4.5.7" : "5.0.6"},
                              {"edition", ""}});
        auto session = _sessions.find(request.session);
        const Call call{request, textsFor(request.acceptLanguage),
                        session == _sessions.end() ? nullptr : &session->second, "http://" + request.host};
        const bool script = path == "/" || path == "/index.php";
        if (script && request.param("logout") == "true") return logout(call);
        if (script && request.method == "POST" && !(_v4 && request.query.contains("app"))) return login(call);
        if (_v4 && script && request.param("app") == "files") {
            const std::string getfile = request.param("getfile");
            if (getfile.empty()) return call.token ? filesPage(call) : loginPage(call);
            return ajax(call, getfile.starts_with("ajax/") ? getfile.substr(5) : getfile);
        }
        if (script) return call.token ? redirect(call, _v4 ? "/?app=files" : "/index.php/apps/files") : loginPage(call);
        if (_v4 && path == "/settings/personal.php") return call.token ? personalPage(call) : loginPage(call);
        if (!_v4 && (path == "/index.php/apps/files" || path == "/index.php/apps/files/"))
            return call.token ? filesPage(call) : toLogin(call);
        if (!_v4 && path.starts_with("/index.php/apps/files/ajax/")) return ajax(call, path.substr(27));
        if (!_v4 && path == "/index.php/settings/personal") return call.token ? personalPage(call) : toLogin(call);
        return {404, page(call, "<p>" + html(path) + " not found</p>")};
    }

    Reply redirect(const Call& call, const std::string& target) const {
        return {302, "", {{"Location", call.base + target}, {"Content-Type", "text/html; charset=utf-8"}}};
    }

    // 5.0.6 sends a logged-out browser from a page to the login form, keeping where it was going.
    Reply toLogin(const Call& call) const {
        return redirect(call, "/index.php?redirect_url=" + rawUrlEncode(call.request.path, false));
    }

    Reply login(const Call& call) {
        const auto fields = parseFields(call.request.body);
        auto user = fields.find("user"), password = fields.find("password");
        if (user == fields.end() || password == fields.end() || user->second != _user || password->second != _password)
            return loginPage(call, user == fields.end() ? "" : user->second);
        const std::string id = randomText(26, "0123456789abcdefghijklmnopqrstuvwxyz");
        _sessions[id] = newToken();
        Reply reply = redirect(call, _v4 ? "/?app=files" : "/index.php/apps/files");
        reply.headers.emplace_back("Set-Cookie", _cookieName + "=" + id + "; path=/; HttpOnly");
        return reply;
    }

    Reply logout(const Call& call) {
        _sessions.erase(call.request.session);
        Reply reply = redirect(call, _v4 ? "/" : "/index.php");
        reply.headers.emplace_back("Set-Cookie", _cookieName + "=deleted; path=/; Max-Age=0");
        return reply;
    }

    // ---- pages ----

    // The release's page frame; logged-in pages carry the request token where the release puts it.
    std::string page(const Call& call, std::string_view content, std::string_view bodyId = "body-user") const {
        std::string head;
        if (_v4) {
            head =
                "\t<head>\n\t\t<title>ownCloud</title>\n\t\t<meta charset=\"utf-8\">\n"
                "\t\t<script type=\"text/javascript\">\n\t\t\tvar oc_webroot = '';\n"
                "\t\t\tvar oc_appswebroots = {\"files\":\"\\/apps\\/files\"};\n";
            if (call.token) head += fmt::format("\t\t\tvar oc_current_user = '{}';\n", html(_user));
            if (call.token) head += fmt::format("\t\t\tvar oc_requesttoken = '{}';\n", *call.token);
            head += "\t\t</script>\n\t</head>\n";
        } else {
            head = call.token ? fmt::format("\t<head data-requesttoken=\"{}\">\n", *call.token) : "\t<head>\n";
            head += "\t\t<title>ownCloud</title>\n\t\t<meta charset=\"utf-8\">\n\t</head>\n";
        }
        return fmt::format("<!DOCTYPE html>\n<html>\n{}\t<body id=\"{}\">\n{}\t</body>\n</html>\n", head, bodyId,
                           content);
    }

    // The form; after a failed attempt it offers the "lost password" link, which is how a client
    // tells a refused login from a page of the logged-in user.
    Reply loginPage(const Call& call, std::optional<std::string> refusedUser = std::nullopt) const {
        const Texts& t = call.texts;
        std::string form = fmt::format(
            "\t\t<form method=\"post\">\n\t\t\t<fieldset>\n"
            "\t\t\t\t<p class=\"infield\"><input type=\"text\" name=\"user\" id=\"user\" value=\"{}\" "
            "autocomplete=\"off\" required /><label for=\"user\">{}</label></p>\n"
            "\t\t\t\t<p class=\"infield\"><input type=\"password\" name=\"password\" id=\"password\" value=\"\" "
            "required /><label for=\"password\">{}</label></p>\n",
            html(refusedUser.value_or("")), t.user, t.password);
        if (refusedUser)
            form += fmt::format("\t\t\t\t<a id=\"lost-password\" href=\"{}\">{}</a>\n",
                                _v4 ? "/?app=core&amp;getfile=lostpassword/index.php" : "/index.php/lostpassword",
                                t.lostPassword);
        form += fmt::format(
            "\t\t\t\t<input type=\"submit\" id=\"submit\" class=\"login primary\" value=\"{}\" />\n"
            "\t\t\t</fieldset>\n\t\t</form>\n",
            t.logIn);
        return {200, page(call, form, "body-login")};
    }

    std::string dateTitle(const Texts& t, std::int64_t mtime) const {
        using namespace std::chrono;
        const sys_seconds time{seconds{mtime}};
        const year_month_day day{floor<days>(time)};
        const hh_mm_ss clock{time - floor<days>(time)};
        const std::string_view month = t.months[static_cast<unsigned>(day.month()) - 1];
        const auto minutes = clock.minutes().count(), hours = clock.hours().count();
        const auto dayOfMonth = static_cast<unsigned>(day.day());
        const int year = static_cast<int>(day.year());
        // 4.5.7 "June 3, 2013, 14:05"; 5.0.6 pads the day with a blank and drops the comma after the year.
        return _v4 ? fmt::format("{} {}, {}, {:02}:{:02}", month, dayOfMonth, year, hours, minutes)
                   : fmt::format("{} {:>2}, {} {:02}:{:02}", month, dayOfMonth, year, hours, minutes);
    }

    std::string folderLink(const std::string& path) const {
        return _v4 ? "/?app=files&dir=" + rawUrlEncode(path, false) : "/index.php/apps/files?dir=" + html(path);
    }

    Reply filesPage(const Call& call) {
        std::string dir = call.request.param("dir");
        if (dir.empty()) dir = "/";
        if (dir.size() > 1 && dir.ends_with('/')) dir.pop_back();
        auto folder = _entries.find(dir);
        if (folder == _entries.end() || !folder->second.folder)
            return redirect(call, _v4 ? "/?app=files" : "/index.php/apps/files");
        std::string content = "\t\t<div id=\"controls\">\n";
        content += fmt::format("\t\t\t<div class=\"crumb svg\" data-dir='/'><a href=\"{}\">Home</a></div>\n",
                               _v4 ? "/?app=files" : "/index.php/apps/files?dir=");
        // One crumb per folder on the way down, each linking to its own page.
        for (std::size_t end = dir == "/" ? std::string::npos : 0; end != std::string::npos;) {
            end = dir.find('/', end + 1);
            const std::string crumb = dir.substr(0, end);
            content += fmt::format("\t\t\t<div class=\"crumb svg\" data-dir='{}'><a href=\"{}\">{}</a></div>\n",
                                   rawUrlEncode(crumb, true), folderLink(crumb), html(nameOf(crumb)));
        }
        content +=
            "\t\t</div>\n\t\t<table>\n\t\t\t<thead>\n\t\t\t\t<tr>\n"
            "\t\t\t\t\t<th id=\"headerName\"><span class=\"name\">Name</span></th>\n"
            "\t\t\t\t\t<th id=\"headerSize\">Size</th>\n"
            "\t\t\t\t\t<th id=\"headerDate\"><span id=\"modified\">Modified</span></th>\n"
            "\t\t\t\t</tr>\n\t\t\t</thead>\n\t\t\t<tbody id=\"fileList\">\n";
        std::vector<std::pair<const std::string, Entry>*> children;
        for (auto& entry : _entries)
            if (entry.first != "/" && parentOf(entry.first) == dir) children.push_back(&entry);
        // Folders first, then files, each by name.
        std::stable_partition(children.begin(), children.end(), [](auto* entry) { return entry->second.folder; });
        for (auto* child : children) content += row(call, child->first, child->second);
        content += "\t\t\t</tbody>\n\t\t</table>\n";
        return {200, page(call, content)};
    }

    std::string row(const Call& call, const std::string& path, const Entry& entry) const {
        const std::string name = nameOf(path);
        const std::string attributes[] = {fmt::format("data-id=\"{}\"", entry.id),
                                          fmt::format("data-file=\"{}\"", rawUrlEncode(name, true)),
                                          fmt::format("data-type=\"{}\"", entry.folder ? "dir" : "file"),
                                          fmt::format("data-mime=\"{}\"", html(entry.mime)),
                                          fmt::format("data-size='{}'", sizeOf(path)),
                                          fmt::format("data-permissions=\"{}\"", entry.folder ? 31 : 27)};
        // 4.5.7 writes the opening tag on one line; 5.0.6 puts every attribute after data-id on a line of its own.
        std::string text = "\t\t\t\t<tr";
        for (const std::string& attribute : attributes)
            text += (_v4 || &attribute == &attributes[0] ? " " : "\n\t\t\t\t\t") + attribute;
        text += ">\n";
        const std::string link = entry.folder
                                     ? folderLink(path)
                                     : fmt::format("{}files={}&dir={}",
                                                   _v4 ? "/?app=files&getfile=ajax%2Fdownload.php&"
                                                       : "/index.php/apps/files/ajax/download.php?",
                                                   rawUrlEncode(name, false), rawUrlEncode(parentOf(path), false));
        const std::int64_t age = (now() - entry.mtime) / 86400;
        text += fmt::format(
            "\t\t\t\t\t<td class=\"filename svg\"><a class=\"name\" href=\"{}\"><span class=\"nametext\">{}</span></a>"
            "</td>\n\t\t\t\t\t<td class=\"filesize\" style=\"color:rgb(160,160,160)\">{}</td>\n"
            "\t\t\t\t\t<td class=\"date\"><span class=\"modified\" title=\"{}\" style=\"color:rgb(0,0,0)\">{}</span>"
            "</td>\n\t\t\t\t</tr>\n",
            link, html(name), humanSize(sizeOf(path)), dateTitle(call.texts, entry.mtime),
            age <= 0 ? std::string(call.texts.today) : fmt::format(fmt::runtime(call.texts.daysAgo), age));
        return text;
    }

    // The quota sentence; 4.5.7 really closes it with an opening <strong>.
    Reply personalPage(const Call& call) const {
        const std::string sentence =
            fmt::format(fmt::runtime(call.texts.quota), humanSize(usedBytes()), humanSize(_quota));
        return {200, page(call, fmt::format("\t\t<div id=\"quota\" class=\"personalblock\"><div>\n"
                                            "\t\t\t<p id=\"quotatext\">{}{}</p>\n\t\t</div></div>\n",
                                            sentence, _v4 ? "<strong>" : "</strong>"))};
    }

    // ---- ajax scripts ----

    Reply ajax(const Call& call, const std::string& script) {
        const Request& request = call.request;
        // A logged-out 4.5.7 gets the login page from its front controller before any script runs.
        if (!call.token) return _v4 ? loginPage(call) : failure(call.texts.authenticationError);
        if (script == "download.php") return download(request);
        const bool scan = script == (_v4 ? "scan.php" : "upgrade.php");
        std::string token = scan ? request.param("requesttoken") : request.requestToken;
        std::vector<FormPart> parts;
        if (script == "upload.php") {
            parts = parseMultipart(request.contentType, request.body);
            for (const FormPart& part : parts)
                if (part.name == "requesttoken" && token.empty()) token = part.content;
        }
        if (token != *call.token) return failure(call.texts.tokenExpired);
        if (scan) return {200, "event: done\ndata: true\n\n", {{"Content-Type", "text/event-stream"}}};
        if (request.method != "POST") return {405, page(call, "<p>POST only</p>")};
        const auto fields = parseFields(request.body);
        const auto field = [&](const std::string& name) {
            auto found = fields.find(name);
            return found == fields.end() ? std::string() : found->second;
        };
        if (script == "newfolder.php") return newFolder(field("dir"), field("foldername"));
        if (script == "delete.php") return remove(field("dir"), field("files"));
        if (script == "upload.php") return upload(call, parts);
        return {404, page(call, "<p>no such script</p>")};
    }

    json id(const Entry& entry) const { return _v4 ? json(std::to_string(entry.id)) : json(entry.id); }

    Reply newFolder(const std::string& dir, const std::string& name) {
        if (name.empty() || name.find('/') != std::string::npos) return failure("Invalid folder name");
        if (!isFolder(dir) || _entries.contains(join(dir, name))) return failure("Error when creating the folder");
        const Entry& folder = add(join(dir, name), true, "httpd/unix-directory", "", now());
        return jsonReply({{"data", {{"id", id(folder)}}}, {"status", "success"}});
    }

    // "files" is a JSON array of names; a text that does not decode leaves it null, and nothing is deleted.
    Reply remove(const std::string& dir, const std::string& filesText) {
        const json files = json::parse(filesText, nullptr, false);
        const json listed = files.is_array() ? files : json(nullptr);
        std::string failed;
        for (const json& name : files.is_array() ? files : json::array()) {
            const std::string path = name.is_string() ? join(dir, name.get<std::string>()) : "";
            if (!_entries.contains(path) || path == "/") {
                failed += "\n" + name.dump();
                continue;
            }
            std::erase_if(_entries, [&](const auto& entry) {
                return entry.first == path || entry.first.starts_with(path + "/");
            });
        }
        if (!failed.empty()) return failure("Could not delete:" + failed);
        return jsonReply({{"data", {{"dir", dir}, {"files", listed}}}, {"status", "success"}});
    }

    Reply upload(const Call& call, const std::vector<FormPart>& parts) {
        std::string dir;
        const FormPart* file = nullptr;
        for (const FormPart& part : parts) {
            if (part.name == "dir") dir = part.content;
            if (part.name == "files[]") file = &part;
        }
        if (file == nullptr || file->filename.empty() || file->filename.find('/') != std::string::npos)
            return failure("No file was uploaded. Unknown error");
        if (!isFolder(dir)) return failure("Invalid directory.");
        const std::string path = join(dir, file->filename);
        auto existing = _entries.find(path);
        if (existing != _entries.end() && existing->second.folder) return failure("A folder of that name exists");
        const std::int64_t replaced = existing == _entries.end() ? 0 : sizeOf(path);
        if (static_cast<std::int64_t>(file->content.size()) > _quota - usedBytes() + replaced)
            return failure(call.texts.notEnoughSpace);
        const Entry& stored = add(path, false, mimeFor(file->filename), file->content, now());
        return jsonReply(json::array({{{"status", "success"},
                                       {"mime", stored.mime},
                                       {"size", stored.content.size()},
                                       {"id", id(stored)},
                                       {"name", file->filename}}}));
    }

    Reply download(const Request& request) const {
        auto found =
            _entries.find(join(request.param("dir").empty() ? "/" : request.param("dir"), request.param("files")));
        if (found == _entries.end() || found->second.folder) return {404, "<p>File not found</p>"};
        const std::string name = nameOf(found->first);
        return {200,
                found->second.content,
                {{"Content-Type", found->second.mime},
                 {"Content-Disposition", "attachment; filename=\"" + rawUrlEncode(name, false) + "\""}}};
    }

    // ---- test controls ----

    Reply control(const Request& request) {
        const std::string& what = request.path;
        const std::string path = request.param("path");
        const auto mtime = fake_server::parseCount(request.param("mtime"));
        if (what == "/test/reset") {
            reset();
        } else if (what == "/test/quota") {
            const auto bytes = fake_server::parseCount(request.param("bytes"));
            if (!bytes) return {400, "bytes=N wanted"};
            _quota = *bytes;
        } else if (what == "/test/mkdir" || what == "/test/put") {
            const bool folder = what == "/test/mkdir";
            auto existing = _entries.find(path);
            if (!path.starts_with('/') || path.size() < 2 || path.ends_with('/') || !isFolder(parentOf(path)) ||
                (existing != _entries.end() && (folder || existing->second.folder)))
                return {400, "path=/existing-folder/new-name wanted"};
            const std::string mime = request.query.contains("mime") ? request.param("mime")
                                     : folder                       ? "httpd/unix-directory"
                                                                    : mimeFor(nameOf(path));
            return jsonReply({{"id", add(path, folder, mime, folder ? "" : request.body, mtime.value_or(now())).id}});
        } else if (what == "/test/sessions") {
            json tokens = json::array();
            for (const auto& [session, token] : _sessions) tokens.push_back(token);
            return jsonReply({{"tokens", tokens}});
        } else if (what == "/test/expire-sessions") {
            for (auto& [session, token] : _sessions) token = newToken();
        } else if (what == "/test/end-sessions") {
            _sessions.clear();
        } else {
            return {404, "no such control"};
        }
        return jsonReply({{"success", true}});
    }

    // ---- state ----

    void reset() {
        _entries.clear();
        _entries["/"] = Entry{_nextId++, true, "httpd/unix-directory", "", now()};
    }

    const Entry& add(const std::string& path, bool folder, std::string mime, std::string content, std::int64_t mtime) {
        return _entries[path] = Entry{_nextId++, folder, std::move(mime), std::move(content), mtime};
    }

    bool isFolder(const std::string& path) const {
        auto found = _entries.find(path);
        return found != _entries.end() && found->second.folder;
    }

    // A folder's size is that of everything in it.
    std::int64_t sizeOf(const std::string& path) const {
        std::int64_t size = 0;
        for (const auto& [other, entry] : _entries)
            if (other == path || other.starts_with(path == "/" ? path : path + "/"))
                size += static_cast<std::int64_t>(entry.content.size());
        return size;
    }
    std::int64_t usedBytes() const { return sizeOf("/"); }

    std::string newToken() { return randomText(30, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"); }
    std::string randomText(std::size_t length, std::string_view alphabet) {
        std::string text;
        for (std::size_t i = 0; i < length; ++i) text += alphabet[_random() % alphabet.size()];
        return text;
    }

    std::mutex _mutex;
    const bool _v4;
    const std::string _user, _password;
    std::int64_t _quota;
    std::string _cookieName;
    std::map<std::string, Entry> _entries;         // by full path; "/" is the root folder
    std::map<std::string, std::string> _sessions;  // session id -> request token
    std::int64_t _nextId = 1;
    std::mt19937_64 _random{std::random_device{}()};
};

// ---- HTTP plumbing ----

struct PendingRequest {
    Request request;
    bool started = false, tooLarge = false;
};

// The query is read from the target as sent, as PHP reads it.
void* begin(void*, const char* uri, MHD_Connection*) {
    auto* pending = new PendingRequest;
    const std::string_view target = uri;
    const std::size_t question = target.find('?');
    pending->request.path = percentDecode(target.substr(0, question), false);
    if (question != std::string_view::npos) {
        pending->request.rawQuery = target.substr(question + 1);
        pending->request.query = parseFields(pending->request.rawQuery);
    }
    return pending;
}

MHD_Result answer(void* server, MHD_Connection* connection, const char*, const char* method, const char*,
                  const char* upload, std::size_t* uploadSize, void** context) {
    using fake_server::headerValue;
    auto* pending = static_cast<PendingRequest*>(*context);
    Request& request = pending->request;
    if (!pending->started) {
        pending->started = true;
        auto* owner = static_cast<OwnCloudServer*>(server);
        request.method = method;
        request.session = headerValue(connection, MHD_COOKIE_KIND, owner->cookieName().c_str());
        request.requestToken = headerValue(connection, MHD_HEADER_KIND, "requesttoken");
        request.acceptLanguage = headerValue(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_ACCEPT_LANGUAGE);
        request.contentType = headerValue(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_TYPE);
        request.host = headerValue(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_HOST);
        return MHD_YES;
    }
    if (fake_server::takeUpload(request.body, pending->tooLarge, upload, uploadSize)) return MHD_YES;
    const Reply reply =
        pending->tooLarge ? Reply{413, "Body too large"} : static_cast<OwnCloudServer*>(server)->handle(request);
    const std::string line =
        request.method + ' ' + request.path + (request.rawQuery.empty() ? "" : "?") + request.rawQuery;
    return fake_server::send(connection, line, reply.status, reply.body, reply.headers);
}

}  // namespace

int main(int argc, char** argv) {
    std::optional<Release> release;
    fake_server::Options options;
    options.user = "carol";
    options.password = "s3cret pw";
    options.quota = std::int64_t{2} << 30;
    const bool understood =
        fake_server::parseOptions(argc, argv, options, [&](std::string_view name, const std::string& value) {
            if (name != "--release" || (value != "4.5.7" && value != "5.0.6")) return false;
            release = value == "4.5.7" ? Release::v4_5_7 : Release::v5_0_6;
            return true;
        });
    if (!understood || !release) {
        std::cerr << "usage: " << argv[0]
                  << " --release 4.5.7|5.0.6 [--port N] [--url-file PATH] [--user NAME] [--password TEXT]"
                     " [--quota BYTES]\n";
        return 2;
    }
    OwnCloudServer server(*release, options.user, options.password, options.quota);
    return fake_server::serveUntilStopped("qmr_fake_owncloud", options, &answer, &server,
                                          &fake_server::forget<PendingRequest>, &begin);
}
