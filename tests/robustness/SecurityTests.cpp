// What the HTTP layer and the WebDAV and Funambol back-ends guard: TLS trust, credentials across
// redirects, one session per account, header lines that callers' or servers' data cannot inject,
// and errors that never carry the password.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "companion/util/QMRExceptions.h"
#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRUrlConnection.h"
#include "tests/companion/async/AsyncTestSupport.h"
#include "tests/robustness/BrokenAnswers.h"
#include "tests/robustness/FunambolOperations.h"
#include "tests/robustness/SecuritySupport.h"
#include "tests/robustness/WebDavOperations.h"

using namespace security_support;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

// ---- TLS ----

TEST(TlsTrust, ASelfSignedServerIsReachedOnlyThroughASessionThatTrustsItsCertificate) {
    struct Case {
        std::string name;
        std::string trustedFile;
        std::string host;
        std::optional<long> failure;
    };
    const Case cases[] = {
        {"the system's store", "", "127.0.0.1", QMRUrlErrorServerCertificateUntrusted},
        {"another self-signed certificate", tlsFile("other-cert.pem"), "127.0.0.1",
         QMRUrlErrorServerCertificateUntrusted},
        {"the server's certificate", tlsFile("server-cert.pem"), "127.0.0.1", std::nullopt},
        {"the server's certificate, for a name it does not bear", tlsFile("server-cert.pem"), "localhost",
         QMRUrlErrorServerCertificateUntrusted},
        {"a file that does not exist", tlsFile("missing.pem"), "127.0.0.1", QMRUrlErrorSecureConnectionFailed},
    };
    ScriptedHttpServer server(serverIdentity());
    server.setHandler([](const ScriptedHttpRequest&) { return ScriptedHttpAnswer::withStatus(200, "private"); });

    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        QMRUrlSession session;
        session.setTrustedCertificateFile(one.trustedFile);
        QMRUrlRequest request("https://" + one.host + ":" + portOf(server) + "/private");
        request.setValue("Basic c2VjcmV0", "Authorization");
        const std::size_t before = server.requestCount();

        QMRHttpUrlResponse response;
        QMRErrorSlot error;
        const std::optional<QMRData> body = QMRUrlConnection::sendSynchronousRequest(session, request, response, error);
        // The asynchronous path attaches its own handles to the session: it must trust the same.
        auto delegate = std::make_shared<RecordingConnectionDelegate>();
        QMRUrlConnection::initWithRequest(session, request, delegate, true);
        QMRRunLoop::current().run();

        if (one.failure) {
            ASSERT_TRUE(error.has_value());
            EXPECT_EQ(error->code(), *one.failure);
            EXPECT_THAT(delegate->calls, ElementsAre("fail"));
            EXPECT_EQ(delegate->error->code(), *one.failure);
            EXPECT_EQ(server.requestCount(), before) << "no request, credentials least of all, reaches the server";
        } else {
            EXPECT_FALSE(error.has_value()) << error->localizedFailureReason().value_or("");
            EXPECT_EQ(body, QMRData({'p', 'r', 'i', 'v', 'a', 't', 'e'}));
            EXPECT_THAT(delegate->calls, ElementsAre("response", "data", "finish"));
            EXPECT_EQ(server.requestCount(), before + 2);
        }
    }
}

TEST(TlsTrust, TheBackEndsSendNothingToAnUntrustedServerAndWorkOnceTheyTrustIt) {
    ScriptedHttpServer server(serverIdentity());
    server.setHandler(webdav_operations::healthyAnswer);
    QMRWebDavDataStore webDav("alice", "secret", server.baseUrl());
    QMRErrorSlot error;

    EXPECT_EQ(webDav.getStorageSpace(error), std::nullopt);
    // The status table names no certificate failure: it is an unknown error there.
    test_support::expectDataStoreError(error, QMRDataStoreErrorUnknown, "Unknown error");
    // The Funambol store logs in at once, through a session that trusts the system's store only.
    EXPECT_EQ(QMRFunambolDataStore::initWithUsername("bob", "secret", server.baseUrl(), error), nullptr);
    expectTransportFailure(error, QMRUrlErrorServerCertificateUntrusted);
    EXPECT_EQ(server.requestCount(), 0u);

    webDav.session().setTrustedCertificateFile(tlsFile("server-cert.pem"));
    const std::optional<QMRStorageSpaceInfo> space = webDav.getStorageSpace(error);
    EXPECT_FALSE(error.has_value());
    ASSERT_TRUE(space.has_value());
    EXPECT_EQ(space->unallocatedBytes(), 3000);

    // The Funambol store is given the trust with its creation, so that its login reaches the server.
    server.setHandler(funambol_operations::healthyServer(server.baseUrl()));
    const auto funambol = QMRFunambolDataStore::initWithUsername(
        "bob", "secret", server.baseUrl(), error, {.trustedCertificateFile = tlsFile("server-cert.pem")});
    ASSERT_TRUE(funambol) << error->description();
    EXPECT_TRUE(funambol->getStorageSpace(error).has_value());
    EXPECT_FALSE(error.has_value());
}

