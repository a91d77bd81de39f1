// A stateful stand-in for a Funambol media server, for the integration tests and the demo: one
// account, sessions kept by cookie, three media collections, a change log and a quota, all in memory.
//
//   qmr_fake_funambol [--port N] [--url-file PATH] [--user NAME] [--password TEXT] [--quota BYTES]
//
// Listens on 127.0.0.1 (port 0, the default, lets the system pick one), then prints its base URL, or
// writes it into PATH through a rename so that a reader never sees half of it. SIGTERM or SIGINT
// stops it. Besides the REST interface under /sapi/ it serves content under /content/ and offers
// test-only controls (POST, no session needed):
//   /test/reset             forget every file and change; sessions and the id counter stay
//   /test/quota?bytes=N     set the quota
//   /test/expire-sessions   end every session, as a server restart would
#include <microhttpd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "FakeServer.h"

namespace {

using json = nlohmann::json;
using Millis = std::int64_t;

struct Collection {
    std::string_view type;  // the name in request paths and in "mediatype"
    std::string_view node;  // the name of its array in answers and request bodies
};
constexpr std::array<Collection, 3> collections{{{"file", "files"}, {"picture", "pictures"}, {"video", "videos"}}};

const Collection* collectionNamed(std::string_view type) {
    for (const Collection& collection : collections)
        if (collection.type == type) return &collection;
    return nullptr;
}

struct Request {
    std::string method;
    std::string path;
    std::map<std::string, std::string> query;
    std::map<std::string, std::string> headers;  // only the few the server reads, by lower-case name
    std::string session;                         // the JSESSIONID cookie
    std::string body;

    std::optional<std::string> param(const std::string& name) const {
        auto found = query.find(name);
        return found == query.end() ? std::nullopt : std::optional(found->second);
    }
};

struct Reply {
    unsigned status = 200;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers{{"Content-Type", "application/json;charset=UTF-8"}};
};

Reply jsonReply(const json& value, unsigned status = 200) {
    return {status, value.dump(), {{"Content-Type", "application/json;charset=UTF-8"}}};
}

// The server's error shape; the client judges an answer by this JSON, not by the HTTP status.
Reply errorReply(unsigned status, std::string_view code, std::string_view message) {
    return jsonReply({{"error", {{"code", code}, {"message", message}}}}, status);
}

// Raised while reading a request that the client should never have sent; answered as a bad request.
struct BadRequest {
    std::string message;
};

std::int64_t toNumber(std::string_view text, std::string_view what) {
    if (const std::optional<std::int64_t> value = fake_server::parseCount(text)) return *value;
    throw BadRequest{"'" + std::string(what) + "' is not a number: " + std::string(text)};
}

// The client writes dates as "yyyyMMdd'T'HHmmss" followed by "Z" or a "+hhmm" offset, although it
// reads milliseconds.
Millis millisFromClientDate(std::string_view text) {
    using namespace std::chrono;
    const auto field = [&](std::size_t at, std::size_t length) {
        return static_cast<int>(toNumber(text.substr(at, length), "date"));
    };
    if (text.size() < 16 || text[8] != 'T') throw BadRequest{"not a date: " + std::string(text)};
    const year_month_day day{year{field(0, 4)}, month(static_cast<unsigned>(field(4, 2))),
                             std::chrono::day(static_cast<unsigned>(field(6, 2)))};
    if (!day.ok()) throw BadRequest{"not a date: " + std::string(text)};
    std::int64_t offsetMinutes = 0;
    const std::string_view zone = text.substr(15);
    if (zone.size() == 5 && (zone[0] == '+' || zone[0] == '-'))
        offsetMinutes = (zone[0] == '-' ? -1 : 1) * (field(16, 2) * 60 + field(18, 2));
    else if (zone != "Z")
        throw BadRequest{"a date without a zone: " + std::string(text)};
    const sys_seconds local = sys_days{day} + hours{field(9, 2)} + minutes{field(11, 2)} + seconds{field(13, 2)};
    return duration_cast<milliseconds>((local - minutes{offsetMinutes}).time_since_epoch()).count();
}

struct MediaFile {
    std::int64_t id = 0;
    std::string_view type;
    std::string name;
    std::string contentType = "application/octet-stream";
    Millis serverDate = 0;
    Millis creationDate = 0;
    Millis modificationDate = 0;
    std::int64_t declaredSize = 0;       // from the metadata, until content arrives
    std::optional<std::string> content;  // absent until the content is saved

