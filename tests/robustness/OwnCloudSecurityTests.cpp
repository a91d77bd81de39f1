// What the ownCloud back-end of both releases guards: TLS trust given at creation, the login's
// password and the session cookie across redirects, one session per account, header lines that
// servers' pages or callers' ids cannot inject, and errors that never carry the password.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "companion/util/QMRExceptions.h"
#include "companion/web/QMRUrlError.h"
#include "tests/robustness/BrokenAnswers.h"
#include "tests/robustness/FaultCase.h"
#include "tests/robustness/OwnCloudOperations.h"
#include "tests/robustness/SecuritySupport.h"
#include "tests/support/DataStoreTestSupport.h"

using namespace owncloud_operations;
using namespace security_support;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

// The login form's field, as the server reads it ("user=carol&password=..." gives carol for "user").
std::string formField(const std::string& body, const std::string& name) {
    const std::size_t start = body.find(name + "=");
    if (start == std::string::npos) return "";
    const std::size_t value = start + name.size() + 1;
    return body.substr(value, body.find('&', value) - value);
}

TEST(OwnCloudTlsTrust, TheEntryPointReachesASelfSignedServerOnlyThroughSessionsMadeToTrustIt) {
    ScriptedHttpServer server(serverIdentity());
    const QMRUrlSessionConfiguration trusting{.trustedCertificateFile = tlsFile("server-cert.pem")};
    for (const std::string& version : releases()) {
        SCOPED_TRACE(version);
        server.setHandler(healthyServer(version));
        const std::size_t before = server.requestCount();
        QMRErrorSlot error;

        EXPECT_EQ(QMROwnCloudDataStore::readServerVersion(server.baseUrl(), error), std::nullopt);
        expectTransportFailure(error, QMRUrlErrorServerCertificateUntrusted);
        EXPECT_FALSE(QMROwnCloudDataStore::getAuthenticatorWithUrl(server.baseUrl(), "carol", "pw", error));
        expectTransportFailure(error, QMRUrlErrorServerCertificateUntrusted);
        EXPECT_FALSE(QMROwnCloudDataStore::getDataStoreAdministration(server.baseUrl(), error));
        expectTransportFailure(error, QMRUrlErrorServerCertificateUntrusted);
        EXPECT_EQ(server.requestCount(), before) << "nothing reaches an untrusted server";

        error.reset();
        EXPECT_EQ(QMROwnCloudDataStore::readServerVersion(server.baseUrl(), error, trusting), version);
        const auto account =
            QMROwnCloudDataStore::getAuthenticatorWithUrl(server.baseUrl(), "carol", "pw", error, trusting);
        ASSERT_TRUE(account) << error->description();
        // The account's session keeps the trust for every later request, the transfers' too.
        Account trusted{server.baseUrl(), account, QMROwnCloudDataStore::getDataStore(account)};
        for (const Operation& operation : operations()) {
            if (operation.beforeLogin) continue;
            EXPECT_TRUE(operation.run(trusted, error)) << operation.name;
        }
        // The administration made for a bare server sends its reset link through its own session.
        const auto administration = QMROwnCloudDataStore::getDataStoreAdministration(server.baseUrl(), error, trusting);
        ASSERT_TRUE(administration);
        administration->readLinkForResettingPasswordForLoginName("carol", error);
        EXPECT_FALSE(error.has_value()) << error->description();
    }
}

