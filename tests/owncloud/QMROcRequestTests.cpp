// The exact traffic of the ownCloud requests of both releases, and how their answers are read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/owncloud/QMROcAuthenticatorv5_0_6.h"
#include "DataStore/owncloud/QMROcCreateNewFolderRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcLoginRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadServerInfoRequest.h"
#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv5_0_6.h"
#include "tests/owncloud/QMROcTestSupport.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ScriptedHttpServer.h"

using namespace std::chrono;
using oc_test::reasonRaisedBy;

namespace {

const std::string ajaxFormType = "application/x-www-form-urlencoded ;charset=UTF-8";

ScriptedHttpAnswer page(std::string_view body, unsigned status = 200) {
    return ScriptedHttpAnswer::withStatus(status, body).withHeader("Content-Type", "text/html; charset=utf-8");
}

QMRData bytes(std::string_view text) {
    return QMRData(text.begin(), text.end());
}

std::string folderId(const std::string& path) {
    return QMROcFileOrFolderId("3", path, 1).toString();
}

class OwnCloud : public ::testing::Test {
protected:
    // A server installed in a sub-folder, so every address must keep the base URL's path.
    std::string base() const { return server.url("/oc"); }
    void expectError(long code, const std::string& description) const {
        test_support::expectDataStoreError(error, code, description);
    }

