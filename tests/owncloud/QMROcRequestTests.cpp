// The exact traffic of the ownCloud requests of both releases, and how their answers are read. What a
// request makes of a real server's pages is the integration tests' part.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

using namespace oc_test;

namespace {

using OwnCloud = ScriptedServerTest;

using LoginRequest = ReleaseRequest<QMROcLoginRequestv4_5_7, QMROcLoginRequestv5_0_6>;
using FolderListing = ReleaseRequest<QMROcReadFolderContentRequestv4_5_7, QMROcReadFolderContentRequestv5_0_6>;
using NewFolder = ReleaseRequest<QMROcCreateNewFolderRequestv4_5_7, QMROcCreateNewFolderRequestv5_0_6>;
using Deletion = ReleaseRequest<QMROcDeleteFileOrFolderRequestv4_5_7, QMROcDeleteFileOrFolderRequestv5_0_6>;
using Quota = ReleaseRequest<QMROcReadStorageQuotaInfoRequestv4_5_7, QMROcReadStorageQuotaInfoRequestv5_0_6>;

std::shared_ptr<QMROcAuthenticatorv4_5_7> logIn(bool v506, const std::string& base, const std::string& password,
                                                QMRErrorSlot& error) {
    if (v506) return QMROcAuthenticatorv5_0_6::initWithUrl(base, "5.0.6", "carol", password, error);
    return QMROcAuthenticatorv4_5_7::initWithUrl(base, "4.5.7", "carol", password, error);
}

// Login ---------------------------------------------------------------------------------------

TEST_F(OwnCloud, LoginPostsTheReleasesFormThenScansWithTheTokenAsFoundThroughTheAccountsSession) {
    struct Case {
        bool v506;
        std::string tokenPage, token, form, formLine, tokenPageLine, scanLine;
    } cases[] = {
        {false, "<script>\nvar oc_requesttoken = 'tk1';\n</script>", "tk1", "user=carol&password=p%20w%26d",
         "POST /oc/", "GET /oc/", "GET /oc/?app=files&getfile=ajax%2Fscan.php&force=false&dir=&requesttoken=tk1"},
        {true, "<head data-requesttoken=\"a+b/c\">\n</head>", "a+b/c",
         "user=carol&password=p%20w%26d&password-clone=p%20w%26d&timezone-offset=0", "POST /oc/index.php",
         "GET /oc/index.php/apps/files", "GET /oc/index.php/apps/files/ajax/upgrade.php?requesttoken=a+b/c"},
    };
    for (const Case& c : cases) {
        ScriptedHttpServer login;
        login.enqueue(page("", 302).withHeader("Set-Cookie", "oc=s1; Path=/"))
            .enqueue(page(c.tokenPage))
            .enqueue(page(""));
        auto auth = logIn(c.v506, login.url("/oc"), "p w&d", error);
        ASSERT_TRUE(auth);
        EXPECT_EQ(auth->requestToken(), c.token);
        EXPECT_THAT(requestLines(login), ::testing::ElementsAre(c.formLine, c.tokenPageLine, c.scanLine));
        EXPECT_EQ(login.request(0).header("Content-Type"), "application/x-www-form-urlencoded");
        EXPECT_EQ(login.request(0).bodyText(), c.form);
        EXPECT_EQ(login.request(2).header("Cookie"), "oc=s1");
    }
}

TEST_F(OwnCloud, TokenIsCapturedGreedilyAndOnlyInTheReleasesOwnForm) {
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
    };
    for (const Case& c : cases) {
        QMRErrorSlot found;
        const auto token =
            LoginRequest::make(c.v506, session, "u", "p", base())->extractRequestToken(bytes(c.page), found);
        if (c.token) {
            EXPECT_EQ(token, c.token) << c.page;
            EXPECT_FALSE(found);
        } else {
            test_support::expectDataStoreError(found, 101, "Unknown Error - Request token not found");
        }
    }
}

