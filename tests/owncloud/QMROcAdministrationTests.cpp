// Account administration on both releases: the exact traffic of each operation, how the server's
// answers are read, and the misuse that raises before anything is sent.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/owncloud/QMROcChangePersonalPasswordRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcDataStoreAdministrationv5_0_6.h"
#include "DataStore/owncloud/QMROcReadLinkForResettingPasswordRequestv_5_0_6.h"
#include "tests/owncloud/QMROcTestSupport.h"

using namespace oc_test;

namespace {

// A logged-in account without a login exchange, so that the traffic seen is the operation's alone.
class LoggedInAccount : public QMROwnCloudAuthenticator {
public:
    explicit LoggedInAccount(std::string baseUrl) : QMROwnCloudAuthenticator(std::move(baseUrl), "test") {
        setRequestToken("tk/1+");
        setIsLoggedIn(true);
    }
    void close(QMRErrorSlot&) override { setIsLoggedIn(false); }
};

using AdministrationOperation = std::function<void(QMROwnCloudDataStoreAdministration&, QMRErrorSlot&)>;

class Administration : public ScriptedServerTest {
protected:
    QMROwnCloudDataStoreAdministration& release(bool is506) {
        return is506 ? static_cast<QMROwnCloudDataStoreAdministration&>(v506) : v457;
    }

    // One answer to the operation on one release, and what the operation makes of it.
    struct AnswerCase {
        bool is506;
        unsigned status;
        std::string body;
        long code;  // 0: success
        std::string description;
    };
    void expectOutcomes(const std::vector<AnswerCase>& cases, const AdministrationOperation& operation) {
        for (const AnswerCase& c : cases) {
            SCOPED_TRACE(c.body);
            server.enqueue(page(c.body, c.status));
            error.reset();
            operation(release(c.is506), error);
            if (c.code == 0)
                EXPECT_FALSE(error);
            else
                expectError(c.code, c.description);
        }
    }

    std::shared_ptr<LoggedInAccount> account = std::make_shared<LoggedInAccount>(base());
    QMROcDataStoreAdministrationv4_5_7 v457{account};
    QMROcDataStoreAdministrationv5_0_6 v506{account};
};

// The account operations, with the arguments the tests give them.
void changePassword(QMROwnCloudDataStoreAdministration& administration, QMRErrorSlot& error) {
    administration.changePersonalPasswordFrom("old pw", "n&w", error);
}
void setEmail(QMROwnCloudDataStoreAdministration& administration, QMRErrorSlot& error) {
    administration.setPersonalEmailAddress("a+b@example.com", error);
}
void readSettings(QMROwnCloudDataStoreAdministration& administration, QMRErrorSlot& error) {
    administration.readPersonalSettings(error);
}

// Password and e-mail -------------------------------------------------------------------------

TEST_F(Administration, ChangesPostTheirFormWithTheTokenToEachReleasesScriptThroughTheAccountsSession) {
    struct Case {
        AdministrationOperation change;
        std::string script, form;
    } cases[] = {
        {changePassword, "/settings/ajax/changepassword.php",
         "oldpassword=old%20pw&password=n%26w&password-clone=n%26w"},
        {setEmail, "/settings/ajax/lostpassword.php", "email=a%2Bb%40example.com"},
    };
    const std::string success = R"({"data":{"username":"carol"},"status":"success"})";
    server.enqueue(page(success).withHeader("Set-Cookie", "oc=s1; Path=/"));
    std::size_t sent = 0;
    for (const Case& c : cases) {
        for (bool is506 : {false, true}) {
            server.enqueue(page(success));
            c.change(release(is506), error);
            ASSERT_FALSE(error) << error->description();
            EXPECT_EQ(requestLine(sent), "POST /oc" + std::string(is506 ? "/index.php" : "") + c.script);
            const ScriptedHttpRequest request = server.request(sent);
            EXPECT_EQ(request.header("Content-Type"), ajaxFormType);
            EXPECT_EQ(request.header("requesttoken"), "tk/1+");
            EXPECT_EQ(request.bodyText(), c.form);
            // Through the account's session, which keeps the cookie of the first answer.
            if (sent++ > 0) {
                EXPECT_EQ(request.header("Cookie"), "oc=s1");
            }
        }
    }
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
        changePassword);