// ---- Credentials and redirects ----

// Whatever reaches the other origin comes without credentials, without a body (which may hold them)
// and without the lock token; a redirect that would take a body or the token there is not followed.
TEST(CredentialsOnRedirect, NoWebDavOperationTakesItsAuthorizationOrABodyToAnotherOrigin) {
    ScriptedHttpServer elsewhere;
    elsewhere.setHandler(webdav_operations::healthyAnswer);
    // Another port of the same address is another origin as much as another name is.
    for (const std::string& origin : {"http://127.0.0.1:" + portOf(elsewhere), "http://localhost:" + portOf(elsewhere)})
        for (const webdav_operations::Operation& operation : webdav_operations::operations()) {
            SCOPED_TRACE(operation.name + " redirected to " + origin);
            ScriptedHttpServer server;
            server.setHandler(redirectingTo(origin));
            QMRWebDavDataStore store("alice", "secret", server.baseUrl());
            store.setApplicationExclusiveAccessLockToken("opaquelocktoken:9");
            const std::size_t before = elsewhere.requestCount();
            QMRErrorSlot error;

            operation.run(store, error);

            for (const ScriptedHttpRequest& request : server.requests())
                EXPECT_EQ(request.header("Authorization"), store.basicAccessAuthenticationToken());
            const std::vector<ScriptedHttpRequest> arrived = elsewhere.requests();
            for (std::size_t i = before; i < arrived.size(); ++i) {
                EXPECT_FALSE(arrived[i].headers.contains("Authorization")) << arrived[i].method;
                EXPECT_FALSE(carriesSecrets(arrived[i])) << arrived[i].method;
            }
            // A refused redirect is a transport failure, which the status table calls unknown.
            if (anySecrets(server))
                test_support::expectDataStoreError(error, QMRDataStoreErrorUnknown, "Unknown error");
            else
                EXPECT_FALSE(error.has_value()) << "redirects that take no secret along are followed";
        }
}

TEST(CredentialsOnRedirect, NeitherTheFunambolPasswordNorItsSessionCookieGoesToAnotherHost) {
    const std::string otherHost = "http://localhost:";
    ScriptedHttpServer elsewhere;
    elsewhere.setHandler(funambol_operations::healthyServer(otherHost + portOf(elsewhere)));
    ScriptedHttpServer server;
    server.setHandler(redirectingTo(otherHost + portOf(elsewhere)));
    QMRErrorSlot error;

    // A 307 keeps the method and would keep the body, which holds the password.
    EXPECT_EQ(QMRFunambolDataStore::initWithUsername("bob", "Pa55-w0rd", server.baseUrl(), error), nullptr);
    expectTransportFailure(error, QMRUrlErrorCancelled);
    EXPECT_EQ(elsewhere.requestCount(), 0u);

    server.setHandler(funambol_operations::healthyServer(server.baseUrl()));
    server.enqueue(ScriptedHttpAnswer::withStatus(200).withHeader("Set-Cookie", "JSESSIONID=s1; Path=/"));
    auto store = QMRFunambolDataStore::initWithUsername("bob", "Pa55-w0rd", server.baseUrl(), error);
    ASSERT_TRUE(store);
    for (const funambol_operations::Operation& operation : funambol_operations::operations()) {
        if (operation.logsIn) continue;
        SCOPED_TRACE(operation.name);
        ScriptedHttpServer redirecting;
        redirecting.setHandler(redirectingTo(otherHost + portOf(elsewhere)));
        store->setBaseUrl(redirecting.baseUrl());
        const std::size_t before = elsewhere.requestCount();
        error.reset();

        operation.run(store, redirecting.baseUrl(), error);

        EXPECT_EQ(redirecting.request(0).header("Cookie"), "JSESSIONID=s1");
        const std::vector<ScriptedHttpRequest> arrived = elsewhere.requests();
        for (std::size_t i = before; i < arrived.size(); ++i) {
            EXPECT_FALSE(arrived[i].headers.contains("Cookie")) << arrived[i].target;
            EXPECT_FALSE(carriesSecrets(arrived[i])) << arrived[i].target;
        }
        if (anySecrets(redirecting))
            expectTransportFailure(error, QMRUrlErrorCancelled);
        else
            EXPECT_FALSE(error.has_value()) << "redirects that take no secret along are followed";
    }
}

