#pragma once
// An in-process ownCloud server of either release on which every request succeeds, and every
// operation of the back-end (the login through the entry point, the status page, each operation of
// the data store) runnable one after another against it: for the unit tests, and for the fault tests
// that break one step or watch the traffic of all.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROwnCloudDataStore.h"
#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRUrlSessionConfiguration.h"
#include "tests/support/ScriptedHttpServer.h"

namespace owncloud_server {

inline bool has(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// Where the login posts its form, and where it reads the request token, in either release.
inline bool isLoginForm(const ScriptedHttpRequest& request) {
    return request.method == "POST" && (request.target == "/" || request.target == "/index.php");
}
inline bool isTokenPage(const ScriptedHttpRequest& request) {
    return request.method == "GET" && (request.target == "/" || request.target == "/index.php/apps/files");
}
// The page with the request token, as the release that serves target writes it.
inline ScriptedHttpAnswer tokenPage(const ScriptedHttpRequest& request, std::string_view token) {
    const std::string page = request.target == "/" ? "<script>var oc_requesttoken = '" + std::string(token) + "';"
                                                   : "<head data-requesttoken=\"" + std::string(token) + "\">";
    return ScriptedHttpAnswer::withStatus(200, page);
}

// A server of the release on which every step succeeds. Its status page names the release; the
// other pages and scripts are told apart by their addresses, which differ between the releases.
// The status page and the login need the server at the root; every other page is found below any base path.
inline ScriptedHttpServer::Handler healthyServer(const std::string& version) {
    return [version](const ScriptedHttpRequest& request) {
        const std::string& target = request.target;
        const auto ok = [](std::string_view body) { return ScriptedHttpAnswer::withStatus(200, body); };
        if (target == "/status.php") return ok(R"({"installed":"true","versionstring":")" + version + "\"}");
        if (isLoginForm(request)) return ok("").withHeader("Set-Cookie", "oc_session=s1; Path=/");
        if (isTokenPage(request)) return tokenPage(request, "tk");
        if (has(target, "scan.php") || has(target, "upgrade.php")) return ok("");
        if (has(target, "download")) return ok("hello");
        if (has(target, "newfolder")) return ok(R"({"data":{"id":"42"},"status":"success"})");
        if (has(target, "dir=")) {
            // One row, under the breadcrumb link to /Photos as each release writes it.
            return ok(
                "<a href=\"/?app=files&dir=%2FPhotos\">Photos</a><a href=\"/index.php/apps/files?dir=/Photos\">"
                "Photos</a>\n<table><tr data-id=\"5\" data-file=\"x.jpg\" data-type=\"file\" data-mime=\"image/jpeg\" "
                "data-size=\"300\">\n<td></td>\n</tr></table>");
        }
        if (has(target, "delete") || has(target, "changepassword") || has(target, "settings/ajax/lostpassword"))
            return ok(R"({"status":"success"})");
        // The reset link's confirmation, in the words of either release.
        if (has(target, "lostpassword")) return ok("Reset requested: reset email send");
        if (has(target, "personal")) {
            return ok(std::string("<p id=\"quotatext\">You have used <strong>1 GB</strong> of the available "
                                  "<strong>2 GB") +
                      (has(target, "personal.php") ? "<strong>" : "</strong>") + "</p>");
        }
        if (has(target, "getShareWith")) return ok(R"({"data":[{"value":{"shareType":0,"shareWith":"alice"}}]})");
        if (has(target, "getItem")) return ok(R"({"data":{"reshare":false,"shares":{"3":{"share_with":"bob"}}}})");
        if (has(target, "share.php")) return ok(R"({"status":"success"})");
        if (has(target, "upload")) {
            return ok(has(target, "index.php") ? R"([{"status":"success","id":7,"name":"a.txt"}])"
                                               : R"([{"status":"success","id":"7","name":"a.txt"}])");
        }
        return ok("");
    };
}

// What the operations work with: the server, and once logged in the account's authenticator and store.
struct Account {
    std::string baseUrl;
    std::shared_ptr<QMROwnCloudAuthenticator> authenticator;
    std::shared_ptr<QMRDataStore> store;
};

// Logs in through the entry point (status page, then the release's login) with sessions so made.
inline Account logIn(const std::string& baseUrl, const std::string& loginName, const std::string& password,
                     QMRErrorSlot& error, const QMRUrlSessionConfiguration& sessions) {
    Account account{baseUrl, nullptr, nullptr};
    account.authenticator =
        QMROwnCloudDataStore::getAuthenticatorWithUrl(baseUrl, loginName, password, error, sessions);
    if (account.authenticator) account.store = QMROwnCloudDataStore::getDataStore(account.authenticator);
    return account;
}

// Runs the thread's loop until the transfers end; a hang fails the test instead of blocking it.
inline void runTransfers() {
    EXPECT_FALSE(QMRRunLoop::current().runUntilDate(std::chrono::system_clock::now() + std::chrono::seconds(30)))
        << "a transfer is still running long after every time-out";
}

struct Operation {
    std::string name;
    // Whether something came back (a record, a list, an id, the content or the server's info);
    // operations without a result report whether they succeeded. An error stays in the slot.
    std::function<bool(Account&, QMRErrorSlot&)> run;
    // Run against the bare server (they are how an account begins), not on a logged-in account.
    bool beforeLogin = false;
};

// marker is appended to every name and id the operations hand over: the file /a.txt (server id 9),
// the folder /Photos, the new folder /Docs, the uploaded /new.txt and the sharing party bob. The
// operations before login make their sessions so.
inline std::vector<Operation> operations(const std::string& marker, const QMRUrlSessionConfiguration& sessions) {
    const std::string fileId = QMROcFileOrFolderId("9" + marker, "/a.txt" + marker, 2).toString();
    const std::string folderId = QMROcFileOrFolderId("3" + marker, "/Photos" + marker, 1).toString();
    const QMRSharingPartyInfo party(0, "bob" + marker);
    return {
        {"login",
         [sessions](Account& a, QMRErrorSlot& e) {
             a = logIn(a.baseUrl, "carol", "pw", e, sessions);
             return a.authenticator != nullptr;
         },
         true},
        {"readServerInfoForUrl",
         [sessions](Account& a, QMRErrorSlot& e) {
             return QMROwnCloudDataStore::readServerInfoForUrl(a.baseUrl, e, sessions).has_value();
         },
         true},
        {"readRootFolderContent",
         [](Account& a, QMRErrorSlot& e) { return a.store->readRootFolderContent(e) != nullptr; }},
        {"readFolderContent",
         [folderId](Account& a, QMRErrorSlot& e) { return a.store->readFolderContent(folderId, e) != nullptr; }},
        {"createNewFolder",
         [marker](Account& a, QMRErrorSlot& e) { return a.store->createNewFolder("/Docs" + marker, e).has_value(); }},
        {"deleteFileOrFolder",
         [fileId](Account& a, QMRErrorSlot& e) {
             a.store->deleteFileOrFolder(fileId, e);
             return !e;
         }},
        {"getStorageSpace", [](Account& a, QMRErrorSlot& e) { return a.store->getStorageSpace(e).has_value(); }},
        {"readAllowedSharingPartyInfo",
         [](Account& a, QMRErrorSlot& e) { return a.store->readAllowedSharingPartyInfo("al", e) != nullptr; }},
        {"enableFileOrFolderSharing",
         [fileId, party](Account& a, QMRErrorSlot& e) {
             a.store->enableFileOrFolderSharing(fileId, party, 31, e);
             return !e;
         }},
        {"disableFileOrFolderSharing",
         [fileId, party](Account& a, QMRErrorSlot& e) {
             a.store->disableFileOrFolderSharing(fileId, party, e);
             return !e;
         }},
        {"changeFileOrFolderSharingPermission",
         [fileId, party](Account& a, QMRErrorSlot& e) {
             a.store->changeFileOrFolderSharingPermission(fileId, party, 5, e);
             return !e;
         }},
        {"readSharedFileOrFolderInfo",
         [fileId](Account& a, QMRErrorSlot& e) { return a.store->readSharedFileOrFolderInfo(fileId, e) != nullptr; }},
        {"createNewFileAsync",
         [marker](Account& a, QMRErrorSlot& e) {
             auto metadata = std::make_shared<QMRFileMetadata>();
             metadata->setName("/new.txt" + marker);
             metadata->setMimeContentType("text/plain");
             metadata->setSizeInBytes(5);
             int completions = 0;
             bool created = false;
             a.store->createNewFileAsync(
                 metadata,
                 [&](QMRFileMetadataPtr record, std::optional<QMRError> failure) {
                     ++completions;
                     created = record != nullptr;
                     e = std::move(failure);
                 },
                 [asked = false](std::optional<QMRData>& data, bool&) mutable {
                     if (!std::exchange(asked, true)) data = QMRData{'n', 'o', 't', 'e', 's'};
                 });
             runTransfers();
             EXPECT_EQ(completions, 1);
             return created;
         }},
        {"openFileForReadingAsync",
         [fileId](Account& a, QMRErrorSlot& e) {
             int completions = 0;
             a.store->openFileForReadingAsync(
                 fileId,
                 [&](std::optional<QMRError> failure) {
                     ++completions;
                     e = std::move(failure);
                 },
                 [](QMRDataView, bool&) {});
             runTransfers();
             EXPECT_EQ(completions, 1);
             return completions == 1 && !e;
         }},
    };
}

}  // namespace owncloud_server