TEST_F(OwnCloud, LoginStopsAtTheFirstStepThatFailsAndYieldsNoAuthenticator) {
    const std::string notFound = "Unknown error - Response code 404";
    const std::string invalid = "Either login name or password is invalid";
    struct Case {
        bool v506;
        std::vector<ScriptedHttpAnswer> answers;
        long code;
        std::string description;
    } cases[] = {
        // The login form again; "password?" in the pattern makes the "d" optional, so a cut-off link counts too.
        {true, {page("<a id=\"lost\">Lost your password?</a>")}, 102, invalid},
        {true, {page("<p>lost your passwor</p>")}, 102, invalid},
        // Each step lets 302 pass and fails on other statuses.
        {false, {page("", 404)}, 101, notFound},
        {false, {page("", 302), page("", 404)}, 101, notFound},
        {false, {page("", 302), page("var oc_requesttoken = 't';", 302), page("", 404)}, 101, notFound},
        // A 302 token page goes on with its own body, which holds no token.
        {false, {page("", 302), page("moved", 302)}, 101, "Unknown Error - Request token not found"},
        {false, {page("busy", 503)}, 103, "Server down or server busy"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE("case " + std::to_string(i));
        const Case& c = cases[i];
        ScriptedHttpServer steps;
        for (const ScriptedHttpAnswer& answer : c.answers) steps.enqueue(answer);
        QMRErrorSlot failed;
        EXPECT_FALSE(logIn(c.v506, steps.baseUrl(), "pw", failed));
        test_support::expectDataStoreError(failed, c.code, c.description);
        EXPECT_EQ(steps.requestCount(), c.answers.size());  // nothing after the failed step
    }
}

TEST_F(OwnCloud, LogoutEndsTheSessionOnlyWhenTheServerAnswered) {
    server.enqueue(page("")).enqueue(page("var oc_requesttoken = 't';")).enqueue(page(""));
    auto auth = logIn(false, base(), "p", error);
    ASSERT_TRUE(auth);

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
    EXPECT_EQ(requestLine(3), "GET /oc/index.php?logout=true");
    EXPECT_FALSE(auth->isLoggedIn());
}

// Folder listing ------------------------------------------------------------------------------

// One file table: a header row, then the rows.
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

TEST_F(OwnCloud, ListingReadsEachRowIntoARecordWithItsFullPath) {
    const std::string suffix = ".0123456789abcdef0123456789abcdef";
    server.enqueue(page(listingPage("<a href=\"/oc/?app=files&dir=%2FDocs%2FMy%20Folder\">My Folder</a>",
                                    {row457("17", "report.pdf" + suffix, "file", "1234", "June 3, 2013, 14:05"),
                                     row457("18", "Caf&eacute;%20Photos" + suffix, "dir", "x", "Juni 3, 2013, 14:05"),
                                     row457("19", "big.iso", "FILE", "9223372036854775808", "June 3, 2013, 14:05")})));
    QMROcReadFolderContentResponsev4_5_7 response;
    QMROcReadFolderContentRequestv4_5_7(session, base(), folderIdOf("/Docs/My Folder")).send(response, error);
    ASSERT_FALSE(error) << error->description();
    EXPECT_EQ(server.request(0).target, "/oc/?app=files&dir=%2FDocs%2FMy%20Folder");
    ASSERT_TRUE(response.metadatas());
    ASSERT_EQ(response.metadatas()->size(), 3u);

    const QMRFileMetadata& file = *response.metadatas()->at(0);
    EXPECT_EQ(file.name(), "/Docs/My Folder/report.pdf");  // the upload suffix hidden...
    EXPECT_EQ(QMROcFileOrFolderId(file.fileId()).path(), "/Docs/My Folder/report.pdf" + suffix);  // ...but kept

    const QMRFileMetadata& folder = *response.metadatas()->at(1);  // a folder keeps such a name
    EXPECT_EQ(folder.name(), "/Docs/My Folder/Caf\u00e9 Photos" + suffix);
    EXPECT_EQ(folder.resourceType(), QMRFileMetadata::resourceTypeFolder);
    EXPECT_EQ(QMROcFileOrFolderId(folder.fileId()).resourceTypeName(), "folder");
    EXPECT_EQ(folder.sizeInBytes(), 0);
    EXPECT_FALSE(folder.serverSideModificationDateInLocalTimeAvailable());  // a month in another language

    EXPECT_EQ(response.metadatas()->at(2)->resourceType(), QMRFileMetadata::resourceTypeFile);
    EXPECT_EQ(response.metadatas()->at(2)->sizeInBytes(), INT64_MAX);
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
        FolderListing::make(c.v506, session, base(), folderIdOf("/My Docs"))->send(response, checked);
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
        // A bare "&" spoils the opening tag; a row with an empty cell or none has no date; none stops the walk.
        {listingPage("", {"<tr data-id=\"1\" data-file=\"a&b\" data-type=\"file\">\n</tr>",
                          "<tr data-id=\"2\" data-file=\"b\" data-type=\"file\">\n<td></td></tr>",
                          "<tr data-id=\"3\" data-file=\"c\" data-type=\"file\">\n</tr>"}),
         3},
    };
    for (const auto& [body, rows] : pages) {
        SCOPED_TRACE(body);
        server.enqueue(page(body));
        QMROcReadFolderContentResponsev4_5_7 response;
        QMROcReadFolderContentRequestv4_5_7(session, base()).send(response, error);
        ASSERT_FALSE(error);
        ASSERT_EQ(response.metadatas()->size(), rows);
        for (const QMRFileMetadataPtr& record : *response.metadatas()) {
            EXPECT_EQ(record->sizeInBytes(), 0);
            EXPECT_FALSE(record->serverSideModificationDateInLocalTimeAvailable());
        }
    }
}

