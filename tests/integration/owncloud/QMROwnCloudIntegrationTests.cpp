// The ownCloud back-end against the fake ownCloud servers (servers/owncloud), one per release, started
// by the CTest fixtures "owncloud_4_5_7_server" and "owncloud_5_0_6_server". Every case runs against
// both releases, each time from an empty account with a quota of 2 GB and no other session, logged in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcAuthenticatorv4_5_7.h"
#include "DataStore/owncloud/QMROcAuthenticatorv5_0_6.h"
#include "DataStore/owncloud/QMROcCreateNewFolderRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcCreateNewFolderRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadServerInfoRequest.h"
#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv5_0_6.h"
#include "companion/web/QMRUrlConnection.h"
#include "tests/support/ServerState.h"

using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

using namespace std::chrono;
using MetadataList = QMROcReadFolderContentResponsev4_5_7::MetadataList;

constexpr std::int64_t defaultQuota = std::int64_t{2} << 30;
const std::string uploadSuffix = ".0123456789abcdef0123456789abcdef";
// June 3, 2013, 14:05 and December 12, 2013, 09:30 UTC, as the listing pages show them (to the minute).
constexpr std::int64_t june3 = 1370268300, december12 = 1386840600;
QMRDate at(std::int64_t seconds) {
    return QMRDate{std::chrono::seconds{seconds}};
}

// One entry of a listing, for readable failures.
struct Row {
    std::string name, idPath;
    std::int32_t type;
    std::string mime;
    std::int64_t size;
    std::optional<QMRDate> modified;
    bool operator==(const Row&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Row& row) {
        out << "{" << row.name << ", id path " << row.idPath << ", type " << row.type << ", " << row.mime << ", "
            << row.size << " B, ";
        if (row.modified) out << duration_cast<seconds>(row.modified->time_since_epoch()).count();
        return out << "}";
    }
};

Row folderRow(std::string path, std::int64_t size, std::int64_t mtime) {
    return {path, path, QMRFileMetadata::resourceTypeFolder, "httpd/unix-directory", size, at(mtime)};
}