TEST(OwnCloudCredentialsOnRedirect, NeitherTheLoginPasswordNorTheSessionCookieGoesToAnotherHost) {
    const std::string password = "Pa55-w0rd";
    for (const std::string& version : releases()) {
        SCOPED_TRACE(version);
        ScriptedHttpServer elsewhere;
        elsewhere.setHandler(healthyServer(version));
        const std::string otherHost = "http://localhost:" + portOf(elsewhere);
        ScriptedHttpServer server;
        const ScriptedHttpServer::Handler healthy = healthyServer(version);
        const ScriptedHttpServer::Handler redirecting = redirectingTo(otherHost);
        // Only the status page answers at home: the login is sent on.
        server.setHandler([&](const ScriptedHttpRequest& request) {
            return request.target == "/status.php" ? healthy(request) : redirecting(request);
        });
        QMRErrorSlot error;

        // A 307 keeps the method and would keep the form, which holds the password.
        EXPECT_FALSE(logIn(server.baseUrl(), "carol", password, error).authenticator);
        expectTransportFailure(error, QMRUrlErrorCancelled);
        EXPECT_EQ(elsewhere.requestCount(), 0u);

        server.setHandler(healthy);
        error.reset();
        Account account = logIn(server.baseUrl(), "carol", password, error);
        ASSERT_TRUE(account.authenticator);
        server.setHandler(redirecting);
        for (const Operation& operation : operations()) {
            if (operation.beforeLogin) continue;
            SCOPED_TRACE(operation.name);
            const std::size_t home = server.requestCount();
            const std::size_t away = elsewhere.requestCount();
            error.reset();

            const bool done = operation.run(account, error);

            const std::vector<ScriptedHttpRequest> sent = server.requests();
            ASSERT_GT(sent.size(), home);
            EXPECT_EQ(sent[home].header("Cookie"), "oc_session=s1");
            if (std::any_of(sent.begin() + static_cast<std::ptrdiff_t>(home), sent.end(), carriesSecrets)) {
                EXPECT_FALSE(done);
                // A failed upload deliberately completes without an error.
                if (operation.name != "createNewFileAsync") expectTransportFailure(error, QMRUrlErrorCancelled);
            } else {
                EXPECT_TRUE(done) << "redirects that take no secret along are followed";
            }
            const std::vector<ScriptedHttpRequest> arrived = elsewhere.requests();
            for (std::size_t i = away; i < arrived.size(); ++i) {
                EXPECT_FALSE(arrived[i].headers.contains("Cookie")) << arrived[i].target;
                EXPECT_FALSE(carriesSecrets(arrived[i])) << arrived[i].target;
            }
        }
        EXPECT_GT(elsewhere.requestCount(), 0u) << "the reads were followed there";
    }
}

TEST(OwnCloudSeparateAccounts, TwoAccountsOnOneServerCarryOnlyTheirOwnCookieAndRequestToken) {
    for (const std::string& version : releases()) {
        SCOPED_TRACE(version);
        ScriptedHttpServer server;
        const ScriptedHttpServer::Handler healthy = healthyServer(version);
        // Each login opens a session named after its login name, whose pages carry a token of its own.
        server.setHandler([&healthy](const ScriptedHttpRequest& request) {
            if (isLoginForm(request))
                return ScriptedHttpAnswer::withStatus(200).withHeader(
                    "Set-Cookie", "oc_session=" + formField(request.bodyText(), "user") + "; Path=/");
            if (isTokenPage(request)) return tokenPage(request, "tk-" + request.header("Cookie").value_or(""));
            return healthy(request);
        });
        QMRErrorSlot error;
        Account carol = logIn(server.baseUrl(), "carol", "pw", error);
        const std::size_t erinsLogin = server.requestCount();
        Account erin = logIn(server.baseUrl(), "erin", "2nd pw", error);
        ASSERT_TRUE(carol.authenticator && erin.authenticator);
        for (std::size_t i = erinsLogin; i < server.requestCount(); ++i)
            EXPECT_NE(server.request(i).header("Cookie"), "oc_session=carol") << "a login starts a session of its own";
        EXPECT_EQ(erin.authenticator->requestToken(), "tk-oc_session=erin");

        for (const Operation& operation : operations()) {
            if (operation.beforeLogin) continue;
            for (auto [account, name] : {std::pair{&carol, "carol"}, std::pair{&erin, "erin"}}) {
                SCOPED_TRACE(operation.name + " by " + name);
                const std::size_t before = server.requestCount();
                error.reset();
                EXPECT_TRUE(operation.run(*account, error));
                for (std::size_t i = before; i < server.requestCount(); ++i) {
                    const ScriptedHttpRequest request = server.request(i);
                    EXPECT_EQ(request.header("Cookie"), std::string("oc_session=") + name);
                    EXPECT_EQ(request.header("requesttoken").value_or(account->authenticator->requestToken()),
                              account->authenticator->requestToken());
                }
            }
        }
    }
}

TEST(OwnCloudHeaderInjection, ARequestTokenWithALineBreakOrNulIsNoTokenAndNeverSent) {
    const std::vector<std::string> tokens = {"tk\r\nInjected: yes", "tk\nInjected: yes", "tk\rInjected: yes",
                                             std::string("tk\0Injected: yes", 16)};
    for (const std::string& version : releases())
        for (std::size_t which = 0; which < tokens.size(); ++which) {
            SCOPED_TRACE(version + ", token " + std::to_string(which));
            const std::string& token = tokens[which];
            ScriptedHttpServer server;
            const ScriptedHttpServer::Handler healthy = healthyServer(version);
            server.setHandler([&](const ScriptedHttpRequest& request) {
                return isTokenPage(request) ? tokenPage(request, token) : healthy(request);
            });
            QMRErrorSlot error;

            EXPECT_FALSE(logIn(server.baseUrl(), "carol", "pw", error).authenticator);

            test_support::expectDataStoreError(error, QMRDataStoreErrorUnknown,
                                               "Unknown Error - Request token not found");
            EXPECT_EQ(server.requestCount(), 3u) << "status page, form and token page; no file scan";
            EXPECT_FALSE(anyInjected(server));
        }
}

