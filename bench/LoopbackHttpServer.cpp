#include "LoopbackHttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>

namespace {

// A request head larger than this is not one of ours: the connection is dropped.
constexpr std::size_t kMaxHeadBytes = 64 * 1024;
constexpr std::size_t kReadChunkBytes = 64 * 1024;

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; };
        return lower(x) == lower(y);
    });
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) text.remove_suffix(1);
    return text;
}

std::optional<std::size_t> parseSize(std::string_view text, int base) {
    std::size_t value = 0;
    auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (failure != std::errc() || end == text.data()) return std::nullopt;
    return value;
}

// The length of a complete chunked body at the start of data (trailers included), or nothing while
// it has not fully arrived.
std::optional<std::size_t> chunkedBodyLength(std::string_view data, std::size_t& payload) {
    std::size_t at = 0;
    payload = 0;
    // Each round consumes one chunk; the data is finite, so the walk ends.
    while (true) {
        std::size_t lineEnd = data.find("\r\n", at);
        if (lineEnd == std::string_view::npos) return std::nullopt;
        std::optional<std::size_t> size = parseSize(trimmed(data.substr(at, lineEnd - at)), 16);
        if (!size) return std::nullopt;
        at = lineEnd + 2;
        if (*size == 0) {
            std::size_t trailerEnd = data.find("\r\n", at);
            while (trailerEnd != std::string_view::npos && trailerEnd != at) {
                at = trailerEnd + 2;
                trailerEnd = data.find("\r\n", at);
            }
            if (trailerEnd == std::string_view::npos) return std::nullopt;
            return trailerEnd + 2;
        }
        if (data.size() < at + *size + 2) return std::nullopt;
        payload += *size;
        at += *size + 2;
    }
}

bool sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

bool sendAnswer(int socket, const LoopbackHttpAnswer& answer) {
    if (!answer.bytes || !sendAll(socket, *answer.bytes)) return false;
    const std::string_view pattern = answer.streamedPattern ? *answer.streamedPattern : std::string_view();
    if (pattern.empty()) return answer.streamedLength == 0;
    // One pattern's worth per round, the last one cut to what remains.
    for (std::uint64_t remaining = answer.streamedLength; remaining > 0;) {
        const std::string_view piece =
            pattern.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(remaining, pattern.size())));
        if (!sendAll(socket, piece)) return false;
        remaining -= piece.size();
    }
    return true;
}

// Reads and drops count bytes of a request body; false when the connection ends first.
bool discard(int socket, std::uint64_t count, std::vector<char>& scratch) {
    if (count > 0 && scratch.empty()) scratch.resize(kReadChunkBytes);
    while (count > 0) {
        const ssize_t received =
            ::recv(socket, scratch.data(), static_cast<std::size_t>(std::min<std::uint64_t>(count, scratch.size())), 0);
        if (received < 0 && errno == EINTR) continue;
        if (received <= 0) return false;
        count -= static_cast<std::uint64_t>(received);
    }
    return true;
}

}  // namespace

namespace {
// A fixed date: the clients parse it, and a constant keeps every answer the same bytes.
std::string answerHead(std::string_view status, std::string_view contentType, std::uint64_t contentLength) {
    return fmt::format(
        "HTTP/1.1 {}\r\nDate: Sun, 22 Nov 2026 16:36:44 GMT\r\nContent-Type: {}\r\nContent-Length: {}\r\n\r\n", status,
        contentType, contentLength);
}
}  // namespace

LoopbackHttpAnswer makeLoopbackHttpAnswer(std::string_view status, std::string_view contentType,
                                          std::string_view body) {
    std::string answer = answerHead(status, contentType, body.size());
    answer.append(body);
    return std::make_shared<const std::string>(std::move(answer));
}

LoopbackHttpAnswer makeStreamedLoopbackHttpAnswer(std::string_view status, std::string_view contentType,
                                                  std::uint64_t length, std::shared_ptr<const std::string> pattern) {
    LoopbackHttpAnswer answer(std::make_shared<const std::string>(answerHead(status, contentType, length)));
    answer.streamedLength = length;
    answer.streamedPattern = std::move(pattern);
    return answer;
}

