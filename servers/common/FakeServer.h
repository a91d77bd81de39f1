#pragma once
// What the fake servers share around their own logic: the command line, serving on loopback until
// stopped, and the libmicrohttpd plumbing of a request.
#include <microhttpd.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fake_server {

// A whole non-negative decimal number, or nothing.
std::optional<std::int64_t> parseCount(std::string_view text);

struct Options {
    std::uint16_t port = 0;  // 0 lets the system pick one
    std::string urlFile;     // empty: print the URL instead
    std::string user, password;
    std::int64_t quota = 0;
    std::string tlsCertificateFile, tlsKeyFile;  // PEM files; both set: serve https

    bool tls() const { return !tlsCertificateFile.empty() && !tlsKeyFile.empty(); }
};

// Reads "--name value" pairs: --port, --url-file, --user, --password, --quota, --tls-cert and
// --tls-key into options, any other name through own, which answers whether it took the pair. False
// on anything else, and when only one of --tls-cert and --tls-key is given.
bool parseOptions(int argc, char** argv, Options& options,
                  const std::function<bool(std::string_view name, const std::string& value)>& own = {});

// Sees each request target as sent, before the daemon decodes it; its answer becomes the request's context.
using UriLog = void* (*)(void* server, const char* uri, MHD_Connection* connection);

// Serves on 127.0.0.1 until SIGTERM or SIGINT, over https when the options name a certificate; the
// base URL is printed, or written to the URL file through a rename so that a reader never sees half
// of it. uriLog may be null. The exit status.
int serveUntilStopped(std::string_view program, const Options& options, MHD_AccessHandlerCallback answer, void* server,
                      MHD_RequestCompletedCallback completed, UriLog uriLog = nullptr);

std::string headerValue(MHD_Connection* connection, MHD_ValueKind kind, const char* name);

// Appends an upload chunk to body, beyond maxBodyBytes only marking it too large. False when no
// chunk came: the request is complete.
bool takeUpload(std::string& body, bool& tooLarge, const char* upload, std::size_t* uploadSize);

using Headers = std::vector<std::pair<std::string, std::string>>;

// Queues the answer, after one log line "REQUEST -> STATUS" on stderr, written before the answer
// leaves so that a client holding its answer finds it logged.
MHD_Result send(MHD_Connection* connection, std::string_view request, unsigned status, const std::string& body,
                const Headers& headers);
// The same with the content of a file, read from disk as the answer leaves; 404 when it cannot be opened.
MHD_Result sendFile(MHD_Connection* connection, std::string_view request, unsigned status, const std::string& path,
                    const Headers& headers);

// The completion callback for a daemon whose per-request context is a Pending.
template <typename Pending>
void forget(void*, MHD_Connection*, void** context, MHD_RequestTerminationCode) {
    delete static_cast<Pending*>(*context);
    *context = nullptr;
}

}  // namespace fake_server
