// The ownCloud data stores of both releases: each operation sends its release's request and takes
// the answer, and the store offers exactly the folder-tree and sharing operations. What the answers
// hand back, and the session every operation needs, are the integration tests' part; how each
// operation fails the robustness tests'.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "DataStore/owncloud/QMROcDataStorev4_5_7.h"
#include "DataStore/owncloud/QMROcDataStorev5_0_6.h"
#include "tests/owncloud/QMROcTestSupport.h"
#include "tests/support/OwnCloudScriptedServer.h"

using oc_test::reasonRaisedBy;
using ::testing::ElementsAreArray;

namespace {

struct Release457 {
    using Authenticator = QMROcAuthenticatorv4_5_7;
    using Store = QMROcDataStorev4_5_7;
    static constexpr const char* version = "4.5.7";
    static constexpr const char* tokenPage = "var oc_requesttoken = 'tk';";
    // The request of each operation of the healthy server's walk, in its order.
    static std::vector<std::string> walk() {
        return {
            "GET /oc/?app=files&dir=%2F",
            "GET /oc/?app=files&dir=%2FPhotos",
            "POST /oc/?app=files&getfile=ajax%2Fnewfolder.php",
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
    static constexpr const char* version = "5.0.6";
    static constexpr const char* tokenPage = "<head data-requesttoken=\"tk\">";
    static std::vector<std::string> walk() {
        return {"GET /oc/index.php/apps/files?dir=/",
                "GET /oc/index.php/apps/files?dir=/Photos",
                "POST /oc/index.php/apps/files/ajax/newfolder.php",
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

template <class Release>
class OwnCloudDataStore : public ::testing::Test {
protected:
    // Logged in below the server's root, so that every address must keep the base URL's path.
    void SetUp() override {
        server.enqueue(ScriptedHttpAnswer::withStatus(302))
            .enqueue(ScriptedHttpAnswer::withStatus(200, Release::tokenPage))
            .enqueue(ScriptedHttpAnswer::withStatus(200));
        server.setHandler(owncloud_server::healthyServer(Release::version));
        QMRErrorSlot loginError;
        authenticator =
            Release::Authenticator::initWithUrl(server.url("/oc"), Release::version, "carol", "pw", loginError);
        ASSERT_TRUE(authenticator);
        store = std::make_shared<typename Release::Store>(authenticator);
        afterLogin = server.requestCount();
    }
    ScriptedHttpServer server;
    std::shared_ptr<typename Release::Authenticator> authenticator;
    std::shared_ptr<QMRDataStore> store;
    std::size_t afterLogin = 0;
    QMRErrorSlot error;
};

using Releases = ::testing::Types<Release457, Release506>;
TYPED_TEST_SUITE(OwnCloudDataStore, Releases);

TYPED_TEST(OwnCloudDataStore, EachOperationSendsItsReleasesRequestAndTakesTheAnswer) {
    owncloud_server::Account account{this->server.url("/oc"), this->authenticator, this->store};
    for (const owncloud_server::Operation& operation : owncloud_server::operations("", {})) {
        if (operation.beforeLogin) continue;
        EXPECT_TRUE(operation.run(account, this->error)) << operation.name;
        ASSERT_FALSE(this->error) << operation.name << ": " << this->error->description();
    }
    EXPECT_THAT(oc_test::requestLines(this->server, this->afterLogin), ElementsAreArray(TypeParam::walk()));
    // The change requests carry the session's token and the corrected permission.
    const ScriptedHttpRequest enable = this->server.request(this->afterLogin + 6);
    EXPECT_EQ(enable.header("requesttoken"), "tk");
    EXPECT_THAT(enable.bodyText(), ::testing::EndsWith("&permissions=27"));
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
