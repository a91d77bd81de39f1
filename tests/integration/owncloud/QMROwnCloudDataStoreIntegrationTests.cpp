// The ownCloud back-end as an application meets it: entered through QMROwnCloudDataStore on the fake
// ownCloud servers of both releases (fixtures "owncloud_4_5_7_server" and "owncloud_5_0_6_server"),
// each case from empty accounts with a quota of 2 GB and no open session. The https case runs on the
// 4.5.7 https server ("owncloud_4_5_7_tls_server").
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/owncloud/QMROcDataStoreAdministrationv4_5_7.h"
#include "DataStore/owncloud/QMROcDataStorev4_5_7.h"
#include "DataStore/owncloud/QMROcDataStorev5_0_6.h"
#include "DataStore/owncloud/QMROwnCloudDataStore.h"
#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRUrlConnection.h"
#include "tests/owncloud/QMROcTestSupport.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ServerState.h"

using oc_test::reasonRaisedBy;
using test_support::expectDataStoreError;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

constexpr std::int64_t defaultQuota = std::int64_t{2} << 30;
constexpr std::int32_t folders = QMRFileMetadata::resourceTypeFolder, files = QMRFileMetadata::resourceTypeFile;
constexpr int userShare = 0, groupShare = 1;

QMRData patterned(std::size_t count) {
    QMRData bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>((i * 13 + i / 251) & 0xff);
    return bytes;
}

std::vector<std::string> namesOf(const QMREnumerablePtr<QMRFileMetadataPtr>& records) {
    std::vector<std::string> names;
    if (records)
        for (const QMRFileMetadataPtr& record : *records) names.push_back(record->name());
    return names;
}

// One entry of an item's sharing info, for readable failures.
struct Share {
    bool owner;
    std::int32_t type;
    std::string party;
    std::int32_t permissions;
    bool operator==(const Share&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Share& share) {
        return out << "{" << (share.owner ? "owner " : "") << share.party << " (type " << share.type << "), "
                   << share.permissions << "}";
    }
};