    error.reset();
    account->setBaseUrl("http://127.0.0.1:" + std::to_string(test_support::closedLoopbackPort()));
    v457.changePersonalPasswordFrom("old", "new", error);
    expectError(QMRDataStoreErrorServerUnavailable, "Server down or server busy");
    EXPECT_TRUE(error->underlyingError());
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
        setEmail);
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
    EXPECT_EQ(requestLine(0), "GET /oc/settings/personal.php");
    EXPECT_FALSE(server.request(0).headers.contains("requesttoken"));
    EXPECT_TRUE(server.request(0).body.empty());

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

TEST_F(Administration, AccountOperationsRaiseWithoutAnAccountBeforeAnyTraffic) {
    static_assert(!std::is_default_constructible_v<QMROcDataStoreAdministrationv4_5_7>);
    static_assert(!std::is_default_constructible_v<QMROcDataStoreAdministrationv5_0_6>);
    static_assert(!std::is_default_constructible_v<QMROcChangePersonalPasswordRequestv5_0_6>);
    static_assert(!std::is_default_constructible_v<QMROcReadLinkForResettingPasswordRequestv_5_0_6>);

    QMROcDataStoreAdministrationv4_5_7 urlOnly457(base());
    QMROcDataStoreAdministrationv5_0_6 urlOnly506(base());
    for (QMROwnCloudDataStoreAdministration* urlOnly :
         std::initializer_list<QMROwnCloudDataStoreAdministration*>{&urlOnly457, &urlOnly506}) {
        for (auto operation : {changePassword, setEmail, readSettings})
            EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>([&] { operation(*urlOnly, error); }),
                      "QMROwnCloudAuthenticator required but is not provided");
    }
    EXPECT_EQ(server.requestCount(), 0u);
    EXPECT_FALSE(error);
}

// Reset link ----------------------------------------------------------------------------------

TEST_F(Administration, ResetLink457NeedsAnHttpsBaseUrl) {
    EXPECT_EQ(v457.url(), base());  // taken from the account, whose URL is plain http
    QMROcDataStoreAdministrationv4_5_7 withoutUrl("");
    for (QMROcDataStoreAdministrationv4_5_7* administration : {&v457, &withoutUrl}) {
        EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>(
                      [&] { administration->readLinkForResettingPasswordForLoginName("carol", error); }),
                  "Https required");
    }
    EXPECT_EQ(server.requestCount(), 0u);

    // What would be posted over https, and how the answer is read.
    QMROcReadLinkForResettingPasswordRequestv_4_5_7 request(session, "https://oc.example", "carol");
    EXPECT_EQ(request.constructReadLinkRequestUrl(), "https://oc.example/core/lostpassword/index.php");
    QMRErrorSlot confirmed;
    request.validateResponseBody(bytes("<p>Password reset Requested.</p>"), confirmed);
    EXPECT_FALSE(confirmed);
    request.validateResponseBody(bytes("Reset email send"), confirmed);
    test_support::expectDataStoreError(confirmed, QMRDataStoreErrorUnknown, "Unknown error - Reset email send");
}

TEST_F(Administration, ResetLink506PostsTheLoginNameWithoutTokenOverPlainHttp) {
    QMROcDataStoreAdministrationv5_0_6 byUrl(base());
    server.enqueue(page("<p>Password reset. Reset Email Send.</p>"));
    byUrl.readLinkForResettingPasswordForLoginName("carol smith", error);
    ASSERT_FALSE(error);
    EXPECT_EQ(requestLine(0), "POST /oc/index.php/lostpassword/");
    EXPECT_EQ(server.request(0).header("Content-Type"), ajaxFormType);
    EXPECT_FALSE(server.request(0).headers.contains("requesttoken"));
    EXPECT_EQ(server.request(0).bodyText(), "user=carol%20smith");

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