    std::int64_t size() const { return content ? static_cast<std::int64_t>(content->size()) : declaredSize; }
    std::int64_t storedBytes() const { return content ? static_cast<std::int64_t>(content->size()) : 0; }
};

struct Change {
    Millis time;
    std::int64_t id;
    std::string_view type;
    char kind;  // 'N', 'U' or 'D'
};

class MediaServer {
public:
    MediaServer(std::string user, std::string password, std::int64_t quota)
        : _user(std::move(user)), _password(std::move(password)), _quota(quota) {}

    Reply handle(const Request& request, const std::string& host) {
        std::lock_guard lock(_mutex);
        try {
            return route(request, "http://" + host);
        } catch (const BadRequest& bad) {
            return errorReply(400, "COM-1001", bad.message);
        } catch (const json::exception& bad) {
            return errorReply(400, "COM-1001", std::string("Malformed JSON: ") + bad.what());
        }
    }

private:
    Reply route(const Request& request, const std::string& baseUrl) {
        const std::string& path = request.path;
        const std::string action = request.param("action").value_or("");
        if (path.starts_with("/test/")) return control(request);
        if (path.starts_with("/content/")) return content(path.substr(9));
        if (path == "/sapi/login" && action == "login") return on(request, "POST", [&] { return login(request); });
        if (!_sessions.contains(request.session)) return authenticationError("SEC-1002", "No valid session: log in");
        if (path == "/sapi/login" && action == "logout") return on(request, "GET", [&] { return logout(request); });
        if (path == "/sapi/media" && action == "get-storage-space")
            return on(request, "POST", [&] { return storageSpace(); });
        if (path == "/sapi/profile/changes" && action == "get")
            return on(request, "POST", [&] { return changes(request); });
        const bool media = path.starts_with("/sapi/media/"), upload = path.starts_with("/sapi/upload/");
        const Collection* found = collectionNamed(std::string_view(path).substr(media ? 12 : upload ? 13 : 0));
        if (found == nullptr || !(media || upload)) return errorReply(404, "COM-1004", "No such resource: " + path);
        const Collection& collection = *found;
        if (media && action == "get") return on(request, "GET", [&] { return list(request, collection, baseUrl); });
        if (media && action == "delete") return on(request, "POST", [&] { return remove(request, collection); });
        if (media && action == "reset") return on(request, "POST", [&] { return reset(collection); });
        if (upload && action == "save-metadata")
            return on(request, "POST", [&] { return saveMetadata(request, collection); });
        if (upload && action == "save") return on(request, "POST", [&] { return saveContent(request, collection); });
        return errorReply(400, "COM-1002", "Unknown action '" + action + "' on " + path);
    }

    template <typename Handler>
    static Reply on(const Request& request, std::string_view method, Handler handler) {
        if (request.method != method)
            return errorReply(405, "COM-1003", request.method + " is not allowed here; use " + std::string(method));
        return handler();
    }

    // The challenge makes the client's HTTP layer report a cancelled authentication, which the
    // back-end turns into its "invalid login or expired session" error.
    static Reply authenticationError(std::string_view code, std::string_view message) {
        Reply reply = errorReply(401, code, message);
        reply.headers.emplace_back("WWW-Authenticate", "Session realm=\"sapi\"");
        return reply;
    }

