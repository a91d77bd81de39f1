#include "OcFilesScripts.h"

#include <algorithm>

namespace fake_owncloud {

namespace {

// PHP's upload answers go out as text, which some browsers would not offer to save.
OcReply asText(OcReply reply) {
    reply.headers = {{"Content-Type", "text/plain; charset=utf-8"}};
    return reply;
}

// "a.txt" taken becomes "a (2).txt", then "a (3).txt"; the extension is what follows the last dot.
std::string notExistingPath(const OcEntryStore& store, const std::string& dir, const std::string& name) {
    const std::size_t dot = name.rfind('.');
    const std::string stem = dot == 0 || dot == std::string::npos ? name : name.substr(0, dot);
    const std::string extension = dot == 0 || dot == std::string::npos ? "" : name.substr(dot);
    std::string path = join(dir, name);
    for (int counter = 2; store.find(path) != nullptr; ++counter)
        path = join(dir, stem + " (" + std::to_string(counter) + ")" + extension);
    return path;
}

}  // namespace

OcFilesScripts::OcFilesScripts(bool v4, OcEntryStore& store, const OcAccount& account, const OcPages& pages)
    : _v4(v4), _store(store), _account(account), _pages(pages) {}

OcReply OcFilesScripts::handle(const OcCall& call, const std::string& script) {
    // A logged-out 4.5.7 gets the login page from its front controller before any script runs.
    if (!call.loggedIn()) return _v4 ? _pages.login(call) : OcReply::error(call.texts.authenticationError);
    if (script == "download.php") return download(call);
    if (!call.tokenValid()) return OcReply::error(call.texts.tokenExpired);
    if (script == (_v4 ? "scan.php" : "upgrade.php"))
        return {200, "event: done\ndata: true\n\n", {{"Content-Type", "text/event-stream"}}, {}};
    if (call.request.method != "POST") return {405, _pages.frame(call, "<p>POST only</p>"), {}, {}};
    if (script == "newfolder.php") return newFolder(call);
    if (script == "delete.php") return remove(call);
    if (script == "upload.php") return upload(call);
    return _pages.notFound(call);
}

json OcFilesScripts::number(std::int64_t value) const {
    return _v4 ? json(std::to_string(value)) : json(value);
}

OcReply OcFilesScripts::newFolder(const OcCall& call) {
    const std::string dir = call.request.field("dir"), name = call.request.field("foldername");
    if (name.empty() || name.find('/') != std::string::npos) return OcReply::error("Invalid folder name");
    if (!_store.isFolder(dir) || _store.find(join(dir, name)) != nullptr)
        return OcReply::error("Error when creating the folder");
    return OcReply::success({{"id", number(_store.addFolder(join(dir, name), now())->id)}});
}

// "files" is a JSON array of names; a text that does not decode leaves it null, and nothing is deleted.
OcReply OcFilesScripts::remove(const OcCall& call) {
    const std::string dir = call.request.field("dir");
    const json files = json::parse(call.request.field("files"), nullptr, false);
    std::string failed;
    for (const json& name : files.is_array() ? files : json::array()) {
        const std::string path = name.is_string() ? join(dir, name.get<std::string>()) : "";
        if (_store.find(path) == nullptr || path == "/") {
            failed += "\n" + name.dump();
            continue;
        }
        _store.remove(path);
    }
    if (!failed.empty()) return OcReply::error("Could not delete:" + failed);
    return OcReply::success({{"dir", dir}, {"files", files.is_array() ? files : json(nullptr)}});
}

// PHP has the whole body on disk before the script runs; the script checks the total against the
// free space, then files each part under a name not taken yet.
OcReply OcFilesScripts::upload(const OcCall& call) {
    OcRequest& request = call.request;
    std::vector<OcRequest::File*> files;
    std::int64_t total = 0;
    for (OcRequest::File& file : request.files)
        if (file.field == "files[]") {
            files.push_back(&file);
            total += file.content->size();
        }
    const auto badName = [](const OcRequest::File* file) {
        return file->filename.empty() || file->filename.find('/') != std::string::npos;
    };
    if (files.empty() || std::any_of(files.begin(), files.end(), badName))
        return asText(OcReply::error("No file was uploaded. Unknown error"));
    const std::int64_t free = std::max<std::int64_t>(_account.quota() - _store.usedBytes(), 0);
    if (total > free) {
        if (_v4) return asText(OcReply::error(call.texts.notEnoughSpace));
        return asText(OcReply::ofJson({{"data",
                                        {{"message", call.texts.notEnoughStorage},
                                         {"uploadMaxFilesize", free},
                                         {"maxHumanFilesize", humanSize(free)}}},
                                       {"status", "error"}}));
    }
    const std::string dir = request.field("dir");
    if (!_store.isFolder(dir)) return asText(OcReply::error("Invalid directory."));
    json result = json::array();
    for (OcRequest::File* file : files) {
        const std::string path = notExistingPath(_store, dir, file->filename);
        const OcEntryStore::Entry* stored = _store.addFile(path, mimeFor(file->filename), *file->content, now());
        if (stored == nullptr) return asText(OcReply::error("Failed to write to disk"));
        result.push_back({{"status", "success"},
                          {"mime", stored->mime},
                          {"size", number(stored->size)},
                          {"id", number(stored->id)},
                          {"name", nameOf(path)}});
    }
    return asText(OcReply::ofJson(result));
}

OcReply OcFilesScripts::download(const OcCall& call) const {
    const std::string dir = call.request.param("dir");
    const std::string path = join(dir.empty() ? "/" : dir, call.request.param("files"));
    const OcEntryStore::Entry* entry = _store.find(path);
    if (entry == nullptr || entry->folder) return {404, _pages.frame(call, "<p>File not found</p>"), {}, {}};
    return {200,
            {},
            {{"Content-Type", entry->mime},
             {"Content-Disposition", "attachment; filename=\"" + rawUrlEncode(nameOf(path), false) + "\""},
             {"Content-Transfer-Encoding", "binary"}},
            _store.contentPath(*entry).string()};
}

}  // namespace fake_owncloud