LoopbackHttpServer::LoopbackHttpServer(Handler handler) : _handler(std::move(handler)) {
    _listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (_listener < 0) throw std::runtime_error("The loopback server has no socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = 0;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(_listener, 64) != 0 ||
        ::getsockname(_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(_listener);
        throw std::runtime_error("The loopback server cannot listen on 127.0.0.1");
    }
    _port = ntohs(address.sin_port);
    _acceptThread = std::thread([this] { acceptConnections(); });
}

LoopbackHttpServer::~LoopbackHttpServer() {
    stop();
}

std::string LoopbackHttpServer::baseUrl() const {
    return fmt::format("http://127.0.0.1:{}", _port);
}

void LoopbackHttpServer::stop() {
    if (_stopping.exchange(true)) return;
    // shutdown() wakes the blocked accept() and recv() calls; each thread then closes its own socket.
    ::shutdown(_listener, SHUT_RDWR);
    _acceptThread.join();
    ::close(_listener);
    std::vector<std::thread> threads;
    {
        std::lock_guard lock(_mutex);
        for (int socket : _openSockets) ::shutdown(socket, SHUT_RDWR);
        threads = std::move(_connectionThreads);
    }
    for (std::thread& thread : threads) thread.join();
}

void LoopbackHttpServer::acceptConnections() {
    while (!_stopping.load()) {
        int socket = ::accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            return;
        }
        int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        ++_connections;
        std::lock_guard lock(_mutex);
        if (_stopping.load()) {
            ::close(socket);
            return;
        }
        _openSockets.push_back(socket);
        _connectionThreads.emplace_back([this, socket] { serveConnection(socket); });
    }
}

void LoopbackHttpServer::serveConnection(int socket) {
    std::string buffer;
    buffer.reserve(kReadChunkBytes);
    std::vector<char> scratch;
    bool keepOpen = true;
    // Ends when the client closes, the server stops, or a request cannot be read.
    while (keepOpen) {
        std::size_t headEnd = buffer.find("\r\n\r\n");
        std::optional<std::size_t> requestEnd;
        LoopbackHttpRequest request;
        if (headEnd != std::string::npos) {
            std::string_view head(buffer.data(), headEnd);
            std::size_t lineEnd = head.find("\r\n");
            std::string_view requestLine = head.substr(0, lineEnd);
            std::size_t firstSpace = requestLine.find(' ');
            std::size_t secondSpace = requestLine.find(' ', firstSpace + 1);
            if (firstSpace == std::string_view::npos || secondSpace == std::string_view::npos) break;
            request.method = requestLine.substr(0, firstSpace);
            request.target = requestLine.substr(firstSpace + 1, secondSpace - firstSpace - 1);
            std::size_t contentLength = 0;
            bool chunked = false;
            while (lineEnd != std::string_view::npos) {
                std::size_t next = head.find("\r\n", lineEnd + 2);
                std::string_view line =
                    head.substr(lineEnd + 2, next == std::string_view::npos ? next : next - lineEnd - 2);
                lineEnd = next;
                std::size_t colon = line.find(':');
                if (colon == std::string_view::npos) continue;
                std::string_view name = line.substr(0, colon);
                std::string_view value = trimmed(line.substr(colon + 1));
                if (equalsIgnoringCase(name, "Content-Length"))
                    contentLength = parseSize(value, 10).value_or(0);
                else if (equalsIgnoringCase(name, "Depth"))
                    request.depth = value;
                else if (equalsIgnoringCase(name, "Cookie"))
                    request.cookie = value;
                else if (equalsIgnoringCase(name, "Transfer-Encoding"))
                    chunked = equalsIgnoringCase(value, "chunked");
                else if (equalsIgnoringCase(name, "Connection"))
                    keepOpen = !equalsIgnoringCase(value, "close");
            }
            const std::size_t bodyStart = headEnd + 4;
            if (chunked) {
                std::size_t payload = 0;
                if (auto length = chunkedBodyLength(std::string_view(buffer).substr(bodyStart), payload)) {
                    request.bodySize = payload;
                    requestEnd = bodyStart + *length;
                }
            } else {
                // What has not arrived with the head is read and dropped: bodies are only counted.
                const std::size_t buffered = std::min(buffer.size() - bodyStart, contentLength);
                if (!discard(socket, contentLength - buffered, scratch)) break;
                request.bodySize = contentLength;
                requestEnd = bodyStart + buffered;
            }
        } else if (buffer.size() > kMaxHeadBytes) {
            break;
        }

        if (!requestEnd) {
            const std::size_t had = buffer.size();
            buffer.resize(had + kReadChunkBytes);
            ssize_t received = ::recv(socket, buffer.data() + had, kReadChunkBytes, 0);
            if (received < 0 && errno == EINTR)
                received = 0;
            else if (received <= 0)
                break;
            buffer.resize(had + static_cast<std::size_t>(received));
            continue;
        }

        ++_requests;
        const LoopbackHttpAnswer answer = _handler(request);
        if (!sendAnswer(socket, answer)) break;
        buffer.erase(0, *requestEnd);
    }
    {
        std::lock_guard lock(_mutex);
        std::erase(_openSockets, socket);
    }
    ::close(socket);
}