    // The body is "login=NAME&password=PASSWORD" with nothing escaped, so a password may itself hold
    // "&" or "=": only the first "&password=" separates the two.
    Reply login(const Request& request) {
        constexpr std::string_view loginKey = "login=", passwordKey = "&password=";
        const std::size_t separator = request.body.find(passwordKey);
        if (!request.body.starts_with(loginKey) || separator == std::string::npos)
            throw BadRequest{"Expected login=...&password=... in the body"};
        const std::string user = request.body.substr(loginKey.size(), separator - loginKey.size());
        const std::string password = request.body.substr(separator + passwordKey.size());
        if (user != _user || password != _password)
            return authenticationError("SEC-1001", "Invalid login name or password");
        std::string session;
        for (int i = 0; i < 4; ++i) session += hex(_random());
        _sessions.insert(session);
        Reply reply = jsonReply({{"data", {{"jsessionid", session}}}});
        reply.headers.emplace_back("Set-Cookie", "JSESSIONID=" + session + "; Path=/; HttpOnly");
        return reply;
    }

    Reply logout(const Request& request) {
        _sessions.erase(request.session);
        Reply reply = jsonReply({{"success", true}});
        reply.headers.emplace_back("Set-Cookie", "JSESSIONID=; Path=/; Max-Age=0");
        return reply;
    }

    Reply list(const Request& request, const Collection& collection, const std::string& baseUrl) {
        const std::int64_t offset = toNumber(request.param("offset").value_or("0"), "offset");
        const auto limitText = request.param("limit");
        const std::int64_t limit = limitText ? toNumber(*limitText, "limit") : INT64_MAX;
        const Millis from = toNumber(request.param("from").value_or("0"), "from");
        std::optional<std::set<std::int64_t>> wanted;
        if (auto ids = request.param("id")) {
            const json query = json::parse(*ids);
            wanted.emplace();
            for (const json& id : query.at("ids")) wanted->insert(id.get<std::int64_t>());
        }
        json entries = json::array();
        std::int64_t skipped = 0;
        for (const auto& [id, file] : _files) {
            if (file.type != collection.type || file.serverDate < from || (wanted && !wanted->contains(id))) continue;
            if (skipped++ < offset) continue;
            if (static_cast<std::int64_t>(entries.size()) >= limit) break;
            // Identifiers go out as text: the client compares them with the ones it asked for.
            entries.push_back({{"id", std::to_string(id)},
                               {"name", file.name},
                               {"date", file.serverDate},
                               {"creationdate", file.creationDate},
                               {"modificationdate", file.modificationDate},
                               {"size", file.size()},
                               {"url", contentPath(file)},
                               {"mediatype", file.type}});
        }
        return jsonReply({{"data", {{"mediaserverurl", baseUrl + "/content"}, {collection.node, entries}}}});
    }

    static std::string contentPath(const MediaFile& file) {
        return "/" + std::string(file.type) + "/" + std::to_string(file.id);
    }

    // TYPE/ID as listed in an entry's "url".
    Reply content(std::string_view typeAndId) const {
        const std::size_t slash = typeAndId.find('/');
        if (slash != std::string_view::npos) {
            std::int64_t id = -1;
            const std::string_view idText = typeAndId.substr(slash + 1);
            std::from_chars(idText.data(), idText.data() + idText.size(), id);
            auto found = _files.find(id);
            if (found != _files.end() && found->second.type == typeAndId.substr(0, slash) && found->second.content)
                return {200, *found->second.content, {{"Content-Type", found->second.contentType}}};
        }
        return errorReply(404, "MED-1005", "No content at " + std::string(typeAndId));
    }

    // Without "id" a new file, with it an update of the named one; nothing changes on a refusal.
    Reply saveMetadata(const Request& request, const Collection& collection) {
        const json data = json::parse(request.body).at("data");
        MediaFile* existing = nullptr;
        if (data.contains("id")) {
            const std::int64_t id = toNumber(data.at("id").get<std::string>(), "id");
            existing = findIn(collection, id);
            if (existing == nullptr) return unknownId(id);
        } else if (!data.contains("name")) {
            throw BadRequest{"A new file needs a name"};
        }
        MediaFile file = existing ? *existing : MediaFile{};
        if (existing == nullptr) file.creationDate = file.modificationDate = tick();
        if (data.contains("size")) {
            file.declaredSize = data.at("size").get<std::int64_t>();
            if (file.declaredSize > freeBytes() + file.storedBytes()) return overQuota();
        }
        if (data.contains("name")) file.name = data.at("name").get<std::string>();
        if (data.contains("contenttype")) file.contentType = data.at("contenttype").get<std::string>();
        if (data.contains("creationdate"))
            file.creationDate = millisFromClientDate(data.at("creationdate").get<std::string>());
        if (data.contains("modificationdate"))
            file.modificationDate = millisFromClientDate(data.at("modificationdate").get<std::string>());
        const char kind = existing ? 'U' : 'N';
        if (existing == nullptr) {
            file.id = _nextId++;
            file.type = collection.type;
            existing = &_files[file.id];
        }
        *existing = std::move(file);
        record(*existing, kind);
        return jsonReply({{"id", std::to_string(existing->id)}});
    }

