// Account administration on both releases: the exact traffic of each operation, how the server's
// answers are read, and the misuse that raises before anything is sent.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/owncloud/QMROcChangePersonalPasswordRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcDataStoreAdministrationv5_0_6.h"
#include "DataStore/owncloud/QMROcReadLinkForResettingPasswordRequestv_5_0_6.h"
#include "tests/owncloud/QMROcTestSupport.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ScriptedHttpServer.h"

using oc_test::reasonRaisedBy;

namespace {

const std::string ajaxFormType = "application/x-www-form-urlencoded ;charset=UTF-8";

ScriptedHttpAnswer page(std::string_view body, unsigned status = 200) {
    return ScriptedHttpAnswer::withStatus(status, body).withHeader("Content-Type", "text/html; charset=utf-8");
}

// A logged-in account without a login exchange, so that the traffic seen is the operation's alone.
class LoggedInAccount : public QMROwnCloudAuthenticator {
public:
    explicit LoggedInAccount(std::string baseUrl) : QMROwnCloudAuthenticator(std::move(baseUrl), "test") {
        setRequestToken("tk/1+");
        setIsLoggedIn(true);
    }
    void close(QMRErrorSlot&) override { setIsLoggedIn(false); }
};

class Administration : public ::testing::Test {
protected:
    // A server installed in a sub-folder, so every address must keep the base URL's path.
    std::string base() const { return server.url("/oc"); }
    QMROwnCloudDataStoreAdministration& release(bool is506) {
        return is506 ? static_cast<QMROwnCloudDataStoreAdministration&>(v506) : v457;
    }
    void expectError(long code, const std::string& description) const {
        test_support::expectDataStoreError(error, code, description);
    }

    // One answer to an operation of one release, and what the operation makes of it.
    struct AnswerCase {
        bool is506;
        unsigned status;
        std::string body;
        long code;  // 0: success
        std::string description;
    };
    template <class Operation>
    void expectOutcomes(const std::vector<AnswerCase>& cases, Operation operation) {
        for (const AnswerCase& c : cases) {
            SCOPED_TRACE(c.body);
            server.enqueue(page(c.body, c.status));
            error.reset();
            operation(release(c.is506));
            if (c.code == 0)
                EXPECT_FALSE(error);
            else
                expectError(c.code, c.description);
        }
    }