class OwnCloudThroughTheFactory : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(_state.load(v4() ? "QMR_OWNCLOUD_4_5_7_STATE_FILE" : "QMR_OWNCLOUD_5_0_6_STATE_FILE"));
        ASSERT_FALSE(_state["second-user"].empty()) << "the fake server has no second account";
        control("/test/reset");
        control("/test/end-sessions");
        control("/test/quota?bytes=" + std::to_string(defaultQuota));
        control("/test/quota?bytes=" + std::to_string(defaultQuota) + "&user=" + _state["second-user"]);
        _logStart = _state.log().size();
        auth = QMROwnCloudDataStore::getAuthenticatorWithUrl(url(), user(), password(), error);
        ASSERT_TRUE(auth) << error->description();
        store = QMROwnCloudDataStore::getDataStore(auth);
        ASSERT_TRUE(store);
    }

    void TearDown() override {
        QMRErrorSlot closing;
        if (auth && auth->isLoggedIn()) auth->close(closing);
    }

    bool v4() const { return GetParam() == "4.5.7"; }
    const std::string& url() const { return _state["url"]; }
    const std::string& user() const { return _state["user"]; }
    const std::string& password() const { return _state["password"]; }
    const std::string& secondUser() const { return _state["second-user"]; }
    const std::string& secondPassword() const { return _state["second-password"]; }
    std::string control(const std::string& target) { return _state.control(target); }

    // Uploads content through the store and runs the loop until it completes; the new file's id.
    std::string upload(QMRDataStore& into, const std::string& path, const QMRData& content) {
        auto metadata = std::make_shared<QMRFileMetadata>();
        metadata->setName(path);
        metadata->setMimeContentType("application/octet-stream");
        metadata->setSizeInBytes(static_cast<std::int64_t>(content.size()));
        int completions = 0;
        QMRFileMetadataPtr created;
        std::optional<QMRError> failure;
        into.createNewFileAsync(
            metadata,
            [&](QMRFileMetadataPtr result, std::optional<QMRError> uploadError) {
                ++completions;
                created = std::move(result);
                failure = std::move(uploadError);
            },
            [&content, sent = false](std::optional<QMRData>& data, bool&) mutable {
                if (!sent) data = content;  // none afterwards: the end of the content
                sent = true;
            });
        QMRRunLoop::current().run();
        EXPECT_EQ(completions, 1) << path;
        EXPECT_FALSE(failure) << path << ": " << failure->description();
        return created ? created->fileId() : "";
    }
    std::string upload(const std::string& path, const QMRData& content) { return upload(*store, path, content); }

    // Downloads a file through the store and runs the loop until it completes.
    QMRData download(const std::string& fileId) {
        QMRData content;
        std::vector<std::optional<QMRError>> completions;
        store->openFileForReadingAsync(
            fileId, [&](std::optional<QMRError> readError) { completions.push_back(std::move(readError)); },
            [&](QMRDataView data, bool&) { content.insert(content.end(), data.begin(), data.end()); });
        QMRRunLoop::current().run();
        EXPECT_EQ(completions.size(), 1u);
        for (const std::optional<QMRError>& completion : completions) {
            EXPECT_FALSE(completion) << completion->description();
        }
        return content;
    }

    std::vector<Share> sharingOf(const std::string& fileOrFolderId) {
        std::vector<Share> shares;
        if (auto infos = store->readSharedFileOrFolderInfo(fileOrFolderId, error))
            for (const QMRSharingFileOrFolderInfo& info : *infos)
                shares.push_back({info.sharingPartyIsOwner(), info.sharingPartyInfo().sharingType(),
                                  info.sharingPartyInfo().sharingPartyName(), info.sharingPermission()});
        return shares;
    }

    // The request lines ("METHOD /target -> STATUS") the client sent since the case began; the
    // test controls left out.
    std::vector<std::string> clientRequests() const {
        std::vector<std::string> lines;
        std::istringstream log(_state.log().substr(_logStart));
        for (std::string line; std::getline(log, line);)
            if (line.find(" /test/") == std::string::npos && line.find(" -> ") != std::string::npos)
                lines.push_back(line);
        return lines;
    }

    // Every request the case made is in the release's own URL layout, and the server knew it: 5.0.6
    // goes through index.php for everything, 4.5.7 never to a path below it.
    void expectOnlyTheReleasesRequests() const {
        const std::vector<std::string> lines = clientRequests();
        ASSERT_FALSE(lines.empty());
        for (const std::string& line : lines) {
            const std::string target = line.substr(line.find(' ') + 1);
            EXPECT_THAT(line, Not(HasSubstr(" -> 404")));
            if (target.starts_with("/status.php")) continue;
            if (v4())
                EXPECT_FALSE(target.starts_with("/index.php/")) << line;
            else
                EXPECT_THAT(target, StartsWith("/index.php"));
        }
    }

    std::size_t logSize() const { return _state.log().size(); }

    QMRErrorSlot error;
    std::shared_ptr<QMROwnCloudAuthenticator> auth;
    std::shared_ptr<QMRDataStore> store;

private:
    ServerState _state;
    std::size_t _logStart = 0;
};