    Reply saveContent(const Request& request, const Collection& collection) {
        const auto idHeader = request.headers.find("x-funambol-id");
        const auto sizeHeader = request.headers.find("x-funambol-file-size");
        if (idHeader == request.headers.end() || sizeHeader == request.headers.end())
            throw BadRequest{"Content needs the headers x-funambol-id and x-funambol-file-size"};
        toNumber(sizeHeader->second, "x-funambol-file-size");
        const std::int64_t id = toNumber(idHeader->second, "x-funambol-id");
        MediaFile* file = findIn(collection, id);
        if (file == nullptr) return unknownId(id);
        if (static_cast<std::int64_t>(request.body.size()) > freeBytes() + file->storedBytes()) return overQuota();
        file->content = request.body;
        record(*file, 'U');
        return jsonReply({{"success", true}});
    }

    Reply remove(const Request& request, const Collection& collection) {
        const json body = json::parse(request.body);
        const json& ids = body.at("data").at(std::string(collection.node));
        json removed = json::array();
        // Identifiers that this collection does not hold are ignored: the client sends every
        // identifier to every collection.
        for (const json& id : ids)
            if (MediaFile* file = findIn(collection, id.get<std::int64_t>())) {
                removed.push_back(std::to_string(file->id));
                erase(*file);
            }
        return jsonReply({{"data", {{collection.node, removed}}}});
    }

    Reply reset(const Collection& collection) {
        std::vector<MediaFile*> doomed;
        for (auto& [id, file] : _files)
            if (file.type == collection.type) doomed.push_back(&file);
        for (MediaFile* file : doomed) erase(*file);
        return jsonReply({{"success", true}});
    }

    // Per file, its state now against its state at "from": new (and still there), updated, or
    // deleted (and there before); a file both made and deleted since then is not reported.
    Reply changes(const Request& request) {
        const Millis from = toNumber(request.param("from").value_or("0"), "from");
        struct Seen {
            std::string_view type;
            bool created = false, deleted = false;
        };
        std::map<std::int64_t, Seen> seen;
        for (const Change& change : _changes) {
            if (change.time <= from) continue;
            Seen& file = seen[change.id];
            file.type = change.type;
            file.created |= change.kind == 'N';
            file.deleted |= change.kind == 'D';
        }
        json data = json::object();
        for (const Collection& collection : collections)
            data[std::string(collection.type)] = {{"N", json::array()}, {"U", json::array()}, {"D", json::array()}};
        for (const auto& [id, file] : seen) {
            if (file.created && file.deleted) continue;
            const char* kind = file.deleted ? "D" : file.created ? "N" : "U";
            data[std::string(file.type)][kind].push_back(id);
        }
        json answer = {{"data", data}};
        if (request.param("responsetime") == "true") answer["responsetime"] = tick();
        return jsonReply(answer);
    }

    Reply storageSpace() const { return jsonReply({{"data", {{"quota", _quota}, {"free", freeBytes()}}}}); }

    Reply control(const Request& request) {
        if (request.method != "POST") return errorReply(405, "COM-1003", "Test controls take POST");
        if (request.path == "/test/reset") {
            _files.clear();
            _changes.clear();
        } else if (request.path == "/test/quota") {
            _quota = toNumber(request.param("bytes").value_or(""), "bytes");
        } else if (request.path == "/test/expire-sessions") {
            _sessions.clear();
        } else {
            return errorReply(404, "COM-1004", "No such control: " + request.path);
        }
        return jsonReply({{"success", true}});
    }

