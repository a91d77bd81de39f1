// The fake ownCloud server's process: command line, and libmicrohttpd feeding requests to OcServer.
//
//   qmr_fake_owncloud --release 4.5.7|5.0.6 [--port N] [--url-file PATH] [--user NAME] [--password TEXT]
//                     [--second-user NAME --second-password TEXT] [--quota BYTES] [--tls-cert PEM --tls-key PEM]
//
// Listens on 127.0.0.1 (port 0, the default, lets the system pick one), over https with the given
// certificate and key, then prints its base URL, or writes it into PATH through a rename so that a
// reader never sees half of it. SIGTERM or SIGINT stops it. File contents are kept in a private
// directory beside PATH (else in the temporary directory), removed when it stops. Pages follow
// Accept-Language (English or German); without a supported one they are German, the server's own
// language, so that a client that forgets to ask for English finds none of its texts. A second
// account, when given, has files, shares and settings of its own and the same quota.
//
// Test-only controls (any method, no session needed), each answering JSON. Those that change an
// account take [&user=NAME] to pick one; without it they change the first:
//   /test/reset                          every account: an empty root folder, no shares, the starting
//                                        password and no e-mail address; no failure pending; sessions
//                                        and the id counters stay
//   /test/quota?bytes=N                  set the quota
//   /test/mkdir?path=P[&mtime=S]         add a folder (its parent must exist), modified at S (seconds)
//   /test/put?path=P[&mtime=S][&mime=M]  add or replace a file holding the request body
//   /test/sessions                       {"tokens":[...]}: the request token of every open session
//   /test/expire-sessions                every session gets a new request token, as when the server's
//                                        session data timed out under a login that stays: pages still
//                                        load, ajax posts with the old token get "Token expired"
//   /test/end-sessions                   forget every session: everyone is logged out
//   /test/fail[?status=503][&count=1][&script=NAME]
//                                        the next count requests (other than controls), or the next
//                                        count to the script NAME ("upload.php", "share.php"), get
//                                        that status and an empty body; their bodies are read and
//                                        dropped. count=0 ends it
//   /test/receive?path=P&owner=U[&permissions=31]
//                                        the entry at P becomes one that user U shared with the account
//   /test/email?address=A                set the account's e-mail address (empty: none)
#include <microhttpd.h>

#include <exception>
#include <iostream>
#include <optional>
#include <string>

#include "FakeServer.h"
#include "OcBodyReader.h"
#include "OcServer.h"

namespace {

using fake_owncloud::OcBodyReader;
using fake_owncloud::OcServer;

struct PendingRequest {
    fake_owncloud::OcRequest request;
    std::optional<OcBodyReader> body;  // set once the headers are in
    std::optional<unsigned> injectedStatus;
};

// The query is read from the target as sent, as PHP reads it.
void* begin(void*, const char* uri, MHD_Connection*) {
    auto* pending = new PendingRequest;
    const std::string_view target = uri;
    const std::size_t question = target.find('?');
    pending->request.path = fake_owncloud::percentDecode(target.substr(0, question), false);
    if (question != std::string_view::npos) {
        pending->request.rawQuery = target.substr(question + 1);
        pending->request.query = fake_owncloud::parseFields(pending->request.rawQuery);
    }
    return pending;
}

MHD_Result answer(void* serverPointer, MHD_Connection* connection, const char*, const char* method, const char*,
                  const char* upload, std::size_t* uploadSize, void** context) {
    using fake_server::headerValue;
    auto* server = static_cast<OcServer*>(serverPointer);
    auto* pending = static_cast<PendingRequest*>(*context);
    fake_owncloud::OcRequest& request = pending->request;
    if (!pending->body) {
        request.method = method;
        request.session = headerValue(connection, MHD_COOKIE_KIND, server->cookieName().c_str());
        request.tokenHeader = headerValue(connection, MHD_HEADER_KIND, "requesttoken");
        request.acceptLanguage = headerValue(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_ACCEPT_LANGUAGE);
        request.contentType = headerValue(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_TYPE);
        request.host = headerValue(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_HOST);
        pending->injectedStatus = server->takeInjectedFailure(request);
        pending->body.emplace(request,
                              pending->injectedStatus ? OcBodyReader::Keep::Nothing : server->bodyKeep(request),
                              [server] { return server->stage(); });
        return MHD_YES;
    }
    if (*uploadSize > 0) {
        pending->body->take(std::string_view(upload, *uploadSize));
        *uploadSize = 0;
        return MHD_YES;
    }
    const OcBodyReader::Outcome outcome = pending->body->finish();
    const std::string line = request.line();
    if (pending->injectedStatus) return fake_server::send(connection, line, *pending->injectedStatus, "", {});
    if (outcome == OcBodyReader::Outcome::TooLarge)
        return fake_server::send(connection, line, 413, "Body too large", {});
    if (outcome == OcBodyReader::Outcome::Malformed)
        return fake_server::send(connection, line, 400, "Malformed multipart body", {});
    const fake_owncloud::OcReply reply = server->handle(request);
    if (!reply.file.empty()) return fake_server::sendFile(connection, line, reply.status, reply.file, reply.headers);
    return fake_server::send(connection, line, reply.status, reply.body, reply.headers);
}

}  // namespace

int main(int argc, char** argv) {
    std::optional<bool> v4;
    std::string secondUser, secondPassword;
    fake_server::Options options;
    options.user = "carol";
    options.password = "s3cret pw";
    options.quota = std::int64_t{2} << 30;
    const bool understood =
        fake_server::parseOptions(argc, argv, options, [&](std::string_view name, const std::string& value) {
            if (name == "--second-user" || name == "--second-password") {
                (name == "--second-user" ? secondUser : secondPassword) = value;
                return true;
            }
            if (name != "--release" || (value != "4.5.7" && value != "5.0.6")) return false;
            v4 = value == "4.5.7";
            return true;
        });
    if (!understood || !v4 || (!secondUser.empty() && secondUser == options.user)) {
        std::cerr << "usage: " << argv[0]
                  << " --release 4.5.7|5.0.6 [--port N] [--url-file PATH] [--user NAME] [--password TEXT]"
                     " [--second-user NAME --second-password TEXT] [--quota BYTES] [--tls-cert PEM --tls-key PEM]\n";
        return 2;
    }
    const std::filesystem::path contentParent = options.urlFile.empty()
                                                    ? std::filesystem::temp_directory_path()
                                                    : std::filesystem::absolute(options.urlFile).parent_path();
    std::optional<OcServer> server;
    try {
        server.emplace(OcServer::Settings{*v4, options.tls(), options.user, options.password, secondUser,
                                          secondPassword, options.quota, contentParent});
    } catch (const std::exception& failure) {
        std::cerr << "qmr_fake_owncloud: " << failure.what() << '\n';
        return 1;
    }
    return fake_server::serveUntilStopped("qmr_fake_owncloud", options, &answer, &*server,
                                          &fake_server::forget<PendingRequest>, &begin);
}