// ---- One session per account ----

TEST(SeparateAccounts, TwoWebDavStoresOnOneServerSendOnlyTheirOwnCredentialsAndCookies) {
    ScriptedHttpServer server;
    QMRWebDavDataStore alice("alice", "secret-a", server.baseUrl());
    QMRWebDavDataStore bob("bob", "secret-b", server.baseUrl());
    auto ownerOf = [&](const ScriptedHttpRequest& request) {
        return request.header("Authorization") == alice.basicAccessAuthenticationToken() ? "alice" : "bob";
    };
    // The server hands each account a cookie of its own with every answer.
    server.setHandler([&](const ScriptedHttpRequest& request) {
        return webdav_operations::healthyAnswer(request).withHeader(
            "Set-Cookie", std::string("account=") + ownerOf(request) + "; Path=/");
    });

    for (const webdav_operations::Operation& operation : webdav_operations::operations())
        for (auto [store, name] : {std::pair{&alice, "alice"}, std::pair{&bob, "bob"}}) {
            SCOPED_TRACE(operation.name + " by " + name);
            const std::size_t before = server.requestCount();
            QMRErrorSlot error;
            operation.run(*store, error);
            EXPECT_FALSE(error.has_value());
            for (std::size_t i = before; i < server.requestCount(); ++i) {
                const ScriptedHttpRequest request = server.request(i);
                EXPECT_EQ(request.header("Authorization"), store->basicAccessAuthenticationToken());
                EXPECT_EQ(request.header("Cookie").value_or(std::string("account=") + name),
                          std::string("account=") + name);
            }
        }
}

TEST(SeparateAccounts, TwoFunambolStoresOnOneServerCarryOnlyTheirOwnSessionCookie) {
    ScriptedHttpServer server;
    const ScriptedHttpServer::Handler healthy = funambol_operations::healthyServer(server.baseUrl());
    // Each login opens a session named after its login name.
    server.setHandler([&healthy](const ScriptedHttpRequest& request) {
        if (!request.target.starts_with("/sapi/login?action=login")) return healthy(request);
        const std::string body = request.bodyText();
        const std::string login = body.substr(6, body.find('&') - 6);
        return ScriptedHttpAnswer::withStatus(200).withHeader("Set-Cookie", "JSESSIONID=" + login + "; Path=/");
    });
    QMRErrorSlot error;
    auto bob = QMRFunambolDataStore::initWithUsername("bob", "pw-b", server.baseUrl(), error);
    auto carol = QMRFunambolDataStore::initWithUsername("carol", "pw-c", server.baseUrl(), error);
    ASSERT_TRUE(bob && carol);
    EXPECT_FALSE(server.request(1).headers.contains("Cookie")) << "a login starts a session of its own";

    for (const funambol_operations::Operation& operation : funambol_operations::operations()) {
        if (operation.logsIn) continue;
        for (auto [store, name] : {std::pair{&bob, "bob"}, std::pair{&carol, "carol"}}) {
            SCOPED_TRACE(operation.name + " by " + name);
            const std::size_t before = server.requestCount();
            error.reset();
            operation.run(*store, server.baseUrl(), error);
            EXPECT_FALSE(error.has_value());
            for (std::size_t i = before; i < server.requestCount(); ++i)
                EXPECT_EQ(server.request(i).header("Cookie"), std::string("JSESSIONID=") + name);
        }
    }
}

// ---- Header injection ----