class FakeOwnCloud : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(_state.load(v4() ? "QMR_OWNCLOUD_4_5_7_STATE_FILE" : "QMR_OWNCLOUD_5_0_6_STATE_FILE"));
        ASSERT_EQ(_state["release"], GetParam());
        control("/test/reset");
        control("/test/end-sessions");
        control("/test/quota?bytes=" + std::to_string(defaultQuota));
        auth = logIn(password());
        ASSERT_TRUE(auth) << error->description();
        ASSERT_FALSE(error);
    }

    void TearDown() override {
        if (auth && auth->isLoggedIn()) {
            QMRErrorSlot closing;
            auth->close(closing);
            EXPECT_FALSE(closing) << closing->description();
        }
    }

    bool v4() const { return GetParam() == "4.5.7"; }
    const std::string& url() const { return _state["url"]; }
    const std::string& user() const { return _state["user"]; }
    const std::string& password() const { return _state["password"]; }

    std::shared_ptr<QMROcAuthenticatorv4_5_7> logIn(const std::string& password) {
        if (v4()) return QMROcAuthenticatorv4_5_7::initWithUrl(url(), "4.5.7", user(), password, error);
        return QMROcAuthenticatorv5_0_6::initWithUrl(url(), "5.0.6", user(), password, error);
    }

    // The server's test-only controls; the answer's body.
    std::string control(const std::string& target, const std::string& body = "") {
        return _state.control(target, body);
    }
    // Adds a file or folder straight into the server's state; its server id.
    std::string put(const std::string& escapedPath, std::int64_t mtime, const std::string& content,
                    const std::string& mime = "") {
        const std::string query =
            "?path=" + escapedPath + "&mtime=" + std::to_string(mtime) + (mime.empty() ? "" : "&mime=" + mime);
        return nlohmann::json::parse(control("/test/put" + query, content)).at("id").dump();
    }
    std::string mkdir(const std::string& escapedPath, std::int64_t mtime) {
        return nlohmann::json::parse(control("/test/mkdir?path=" + escapedPath + "&mtime=" + std::to_string(mtime)))
            .at("id")
            .dump();
    }
    std::vector<std::string> serverTokens() {
        return nlohmann::json::parse(control("/test/sessions")).at("tokens").get<std::vector<std::string>>();
    }

    // The release's request classes, sent through the authenticator's session.
    std::optional<MetadataList> list(const std::optional<std::string>& folderId = std::nullopt) {
        QMROcReadFolderContentResponsev4_5_7 response;
        QMRUrlSession& session = auth->session();
        if (v4() && folderId) QMROcReadFolderContentRequestv4_5_7(session, url(), *folderId).send(response, error);
        if (v4() && !folderId) QMROcReadFolderContentRequestv4_5_7(session, url()).send(response, error);
        if (!v4() && folderId) QMROcReadFolderContentRequestv5_0_6(session, url(), *folderId).send(response, error);
        if (!v4() && !folderId) QMROcReadFolderContentRequestv5_0_6(session, url()).send(response, error);
        return response.metadatas();
    }
    std::vector<Row> rows(const std::optional<std::string>& folderId = std::nullopt) {
        std::vector<Row> result;
        if (auto records = list(folderId))
            for (const QMRFileMetadataPtr& record : *records)
                result.push_back({record->name(), QMROcFileOrFolderId(record->fileId()).path(), record->resourceType(),
                                  record->mimeContentType(), record->sizeInBytes(),
                                  record->serverSideModificationDateInLocalTime()});
        return result;
    }
    // The id of the listed entry with that name, or "" when it is not listed.
    std::string idOf(const std::string& name, const std::optional<std::string>& folderId = std::nullopt) {
        if (auto records = list(folderId))
            for (const QMRFileMetadataPtr& record : *records)
                if (record->name() == name) return record->fileId();
        return "";
    }
    std::string createFolder(const std::string& path) {
        QMROcCreateNewFolderResponsev4_5_7 response;
        if (v4())
            QMROcCreateNewFolderRequestv4_5_7(auth->session(), auth->requestToken(), url(), path).send(response, error);
        else
            QMROcCreateNewFolderRequestv5_0_6(auth->session(), auth->requestToken(), url(), path).send(response, error);
        return response.folderId();
    }
    void remove(const std::string& fileOrFolderId) {
        if (v4())
            QMROcDeleteFileOrFolderRequestv4_5_7(auth->session(), auth->requestToken(), url(), fileOrFolderId)
                .send(error);
        else
            QMROcDeleteFileOrFolderRequestv5_0_6(auth->session(), auth->requestToken(), url(), fileOrFolderId)
                .send(error);
    }
    std::optional<QMRStorageSpaceInfo> quota() {
        QMROcReadStorageQuotaInfoResponsev4_5_7 response;
        if (v4())
            QMROcReadStorageQuotaInfoRequestv4_5_7(auth->session(), url()).send(response, error);
        else
            QMROcReadStorageQuotaInfoRequestv5_0_6(auth->session(), url()).send(response, error);
        return response.storageSpaceInfo();
    }

    // The requests the server has logged so far, one line each ("GET /path?query -> 200").
    std::string serverLog() const { return _state.log(); }

    std::shared_ptr<QMROcAuthenticatorv4_5_7> auth;
    QMRErrorSlot error;

private:
    ServerState _state;
};

TEST_P(FakeOwnCloud, TheStatusPageNamesTheRelease) {
    QMRUrlSession session;
    const auto info = QMROcReadServerInfoRequest(session, url()).send(error);
    ASSERT_FALSE(error) << error->description();
    ASSERT_TRUE(info);
    EXPECT_EQ(info->serverVersion(), GetParam());
}

