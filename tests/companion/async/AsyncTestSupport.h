#pragma once
// Recording delegates and helpers shared by the asynchronous tests.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "companion/io/QMRBoundOutputStream.h"
#include "companion/io/QMRStreamDelegate.h"
#include "companion/web/QMRUrlConnection.h"
#include "companion/web/QMRUrlConnectionDelegate.h"

// Records every callback of a connection, in order, and lets a test act inside them.
struct RecordingConnectionDelegate : QMRUrlConnectionDelegate {
    std::vector<std::string> calls;
    std::optional<QMRHttpUrlResponse> response;
    std::optional<QMRError> error;
    QMRData body;
    std::size_t pieces = 0;
    std::function<void(QMRUrlConnection&)> onResponse;
    std::function<void(QMRUrlConnection&)> onData;
    std::function<void(QMRUrlConnection&)> onFinish;

    void connection(QMRUrlConnection& connection, const QMRHttpUrlResponse& received) override {
        calls.push_back("response");
        response = received;
        if (onResponse) onResponse(connection);
    }
    void connection(QMRUrlConnection& connection, QMRDataView data) override {
        // Consecutive pieces show as one entry, so the order of kinds of callback is easy to state.
        if (calls.empty() || calls.back() != "data") calls.push_back("data");
        body.insert(body.end(), data.begin(), data.end());
        ++pieces;
        if (onData) onData(connection);
    }
    void connection(QMRUrlConnection&, const QMRError& failure) override {
        calls.push_back("fail");
        error = failure;
    }
    void connectionDidFinishLoading(QMRUrlConnection& connection) override {
        calls.push_back("finish");
        if (onFinish) onFinish(connection);
    }
};

// Bytes that differ from position to position, so a lost, doubled or reordered piece shows.
inline QMRData patternedBytes(std::size_t count, std::uint8_t seed = 0) {
    QMRData bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>((i * 31 + seed + i / 251) & 0xff);
    return bytes;
}

// A loopback port that refuses connections for as long as this object lives: bound, never listening,
// so that no one else can take it.
class RefusingPort {
public:
    RefusingPort() : _socket(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (_socket < 0 || ::bind(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::getsockname(_socket, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            throw std::runtime_error("no port to refuse connections on");
        _port = ntohs(address.sin_port);
    }
    ~RefusingPort() { ::close(_socket); }
    RefusingPort(const RefusingPort&) = delete;
    RefusingPort& operator=(const RefusingPort&) = delete;
    std::string url(const std::string& target, const std::string& scheme = "http") const {
        return scheme + "://127.0.0.1:" + std::to_string(_port) + target;
    }

private:
    int _socket;
    std::uint16_t _port = 0;
};