    MediaFile* findIn(const Collection& collection, std::int64_t id) {
        auto found = _files.find(id);
        return found != _files.end() && found->second.type == collection.type ? &found->second : nullptr;
    }

    void erase(MediaFile& file) {
        record(file, 'D');
        const std::int64_t id = file.id;  // a copy: the file goes with the erase
        _files.erase(id);
    }

    void record(MediaFile& file, char kind) {
        file.serverDate = tick();
        _changes.push_back({file.serverDate, file.id, file.type, kind});
    }

    Reply unknownId(std::int64_t id) const {
        return errorReply(404, "MED-1005", "No media with id " + std::to_string(id) + " here");
    }
    Reply overQuota() const { return errorReply(507, "MED-1007", "Storage quota exceeded"); }

    std::int64_t freeBytes() const {
        std::int64_t used = 0;
        for (const auto& [id, file] : _files) used += file.storedBytes();
        return std::max<std::int64_t>(0, _quota - used);
    }

    // Server time in milliseconds, strictly increasing, so that a change never shares its time with
    // the response time a client took as its sync token.
    Millis tick() {
        const Millis now =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
                .count();
        _clock = std::max(now, _clock + 1);
        return _clock;
    }

    static std::string hex(std::uint64_t value) {
        char text[17];
        std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
        return text;
    }

    std::mutex _mutex;
    const std::string _user, _password;
    std::int64_t _quota;
    std::map<std::int64_t, MediaFile> _files;  // by id, which is also the listing order
    std::vector<Change> _changes;
    std::set<std::string> _sessions;
    std::int64_t _nextId = 1;
    Millis _clock = 0;
    std::mt19937_64 _random{std::random_device{}()};
};

// ---- HTTP plumbing ----

struct PendingRequest {
    Request request;
    std::string host;
    bool tooLarge = false;
};

MHD_Result collectQuery(void* query, MHD_ValueKind, const char* name, const char* value) {
    (*static_cast<std::map<std::string, std::string>*>(query))[name] = value != nullptr ? value : "";
    return MHD_YES;
}

MHD_Result answer(void* server, MHD_Connection* connection, const char* url, const char* method, const char*,
                  const char* upload, std::size_t* uploadSize, void** context) {
    auto* pending = static_cast<PendingRequest*>(*context);
    if (pending == nullptr) {
        pending = new PendingRequest;
        *context = pending;
        Request& request = pending->request;
        request.method = method;
        request.path = url;
        MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, &collectQuery, &request.query);
        request.session = fake_server::headerValue(connection, MHD_COOKIE_KIND, "JSESSIONID");
        for (const char* name : {"x-funambol-id", "x-funambol-file-size"})
            if (const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name))
                request.headers[name] = value;
        pending->host = fake_server::headerValue(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_HOST);
        return MHD_YES;
    }
    if (fake_server::takeUpload(pending->request.body, pending->tooLarge, upload, uploadSize)) return MHD_YES;
    const Reply reply = pending->tooLarge ? errorReply(413, "COM-1005", "Body too large")
                                          : static_cast<MediaServer*>(server)->handle(pending->request, pending->host);
    // Logged with its parameters by name: "GET /sapi/media/file?action=get&limit=50&offset=0 -> 200".
    std::string line = pending->request.method + ' ' + pending->request.path;
    char separator = '?';
    for (const auto& [name, value] : pending->request.query) {
        line += separator + name + '=' + value;
        separator = '&';
    }
    return fake_server::send(connection, line, reply.status, reply.body, reply.headers);
}

}  // namespace

int main(int argc, char** argv) {
    fake_server::Options options;
    options.user = "bob";
    options.password = "p&ss=1";
    options.quota = 100 * 1024 * 1024;
    if (!fake_server::parseOptions(argc, argv, options)) {
        std::cerr << "usage: " << argv[0]
                  << " [--port N] [--url-file PATH] [--user NAME] [--password TEXT] [--quota BYTES]\n";
        return 2;
    }
    MediaServer server(options.user, options.password, options.quota);
    return fake_server::serveUntilStopped("qmr_fake_funambol", options, &answer, &server,
                                          &fake_server::forget<PendingRequest>);
}