TEST_P(OwnCloudThroughTheFactory, FilesGoFromNewFoldersThroughListingAndDownloadToDeletion) {
    if (v4())
        EXPECT_TRUE(std::dynamic_pointer_cast<QMROcDataStorev4_5_7>(store));
    else
        EXPECT_TRUE(std::dynamic_pointer_cast<QMROcDataStorev5_0_6>(store));

    const std::optional<std::string> projects = store->createNewFolder("/Projects", error);
    ASSERT_FALSE(error) << error->description();
    ASSERT_TRUE(projects);
    store->createNewFolder("/Projects/Drafts", error);
    ASSERT_FALSE(error) << error->description();
    // Sizes the personal page shows exactly (301 kB in all).
    const QMRData plan = patterned(300 * 1024), notes = patterned(1024);
    const std::string planId = upload("/Projects/plan.bin", plan);
    const std::string notesId = upload("/notes.txt", notes);
    ASSERT_FALSE(planId.empty() || notesId.empty());

    EXPECT_THAT(namesOf(store->readRootFolderContent(error)), ElementsAre("/Projects", "/notes.txt"));
    EXPECT_THAT(namesOf(QMROwnCloudDataStore::readRootFolderContent(*store, folders, error)), ElementsAre("/Projects"));
    EXPECT_THAT(namesOf(QMROwnCloudDataStore::readRootFolderContent(*store, files, error)), ElementsAre("/notes.txt"));
    EXPECT_THAT(namesOf(store->readFolderContent(*projects, error)),
                ElementsAre("/Projects/Drafts", "/Projects/plan.bin"));
    EXPECT_THAT(namesOf(QMROwnCloudDataStore::readFolderContent(*store, *projects, folders, error)),
                ElementsAre("/Projects/Drafts"));
    EXPECT_THAT(namesOf(QMROwnCloudDataStore::readFolderContent(*store, *projects, files, error)),
                ElementsAre("/Projects/plan.bin"));
    ASSERT_FALSE(error) << error->description();

    EXPECT_EQ(download(planId), plan);

    const std::optional<QMRStorageSpaceInfo> space = store->getStorageSpace(error);
    ASSERT_FALSE(error) << error->description();
    ASSERT_TRUE(space);
    EXPECT_EQ(space->allocatedPlusUnallocatedBytes(), defaultQuota);
    EXPECT_EQ(space->unallocatedBytes(), defaultQuota - std::int64_t{301 * 1024});

    // A folder goes with its content.
    store->deleteFileOrFolder(notesId, error);
    ASSERT_FALSE(error) << error->description();
    store->deleteFileOrFolder(*projects, error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_THAT(namesOf(store->readRootFolderContent(error)), IsEmpty());
    EXPECT_EQ(store->getStorageSpace(error).value_or(QMRStorageSpaceInfo()).unallocatedBytes(), defaultQuota);
    EXPECT_FALSE(error);

    expectOnlyTheReleasesRequests();
}

TEST_P(OwnCloudThroughTheFactory, SharingWithAFoundPartyIsReadBackChangedAndStopped) {
    const std::string team = store->createNewFolder("/Team", error).value_or("");
    ASSERT_FALSE(error) << error->description();
    const std::string budget = upload("/Team/budget.ods", patterned(100));
    // Brenda shared the folder with the account, which may share it on.
    control("/test/receive?path=/Team&owner=brenda&permissions=31");

    const auto parties = store->readAllowedSharingPartyInfo("b", error);
    ASSERT_FALSE(error) << error->description();
    ASSERT_TRUE(parties);
    std::optional<QMRSharingPartyInfo> bob, backoffice;
    std::vector<std::string> found;
    for (const QMRSharingPartyInfo& party : *parties) {
        found.push_back(std::to_string(party.sharingType()) + " " + party.sharingPartyName());
        if (party.sharingPartyName() == "bob") bob = party;
        if (party.sharingPartyName() == "backoffice") backoffice = party;
    }
    EXPECT_THAT(found, IsSupersetOf({"0 bob", "0 brenda", "1 backoffice"}));
    ASSERT_TRUE(bob && backoffice);

    // Nobody yet: an empty list, no error.
    EXPECT_THAT(sharingOf(budget), IsEmpty());
    ASSERT_FALSE(error) << error->description();

    // A file never carries the create permission; a folder always gets read.
    store->enableFileOrFolderSharing(budget, *bob, 31, error);
    ASSERT_FALSE(error) << error->description();
    store->enableFileOrFolderSharing(team, *backoffice, 15, error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_THAT(sharingOf(budget), ElementsAre(Share{false, userShare, "bob", 27}));
    EXPECT_THAT(sharingOf(team),
                ElementsAre(Share{true, userShare, "brenda", 31}, Share{false, groupShare, "backoffice", 15}));

    store->changeFileOrFolderSharingPermission(team, *backoffice, 0, error);
    ASSERT_FALSE(error) << error->description();
    store->changeFileOrFolderSharingPermission(budget, *bob, 31, error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_THAT(sharingOf(team),
                ElementsAre(Share{true, userShare, "brenda", 31}, Share{false, groupShare, "backoffice", 1}));
    EXPECT_THAT(sharingOf(budget), ElementsAre(Share{false, userShare, "bob", 27}));

    store->disableFileOrFolderSharing(budget, *bob, error);
    ASSERT_FALSE(error) << error->description();
    store->disableFileOrFolderSharing(team, *backoffice, error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_THAT(sharingOf(budget), IsEmpty());
    EXPECT_THAT(sharingOf(team), ElementsAre(Share{true, userShare, "brenda", 31}));
    // Stopping a share that is gone is refused by the server.
    store->disableFileOrFolderSharing(budget, *bob, error);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorUnknown);

    expectOnlyTheReleasesRequests();
}

TEST_P(OwnCloudThroughTheFactory, AfterLogoutEveryOperationRaisesNotLoggedInButClosingTheStoreDoesNot) {
    const std::string folder = store->createNewFolder("/Kept", error).value_or("");
    const std::string file = upload("/kept.txt", patterned(10));
    ASSERT_FALSE(error) << error->description();
    const auto administration = QMROwnCloudDataStore::getDataStoreAdministration(auth);

    // Closing the store leaves the session open.
    store->close(error);
    EXPECT_FALSE(error);
    EXPECT_THAT(namesOf(store->readRootFolderContent(error)), ElementsAre("/Kept", "/kept.txt"));

    auth->close(error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_FALSE(auth->isLoggedIn());
    const std::size_t loggedOut = logSize();

    const QMRSharingPartyInfo bob(userShare, "bob");
    const auto notLoggedIn = [](auto call) { return reasonRaisedBy<QMRInvalidOperationException>(call); };
    bool called = false;
    EXPECT_EQ(notLoggedIn([&] {
                  store->createNewFileAsync(
                      std::make_shared<QMRFileMetadata>(),
                      [&](QMRFileMetadataPtr, std::optional<QMRError>) { called = true; },
                      [&](std::optional<QMRData>&, bool&) { called = true; });
              }),
              "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { store->createNewFolder("/Late", error); }), "Not logged in");
    EXPECT_EQ(notLoggedIn([&] {
                  store->openFileForReadingAsync(
                      file, [&](std::optional<QMRError>) { called = true; },
                      [&](QMRDataView, bool&) { called = true; });
              }),
              "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { store->readRootFolderContent(error); }), "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { store->readFolderContent(folder, error); }), "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { store->deleteFileOrFolder(file, error); }), "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { store->getStorageSpace(error); }), "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { store->readAllowedSharingPartyInfo("b", error); }), "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { store->enableFileOrFolderSharing(file, bob, 31, error); }), "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { store->changeFileOrFolderSharingPermission(file, bob, 1, error); }), "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { store->disableFileOrFolderSharing(file, bob, error); }), "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { store->readSharedFileOrFolderInfo(file, error); }), "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { administration->changePersonalPasswordFrom(password(), "other", error); }),
              "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { administration->setPersonalEmailAddress("carol@example.org", error); }),
              "Not logged in");
    EXPECT_EQ(notLoggedIn([&] { administration->readPersonalSettings(error); }), "Not logged in");
    QMRRunLoop::current().run();
    EXPECT_FALSE(called) << "no callback for a refused transfer";

    store->close(error);
    EXPECT_FALSE(error);
    EXPECT_EQ(logSize(), loggedOut) << "nothing was sent after the logout";
}

