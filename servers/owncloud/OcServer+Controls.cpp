// The test-only controls under /test/: any method, no session needed, each answering JSON.
#include "OcServer.h"

#include "FakeServer.h"
#include "OcText.h"

namespace fake_owncloud {

OcReply OcServer::control(OcRequest& request) {
    const std::string& what = request.path;
    const std::string path = request.param("path");
    const auto number = [&](const std::string& name) { return fake_server::parseCount(request.param(name)); };
    const auto wanted = [](std::string what) { return OcReply{400, std::move(what) + " wanted", {}, {}}; };
    Home* const home = homeOf(request.param("user"));
    if (home == nullptr) return wanted("user=one-of-the-accounts");
    OcEntryStore& store = home->store;
    if (what == "/test/reset") {
        for (const auto& each : _homes) {
            each->store.reset();
            each->sharing.reset();
            each->account.reset();
        }
        _failure = {};
    } else if (what == "/test/quota") {
        if (!number("bytes")) return wanted("bytes=N");
        home->account.setQuota(*number("bytes"));
    } else if (what == "/test/mkdir" || what == "/test/put") {
        const bool folder = what == "/test/mkdir";
        const OcEntryStore::Entry* existing = store.find(path);
        if (!path.starts_with('/') || path.size() < 2 || path.ends_with('/') || !store.isFolder(parentOf(path)) ||
            (existing != nullptr && (folder || existing->folder)))
            return wanted("path=/existing-folder/new-name");
        const std::int64_t mtime = number("mtime").value_or(now());
        if (folder) return OcReply::ofJson({{"id", store.addFolder(path, mtime)->id}});
        if (!request.stagedBody) request.stagedBody = store.stage();
        const std::string mime = request.query.contains("mime") ? request.param("mime") : mimeFor(nameOf(path));
        const OcEntryStore::Entry* added = store.addFile(path, mime, *request.stagedBody, mtime);
        if (added == nullptr) return {500, "the content could not be kept", {}, {}};
        return OcReply::ofJson({{"id", added->id}});
    } else if (what == "/test/sessions") {
        json tokens = json::array();
        for (const auto& [id, session] : _sessions) tokens.push_back(session.token);
        return OcReply::ofJson({{"tokens", tokens}});
    } else if (what == "/test/expire-sessions") {
        for (auto& [id, session] : _sessions) session.token = newToken();
    } else if (what == "/test/end-sessions") {
        _sessions.clear();
    } else if (what == "/test/fail") {
        const std::int64_t status = number("status").value_or(503);
        if (status < 100 || status > 599) return wanted("status=NNN");
        _failure = {static_cast<unsigned>(status), number("count").value_or(1), request.param("script")};
    } else if (what == "/test/receive") {
        const std::int64_t permissions = number("permissions").value_or(31);
        const auto id = home->sharing.receive(path, request.param("owner"), static_cast<int>(permissions));
        if (!id) return wanted("path=/existing-entry&owner=other-user");
        return OcReply::ofJson({{"id", *id}});
    } else if (what == "/test/email") {
        home->account.setEmail(request.param("address"));
    } else {
        return {404, "no such control", {}, {}};
    }
    return OcReply::ofJson({{"success", true}});
}

}  // namespace fake_owncloud