TEST(HeaderInjection, AWebDavLockTokenWithALineBreakIsRefusedBeforeAnyWriteCarriesIt) {
    // Writes and the lock's own requests carry the token; reads and a fresh lock do not.
    const std::vector<std::string> refused = {"createNewFile",
                                              "updateFileMetadata",
                                              "openFileForUpdating",
                                              "deleteAllFiles",
                                              "deleteFileWithSpecificFileIds",
                                              "refreshLock",
                                              "unlock"};
    for (const webdav_operations::Operation& operation : webdav_operations::operations()) {
        SCOPED_TRACE(operation.name);
        ScriptedHttpServer server;
        server.setHandler(webdav_operations::healthyAnswer);
        QMRWebDavDataStore store("alice", "secret", server.baseUrl());
        store.setApplicationExclusiveAccessLockToken("opaquelocktoken:9>)\r\nInjected: yes\r\nX: (<x");
        QMRErrorSlot error;

        const bool raises = std::ranges::find(refused, operation.name) != refused.end();
        if (raises)
            EXPECT_THROW(operation.run(store, error), QMRInvalidArgumentException);
        else
            EXPECT_NO_THROW(operation.run(store, error));

        EXPECT_FALSE(anyInjected(server));
        for (const ScriptedHttpRequest& request : server.requests())
            EXPECT_TRUE(raises ? request.method == "PROPFIND" : !request.headers.contains("If")) << request.method;
    }
}

TEST(HeaderInjection, AWebDavLockTokenWithALineBreakFromTheServerIsNotHeld) {
    ScriptedHttpServer server;
    server.enqueue(webdav_operations::answer(201))
        .enqueue(webdav_operations::answer(
            200,
            "<?xml version=\"1.0\"?><d:prop xmlns:d=\"DAV:\"><d:lockdiscovery><d:activelock><d:timeout>"
            "Second-60</d:timeout><d:locktoken><d:href>opaquelocktoken:9&#13;&#10;Injected: yes</d:href>"
            "</d:locktoken></d:activelock></d:lockdiscovery></d:prop>"));
    server.setHandler(webdav_operations::healthyAnswer);
    QMRWebDavDataStore store("alice", "secret", server.baseUrl());
    QMRErrorSlot error;

    EXPECT_EQ(store.applyApplicationExclusiveAccessLockWithTimeout(60, error), 0u);
    test_support::expectDataStoreError(error, QMRDataStoreErrorUnknown, "Unknown Response");
    EXPECT_EQ(store.applicationExclusiveAccessLockToken(), "");

    // Nothing the server said makes later writes raise.
    QMRFileMetadata record = test_records::textRecord("");
    EXPECT_NO_THROW(store.createNewFile(record, error, test_support::writing("notes")));
    EXPECT_FALSE(error.has_value());
    EXPECT_FALSE(anyInjected(server));
}

TEST(HeaderInjection, FileIdsWithALineBreakNeverBecomeHeaderLines) {
    const std::string injected = "\r\nInjected: yes";
    for (const webdav_operations::Operation& operation : webdav_operations::operations("f1" + injected)) {
        SCOPED_TRACE("WebDAV " + operation.name);
        ScriptedHttpServer server;
        server.setHandler(webdav_operations::healthyAnswer);
        QMRWebDavDataStore store("alice", "secret", server.baseUrl());
        QMRErrorSlot error;
        // WebDAV ids travel percent-encoded in the request target.
        EXPECT_NO_THROW(operation.run(store, error));
        EXPECT_FALSE(anyInjected(server));
    }
    for (const funambol_operations::Operation& operation : funambol_operations::operations("7" + injected)) {
        if (operation.logsIn) continue;
        SCOPED_TRACE("Funambol " + operation.name);
        ScriptedHttpServer server;
        server.setHandler(funambol_operations::healthyServer(server.baseUrl()));
        QMRErrorSlot error;
        auto store = QMRFunambolDataStore::initWithUsername("bob", "secret", server.baseUrl(), error);
        const std::size_t afterLogin = server.requestCount();
        // Funambol ids travel as numbers or in JSON, except in the content update's "x-funambol-id",
        // which refuses the id before anything is sent.
        if (operation.name == "openFileForUpdating") {
            EXPECT_THROW(operation.run(store, server.baseUrl(), error), QMRInvalidArgumentException);
            EXPECT_EQ(server.requestCount(), afterLogin);
        } else {
            EXPECT_NO_THROW(operation.run(store, server.baseUrl(), error));
        }
        EXPECT_FALSE(anyInjected(server));
    }
}