TEST_P(OwnCloudThroughTheFactory, AdministrationChangesThePasswordAndSetsTheEmailAddress) {
    const auto administration = QMROwnCloudDataStore::getDataStoreAdministration(auth);
    ASSERT_TRUE(administration);

    // No address yet: the empty field reads as an empty address.
    std::optional<QMROwnCloudPersonalSettings> settings = administration->readPersonalSettings(error);
    ASSERT_FALSE(error) << error->description();
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->emailAddress(), "");

    administration->setPersonalEmailAddress("carol.smith@example.org", error);
    ASSERT_FALSE(error) << error->description();
    settings = administration->readPersonalSettings(error);
    ASSERT_FALSE(error) << error->description();
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->emailAddress(), "carol.smith@example.org");

    const std::size_t before = logSize();
    EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>(
                  [&] { administration->changePersonalPasswordFrom(password(), "", error); }),
              "New password must be at least 1 character in length");
    EXPECT_EQ(logSize(), before) << "nothing is sent for an empty password";

    const std::string fresh = "n3w & better=pw";
    administration->changePersonalPasswordFrom(password(), fresh, error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_FALSE(QMROwnCloudDataStore::getAuthenticatorWithUrl(url(), user(), password(), error));
    expectDataStoreError(error, QMRDataStoreErrorAuthentication, "Either login name or password is invalid");
    error.reset();
    EXPECT_TRUE(QMROwnCloudDataStore::getAuthenticatorWithUrl(url(), user(), fresh, error));
    EXPECT_FALSE(error);

    expectOnlyTheReleasesRequests();
}