TEST_P(FakeOwnCloud, LoginFindsTheSessionsTokenAndScansTheFiles) {
    EXPECT_TRUE(auth->isLoggedIn());
    EXPECT_EQ(auth->baseUrl(), url());
    EXPECT_EQ(auth->serverVersion(), GetParam());
    // The token the client found is the one the server keeps for that session, not any text of the page.
    EXPECT_THAT(serverTokens(), Contains(auth->requestToken()));
    // The scan (4.5.7) or upgrade (5.0.6) call carried that token.
    const std::string script = v4() ? "scan\\.php" : "upgrade\\.php";
    EXPECT_THAT(serverLog(), ContainsRegex(script + "[^\n]*requesttoken=" + auth->requestToken() + " -> 200"));
}

TEST_P(FakeOwnCloud, LogoutEndsTheSessionOnTheServerAndAWrongPasswordIsRefused) {
    const std::string token = auth->requestToken();
    auth->logout(error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_FALSE(auth->isLoggedIn());
    EXPECT_THAT(serverTokens(), Not(Contains(token)));

    // The form comes back with its "Lost your password?" link: refused, and nothing changes.
    auth->login(user(), "not the password", error);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorAuthentication);
    EXPECT_EQ(error->localizedDescription(), "Either login name or password is invalid");
    EXPECT_FALSE(auth->isLoggedIn());
    EXPECT_EQ(auth->requestToken(), token);
    EXPECT_THAT(serverTokens(), IsEmpty());

    // The same session logs in again with a new token.
    error.reset();
    auth->login(user(), password(), error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_TRUE(auth->isLoggedIn());
    EXPECT_NE(auth->requestToken(), token);
    EXPECT_THAT(serverTokens(), ElementsAre(auth->requestToken()));
}

TEST_P(FakeOwnCloud, TheLoginFactoryRefusesAWrongPassword) {
    error.reset();
    EXPECT_FALSE(logIn("not the password"));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorAuthentication);
    EXPECT_EQ(error->localizedDescription(), "Either login name or password is invalid");
}

TEST_P(FakeOwnCloud, ListingGivesFullPathsTypesSizesAndDates) {
    const std::string docs = mkdir("/My%20Docs", june3);
    const std::string report = put("/My%20Docs/report.pdf" + uploadSuffix, june3, "hello world", "application/pdf");
    mkdir("/My%20Docs/Sub", december12);
    put("/My%20Docs/R%C3%A9sum%C3%A9%20%26%20co.txt", december12, "abc");
    put("/notes.txt", december12, "12345");

    EXPECT_THAT(rows(), ElementsAre(folderRow("/My Docs", 14, june3),
                                    Row{"/notes.txt", "/notes.txt", QMRFileMetadata::resourceTypeFile, "text/plain", 5,
                                        at(december12)}));
    ASSERT_FALSE(error) << error->description();

    const std::string docsId = idOf("/My Docs");
    EXPECT_EQ(QMROcFileOrFolderId(docsId).identifier(), docs);
    // The upload suffix is hidden in the name and kept in the id, so that the server finds the file.
    EXPECT_THAT(rows(docsId),
                ElementsAre(folderRow("/My Docs/Sub", 0, december12),
                            Row{"/My Docs/R\xC3\xA9sum\xC3\xA9 & co.txt", "/My Docs/R\xC3\xA9sum\xC3\xA9 & co.txt",
                                QMRFileMetadata::resourceTypeFile, "text/plain", 3, at(december12)},
                            Row{"/My Docs/report.pdf", "/My Docs/report.pdf" + uploadSuffix,
                                QMRFileMetadata::resourceTypeFile, "application/pdf", 11, at(june3)}));
    ASSERT_FALSE(error) << error->description();
    EXPECT_EQ(QMROcFileOrFolderId(idOf("/My Docs/report.pdf", docsId)).identifier(), report);

    EXPECT_THAT(rows(idOf("/My Docs/Sub", docsId)), IsEmpty());
    EXPECT_FALSE(error) << error->description();
}

TEST_P(FakeOwnCloud, ListingAFolderThatIsGoneFailsThePageCheck) {
    mkdir("/Gone", june3);
    const std::string gone = idOf("/Gone");
    control("/test/reset");
    EXPECT_FALSE(list(gone));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorUnknown);
    EXPECT_THAT(error->localizedDescription(), HasSubstr("Unrecognized response: "));
}