TEST(HeaderInjection, AFunambolFileIdWithALineBreakFromTheServerIsAnErrorNotAHeader) {
    ScriptedHttpServer server;
    server.setHandler(funambol_operations::healthyServer(server.baseUrl()));
    QMRErrorSlot error;
    auto store = QMRFunambolDataStore::initWithUsername("bob", "secret", server.baseUrl(), error);
    server.enqueue(funambol_operations::json(R"({"id":"7\r\nInjected: yes"})"));
    QMRFileMetadata record = test_records::textRecord("");

    EXPECT_NO_THROW(store->createNewFile(record, error, test_support::writing("notes")));

    test_support::expectDataStoreError(error, QMRDataStoreErrorUnknown, "Unknown error");
    EXPECT_EQ(record.fileId(), "");
    EXPECT_EQ(server.requestCount(), 2u) << "no content is sent for a file without a usable id";
    EXPECT_FALSE(anyInjected(server));
}

// ---- The password stays out of errors and exceptions ----

TEST(PasswordSecrecy, NoErrorOrExceptionOfEitherBackEndCarriesThePasswordOrTheTokenMadeFromIt) {
    const std::string password = "Pa55-w0rd";
    const std::vector<std::string> secrets = {
        password, QMRWebDavDataStore::constructBasicAccessAuthenticationTokenFromUsername("alice", password)};
    // How each situation serves its requests: after a healthy login, for Funambol.
    struct Situation {
        std::string name;
        std::function<ScriptedHttpAnswer()> answer;
        bool tls = false;
    };
    std::vector<Situation> situations = {
        {"an authentication challenge",
         [] { return ScriptedHttpAnswer::withStatus(401, "no").withHeader("WWW-Authenticate", "Basic realm=\"x\""); }},
        {"a server error with a page", [] { return ScriptedHttpAnswer::withStatus(500, "<html>failed</html>"); }},
        {"a redirect without end", [] { return ScriptedHttpAnswer::withStatus(302).withHeader("Location", "/again"); }},
        {"an untrusted certificate", [] { return ScriptedHttpAnswer::withStatus(200); }, true},
    };
    for (const broken_answers::TransportFault& fault : broken_answers::transportFaults())
        if (fault.code != QMRUrlErrorTimedOut) situations.push_back({fault.name, fault.answer});

    std::vector<std::string> texts;
    auto run = [&texts](const std::function<void(QMRErrorSlot&)>& operation) { collectTextsOf(operation, texts); };
    for (const Situation& situation : situations) {
        SCOPED_TRACE(situation.name);
        auto server = situation.tls ? std::make_unique<ScriptedHttpServer>(serverIdentity())
                                    : std::make_unique<ScriptedHttpServer>();
        server->setHandler([&situation](const ScriptedHttpRequest&) { return situation.answer(); });
        for (const webdav_operations::Operation& operation : webdav_operations::operations()) {
            QMRWebDavDataStore store("alice", password, server->baseUrl());
            run([&](QMRErrorSlot& error) { operation.run(store, error); });
        }
        run([&](QMRErrorSlot& error) {
            QMRFunambolDataStore::initWithUsername("alice", password, server->baseUrl(), error);
        });
        // A store can log in only where the server answers plainly.
        for (const funambol_operations::Operation& operation : funambol_operations::operations()) {
            if (operation.logsIn || situation.tls) continue;
            server->enqueue(ScriptedHttpAnswer::withStatus(200));
            QMRErrorSlot error;
            std::shared_ptr<QMRFunambolDataStore> store =
                QMRFunambolDataStore::initWithUsername("alice", password, server->baseUrl(), error);
            ASSERT_TRUE(store);
            run([&](QMRErrorSlot& error) { operation.run(store, server->baseUrl(), error); });
        }
    }
    // Connecting to a port nobody listens on.
    const std::string closed = "http://127.0.0.1:" + std::to_string(test_support::closedLoopbackPort());
    run([&](QMRErrorSlot& error) { QMRWebDavDataStore("alice", password, closed).getStorageSpace(error); });
    run([&](QMRErrorSlot& error) { QMRFunambolDataStore::initWithUsername("alice", password, closed, error); });

    EXPECT_GT(texts.size(), 100u) << "the situations produced errors to look at";
    for (const std::string& text : texts)
        for (const std::string& secret : secrets) EXPECT_THAT(text, Not(HasSubstr(secret)));
}

}  // namespace
