#include "OwnCloudBenchPages.h"

#include "OcText.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <iterator>
#include <string_view>

namespace owncloud_bench {

namespace {

using fake_owncloud::html;
using fake_owncloud::humanSize;
using fake_owncloud::rawUrlEncode;

constexpr std::string_view kUser = "carol";
constexpr std::string_view kRequestToken = "q2V5bWJ0ZXN0dG9rZW4xMjM0NTY3OD";
// 2013-06-03 14:05 UTC; the entries' dates step back from it.
constexpr std::int64_t kNewestMtime = 1'370'268'300;
constexpr std::array<std::string_view, 12> kMonths = {"January",   "February", "March",    "April",
                                                      "May",       "June",     "July",     "August",
                                                      "September", "October",  "November", "December"};

// 4.5.7 "June 3, 2013, 14:05"; 5.0.6 "June  3, 2013 14:05".
std::string dateTitle(Release release, std::int64_t mtime) {
    using namespace std::chrono;
    const sys_seconds time{seconds{mtime}};
    const year_month_day day{floor<days>(time)};
    const hh_mm_ss clock{time - floor<days>(time)};
    const std::string_view month = kMonths[static_cast<unsigned>(day.month()) - 1];
    const auto dayOfMonth = static_cast<unsigned>(day.day());
    const int year = static_cast<int>(day.year());
    const auto hours = clock.hours().count(), minutes = clock.minutes().count();
    return release == Release::v4_5_7
               ? fmt::format("{} {}, {}, {:02}:{:02}", month, dayOfMonth, year, hours, minutes)
               : fmt::format("{} {:>2}, {} {:02}:{:02}", month, dayOfMonth, year, hours, minutes);
}

// The suffix an upload adds: "." and 32 lower-case hex digits, different for each entry.
std::string uploadSuffix(std::size_t index) {
    const std::uint64_t mixed = (index + 1) * 0x9E3779B97F4A7C15ULL;
    return fmt::format(".{:016x}{:016x}", mixed, ~mixed);
}

std::string row(Release release, const Entry& entry) {
    const bool v4 = release == Release::v4_5_7;
    std::string dataFile = rawUrlEncode(entry.storedName, true);
    if (entry.entityInDataFile)
        for (std::size_t at = dataFile.find("%C3%A9"); at != std::string::npos; at = dataFile.find("%C3%A9", at))
            dataFile.replace(at, 6, "&eacute;");
    const std::string attributes[] = {fmt::format("data-id=\"{}\"", entry.id),
                                      fmt::format("data-file=\"{}\"", dataFile),
                                      fmt::format("data-type=\"{}\"", entry.folder ? "dir" : "file"),
                                      fmt::format("data-mime=\"{}\"", html(entry.mime)),
                                      fmt::format("data-size='{}'", entry.size),
                                      fmt::format("data-permissions=\"{}\"", entry.folder ? 31 : 27)};
    std::string text = "\t\t\t\t<tr";
    for (const std::string& attribute : attributes)
        text += (v4 || &attribute == &attributes[0] ? " " : "\n\t\t\t\t\t") + attribute;
    text += ">\n";
    const std::string path = "/" + entry.storedName;
    const std::string link =
        entry.folder
            ? (v4 ? "/?app=files&dir=" + rawUrlEncode(path, false) : "/index.php/apps/files?dir=" + html(path))
            : fmt::format("{}files={}&dir=%2F",
                          v4 ? "/?app=files&getfile=ajax%2Fdownload.php&" : "/index.php/apps/files/ajax/download.php?",
                          rawUrlEncode(entry.storedName, false));
    const std::int64_t age = (kNewestMtime - entry.mtime) / 86'400;
    fmt::format_to(
        std::back_inserter(text),
        "\t\t\t\t\t<td class=\"filename svg\"><a class=\"name\" href=\"{}\"><span class=\"nametext\">{}</span></a>"
        "</td>\n\t\t\t\t\t<td class=\"filesize\" style=\"color:rgb(160,160,160)\">{}</td>\n"
        "\t\t\t\t\t<td class=\"date\"><span class=\"modified\" title=\"{}\" style=\"color:rgb(0,0,0)\">{}</span>"
        "</td>\n\t\t\t\t</tr>\n",
        link, html(entry.storedName), humanSize(entry.size), dateTitle(release, entry.mtime),
        age <= 0 ? std::string("today") : fmt::format("{} days ago", age));
    return text;
}

}  // namespace

std::vector<Entry> rootEntries(std::size_t count) {
    std::vector<Entry> entries;
    entries.reserve(count);
    const std::size_t folders = count / 20;
    for (std::size_t index = 0; index < count; ++index) {
        Entry entry;
        entry.id = static_cast<std::int64_t>(index) + 2;  // 1 is the root
        // A few hours apart, on whole minutes: the titles carry no seconds.
        entry.mtime = kNewestMtime - static_cast<std::int64_t>(index) * 4'260;
        bool uploaded = false;
        if (index < folders) {
            entry.folder = true;
            entry.storedName = index % 2 == 0 ? fmt::format("Project {:04}", index) : fmt::format("Fotos_{:04}", index);
            entry.mime = "httpd/unix-directory";
            entry.size = static_cast<std::int64_t>(index * 731'013 % 90'000'000);
        } else {
            entry.size = static_cast<std::int64_t>(index * 48'271 % 20'000'000);
            switch (index % 8) {
                case 0:
                    entry.storedName = fmt::format("report-{:05}.pdf", index);
                    entry.mime = "application/pdf";
                    break;
                case 1:
                    entry.storedName = fmt::format("IMG_{:05}.jpg", index);
                    entry.mime = "image/jpeg";
                    break;
                case 2:
                    entry.storedName = fmt::format("meeting notes {:05}.txt", index);
                    entry.mime = "text/plain";
                    break;
                case 3:
                    entry.storedName = fmt::format("Caf\u00e9 menu {:05}.pdf", index);
                    entry.mime = "application/pdf";
                    entry.entityInDataFile = true;
                    break;
                case 4:
                    entry.storedName = fmt::format("budget {:05}.ods", index);
                    entry.mime = "application/vnd.oasis.opendocument.spreadsheet";
                    uploaded = true;
                    break;
                case 5:
                    entry.storedName = fmt::format("R\u00e9sum\u00e9 {:05}.txt", index);
                    entry.mime = "text/plain";
                    break;
                case 6:
                    entry.storedName = fmt::format("Tom's song {:05}.mp3", index);
                    entry.mime = "audio/mpeg";
                    uploaded = true;
                    break;
                default:
                    entry.storedName = fmt::format("archive_{:05}.tar.gz", index);
                    entry.mime = "application/x-gzip";
            }
        }
        entry.listedName = entry.storedName;
        if (uploaded) entry.storedName += uploadSuffix(index);
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::string filesPage(Release release, const std::vector<Entry>& entries) {
    const bool v4 = release == Release::v4_5_7;
    std::string page = "<!DOCTYPE html>\n<html>\n";
    if (v4)
        page += fmt::format(
            "\t<head>\n\t\t<title>ownCloud</title>\n\t\t<meta charset=\"utf-8\">\n"
            "\t\t<script type=\"text/javascript\">\n\t\t\tvar oc_webroot = '';\n"
            "\t\t\tvar oc_appswebroots = {{\"files\":\"\\/apps\\/files\"}};\n"
            "\t\t\tvar oc_current_user = '{}';\n\t\t\tvar oc_requesttoken = '{}';\n\t\t</script>\n\t</head>\n",
            kUser, kRequestToken);
    else
        page += fmt::format(
            "\t<head data-requesttoken=\"{}\">\n\t\t<title>ownCloud</title>\n\t\t<meta charset=\"utf-8\">\n\t</head>\n",
            kRequestToken);
    page += "\t<body id=\"body-user\">\n\t\t<div id=\"controls\">\n";
    page += fmt::format("\t\t\t<div class=\"crumb svg\" data-dir='/'><a href=\"{}\">Home</a></div>\n",
                        v4 ? "/?app=files" : "/index.php/apps/files?dir=");
    page +=
        "\t\t</div>\n\t\t<table>\n\t\t\t<thead>\n\t\t\t\t<tr>\n"
        "\t\t\t\t\t<th id=\"headerName\"><span class=\"name\">Name</span></th>\n"
        "\t\t\t\t\t<th id=\"headerSize\">Size</th>\n"
        "\t\t\t\t\t<th id=\"headerDate\"><span id=\"modified\">Modified</span></th>\n"
        "\t\t\t\t</tr>\n\t\t\t</thead>\n\t\t\t<tbody id=\"fileList\">\n";
    for (const Entry& entry : entries) page += row(release, entry);
    page += "\t\t\t</tbody>\n\t\t</table>\n\t</body>\n</html>\n";
    return page;
}

}  // namespace owncloud_bench