// New folder and delete ---------------------------------------------------------------------

TEST_F(OwnCloud, NewFolderPostsParentAndNameWithTheTokenAndTakesOnlyASuccessWithTheReleasesId) {
    struct Case {
        bool v506;
        unsigned status;
        std::string body;
        long code;  // 0: created
        std::string description;
    } cases[] = {
        // A 302 is as good as a 200; 4.5.7 quotes the id, 5.0.6 does not.
        {false, 302, R"({"data":{"id":"42"},"status":"success"})", 0, ""},
        {true, 200, R"({"data":{"id":42},"status":"success"})", 0, ""},
        {false, 200, R"({"data":{"id":42},"status":"success"})", 101,
         R"(Unrecognized response: {"data":{"id":42},"status":"success"})"},
        {false, 200, R"({"data":{"message":"Token expired. Please reload page."},"status":"error"})", 102,
         "Unauthorized"},
        {true, 200, R"({"status":"error"})", 101, R"(Unrecognized response: {"status":"error"})"},
        {true, 200, R"(<b>"status":"success" "id":</b>)", 101, R"(Unknown error - <b>"status":"success" "id":</b>)"},
        {true, 404, "", 101, "Unknown error - Response code 404"},
        {true, 500, "", 103, "Server down or server busy"},
        // An id that no id text can carry is no id, in either release's form.
        {false, 200, "{\"data\":{\"id\":\"4\x01\"},\"status\":\"success\"}", 101,
         "Unrecognized response: {\"data\":{\"id\":\"4\x01\"},\"status\":\"success\"}"},
        {true, 200, R"({"data":{"id":"4\u0001"},"status":"success"})", 101,
         R"(Unrecognized response: {"data":{"id":"4\u0001"},"status":"success"})"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.body);
        server.enqueue(page(c.body, c.status));
        QMROcCreateNewFolderResponsev4_5_7 response;
        error.reset();
        NewFolder::make(c.v506, session, "tk", base(), "/a/b/c")->send(response, error);
        if (c.code != 0) {
            expectError(c.code, c.description);
            EXPECT_EQ(response.folderId(), "");
            continue;
        }
        ASSERT_FALSE(error);
        const QMROcFileOrFolderId id(response.folderId());
        EXPECT_EQ(id.identifier(), "42");
        EXPECT_EQ(id.path(), "/a/b/c");
        EXPECT_EQ(id.resourceTypeName(), "folder");
    }
    EXPECT_EQ(requestLine(0), "POST /oc/?app=files&getfile=ajax%2Fnewfolder.php");
    EXPECT_EQ(requestLine(1), "POST /oc/index.php/apps/files/ajax/newfolder.php");
    for (std::size_t i : {0, 1}) {
        EXPECT_EQ(server.request(i).header("Content-Type"), ajaxFormType);
        EXPECT_EQ(server.request(i).header("requesttoken"), "tk");
        EXPECT_EQ(server.request(i).bodyText(), "dir=%2Fab&foldername=c");  // the parent joined without separators
    }
}