    ScriptedHttpServer server;
    std::shared_ptr<LoggedInAccount> account = std::make_shared<LoggedInAccount>(server.url("/oc"));
    QMROcDataStoreAdministrationv4_5_7 v457{account};
    QMROcDataStoreAdministrationv5_0_6 v506{account};
    QMRErrorSlot error;
};

// Password ------------------------------------------------------------------------------------

TEST_F(Administration, ChangePasswordPostsTheOldAndTwiceTheNewWithTheTokenToEachReleasesScript) {
    server.enqueue(
        page(R"({"data":{"username":"carol"},"status":"success"})").withHeader("Set-Cookie", "oc=s1; Path=/"));
    server.enqueue(page(R"({"data":{"username":"carol"},"status":"success"})"));
    v457.changePersonalPasswordFrom("old pw", "n&w", error);
    ASSERT_FALSE(error);
    v506.changePersonalPasswordFrom("old", "new", error);
    ASSERT_FALSE(error);

    const ScriptedHttpRequest sent = server.request(0);
    EXPECT_EQ(sent.method + " " + sent.target, "POST /oc/settings/ajax/changepassword.php");
    EXPECT_EQ(sent.header("Content-Type"), ajaxFormType);
    EXPECT_EQ(sent.header("requesttoken"), "tk/1+");
    EXPECT_EQ(sent.bodyText(), "oldpassword=old%20pw&password=n%26w&password-clone=n%26w");
    EXPECT_EQ(server.request(1).target, "/oc/index.php/settings/ajax/changepassword.php");
    EXPECT_EQ(server.request(1).header("Cookie"), "oc=s1");  // sent through the account's session
}

TEST_F(Administration, PasswordAnswerCountsAsChangedOnlyForAnExactSuccess) {
    expectOutcomes(
        {
            {true, 200, R"({"status":"success"})", 0, ""},
            {false, 200, R"({"status":"Success"})", 102, "Change password unsuccessful"},
            {true, 200, R"({"data":{"message":"Wrong password"},"status":"error"})", 102,
             "Change password unsuccessful"},
            {false, 200, R"(["success"])", 102, "Change password unsuccessful"},
            {true, 200, "<html>Oops</html>", 101, "Unknown error - <html>Oops</html>"},
            {false, 404, "", 101, "Unknown error - Response code 404"},
            {true, 503, "", 103, "Server down or server busy"},
        },
        [&](QMROwnCloudDataStoreAdministration& administration) {
            administration.changePersonalPasswordFrom("old", "new", error);
        });

    error.reset();
    account->setBaseUrl("http://127.0.0.1:" + std::to_string(test_support::closedLoopbackPort()));
    v457.changePersonalPasswordFrom("old", "new", error);
    expectError(QMRDataStoreErrorServerUnavailable, "Server down or server busy");
    EXPECT_TRUE(error->underlyingError());
}

// E-mail --------------------------------------------------------------------------------------

TEST_F(Administration, SetEmailPostsTheAddressWithTheTokenToEachReleasesScript) {
    server.enqueue(page(R"({"data":{"message":"Email saved"},"status":"success"})"))
        .enqueue(page(R"({"status":"success"})"));
    v457.setPersonalEmailAddress("a+b@example.com", error);
    ASSERT_FALSE(error);
    v506.setPersonalEmailAddress("c@example.com", error);
    ASSERT_FALSE(error);

    const ScriptedHttpRequest sent = server.request(0);
    EXPECT_EQ(sent.method + " " + sent.target, "POST /oc/settings/ajax/lostpassword.php");
    EXPECT_EQ(sent.header("Content-Type"), ajaxFormType);
    EXPECT_EQ(sent.header("requesttoken"), "tk/1+");
    EXPECT_EQ(sent.bodyText(), "email=a%2Bb%40example.com");
    EXPECT_EQ(server.request(1).target, "/oc/index.php/settings/ajax/lostpassword.php");
}

TEST_F(Administration, EmailAnswerIsSuccessInAnyCaseOtherwiseTheServersOwnMessage) {
    expectOutcomes(
        {
            {false, 200, R"({"status":"Success"})", 0, ""},
            {true, 200, R"({"status":"SUCCESS"})", 0, ""},
            {false, 200, R"({"data":{"message":"Invalid email"},"status":"error"})", 101, "Invalid email"},
            {true, 200, R"({"status":"error"})", 101, R"(Unknown error - {"status":"error"})"},
            {false, 200, "Email saved", 101, "Unknown error - Email saved"},
            {true, 500, "", 103, "Server down or server busy"},
        },
        [&](QMROwnCloudDataStoreAdministration& administration) {
            administration.setPersonalEmailAddress("c@example.com", error);
        });
}

// Personal settings ---------------------------------------------------------------------------

TEST_F(Administration, PersonalSettingsReadTheEmailFieldOfEachReleasesPage) {
    const auto field = [](const std::string& value, const std::string& between) {
        return "<form id=\"lostpassword\">\n<input type=\"text\" name=\"email\" id=\"email\" value=\"" + value + "\"" +
               between + "placeholder=\"Your email address\" /><span class=\"msg\"></span><br />\n</form>";
    };
    // A full-size page: the rest of it, after the field, is full of quoted attributes.
    std::string rest;
    for (int i = 0; i < 2000; ++i) rest += "<option value=\"" + std::to_string(i) + "\">Language</option>\n";
    server.enqueue(page(field("carol@example.com", " ") + rest));
    const auto read457 = v457.readPersonalSettings(error);
    ASSERT_FALSE(error);
    EXPECT_EQ(read457->description(), "EmailAddress: carol@example.com");
    const ScriptedHttpRequest sent = server.request(0);
    EXPECT_EQ(sent.method + " " + sent.target, "GET /oc/settings/personal.php");
    EXPECT_FALSE(sent.headers.contains("requesttoken"));
    EXPECT_TRUE(sent.body.empty());

    server.enqueue(page(field("dave@example.com", "\n\t\t")));  // 5.0.6 breaks the input's line
    EXPECT_EQ(v506.readPersonalSettings(error)->emailAddress(), "dave@example.com");
    EXPECT_EQ(server.request(1).target, "/oc/index.php/settings/personal");

    server.enqueue(page(field("", " ")));
    const auto unset = v506.readPersonalSettings(error);
    ASSERT_FALSE(error);
    EXPECT_EQ(unset->emailAddress(), "");

    // The value runs to the last quote before the placeholder.
    server.enqueue(page(field("x", " class=\"y\" ")));
    EXPECT_EQ(v457.readPersonalSettings(error)->emailAddress(), "x\" class=\"y");

    server.enqueue(page("<form><input type=\"password\" name=\"password\" /></form>"));  // a login page
    EXPECT_FALSE(v457.readPersonalSettings(error));
    expectError(QMRDataStoreErrorUnknown, "Unknown Response");

    error.reset();
    server.enqueue(page("", 408));
    EXPECT_FALSE(v506.readPersonalSettings(error));
    expectError(QMRDataStoreErrorServerUnavailable, "Server down or server busy");
}

// Misuse --------------------------------------------------------------------------------------

TEST_F(Administration, AccountOperationsRaiseWithoutALoggedInAccountBeforeAnyTraffic) {
    static_assert(!std::is_default_constructible_v<QMROcDataStoreAdministrationv4_5_7>);
    static_assert(!std::is_default_constructible_v<QMROcDataStoreAdministrationv5_0_6>);
    static_assert(!std::is_default_constructible_v<QMROcChangePersonalPasswordRequestv5_0_6>);
    static_assert(!std::is_default_constructible_v<QMROcReadLinkForResettingPasswordRequestv_5_0_6>);

    for (bool is506 : {false, true}) {
        EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>(
                      [&] { release(is506).changePersonalPasswordFrom("old", "", error); }),
                  "New password must be at least 1 character in length");
    }