TEST(OwnCloudHeaderInjection, AFileIdOrShareTargetWithALineBreakNeverBecomesAHeaderLine) {
    // A path with a colon is refused before anything is sent; server ids and party names travel
    // escaped in the address or the form.
    const std::vector<std::string> refused = {"readFolderContent", "createNewFolder", "deleteFileOrFolder",
                                              "createNewFileAsync", "openFileForReadingAsync"};
    for (const std::string& version : releases())
        for (const Operation& operation : operations("\r\nInjected: yes")) {
            if (operation.beforeLogin) continue;
            SCOPED_TRACE(version + " " + operation.name);
            ScriptedHttpServer server;
            server.setHandler(healthyServer(version));
            QMRErrorSlot error;
            Account account = logIn(server.baseUrl(), "carol", "pw", error);
            ASSERT_TRUE(account.authenticator);
            const std::size_t afterLogin = server.requestCount();

            if (std::ranges::find(refused, operation.name) != refused.end()) {
                EXPECT_THROW(operation.run(account, error), QMRInvalidArgumentException);
                EXPECT_EQ(server.requestCount(), afterLogin);
            } else {
                EXPECT_NO_THROW(operation.run(account, error));
                EXPECT_GT(server.requestCount(), afterLogin);
            }
            EXPECT_FALSE(anyInjected(server));
        }
}

TEST(OwnCloudPasswordSecrecy, NoErrorOrExceptionOfALoginOrPasswordChangeCarriesThePasswords) {
    const std::string password = "Pa55-w0rd";
    const std::string newPassword = "N3w-s3cret";
    std::vector<std::string> texts;
    auto collect = [&texts](const std::function<void(QMRErrorSlot&)>& operation) { collectTextsOf(operation, texts); };
    // How a server refuses: each as the answer to one step of a login or to the password change.
    std::vector<std::function<ScriptedHttpAnswer()>> refusals = {
        [] { return ScriptedHttpAnswer::withStatus(200, "<a href=\"/lostpassword\">Lost your password?</a>"); },
        [] { return ScriptedHttpAnswer::withStatus(200, R"({"status":"error","data":{"message":"Wrong password"}})"); },
        [] { return ScriptedHttpAnswer::withStatus(500, "<html>failed</html>"); },
        [] { return ScriptedHttpAnswer::withStatus(302).withHeader("Location", "/again"); },
    };
    for (const broken_answers::TransportFault& fault : broken_answers::transportFaults())
        if (fault.code != QMRUrlErrorTimedOut) refusals.push_back(fault.answer);

    for (const std::string& version : releases())
        for (const auto& refusal : refusals) {
            constexpr std::size_t loginSteps = 4;
            for (std::size_t step = 0; step < loginSteps; ++step) {
                ScriptedHttpServer server;
                server.setHandler(fault_case::failingAt(step, refusal, healthyServer(version)));
                collect([&](QMRErrorSlot& error) { logIn(server.baseUrl(), "carol", password, error); });
            }
            ScriptedHttpServer server;
            server.setHandler(fault_case::failingAt(loginSteps, refusal, healthyServer(version)));
            QMRErrorSlot error;
            const Account account = logIn(server.baseUrl(), "carol", password, error);
            ASSERT_TRUE(account.authenticator);
            const auto administration = QMROwnCloudDataStore::getDataStoreAdministration(account.authenticator);
            collect(
                [&](QMRErrorSlot& error) { administration->changePersonalPasswordFrom(password, newPassword, error); });
        }
    // An untrusted certificate, and a port nobody listens on.
    ScriptedHttpServer tls(serverIdentity());
    tls.setHandler(healthyServer("5.0.6"));
    const std::string closed = "http://127.0.0.1:" + std::to_string(test_support::closedLoopbackPort());
    for (const std::string& url : {tls.baseUrl(), closed})
        collect([&](QMRErrorSlot& error) { logIn(url, "carol", password, error); });

    EXPECT_GT(texts.size(), 100u) << "the situations produced errors to look at";
    for (const std::string& text : texts) {
        EXPECT_THAT(text, Not(HasSubstr(password)));
        EXPECT_THAT(text, Not(HasSubstr(newPassword)));
    }
}

}  // namespace