TEST_F(OwnCloud, DeletePostsParentAndNameListAndStatusAndBodyRulesDifferByReleaseOnlyFor404) {
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
    const std::string id = fileIdOf("/Shared/a/x y.txt");
    for (const Case& c : cases) {
        server.enqueue(page(c.body, c.status));
        QMRErrorSlot deleted;
        Deletion::make(c.v506, session, "tk", base(), id)->send(deleted);
        EXPECT_EQ(deleted ? deleted->code() : 0, c.code) << c.status << " " << c.body;
        if (c.code == 104) {
            EXPECT_EQ(deleted->localizedDescription(), "File or folder not found");
        }
    }
    const std::string form = "dir=%2FShareda&files=%5B%22x%20y.txt%22%5D";
    EXPECT_EQ(requestLine(0), "POST /oc/?app=files&getfile=ajax%2Fdelete.php");
    EXPECT_EQ(server.request(0).header("Content-Type"), ajaxFormType);
    EXPECT_EQ(server.request(0).header("requesttoken"), "tk");
    EXPECT_EQ(server.request(0).bodyText(), form);
    EXPECT_EQ(requestLine(3), "POST /oc/index.php/apps/files/ajax/delete.php");
    EXPECT_EQ(server.request(3).bodyText(), form);
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
        SCOPED_TRACE(c.page);
        server.enqueue(page(c.page));
        QMROcReadStorageQuotaInfoResponsev4_5_7 response;
        error.reset();
        Quota::make(c.v506, session, base())->send(response, error);
        if (c.quota == -1) {
            expectError(QMRDataStoreErrorUnknown, "Unknown Response");
            EXPECT_FALSE(response.storageSpaceInfo());
            continue;
        }
        ASSERT_FALSE(error);
        EXPECT_EQ(response.storageSpaceInfo()->allocatedPlusUnallocatedBytes(), c.quota);
        EXPECT_EQ(response.storageSpaceInfo()->unallocatedBytes(), c.free);
    }
    EXPECT_EQ(server.request(0).target, "/oc/index.php/settings/personal");
    EXPECT_EQ(server.request(1).target, "/oc/settings/personal.php");
    EXPECT_FALSE(server.request(0).headers.contains("requesttoken"));

    // Units outside the table are unknown identifiers.
    error.reset();
    EXPECT_EQ(QMROcReadStorageQuotaInfoRequestv4_5_7::multiplierFromIdentifier("TB", error), 0);
    expectError(QMRDataStoreErrorUnknown, "Unknown storage quota identifier");
}

TEST_F(OwnCloud, ServerInfoReadsTheStatusPageBelowTheBaseUrl) {
    server.enqueue(page(R"({"installed":"true","version":"5.0.6.0","versionstring":"5.0.6","edition":""})"));
    const auto info = QMROcReadServerInfoRequest(session, base()).send(error);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->serverVersion(), "5.0.6");
    EXPECT_EQ(requestLine(0), "GET /oc/status.php");

    server.enqueue(page("", 408));
    EXPECT_FALSE(QMROcReadServerInfoRequest(session, base()).send(error));
    expectError(QMRDataStoreErrorServerUnavailable, "Server down or server busy");
}

}  // namespace