// 4.5.7 sends the reset link over https only (the https case is below); 5.0.6 takes plain http.
TEST_P(OwnCloudThroughTheFactory, ResetLinkOverPlainHttpOnlyFrom506) {
    const auto byUrl = QMROwnCloudDataStore::getDataStoreAdministration(url(), error);
    ASSERT_FALSE(error) << error->description();
    ASSERT_TRUE(byUrl);
    if (v4()) {
        const std::size_t before = logSize();
        EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>(
                      [&] { byUrl->readLinkForResettingPasswordForLoginName(user(), error); }),
                  "Https required");
        EXPECT_EQ(logSize(), before);
        return;
    }
    // The server mails the link only to an account with an address.
    byUrl->readLinkForResettingPasswordForLoginName(user(), error);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorUnknown);
    EXPECT_THAT(error->localizedDescription(), StartsWith("Unknown error - "));
    error.reset();
    control("/test/email?address=carol@example.org");
    byUrl->readLinkForResettingPasswordForLoginName(user(), error);
    EXPECT_FALSE(error) << error->description();
}

TEST_P(OwnCloudThroughTheFactory, TwoAccountsAtOnceKeepSeparateSessions) {
    const auto second = QMROwnCloudDataStore::getAuthenticatorWithUrl(url(), secondUser(), secondPassword(), error);
    ASSERT_TRUE(second) << error->description();
    const auto secondStore = QMROwnCloudDataStore::getDataStore(second);
    EXPECT_NE(second->requestToken(), auth->requestToken());

    store->createNewFolder("/Carol's", error);
    ASSERT_FALSE(error) << error->description();
    upload(*secondStore, "/erin.txt", patterned(5));
    EXPECT_THAT(namesOf(store->readRootFolderContent(error)), ElementsAre("/Carol's"));
    EXPECT_THAT(namesOf(secondStore->readRootFolderContent(error)), ElementsAre("/erin.txt"));
    EXPECT_EQ(secondStore->getStorageSpace(error).value_or(QMRStorageSpaceInfo()).unallocatedBytes(), defaultQuota - 5);
    ASSERT_FALSE(error) << error->description();

    // One logging out leaves the other's session open.
    auth->close(error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_THAT(namesOf(secondStore->readRootFolderContent(error)), ElementsAre("/erin.txt"));
    EXPECT_FALSE(error);
    second->close(error);
    EXPECT_FALSE(error);
}

INSTANTIATE_TEST_SUITE_P(Releases, OwnCloudThroughTheFactory, ::testing::Values("4.5.7", "5.0.6"),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             return "v" + info.param.substr(0, 1) + "_" + info.param.substr(2, 1) + "_" +
                                    info.param.substr(4, 1);
                         });

// The 4.5.7 reset link on the https server, whose self-signed certificate the caller trusts through
// the administration object's session.
TEST(OwnCloudOverHttps, ResetLink457AcceptsHttpsInAnyCase) {
    ServerState state;
    ASSERT_NO_FATAL_FAILURE(state.load("QMR_OWNCLOUD_4_5_7_TLS_STATE_FILE"));
    const std::string url = state["url"];
    ASSERT_THAT(url, StartsWith("https://"));

    // The controls, over https too.
    QMRUrlSession trusting;
    trusting.setTrustedCertificateFile(state["tls-cert"]);
    const auto control = [&](const std::string& target) {
        QMRUrlRequest request(url + target);
        request.setHTTPMethod("POST");
        QMRHttpUrlResponse response;
        QMRErrorSlot failure;
        QMRUrlConnection::sendSynchronousRequest(trusting, request, response, failure);
        ASSERT_FALSE(failure) << failure->description();
        ASSERT_EQ(response.statusCode(), 200) << target;
    };
    ASSERT_NO_FATAL_FAILURE(control("/test/reset"));
    ASSERT_NO_FATAL_FAILURE(control("/test/email?address=carol@example.org"));

    QMRErrorSlot error;
    QMROcDataStoreAdministrationv4_5_7 untrusted(url);
    untrusted.readLinkForResettingPasswordForLoginName(state["user"], error);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorServerUnavailable);

    for (const std::string& base : {url, "HTTPS" + url.substr(5)}) {
        QMROcDataStoreAdministrationv4_5_7 administration(base);
        administration.session().setTrustedCertificateFile(state["tls-cert"]);
        error.reset();
        administration.readLinkForResettingPasswordForLoginName(state["user"], error);
        EXPECT_FALSE(error) << base << ": " << error->description();
    }
}

}  // namespace