    QMROcDataStoreAdministrationv4_5_7 urlOnly457(base());
    QMROcDataStoreAdministrationv5_0_6 urlOnly506(base());
    for (QMROwnCloudDataStoreAdministration* urlOnly :
         std::initializer_list<QMROwnCloudDataStoreAdministration*>{&urlOnly457, &urlOnly506}) {
        const std::string required = "QMROwnCloudAuthenticator required but is not provided";
        EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>(
                      [&] { urlOnly->changePersonalPasswordFrom("old", "new", error); }),
                  required);
        EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>([&] { urlOnly->setPersonalEmailAddress("a@b", error); }),
                  required);
        EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>([&] { urlOnly->readPersonalSettings(error); }), required);
    }

    account->close(error);
    EXPECT_EQ(reasonRaisedBy<QMRInvalidOperationException>([&] { v506.setPersonalEmailAddress("a@b", error); }),
              "Not logged in");
    EXPECT_EQ(reasonRaisedBy<QMRInvalidOperationException>([&] { v457.readPersonalSettings(error); }), "Not logged in");
    EXPECT_EQ(server.requestCount(), 0u);
    EXPECT_FALSE(error);
}

// Reset link ----------------------------------------------------------------------------------

TEST_F(Administration, ResetLink457NeedsAnHttpsBaseUrlInAnyCase) {
    EXPECT_EQ(v457.url(), base());  // taken from the account, whose URL is plain http
    EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>(
                  [&] { v457.readLinkForResettingPasswordForLoginName("carol", error); }),
              "Https required");
    for (const std::string& url : {base(), std::string()}) {
        QMROcDataStoreAdministrationv4_5_7 byUrl(url);
        EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>(
                      [&] { byUrl.readLinkForResettingPasswordForLoginName("carol", error); }),
                  "Https required")
            << url;
    }
    EXPECT_EQ(server.requestCount(), 0u);

    // Capitals pass the check: the request goes to the wire, where nothing listens.
    QMROcDataStoreAdministrationv4_5_7 capitals("HTTPS://127.0.0.1:" +
                                                std::to_string(test_support::closedLoopbackPort()));
    capitals.readLinkForResettingPasswordForLoginName("carol", error);
    expectError(QMRDataStoreErrorServerUnavailable, "Server down or server busy");

    // What would be posted over https, and how the answer is read.
    QMRUrlSession session;
    QMROcReadLinkForResettingPasswordRequestv_4_5_7 request(session, "https://oc.example", "carol");
    EXPECT_EQ(request.constructReadLinkRequestUrl(), "https://oc.example/core/lostpassword/index.php");
    QMRErrorSlot confirmed;
    const std::string requested = "<p>Password reset Requested.</p>";
    request.validateResponseBody(QMRData(requested.begin(), requested.end()), confirmed);
    EXPECT_FALSE(confirmed);
    const std::string other = "Reset email send";
    request.validateResponseBody(QMRData(other.begin(), other.end()), confirmed);
    test_support::expectDataStoreError(confirmed, QMRDataStoreErrorUnknown, "Unknown error - Reset email send");
}

TEST_F(Administration, ResetLink506PostsTheLoginNameWithoutTokenOverPlainHttp) {
    QMROcDataStoreAdministrationv5_0_6 byUrl(base());
    server.enqueue(page("<p>Password reset. Reset Email Send.</p>"));
    byUrl.readLinkForResettingPasswordForLoginName("carol smith", error);
    ASSERT_FALSE(error);
    const ScriptedHttpRequest sent = server.request(0);
    EXPECT_EQ(sent.method + " " + sent.target, "POST /oc/index.php/lostpassword/");
    EXPECT_EQ(sent.header("Content-Type"), ajaxFormType);
    EXPECT_FALSE(sent.headers.contains("requesttoken"));
    EXPECT_EQ(sent.bodyText(), "user=carol%20smith");

    // The 4.5.7 phrase does not confirm a 5.0.6 request; the page is quoted in its own case.
    server.enqueue(page("<p>Request Failed! Requested</p>"));
    byUrl.readLinkForResettingPasswordForLoginName("carol", error);
    expectError(QMRDataStoreErrorUnknown, "Unknown error - <p>Request Failed! Requested</p>");

    // Made for an account, the 5.0.6 object keeps no base URL for the link.
    EXPECT_EQ(v506.url(), "");
    EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>(
                  [&] { v506.readLinkForResettingPasswordForLoginName("carol", error); }),
              "Base URL required but is not provided");
    EXPECT_EQ(server.requestCount(), 2u);
}

}  // namespace
