#pragma once
// The least an HTTP client can do on one kept-alive connection: write a prepared request, read the
// answer by its Content-Length. Timing it gives the floor set by the loopback server and the
// kernel, against which the real clients are measured.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class RawHttpClient {
public:
    // Connects to 127.0.0.1:port; throws std::runtime_error when it cannot.
    explicit RawHttpClient(std::uint16_t port);
    ~RawHttpClient();
    RawHttpClient(const RawHttpClient&) = delete;
    RawHttpClient& operator=(const RawHttpClient&) = delete;

    // Sends the request bytes and returns the size of the answer's body; throws std::runtime_error
    // when the connection fails or the answer has no Content-Length.
    std::size_t exchange(std::string_view request);

private:
    void receiveMore();

    int _socket = -1;
    std::string _buffer;
};
