#include "OcPages.h"

#include <fmt/format.h>

#include <chrono>

#include "OcText.h"

namespace fake_owncloud {

OcPages::OcPages(bool v4, const OcAccount& account, const OcEntryStore& store)
    : _v4(v4), _account(account), _store(store) {}

std::string OcPages::frame(const OcCall& call, std::string_view content, std::string_view bodyId) const {
    std::string head;
    if (_v4) {
        head =
            "\t<head>\n\t\t<title>ownCloud</title>\n\t\t<meta charset=\"utf-8\">\n"
            "\t\t<script type=\"text/javascript\">\n\t\t\tvar oc_webroot = '';\n"
            "\t\t\tvar oc_appswebroots = {\"files\":\"\\/apps\\/files\"};\n";
        if (call.token) head += fmt::format("\t\t\tvar oc_current_user = '{}';\n", html(_account.user()));
        if (call.token) head += fmt::format("\t\t\tvar oc_requesttoken = '{}';\n", *call.token);
        head += "\t\t</script>\n\t</head>\n";
    } else {
        head = call.token ? fmt::format("\t<head data-requesttoken=\"{}\">\n", *call.token) : "\t<head>\n";
        head += "\t\t<title>ownCloud</title>\n\t\t<meta charset=\"utf-8\">\n\t</head>\n";
    }
    return fmt::format("<!DOCTYPE html>\n<html>\n{}\t<body id=\"{}\">\n{}\t</body>\n</html>\n", head, bodyId, content);
}

OcReply OcPages::redirect(const OcCall& call, const std::string& target) const {
    return {302, "", {{"Location", call.base + target}, {"Content-Type", "text/html; charset=utf-8"}}, {}};
}

// 4.5.7 shows the form in place; 5.0.6 redirects to it, keeping where the browser was going.
OcReply OcPages::loggedOut(const OcCall& call) const {
    if (_v4) return login(call);
    return redirect(call, "/index.php?redirect_url=" + rawUrlEncode(call.request.path, false));
}

OcReply OcPages::notFound(const OcCall& call) const {
    return {404, frame(call, "<p>" + html(call.request.path) + " not found</p>"), {}, {}};
}

// A client tells a refused login from a page of the logged-in user by the "lost password" link.
OcReply OcPages::login(const OcCall& call, std::optional<std::string> refusedUser) const {
    const OcTexts& t = call.texts;
    std::string form = fmt::format(
        "\t\t<form method=\"post\">\n\t\t\t<fieldset>\n"
        "\t\t\t\t<p class=\"infield\"><input type=\"text\" name=\"user\" id=\"user\" value=\"{}\" "
        "autocomplete=\"off\" required /><label for=\"user\">{}</label></p>\n"
        "\t\t\t\t<p class=\"infield\"><input type=\"password\" name=\"password\" id=\"password\" value=\"\" "
        "required /><label for=\"password\">{}</label></p>\n",
        html(refusedUser.value_or("")), t.user, t.password);
    if (refusedUser)
        form += fmt::format("\t\t\t\t<a id=\"lost-password\" href=\"{}\">{}</a>\n",
                            _v4 ? "/core/lostpassword/index.php" : "/index.php/lostpassword/", t.lostPassword);
    form += fmt::format(
        "\t\t\t\t<input type=\"submit\" id=\"submit\" class=\"login primary\" value=\"{}\" />\n"
        "\t\t\t</fieldset>\n\t\t</form>\n",
        t.logIn);
    return {200, frame(call, form, "body-login")};
}

std::string OcPages::dateTitle(const OcTexts& t, std::int64_t mtime) const {
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

std::string OcPages::folderLink(const std::string& path) const {
    return _v4 ? "/?app=files&dir=" + rawUrlEncode(path, false) : "/index.php/apps/files?dir=" + html(path);
}

OcReply OcPages::files(const OcCall& call) const {
    std::string dir = call.request.param("dir");
    if (dir.empty()) dir = "/";
    if (dir.size() > 1 && dir.ends_with('/')) dir.pop_back();
    if (!_store.isFolder(dir)) return redirect(call, _v4 ? "/?app=files" : "/index.php/apps/files");
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
    for (const auto& [path, entry] : _store.children(dir)) content += row(call, path, *entry);
    content += "\t\t\t</tbody>\n\t\t</table>\n";
    return {200, frame(call, content)};
}

std::string OcPages::row(const OcCall& call, const std::string& path, const OcEntryStore::Entry& entry) const {
    const std::string name = nameOf(path);
    const std::int64_t size = _store.sizeOf(path);
    const std::string attributes[] = {fmt::format("data-id=\"{}\"", entry.id),
                                      fmt::format("data-file=\"{}\"", rawUrlEncode(name, true)),
                                      fmt::format("data-type=\"{}\"", entry.folder ? "dir" : "file"),
                                      fmt::format("data-mime=\"{}\"", html(entry.mime)),
                                      fmt::format("data-size='{}'", size),
                                      fmt::format("data-permissions=\"{}\"", entry.folder ? 31 : 27)};
    // 4.5.7 writes the opening tag on one line; 5.0.6 puts every attribute after data-id on a line of its own.
    std::string text = "\t\t\t\t<tr";
    for (const std::string& attribute : attributes)
        text += (_v4 || &attribute == &attributes[0] ? " " : "\n\t\t\t\t\t") + attribute;
    text += ">\n";
    const std::string link = entry.folder ? folderLink(path)
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
        link, html(name), humanSize(size), dateTitle(call.texts, entry.mtime),
        age <= 0 ? std::string(call.texts.today) : fmt::format(fmt::runtime(call.texts.daysAgo), age));
    return text;
}

// The quota sentence (4.5.7 really closes it with an opening <strong>), the password form and the
// e-mail field, which 5.0.6 writes over two lines.
OcReply OcPages::personal(const OcCall& call) const {
    const OcTexts& t = call.texts;
    const std::string sentence =
        fmt::format(fmt::runtime(t.quota), humanSize(_store.usedBytes()), humanSize(_account.quota()));
    const std::string emailInput =
        fmt::format("<input type=\"text\" name=\"email\" id=\"email\" value=\"{}\"{}placeholder=\"{}\" />",
                    html(_account.email()), _v4 ? " " : "\n\t\t\t\t", t.emailPlaceholder);
    return {200, frame(call, fmt::format("\t\t<div id=\"quota\" class=\"personalblock\"><div>\n"
                                         "\t\t\t<p id=\"quotatext\">{}{}</p>\n\t\t</div></div>\n"
                                         "\t\t<form id=\"passwordform\">\n\t\t\t<fieldset class=\"personalblock\">\n"
                                         "\t\t\t\t<legend><strong>{}</strong></legend>\n"
                                         "\t\t\t\t<input type=\"password\" id=\"pass1\" name=\"oldpassword\" "
                                         "placeholder=\"{}\" />\n"
                                         "\t\t\t\t<input type=\"password\" id=\"pass2\" name=\"password\" "
                                         "placeholder=\"{}\" data-typetoggle=\"#show\" />\n"
                                         "\t\t\t\t<input id=\"passwordbutton\" type=\"submit\" value=\"{}\" />\n"
                                         "\t\t\t</fieldset>\n\t\t</form>\n"
                                         "\t\t<form id=\"lostpassword\">\n\t\t\t<fieldset class=\"personalblock\">\n"
                                         "\t\t\t\t<legend><strong>{}</strong></legend>\n"
                                         "\t\t\t\t{}<span class=\"msg\"></span><br />\n"
                                         "\t\t\t</fieldset>\n\t\t</form>\n",
                                         sentence, _v4 ? "<strong>" : "</strong>", t.password, t.currentPassword,
                                         t.newPassword, t.changePassword, t.email, emailInput))};
}

OcReply OcPages::lostPassword(const OcCall& call, std::optional<bool> requested) const {
    const OcTexts& t = call.texts;
    std::string content = fmt::format("\t\t<form action=\"{}\" method=\"post\">\n\t\t\t<fieldset>\n\t\t\t\t{}\n",
                                      _v4 ? "index.php" : "/index.php/lostpassword/", t.resetIntro);
    if (requested.value_or(false)) {
        content += fmt::format("\t\t\t\t{}\n", _v4 ? t.resetRequested : t.resetEmailSent);
    } else {
        if (requested) content += fmt::format("\t\t\t\t{}\n", _v4 ? t.resetRefused : t.resetFailed);
        content += fmt::format(
            "\t\t\t\t<p class=\"infield\">\n"
            "\t\t\t\t\t<input type=\"text\" name=\"user\" id=\"user\" placeholder=\"\" value=\"\" autocomplete=\"off\" "
            "required autofocus />\n"
            "\t\t\t\t\t<label for=\"user\" class=\"infield\">{}</label>\n\t\t\t\t</p>\n"
            "\t\t\t\t<input type=\"submit\" id=\"submit\" value=\"{}\" />\n",
            t.user, t.resetButton);
    }
    content += "\t\t\t</fieldset>\n\t\t</form>\n";
    return {200, frame(call, content, "body-login")};
}

}  // namespace fake_owncloud