TEST_P(FakeOwnCloud, NewFoldersAreCreatedAndDeleted) {
    const std::string folderId = createFolder("/New Folder");
    ASSERT_FALSE(error) << error->description();
    const QMROcFileOrFolderId created(folderId);
    EXPECT_EQ(created.path(), "/New Folder");
    EXPECT_EQ(created.resourceType(), QMRFileMetadata::resourceTypeFolder);
    // The id the creation answered is the one the listing shows.
    EXPECT_EQ(idOf("/New Folder"), folderId);

    createFolder("/New Folder/Inner");
    ASSERT_FALSE(error) << error->description();
    put("/New%20Folder/Inner/a.txt", june3, "a");
    put("/New%20Folder/b.txt", june3, "bb");
    const std::vector<Row> inside = rows(folderId);
    ASSERT_EQ(inside.size(), 2u);
    EXPECT_EQ(inside[0].name, "/New Folder/Inner");
    EXPECT_EQ(inside[0].type, QMRFileMetadata::resourceTypeFolder);
    EXPECT_EQ(inside[0].size, 1);
    // Made just now, as the server's clock (to the minute) tells.
    ASSERT_TRUE(inside[0].modified);
    EXPECT_LT(abs(*inside[0].modified - system_clock::now()), minutes(2));

    // A file goes alone; a folder with its content.
    remove(idOf("/New Folder/b.txt", folderId));
    ASSERT_FALSE(error) << error->description();
    EXPECT_THAT(rows(folderId), ElementsAre(::testing::Field(&Row::name, "/New Folder/Inner")));
    remove(folderId);
    ASSERT_FALSE(error) << error->description();
    EXPECT_THAT(rows(), IsEmpty());
    EXPECT_FALSE(error) << error->description();
    // Its content went with it: a new folder of the same name is empty.
    EXPECT_THAT(rows(createFolder("/New Folder")), IsEmpty());
    EXPECT_FALSE(error) << error->description();
}

TEST_P(FakeOwnCloud, CreatingAnExistingFolderIsAnUnrecognizedAnswer) {
    mkdir("/Docs", june3);
    EXPECT_EQ(createFolder("/Docs"), "");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorUnknown);
    EXPECT_THAT(error->localizedDescription(), HasSubstr("Error when creating the folder"));
}

TEST_P(FakeOwnCloud, QuotaIsReadFromThePersonalPage) {
    put("/a.bin", june3, std::string(1024, 'a'));
    put("/b.bin", june3, std::string(512, 'b'));  // 1.5 kB used in all
    auto info = quota();
    ASSERT_FALSE(error) << error->description();
    ASSERT_TRUE(info);
    EXPECT_EQ(info->allocatedPlusUnallocatedBytes(), defaultQuota);
    EXPECT_EQ(info->unallocatedBytes(), defaultQuota - 1536);

    control("/test/quota?bytes=10240");
    info = quota();
    ASSERT_FALSE(error) << error->description();
    ASSERT_TRUE(info);
    EXPECT_EQ(info->allocatedPlusUnallocatedBytes(), 10240);
    EXPECT_EQ(info->unallocatedBytes(), 10240 - 1536);
}

TEST_P(FakeOwnCloud, AnAjaxPostAfterTheServersSessionEndedIsUnauthorized) {
    control("/test/expire-sessions");
    EXPECT_EQ(createFolder("/Late"), "");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QMRDataStoreErrorAuthentication);
    EXPECT_EQ(error->localizedDescription(), "Unauthorized");
    // Pages still load: only the token is stale.
    error.reset();
    EXPECT_THAT(rows(), IsEmpty());
    EXPECT_FALSE(error) << error->description();
}

INSTANTIATE_TEST_SUITE_P(Releases, FakeOwnCloud, ::testing::Values("4.5.7", "5.0.6"),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             return "v" + info.param.substr(0, 1) + "_" + info.param.substr(2, 1) + "_" +
                                    info.param.substr(4, 1);
                         });

}  // namespace
