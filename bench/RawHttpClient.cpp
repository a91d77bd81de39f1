#include "RawHttpClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <stdexcept>

namespace {
constexpr std::size_t kReadChunkBytes = 256 * 1024;
constexpr std::string_view kLengthHeader = "\r\nContent-Length: ";
}  // namespace

RawHttpClient::RawHttpClient(std::uint16_t port) {
    _socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (_socket < 0 || ::connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        if (_socket >= 0) ::close(_socket);
        throw std::runtime_error("The raw client cannot connect");
    }
    int on = 1;
    ::setsockopt(_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

RawHttpClient::~RawHttpClient() {
    ::close(_socket);
}

void RawHttpClient::receiveMore() {
    const std::size_t had = _buffer.size();
    _buffer.resize(had + kReadChunkBytes);
    ssize_t received = ::recv(_socket, _buffer.data() + had, kReadChunkBytes, 0);
    while (received < 0 && errno == EINTR) received = ::recv(_socket, _buffer.data() + had, kReadChunkBytes, 0);
    if (received <= 0) throw std::runtime_error("The raw client's connection ended");
    _buffer.resize(had + static_cast<std::size_t>(received));
}

std::size_t RawHttpClient::exchange(std::string_view request) {
    for (std::string_view rest = request; !rest.empty();) {
        const ssize_t sent = ::send(_socket, rest.data(), rest.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) throw std::runtime_error("The raw client cannot send");
        rest.remove_prefix(static_cast<std::size_t>(sent));
    }
    std::size_t headEnd = _buffer.find("\r\n\r\n");
    // Each round reads more of a finite answer; a closed connection throws.
    while (headEnd == std::string::npos) {
        receiveMore();
        headEnd = _buffer.find("\r\n\r\n");
    }
    const std::size_t lengthAt = _buffer.find(kLengthHeader);
    if (lengthAt == std::string::npos || lengthAt > headEnd) throw std::runtime_error("The answer has no length");
    std::size_t length = 0;
    const char* digits = _buffer.data() + lengthAt + kLengthHeader.size();
    std::from_chars(digits, _buffer.data() + headEnd, length);
    const std::size_t answerEnd = headEnd + 4 + length;
    while (_buffer.size() < answerEnd) receiveMore();
    _buffer.erase(0, answerEnd);
    return length;
}
