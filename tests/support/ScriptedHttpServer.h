#pragma once
// An HTTP/1.1 server on 127.0.0.1 (a port the system picks) that answers from a script and records
// every request, so that a test can state the exact traffic. It accepts any method and keeps
// connections alive.
//
//   ScriptedHttpServer server;
//   server.enqueue(ScriptedHttpAnswer::withStatus(207, xml).withHeader("Content-Type", "application/xml"));
//   ... send to server.url("/dav/") ...
//   EXPECT_EQ(server.request(0).method, "PROPFIND");
//
// Queued answers are used first, in order; then the handler, if one is set; otherwise a request
// gets 500 "No scripted answer". A request is recorded before it is answered, so it is visible as
// soon as the client has its answer.
//
// Constructed with a certificate and key, the server speaks HTTPS instead (raw answers excepted).
//
// Note that curl silently resends a request once when a reused connection closes without an answer;
// script closeConnection() on a fresh connection (the first request of a session) to see it fail.
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/ScriptedHttpAnswer.h"
#include "tests/support/ScriptedHttpRequest.h"

struct MHD_Daemon;

class ScriptedHttpServer {
public:
    using Handler = std::function<ScriptedHttpAnswer(const ScriptedHttpRequest&)>;

    // The server's identity for HTTPS: a certificate (chain) and its private key, both PEM text.
    struct Tls {
        std::string certificatePem;
        std::string keyPem;
    };

    ScriptedHttpServer();
    // Speaks HTTPS with this identity; baseUrl() then starts with "https://".
    explicit ScriptedHttpServer(Tls tls);
    ~ScriptedHttpServer();
    ScriptedHttpServer(const ScriptedHttpServer&) = delete;
    ScriptedHttpServer& operator=(const ScriptedHttpServer&) = delete;

    std::uint16_t port() const noexcept { return _port; }
    // "http://127.0.0.1:<port>" (https for a TLS server)
    std::string baseUrl() const;
    // baseUrl() followed by target, e.g. url("/a?b=c").
    std::string url(std::string_view target) const;

    ScriptedHttpServer& enqueue(ScriptedHttpAnswer answer);
    // Answers every request once the queue is empty; may keep state (a fake server).
    void setHandler(Handler handler);

    std::vector<ScriptedHttpRequest> requests() const;
    std::size_t requestCount() const;
    // Raises std::out_of_range when fewer requests arrived.
    ScriptedHttpRequest request(std::size_t index) const;
    // The number of TCP connections accepted so far.
    std::uint64_t connectionCount() const;

    // Releases stalled answers, closes every connection and joins the server's threads. Idempotent.
    void stop();

private:
    struct PendingRequest;
    // The daemon's C callbacks, defined with its own types next to the implementation.
    struct Callbacks;

    ScriptedHttpAnswer answerFor(const ScriptedHttpRequest& request);
    void record(const ScriptedHttpRequest& request);
    void waitUntilStopped();

    void start();

    // Kept for the daemon's whole life: it reads the PEM text from here.
    std::optional<Tls> _tls;
    MHD_Daemon* _daemon = nullptr;
    std::uint16_t _port = 0;

    mutable std::mutex _mutex;
    std::condition_variable _stopped;
    bool _stopping = false;
    std::deque<ScriptedHttpAnswer> _script;
    Handler _handler;
    std::vector<ScriptedHttpRequest> _requests;
    std::uint64_t _connections = 0;
};