    ScriptedHttpServer server;
    QMRUrlSession session;
    QMRErrorSlot error;
};

// Login ---------------------------------------------------------------------------------------

TEST_F(OwnCloud, Login457PostsTheFormReadsTheTokenAndScansThroughTheAccountsSession) {
    server.enqueue(page("", 302).withHeader("Set-Cookie", "oc=s1; Path=/"));
    server.enqueue(page("<script>\nvar oc_requesttoken = 'tk1';\n</script>"));
    server.enqueue(page("{}"));
    auto auth = QMROcAuthenticatorv4_5_7::initWithUrl(base(), "4.5.7", "carol", "p w&d", error);
    ASSERT_TRUE(auth);
    EXPECT_FALSE(error);
    EXPECT_TRUE(auth->isLoggedIn());
    EXPECT_EQ(auth->requestToken(), "tk1");
    EXPECT_EQ(auth->serverVersion(), "4.5.7");

    const ScriptedHttpRequest form = server.request(0);
    EXPECT_EQ(form.method, "POST");
    EXPECT_EQ(form.target, "/oc/");
    EXPECT_EQ(form.header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(form.bodyText(), "user=carol&password=p%20w%26d");
    EXPECT_EQ(server.request(1).method + " " + server.request(1).target, "GET /oc/");
    EXPECT_EQ(server.request(2).target, "/oc/?app=files&getfile=ajax%2Fscan.php&force=false&dir=&requesttoken=tk1");
    EXPECT_EQ(server.request(2).header("Cookie"), "oc=s1");

    // A second account on the same server starts without the first one's cookie.
    server.enqueue(page("")).enqueue(page("var oc_requesttoken = 'tk2';")).enqueue(page(""));
    auto other = QMROcAuthenticatorv4_5_7::initWithUrl(base(), "4.5.7", "dave", "pw", error);
    ASSERT_TRUE(other);
    EXPECT_FALSE(server.request(3).headers.contains("Cookie"));
}

TEST_F(OwnCloud, Login506UsesItsOwnAddressesLongerFormAndUnescapedTokenInTheScan) {
    server.enqueue(page("")).enqueue(page("<head data-requesttoken=\"a+b/c\">\n</head>")).enqueue(page(""));
    auto auth = QMROcAuthenticatorv5_0_6::initWithUrl(base(), "5.0.6", "carol", "pw", error);
    ASSERT_TRUE(auth);
    EXPECT_EQ(auth->requestToken(), "a+b/c");
    EXPECT_EQ(server.request(0).target, "/oc/index.php");
    EXPECT_EQ(server.request(0).bodyText(), "user=carol&password=pw&password-clone=pw&timezone-offset=0");
    EXPECT_EQ(server.request(1).target, "/oc/index.php/apps/files");
    EXPECT_EQ(server.request(2).target, "/oc/index.php/apps/files/ajax/upgrade.php?requesttoken=a+b/c");
}

TEST_F(OwnCloud, TokenIsCapturedGreedilyAndOnlyInTheReleasesOwnForm) {
    using namespace std::string_view_literals;
    struct Case {
        bool v506;
        std::string_view page;
        const char* token;  // nullptr: not found
    } cases[] = {
        {false, "x\nvar oc_requesttoken = 'tk';\ny", "tk"},
        {false, "var oc_requesttoken = 'tk'; var other = 'v';", "tk'; var other = 'v"},
        {false, "<head data-requesttoken=\"tk\">", nullptr},
        {true, "<head data-requesttoken=\"tk\"><a href=\"x\">", "tk\"><a href=\"x"},
        {true, "var oc_requesttoken = 'tk';", nullptr},
        // Every later change sends the token as a header, which cannot carry a NUL.
        {false, "var oc_requesttoken = 't\0k';"sv, nullptr},
        {true, "<head data-requesttoken=\"t\0k\">"sv, nullptr},
    };
    for (const Case& c : cases) {
        QMROcLoginRequestv4_5_7 v457(session, "u", "p", base());
        QMROcLoginRequestv5_0_6 v506(session, "u", "p", base());
        QMRErrorSlot found;
        const auto token = (c.v506 ? v506 : v457).extractRequestToken(bytes(c.page), found);
        if (c.token) {
            EXPECT_EQ(token, c.token) << c.page;
            EXPECT_FALSE(found);
        } else {
            ASSERT_TRUE(found) << c.page;
            EXPECT_EQ(found->code(), QMRDataStoreErrorUnknown);
            EXPECT_EQ(found->localizedDescription(), "Unknown Error - Request token not found");
        }
    }
}

TEST_F(OwnCloud, WrongPasswordShowsTheLoginFormAgainAndYieldsNoAuthenticator) {
    // "password?" in the pattern makes the "d" optional, so a cut-off link counts too.
    for (const char* loginPage : {"<a id=\"lost\">Lost your password?</a>", "<p>lost your passwor</p>"}) {
        server.enqueue(page(loginPage));
        error.reset();
        EXPECT_FALSE(QMROcAuthenticatorv5_0_6::initWithUrl(base(), "5.0.6", "carol", "bad", error));
        expectError(QMRDataStoreErrorAuthentication, "Either login name or password is invalid");
    }
    EXPECT_EQ(server.requestCount(), 2u);  // nothing after the refused form
}

TEST_F(OwnCloud, EveryLoginStepLets302PassAndFailsOnOtherStatuses) {
    // 404 at each of the three steps stops the login there.
    for (std::size_t failing = 0; failing < 3; ++failing) {
        ScriptedHttpServer steps;
        const char* bodies[] = {"", "var oc_requesttoken = 't';", ""};
        for (std::size_t i = 0; i <= failing; ++i) steps.enqueue(page(bodies[i], i == failing ? 404 : 302));
        QMRErrorSlot stepError;
        EXPECT_FALSE(QMROcAuthenticatorv4_5_7::initWithUrl(steps.baseUrl(), "4.5.7", "u", "p", stepError));
        ASSERT_TRUE(stepError);
        EXPECT_EQ(stepError->localizedDescription(), "Unknown error - Response code 404") << failing;
        EXPECT_EQ(steps.requestCount(), failing + 1);
    }
    // A 302 token page goes on with its own body, which holds no token.
    server.enqueue(page("", 302)).enqueue(page("moved", 302));
    EXPECT_FALSE(QMROcAuthenticatorv4_5_7::initWithUrl(base(), "4.5.7", "u", "p", error));
    expectError(QMRDataStoreErrorUnknown, "Unknown Error - Request token not found");

    error.reset();
    server.enqueue(page("busy", 503));
    EXPECT_FALSE(QMROcAuthenticatorv4_5_7::initWithUrl(base(), "4.5.7", "u", "p", error));
    expectError(QMRDataStoreErrorServerUnavailable, "Server down or server busy");
}

TEST_F(OwnCloud, LogoutEndsTheSessionOnlyWhenTheServerAnswered) {
    server.enqueue(page("")).enqueue(page("var oc_requesttoken = 't';")).enqueue(page(""));
    auto auth = QMROcAuthenticatorv4_5_7::initWithUrl(base(), "4.5.7", "u", "p", error);
    ASSERT_TRUE(auth);
    EXPECT_NO_THROW(auth->throwExceptionWhenNotLoggedIn());

    auth->setBaseUrl("http://127.0.0.1:" + std::to_string(test_support::closedLoopbackPort()));
    auth->close(error);
    expectError(QMRDataStoreErrorServerUnavailable, "Server down or server busy");
    EXPECT_TRUE(error->underlyingError());
    EXPECT_TRUE(auth->isLoggedIn());

    error.reset();
    auth->setBaseUrl(base());
    server.enqueue(page(""));
    auth->close(error);
    EXPECT_FALSE(error);
    EXPECT_EQ(server.request(3).target, "/oc/index.php?logout=true");
    EXPECT_FALSE(auth->isLoggedIn());
    EXPECT_EQ(reasonRaisedBy<QMRInvalidOperationException>([&] { auth->throwExceptionWhenNotLoggedIn(); }),
              "Not logged in");
}

// Folder listing ------------------------------------------------------------------------------

// One file table: a header row, then rows as each release writes them.
std::string listingPage(const std::string& breadcrumb, const std::vector<std::string>& rows) {
    std::string body = "<html><body><div class=\"crumb\">" + breadcrumb +
                       "</div>\n<table>\n<thead><tr><th>Name</th>"
                       "</tr></thead>\n<tbody id=\"fileList\">\n";
    for (const std::string& row : rows) body += row + "\n";
    return body + "</tbody></table></body></html>";
}

std::string row457(const std::string& id, const std::string& file, const std::string& type, const std::string& size,
                   const std::string& title) {
    return "<tr data-id=\"" + id + "\" data-file=\"" + file + "\" data-type=\"" + type +
           "\" data-mime=\"application/pdf\" data-size='" + size + "' data-permissions=\"27\">\n" +
           "<td class=\"filename\"><a href=\"#\">name</a></td>\n<td class=\"date\"><span class=\"modified\" title=\"" +
           title + "\" style=\"color:rgb(0,0,0)\">3 days ago</span></td>\n</tr>";
}

std::string row506(const std::string& id, const std::string& file, const std::string& type, const std::string& title) {
    return "<tr data-id=\"" + id + "\"\n    data-file=\"" + file + "\"\n    data-type=\"" + type +
           "\"\n    data-mime=\"httpd/unix-directory\"\n    data-size='4096'\n    data-permissions=\"31\">\n"
           "<td class=\"date\"><span class=\"modified\" title=\"" +
           title + "\">today</span></td>\n</tr>";
}

TEST_F(OwnCloud, Listing457ReadsEachRowIntoARecordWithItsFullPath) {
    const std::string suffix = ".0123456789abcdef0123456789abcdef";
    server.enqueue(page(listingPage("<a href=\"/oc/?app=files&dir=%2FDocs%2FMy%20Folder\">My Folder</a>",
                                    {row457("17", "report.pdf" + suffix, "file", "1234", "June 3, 2013, 14:05"),
                                     row457("18", "Caf&eacute;%20Photos" + suffix, "dir", "x", "Juni 3, 2013, 14:05"),
                                     row457("19", "big.iso", "FILE", "9223372036854775808", "June 3, 2013, 14:05")})));
    QMROcReadFolderContentRequestv4_5_7 request(session, base(), folderId("/Docs/My Folder"));
    QMROcReadFolderContentResponsev4_5_7 response;
    request.send(response, error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_EQ(server.request(0).target, "/oc/?app=files&dir=%2FDocs%2FMy%20Folder");
    ASSERT_TRUE(response.metadatas());
    ASSERT_EQ(response.metadatas()->size(), 3u);

    const QMRFileMetadata& file = *response.metadatas()->at(0);
    EXPECT_EQ(file.name(), "/Docs/My Folder/report.pdf");  // the upload suffix hidden...
    const QMROcFileOrFolderId fileId(file.fileId());       // ...but kept for the server
    EXPECT_EQ(fileId.path(), "/Docs/My Folder/report.pdf" + suffix);
    EXPECT_EQ(fileId.identifier(), "17");
    EXPECT_EQ(file.resourceType(), QMRFileMetadata::resourceTypeFile);
    EXPECT_EQ(file.mimeContentType(), "application/pdf");
    EXPECT_EQ(file.sizeInBytes(), 1234);
    EXPECT_EQ(file.serverSideModificationDateInLocalTime(), sys_days{2013y / June / 3} + 14h + 5min);

    const QMRFileMetadata& folder = *response.metadatas()->at(1);  // a folder keeps such a name
    EXPECT_EQ(folder.name(), "/Docs/My Folder/Caf\u00e9 Photos" + suffix);
    EXPECT_EQ(folder.resourceType(), QMRFileMetadata::resourceTypeFolder);
    EXPECT_EQ(folder.sizeInBytes(), 0);
    EXPECT_FALSE(folder.serverSideModificationDateInLocalTimeAvailable());  // a month in another language

    EXPECT_EQ(response.metadatas()->at(2)->resourceType(), QMRFileMetadata::resourceTypeFile);
    EXPECT_EQ(response.metadatas()->at(2)->sizeInBytes(), INT64_MAX);
}

TEST_F(OwnCloud, Listing506ReadsMultiLineRowsAndPaddedDays) {
    server.enqueue(page(listingPage("", {row506("5", "Photos", "dir", "June  3, 2013 14:05")})));
    QMROcReadFolderContentRequestv5_0_6 request(session, base());
    QMROcReadFolderContentResponsev4_5_7 response;
    request.send(response, error);
    ASSERT_FALSE(error);
    EXPECT_EQ(server.request(0).target, "/oc/index.php/apps/files?dir=/");
    ASSERT_EQ(response.metadatas()->size(), 1u);
    const QMRFileMetadata& folder = *response.metadatas()->front();
    EXPECT_EQ(folder.name(), "/Photos");
    EXPECT_EQ(folder.mimeContentType(), "httpd/unix-directory");
    EXPECT_EQ(folder.sizeInBytes(), 4096);
    EXPECT_EQ(folder.serverSideModificationDateInLocalTime(), sys_days{2013y / June / 3} + 14h + 5min);
    EXPECT_EQ(QMROcFileOrFolderId(folder.fileId()).resourceTypeName(), "folder");
}

TEST_F(OwnCloud, ListingAcceptsOnlyThePageOfTheWantedFolder) {
    const std::string escaped = "<a href=\"/oc/?app=files&dir=%2FMy%20Docs\">My Docs</a>";
    const std::string plain = "<a href=\"/oc/index.php/apps/files?dir=/My Docs\">My Docs</a>";
    struct Case {
        bool v506;
        std::string body;
        long code;  // 0: accepted
    } cases[] = {
        {false, escaped, 0},
        {false, plain, QMRDataStoreErrorUnknown},  // the space is escaped on 4.5.7 only
        {true, plain, 0},
        {true, escaped, QMRDataStoreErrorUnknown},
        {true, "<p>Token expired. Please reload page.</p>", QMRDataStoreErrorAuthentication},
    };
    for (const Case& c : cases) {
        server.enqueue(page(c.body));
        QMROcReadFolderContentResponsev4_5_7 response;
        QMRErrorSlot checked;
        if (c.v506)
            QMROcReadFolderContentRequestv5_0_6(session, base(), folderId("/My Docs")).send(response, checked);
        else
            QMROcReadFolderContentRequestv4_5_7(session, base(), folderId("/My Docs")).send(response, checked);
        EXPECT_EQ(checked ? checked->code() : 0, c.code) << c.body;
        EXPECT_EQ(response.metadatas().has_value(), c.code == 0) << c.body;
        if (checked) {
            EXPECT_EQ(checked->localizedDescription(),
                      c.code == QMRDataStoreErrorUnknown ? "Unrecognized response: " + c.body : "Unauthorized");
        }
    }
    EXPECT_EQ(server.request(2).target, "/oc/index.php/apps/files?dir=/My%20Docs");
}

TEST_F(OwnCloud, BrokenRowsAndPagesWithoutRowsNeverFailTheListing) {
    const std::pair<std::string, std::size_t> pages[] = {
        {listingPage("", {}), 0},
        {"not a file page at all", 0},
        // A bare "&" spoils the opening tag; a row without cell has no date; neither stops the walk.
        {listingPage("", {"<tr data-id=\"1\" data-file=\"a&b\" data-type=\"file\">\n</tr>",
                          "<tr data-id=\"2\" data-file=\"b\" data-type=\"file\">\n<td></td></tr>"}),
         2},
    };
    for (const auto& [body, rows] : pages) {
        server.enqueue(page(body));
        QMROcReadFolderContentResponsev4_5_7 response;
        QMRErrorSlot listed;
        QMROcReadFolderContentRequestv4_5_7(session, base()).send(response, listed);
        ASSERT_FALSE(listed) << body;
        ASSERT_EQ(response.metadatas()->size(), rows) << body;
    }
    server.enqueue(page(listingPage("", {"<tr data-id=\"1\" data-file=\"b\" data-type=\"file\">\n</tr>"})));
    QMROcReadFolderContentResponsev4_5_7 response;
    QMROcReadFolderContentRequestv4_5_7(session, base()).send(response, error);
    const QMRFileMetadata& bare = *response.metadatas()->front();
    EXPECT_EQ(bare.name(), "/b");
    EXPECT_EQ(bare.sizeInBytes(), 0);
    EXPECT_FALSE(bare.serverSideModificationDateInLocalTimeAvailable());
}

// New folder and delete ---------------------------------------------------------------------

TEST_F(OwnCloud, NewFolder457PostsParentAndNameWithTheTokenAndReadsTheQuotedId) {
    server.enqueue(page("{\"data\":{\"id\":\"42\"},\"status\":\"success\"}", 302));
    QMROcCreateNewFolderResponsev4_5_7 response;
    QMROcCreateNewFolderRequestv4_5_7(session, "tk", base(), "/a/b/c").send(response, error);
    ASSERT_FALSE(error);
    const ScriptedHttpRequest sent = server.request(0);
    EXPECT_EQ(sent.method + " " + sent.target, "POST /oc/?app=files&getfile=ajax%2Fnewfolder.php");
    EXPECT_EQ(sent.header("Content-Type"), ajaxFormType);
    EXPECT_EQ(sent.header("requesttoken"), "tk");
    EXPECT_EQ(sent.bodyText(), "dir=%2Fab&foldername=c");  // the parent joined without separators
    const QMROcFileOrFolderId id(response.folderId());
    EXPECT_EQ(id.identifier(), "42");
    EXPECT_EQ(id.path(), "/a/b/c");
    EXPECT_EQ(id.resourceTypeName(), "folder");
}

TEST_F(OwnCloud, NewFolderAnswersThatAreNotASuccessWithAnIdAreErrors) {
    struct Case {
        bool v506;
        std::string body;
        unsigned status;
        long code;
        std::string description;
    } cases[] = {
        {false, R"({"data":{"id":42},"status":"success"})", 200, 101,
         R"(Unrecognized response: {"data":{"id":42},"status":"success"})"},
        {false, R"({"data":{"message":"Token expired. Please reload page."},"status":"error"})", 200, 102,
         "Unauthorized"},
        {true, R"({"status":"error"})", 200, 101, R"(Unrecognized response: {"status":"error"})"},
        {true, R"(<b>"status":"success" "id":</b>)", 200, 101, R"(Unknown error - <b>"status":"success" "id":</b>)"},
        {true, "", 404, 101, "Unknown error - Response code 404"},
        {true, "", 500, 103, "Server down or server busy"},
        // An id that no id text can carry is no id, in either release's form.
        {false, "{\"data\":{\"id\":\"4\x01\"},\"status\":\"success\"}", 200, 101,
         "Unrecognized response: {\"data\":{\"id\":\"4\x01\"},\"status\":\"success\"}"},
        {true, R"({"data":{"id":"4\u0001"},"status":"success"})", 200, 101,
         R"(Unrecognized response: {"data":{"id":"4\u0001"},"status":"success"})"},
    };
    for (const Case& c : cases) {
        server.enqueue(page(c.body, c.status));
        QMROcCreateNewFolderResponsev4_5_7 response;
        QMRErrorSlot created;
        if (c.v506)
            QMROcCreateNewFolderRequestv5_0_6(session, "tk", base(), "/Docs").send(response, created);
        else
            QMROcCreateNewFolderRequestv4_5_7(session, "tk", base(), "/Docs").send(response, created);
        ASSERT_TRUE(created) << c.body;
        EXPECT_EQ(created->code(), c.code) << c.body;
        EXPECT_EQ(created->localizedDescription(), c.description);
        EXPECT_EQ(response.folderId(), "");
    }
}

TEST_F(OwnCloud, NewFolder506PostsToTheFixedScriptAndReadsTheNumericId) {
    server.enqueue(page(R"({"data":{"id":42},"status":"success"})"));
    QMROcCreateNewFolderResponsev4_5_7 response;
    QMROcCreateNewFolderRequestv5_0_6(session, "tk", base(), "/Docs").send(response, error);
    ASSERT_FALSE(error);
    EXPECT_EQ(server.request(0).target, "/oc/index.php/apps/files/ajax/newfolder.php");
    EXPECT_EQ(server.request(0).bodyText(), "dir=%2F&foldername=Docs");
    EXPECT_EQ(QMROcFileOrFolderId(response.folderId()).identifier(), "42");
}

TEST_F(OwnCloud, DeletePostsParentAndNameListAndFailsOnlyOnNullFiles) {
    server.enqueue(page(R"({"status":"success"})"));
    QMROcDeleteFileOrFolderRequestv4_5_7(session, "tk", base(),
                                         QMROcFileOrFolderId("9", "/Shared/a/x y.txt", 2).toString())
        .send(error);
    ASSERT_FALSE(error);
    const ScriptedHttpRequest sent = server.request(0);
    EXPECT_EQ(sent.method + " " + sent.target, "POST /oc/?app=files&getfile=ajax%2Fdelete.php");
    EXPECT_EQ(sent.header("Content-Type"), ajaxFormType);
    EXPECT_EQ(sent.header("requesttoken"), "tk");
    EXPECT_EQ(sent.bodyText(), "dir=%2FShareda&files=%5B%22x%20y.txt%22%5D");
}

TEST_F(OwnCloud, DeleteStatusAndBodyRulesDifferByReleaseOnlyFor404) {
    struct Case {
        bool v506;
        unsigned status;
        std::string body;
        long code;  // 0: deleted
    } cases[] = {
        {false, 200, R"({"data":{"message":"Token expired. Please reload page."},"status":"error"})", 0},
        {false, 200, R"({"data":{"Files":NULL}})", 101},
        {false, 404, "", 101},
        {true, 404, "", 104},
        {true, 302, "", 101},
        {true, 200, R"({"status":"error"})", 0},
    };
    for (const Case& c : cases) {
        server.enqueue(page(c.body, c.status));
        QMRErrorSlot deleted;
        const std::string id = folderId("/Docs");
        if (c.v506)
            QMROcDeleteFileOrFolderRequestv5_0_6(session, "tk", base(), id).send(deleted);
        else
            QMROcDeleteFileOrFolderRequestv4_5_7(session, "tk", base(), id).send(deleted);
        EXPECT_EQ(deleted ? deleted->code() : 0, c.code) << c.status << " " << c.body;
        if (c.code == 104) {
            EXPECT_EQ(deleted->localizedDescription(), "File or folder not found");
        }
    }
    EXPECT_EQ(server.request(3).target, "/oc/index.php/apps/files/ajax/delete.php");
    EXPECT_EQ(server.request(3).bodyText(), "dir=%2F&files=%5B%22Docs%22%5D");
}

// Storage quota and server info ---------------------------------------------------------------

TEST_F(OwnCloud, QuotaSentenceGivesBinaryBytesWithEachReleasesClosingTag) {
    const auto sentence = [](const std::string& used, const std::string& quota, const std::string& end) {
        return "<div>\n<p id=\"quotatext\">You have used <strong>" + used + "</strong> of the available <strong>" +
               quota + end + "</p>\n</div>";
    };
    struct Case {
        bool v506;
        std::string page;
        std::int64_t quota, free;  // -1: "Unknown Response"
    } cases[] = {
        {true, sentence("1.5 MB", "2 GB", "</strong>"), 2147483648, 2145910784},
        {false, sentence("1.5 MB", "2 GB", "<strong>"), 2147483648, 2145910784},
        {false, sentence("0 B", "0.3 kB", "<strong>"), 307, 307},
        {true, sentence("3 mb", "2 Gb", "</strong>"), 2147483648, 2144337920},
        {true, sentence("3 GB", "2 GB", "</strong>"), 2147483648, -1073741824},
        {false, sentence("1.5 MB", "2 GB", "</strong>"), -1, -1},
        {true, sentence("1.5 MB", "2 GB", "<strong>"), -1, -1},
        {true, sentence("1.5 MB", "2 TB", "</strong>"), -1, -1},
    };
    for (const Case& c : cases) {
        server.enqueue(page(c.page));
        QMROcReadStorageQuotaInfoResponsev4_5_7 response;
        QMRErrorSlot read;
        if (c.v506)
            QMROcReadStorageQuotaInfoRequestv5_0_6(session, base()).send(response, read);
        else
            QMROcReadStorageQuotaInfoRequestv4_5_7(session, base()).send(response, read);
        if (c.quota == -1) {
            ASSERT_TRUE(read) << c.page;
            EXPECT_EQ(read->localizedDescription(), "Unknown Response");
            EXPECT_FALSE(response.storageSpaceInfo());
            continue;
        }
        ASSERT_FALSE(read) << c.page;
        EXPECT_EQ(response.storageSpaceInfo()->allocatedPlusUnallocatedBytes(), c.quota) << c.page;
        EXPECT_EQ(response.storageSpaceInfo()->unallocatedBytes(), c.free) << c.page;
    }
    EXPECT_EQ(server.request(0).target, "/oc/index.php/settings/personal");
    EXPECT_EQ(server.request(1).target, "/oc/settings/personal.php");
    EXPECT_FALSE(server.request(0).headers.contains("requesttoken"));
}

TEST_F(OwnCloud, QuotaUnitsOutsideTheTableAreUnknownIdentifiers) {
    EXPECT_EQ(QMROcReadStorageQuotaInfoRequestv4_5_7::multiplierFromIdentifier("kB", error), 1024);
    EXPECT_FALSE(error);
    EXPECT_EQ(QMROcReadStorageQuotaInfoRequestv4_5_7::multiplierFromIdentifier("TB", error), 0);
    expectError(QMRDataStoreErrorUnknown, "Unknown storage quota identifier");
}

TEST_F(OwnCloud, ServerInfoReadsTheVersionFromTheStatusPage) {
    server.enqueue(page(R"({"installed":"true","version":"5.0.6.0","versionstring":"5.0.6","edition":""})"));
    const auto info = QMROcReadServerInfoRequest(session, base()).send(error);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->serverVersion(), "5.0.6");
    EXPECT_EQ(server.request(0).method + " " + server.request(0).target, "GET /oc/status.php");

    server.enqueue(page("<html>Not Found</html>"));
    EXPECT_FALSE(QMROcReadServerInfoRequest(session, base()).send(error));
    expectError(QMRDataStoreErrorUnknown, "Unknown error - <html>Not Found</html>");

    error.reset();
    server.enqueue(page("", 408));
    EXPECT_FALSE(QMROcReadServerInfoRequest(session, base()).send(error));
    expectError(QMRDataStoreErrorServerUnavailable, "Server down or server busy");
}

}  // namespace
