// The ownCloud data stores of both releases: each operation sends its release's request and hands
// back the answer or the error, every operation needs the authenticator's session, and the store
// offers exactly the folder-tree and sharing operations.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/owncloud/QMROcDataStorev4_5_7.h"
#include "DataStore/owncloud/QMROcDataStorev5_0_6.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "companion/web/QMRRunLoop.h"
#include "tests/owncloud/QMROcTestSupport.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ScriptedHttpServer.h"

using oc_test::reasonRaisedBy;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

namespace {

struct Release457 {
    using Authenticator = QMROcAuthenticatorv4_5_7;
    using Store = QMROcDataStorev4_5_7;
    static constexpr const char* tokenPage = "var oc_requesttoken = 'tk';";
    // The request of each operation of the walk below, in its order.
    static std::vector<std::string> walk() {
        return {
            "POST /oc/?app=files&getfile=ajax%2Fnewfolder.php",
            "GET /oc/?app=files&dir=%2F",
            "GET /oc/?app=files&dir=%2FPhotos",
            "POST /oc/?app=files&getfile=ajax%2Fdelete.php",
            "GET /oc/settings/personal.php",
            "GET /oc/core/ajax/share.php?fetch=getShareWith&search=al",
            "POST /oc/core/ajax/share.php",
            "POST /oc/core/ajax/share.php",
            "POST /oc/core/ajax/share.php",
            "GET /oc/core/ajax/share.php?fetch=getItem&itemType=file&itemSource=9&checkReshare=true&checkShares=true",
            "POST /oc/?app=files&getfile=ajax%2Fupload.php",
            "GET /oc/?app=files&getfile=ajax%2Fdownload.php&files=a.txt&dir=%2F"};
    }
};

struct Release506 {
    using Authenticator = QMROcAuthenticatorv5_0_6;
    using Store = QMROcDataStorev5_0_6;
    static constexpr const char* tokenPage = "<head data-requesttoken=\"tk\">";
    static std::vector<std::string> walk() {
        return {"POST /oc/index.php/apps/files/ajax/newfolder.php",
                "GET /oc/index.php/apps/files?dir=/",
                "GET /oc/index.php/apps/files?dir=/Photos",
                "POST /oc/index.php/apps/files/ajax/delete.php",
                "GET /oc/index.php/settings/personal",
                "GET /oc/index.php/core/ajax/share.php?fetch=getShareWith&search=al",
                "POST /oc/index.php/core/ajax/share.php",
                "POST /oc/index.php/core/ajax/share.php",
                "POST /oc/index.php/core/ajax/share.php",
                "GET /oc/index.php/core/ajax/share.php?fetch=getItem&itemType=file&itemSource=9&checkReshare=true&"
                "checkShares=true",
                "POST /oc/index.php/apps/files/ajax/upload.php",
                "GET /oc/index.php/apps/files/ajax/download.php?files=a.txt&dir=%2F"};
    }
};

bool has(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

// A server of either release, answering each script as it does when all goes well.
ScriptedHttpAnswer serverAnswer(const ScriptedHttpRequest& request) {
    const std::string& target = request.target;
    const auto ok = [](std::string_view body) { return ScriptedHttpAnswer::withStatus(200, body); };
    if (has(target, "download")) return ok("hello");
    if (has(target, "newfolder")) return ok(R"({"data":{"id":"42"},"status":"success"})");
    if (has(target, "dir=")) {
        // A file table of one row, with the breadcrumb link to /Photos as each release writes it.
        return ok(
            "<a href=\"/oc/?app=files&dir=%2FPhotos\">Photos</a><a href=\"/oc/index.php/apps/files?dir=/Photos\">"
            "Photos</a>\n<table><tr data-id=\"5\" data-file=\"x.jpg\" data-type=\"file\" data-mime=\"image/jpeg\" "
            "data-size=\"300\">\n<td></td>\n</tr></table>");
    }
    if (has(target, "delete")) return ok(R"({"status":"success"})");
    if (has(target, "personal")) {
        return ok(std::string("<p id=\"quotatext\">You have used <strong>1 GB</strong> of the available <strong>2 GB") +
                  (has(target, "personal.php") ? "<strong>" : "</strong>") + "</p>");
    }
    if (has(target, "getShareWith")) return ok(R"({"data":[{"value":{"shareType":0,"shareWith":"alice"}}]})");
    if (has(target, "getItem")) return ok(R"({"data":{"reshare":false,"shares":{"3":{"share_with":"bob"}}}})");
    if (has(target, "share.php")) return ok(R"({"status":"success"})");
    if (has(target, "upload")) {
        return ok(has(target, "index.php") ? R"([{"status":"success","id":7,"name":"a.txt"}])"
                                           : R"([{"status":"success","id":"7","name":"a.txt"}])");
    }
    return ok("");  // logout
}

std::string fileId(const std::string& path) {
    return QMROcFileOrFolderId("9", path, 2).toString();
}

std::string folderId(const std::string& path) {
    return QMROcFileOrFolderId("3", path, 1).toString();
}

template <class Release>
class OwnCloudDataStore : public ::testing::Test {
protected:
    void SetUp() override {
        server.enqueue(ScriptedHttpAnswer::withStatus(302))
            .enqueue(ScriptedHttpAnswer::withStatus(200, Release::tokenPage))
            .enqueue(ScriptedHttpAnswer::withStatus(200));
        QMRErrorSlot loginError;
        authenticator = Release::Authenticator::initWithUrl(server.url("/oc"), "", "carol", "pw", loginError);
        ASSERT_TRUE(authenticator);
        store = std::make_unique<typename Release::Store>(authenticator);
        afterLogin = server.requestCount();
    }
    // "METHOD target" of each request since the login.
    std::vector<std::string> sentSinceLogin() const {
        std::vector<std::string> sent;
        const auto requests = server.requests();
        for (std::size_t i = afterLogin; i < requests.size(); ++i)
            sent.push_back(requests[i].method + " " + requests[i].target);
        return sent;
    }

    ScriptedHttpServer server;
    std::shared_ptr<typename Release::Authenticator> authenticator;
    std::unique_ptr<QMRDataStore> store;
    std::size_t afterLogin = 0;
    QMRErrorSlot error;
};

using Releases = ::testing::Types<Release457, Release506>;
TYPED_TEST_SUITE(OwnCloudDataStore, Releases);

TYPED_TEST(OwnCloudDataStore, EachOperationSendsItsReleasesRequestAndHandsBackTheAnswer) {
    this->server.setHandler(serverAnswer);
    QMRDataStore& store = *this->store;
    QMRErrorSlot& error = this->error;
    const QMRSharingPartyInfo bob(0, "bob");

    const auto folder = store.createNewFolder("/Docs/New", error);
    ASSERT_TRUE(folder);
    EXPECT_EQ(QMROcFileOrFolderId(*folder).path(), "/Docs/New");
    EXPECT_EQ(QMROcFileOrFolderId(*folder).identifier(), "42");
    const auto root = store.readRootFolderContent(error);
    ASSERT_TRUE(root);
    EXPECT_EQ(root->toVector().at(0)->name(), "/x.jpg");
    const auto photos = store.readFolderContent(folderId("/Photos"), error);
    ASSERT_TRUE(photos);
    EXPECT_EQ(photos->toVector().at(0)->name(), "/Photos/x.jpg");
    store.deleteFileOrFolder(fileId("/a.txt"), error);
    const auto space = store.getStorageSpace(error);
    ASSERT_TRUE(space);
    EXPECT_EQ(space->allocatedPlusUnallocatedBytes(), 2147483648);
    EXPECT_EQ(space->unallocatedBytes(), 1073741824);
    const auto parties = store.readAllowedSharingPartyInfo("al", error);
    ASSERT_TRUE(parties);
    EXPECT_EQ(parties->toVector().at(0).sharingPartyName(), "alice");
    store.enableFileOrFolderSharing(fileId("/a.txt"), bob, 31, error);
    store.disableFileOrFolderSharing(fileId("/a.txt"), bob, error);
    store.changeFileOrFolderSharingPermission(fileId("/a.txt"), bob, 5, error);
    const auto shares = store.readSharedFileOrFolderInfo(fileId("/a.txt"), error);
    ASSERT_TRUE(shares);
    EXPECT_EQ(shares->toVector().at(0).sharingPartyInfo().sharingPartyName(), "bob");
    ASSERT_FALSE(error) << error->description();

    auto newFile = std::make_shared<QMRFileMetadata>();
    newFile->setName("/a.txt");
    newFile->setMimeContentType("text/plain");
    newFile->setSizeInBytes(0);
    std::vector<std::string> calls;
    store.createNewFileAsync(
        newFile,
        [&](QMRFileMetadataPtr created, std::optional<QMRError> failure) {
            calls.push_back(failure ? failure->description() : QMROcFileOrFolderId(created->fileId()).identifier());
        },
        [](std::optional<QMRData>&, bool&) {});
    QMRRunLoop::current().run();
    store.openFileForReadingAsync(
        fileId("/a.txt"), [&](std::optional<QMRError> failure) { calls.push_back(failure ? "failed" : "done"); },
        [&](QMRDataView data, bool&) { calls.emplace_back(data.begin(), data.end()); });
    QMRRunLoop::current().run();
    EXPECT_THAT(calls, ElementsAre("7", "hello", "", "done"));

    EXPECT_THAT(this->sentSinceLogin(), ElementsAreArray(TypeParam::walk()));
    // The change requests carry the session's token and the corrected permission.
    const ScriptedHttpRequest enable = this->server.request(this->afterLogin + 6);
    EXPECT_EQ(enable.header("requesttoken"), "tk");
    EXPECT_THAT(enable.bodyText(), ::testing::EndsWith("&permissions=27"));
}

TYPED_TEST(OwnCloudDataStore, FailedOperationsReturnNothingAndLeaveTheRequestsError) {
    this->server.setHandler([](const ScriptedHttpRequest&) { return ScriptedHttpAnswer::withStatus(503, "busy"); });
    QMRDataStore& store = *this->store;
    const std::vector<std::function<bool(QMRErrorSlot&)>> failing = {
        [&](QMRErrorSlot& error) { return !store.createNewFolder("/Docs", error); },
        [&](QMRErrorSlot& error) { return !store.readRootFolderContent(error); },
        [&](QMRErrorSlot& error) { return !store.readFolderContent(folderId("/Photos"), error); },
        [&](QMRErrorSlot& error) { return store.deleteFileOrFolder(fileId("/a.txt"), error), true; },
        [&](QMRErrorSlot& error) { return !store.getStorageSpace(error); },
        [&](QMRErrorSlot& error) { return !store.readAllowedSharingPartyInfo("a", error); },
        [&](QMRErrorSlot& error) { return !store.readSharedFileOrFolderInfo(fileId("/a"), error); },
    };
    for (std::size_t i = 0; i < failing.size(); ++i) {
        QMRErrorSlot error;
        EXPECT_TRUE(failing[i](error)) << "operation " << i << " returned a result";
        test_support::expectDataStoreError(error, QMRDataStoreErrorServerUnavailable, "Server down or server busy");
    }
    EXPECT_EQ(this->sentSinceLogin().size(), failing.size());

    // A bad argument is refused by the request before any traffic.
    EXPECT_EQ(
        reasonRaisedBy<QMRInvalidArgumentException>([&] { store.readFolderContent(folderId("/a:b"), this->error); }),
        "Characters \\<>:\"|?* are disallowed");
    EXPECT_EQ(this->sentSinceLogin().size(), failing.size());
}

TYPED_TEST(OwnCloudDataStore, EveryOperationNeedsTheSessionWhichClosingTheStoreLeavesOpen) {
    this->server.setHandler(serverAnswer);
    QMRDataStore& store = *this->store;
    QMRErrorSlot& error = this->error;
    store.close(error);
    EXPECT_FALSE(error);
    EXPECT_TRUE(this->authenticator->isLoggedIn());
    EXPECT_TRUE(this->sentSinceLogin().empty());

    this->authenticator->logout(error);
    ASSERT_FALSE(error);
    const std::size_t afterLogout = this->server.requestCount();
    const QMRSharingPartyInfo bob(0, "bob");
    auto metadata = std::make_shared<QMRFileMetadata>();
    const std::vector<std::function<void()>> operations = {
        [&] { store.createNewFileAsync(metadata, nullptr, nullptr); },
        [&] { store.createNewFolder("/Docs", error); },
        [&] { store.openFileForReadingAsync(fileId("/a"), nullptr, nullptr); },
        [&] { store.readRootFolderContent(error); },
        [&] { store.readFolderContent(folderId("/Photos"), error); },
        [&] { store.deleteFileOrFolder(fileId("/a"), error); },
        [&] { store.getStorageSpace(error); },
        [&] { store.readAllowedSharingPartyInfo("a", error); },
        [&] { store.enableFileOrFolderSharing(fileId("/a"), bob, 1, error); },
        [&] { store.disableFileOrFolderSharing(fileId("/a"), bob, error); },
        [&] { store.changeFileOrFolderSharingPermission(fileId("/a"), bob, 1, error); },
        [&] { store.readSharedFileOrFolderInfo(fileId("/a"), error); },
    };
    for (std::size_t i = 0; i < operations.size(); ++i)
        EXPECT_EQ(reasonRaisedBy<QMRInvalidOperationException>(operations[i]), "Not logged in") << "operation " << i;
    EXPECT_NO_THROW(store.close(error));
    EXPECT_FALSE(error);
    EXPECT_EQ(this->server.requestCount(), afterLogout);
}

TYPED_TEST(OwnCloudDataStore, OffersExactlyTheFolderTreeAndSharingOperations) {
    using enum QMRDataStoreOperation;
    const std::vector<QMRDataStoreOperation> offered = {createNewFileAsync,
                                                        createNewFolder,
                                                        openFileForReadingAsync,
                                                        readRootFolderContent,
                                                        readFolderContent,
                                                        deleteFileOrFolder,
                                                        getStorageSpace,
                                                        close,
                                                        readAllowedSharingPartyInfo,
                                                        enableFileOrFolderSharing,
                                                        disableFileOrFolderSharing,
                                                        changeFileOrFolderSharingPermission,
                                                        readSharedFileOrFolderInfo};
    for (QMRDataStoreOperation operation : QMRAllDataStoreOperations)
        EXPECT_EQ(this->store->supportsOperation(operation),
                  std::find(offered.begin(), offered.end(), operation) != offered.end())
            << QMRDataStoreOperationSelector(operation);
    EXPECT_THROW(this->store->readAllFileMetadata(this->error), QMRNotSupportedException);
    EXPECT_THROW(this->store->applyApplicationExclusiveAccessUnlock(this->error), QMRNotSupportedException);

    static_assert(!std::is_default_constructible_v<typename TypeParam::Store>);
    EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>([] { typename TypeParam::Store store(nullptr); }),
              "QMROwnCloudAuthenticator required but is not provided");
}

}  // namespace
