#pragma once
// A deliberately small HTTP/1.1 server on 127.0.0.1 for the benchmarks: one thread per connection,
// keep-alive, answers built by a handler (usually a prebuilt buffer shared between answers). It
// does only what a comparison needs, so that its own cost stays far below the clients measured.
// A request body with a Content-Length is read and dropped as it arrives, and a streamed answer is
// made as it goes, so transfers of any size run in constant memory.
//
//   LoopbackHttpServer server([](const LoopbackHttpRequest& request) { return answerFor(request); });
//   ... send to server.baseUrl() ...
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

struct LoopbackHttpRequest {
    std::string method;
    std::string target;
    // Empty when the request has no Depth header.
    std::string depth;
    // Empty when the request has no Cookie header.
    std::string cookie;
    std::size_t bodySize = 0;
};

// Status line, headers and body as they go on the wire (usually a buffer shared between answers),
// then, for a streamed answer, a body made while sending by repeating a pattern, so that an answer
// of any size costs no more memory than the pattern.
struct LoopbackHttpAnswer {
    // Implicit, so that the bytes alone are an answer.
    LoopbackHttpAnswer(std::shared_ptr<const std::string> wireBytes = nullptr) : bytes(std::move(wireBytes)) {}

    std::shared_ptr<const std::string> bytes;
    std::uint64_t streamedLength = 0;
    std::shared_ptr<const std::string> streamedPattern;
};

// "HTTP/1.1 <status>" answer with Content-Length, a fixed Date and the given content type.
LoopbackHttpAnswer makeLoopbackHttpAnswer(std::string_view status, std::string_view contentType, std::string_view body);
// The same with a body of length bytes repeating pattern (not empty), sent piece by piece.
LoopbackHttpAnswer makeStreamedLoopbackHttpAnswer(std::string_view status, std::string_view contentType,
                                                  std::uint64_t length, std::shared_ptr<const std::string> pattern);

class LoopbackHttpServer {
public:
    using Handler = std::function<LoopbackHttpAnswer(const LoopbackHttpRequest&)>;

    // Listens on a port the system picks; throws std::runtime_error when it cannot.
    explicit LoopbackHttpServer(Handler handler);
    ~LoopbackHttpServer();
    LoopbackHttpServer(const LoopbackHttpServer&) = delete;
    LoopbackHttpServer& operator=(const LoopbackHttpServer&) = delete;

    std::uint16_t port() const noexcept { return _port; }
    // "http://127.0.0.1:<port>"
    std::string baseUrl() const;

    std::uint64_t requestCount() const noexcept { return _requests.load(); }
    std::uint64_t connectionCount() const noexcept { return _connections.load(); }

    // Closes the listening socket and every connection, then joins the threads. Idempotent.
    void stop();

private:
    void acceptConnections();
    void serveConnection(int socket);

    Handler _handler;
    int _listener = -1;
    std::uint16_t _port = 0;
    std::atomic<bool> _stopping{false};
    std::atomic<std::uint64_t> _requests{0};
    std::atomic<std::uint64_t> _connections{0};

    std::mutex _mutex;
    std::vector<int> _openSockets;
    std::vector<std::thread> _connectionThreads;
    std::thread _acceptThread;
};
