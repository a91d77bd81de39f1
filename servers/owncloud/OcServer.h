#pragma once
// A stateful stand-in for an ownCloud server of release 4.5.7 or 5.0.6: the web front-end as a
// browser sees it, in the release's URL layout, with one account (and optionally a second, to show
// that sessions keep accounts apart), sessions kept by cookie with a request token each, each
// account's own files (content on disk), shares and settings, and test-only controls.
// Thread-safe: requests are served one at a time.
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "OcAccount.h"
#include "OcAccountScripts.h"
#include "OcBodyReader.h"
#include "OcEntryStore.h"
#include "OcFilesScripts.h"
#include "OcPages.h"
#include "OcReply.h"
#include "OcRequest.h"
#include "OcSharing.h"

namespace fake_owncloud {

class OcServer {
public:
    struct Settings {
        bool v4 = true;  // 4.5.7, or else 5.0.6
        bool https = false;
        std::string user, password;
        std::string secondUser, secondPassword;  // empty: one account
        std::int64_t quota = 0;
        std::filesystem::path contentParent;  // where the private directory of file contents goes
    };
    explicit OcServer(const Settings& settings);

    const std::string& cookieName() const { return _cookieName; }

    // Decided once the headers are in, before the body: a status to answer instead of running the
    // request (its body is then dropped), and where the body goes.
    std::optional<unsigned> takeInjectedFailure(const OcRequest& request);
    OcBodyReader::Keep bodyKeep(const OcRequest& request) const;
    // Staged beside the first account's files, on the file system of every account's.
    std::unique_ptr<OcStagedFile> stage() const { return _homes.front()->store.stage(); }

    OcReply handle(OcRequest& request);

private:
    // One account with everything that is its own: files, shares, settings, and the pages and
    // scripts over them.
    struct Home {
        Home(bool v4, const std::string& user, const std::string& password, std::int64_t quota,
             const std::filesystem::path& contentParent);
        OcEntryStore store;
        OcAccount account;
        OcPages pages;
        OcFilesScripts filesScripts;
        OcSharing sharing;
        OcAccountScripts accountScripts;
    };
    struct Session {
        std::string token;
        Home* home;
    };

    // A status that the next requests get instead of their answer, from /test/fail.
    struct InjectedFailure {
        unsigned status = 503;
        std::int64_t remaining = 0;
        std::string script;  // empty: any request
    };

    OcReply route(OcRequest& request);
    // The account of that user; the first one for an empty name; null for anyone else.
    Home* homeOf(const std::string& user) const;
    OcReply login(const OcCall& call);
    OcReply logout(const OcCall& call);
    OcReply control(OcRequest& request);  // the /test/ controls
    std::string newToken();
    std::string randomText(std::size_t length, std::string_view alphabet);

    std::mutex _mutex;
    const bool _v4;
    const std::string _scheme;
    std::mt19937_64 _random{std::random_device{}()};
    const std::string _cookieName;
    std::vector<std::unique_ptr<Home>> _homes;  // the first is the account that controls act on by default
    std::map<std::string, Session> _sessions;   // by session id
    InjectedFailure _failure;
};

}  // namespace fake_owncloud
