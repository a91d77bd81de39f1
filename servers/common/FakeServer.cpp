#include "FakeServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

namespace fake_server {

namespace {

constexpr std::size_t maxBodyBytes = 256u << 20;
// Each connection's buffer: large bodies arrive in pieces of up to about half of it.
constexpr std::size_t connectionMemoryBytes = 1u << 20;

std::optional<std::string> readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// Logs first: a client holding its answer must find the request in the log.
MHD_Result queue(MHD_Connection* connection, std::string_view request, unsigned status, MHD_Response* response,
                 const Headers& headers) {
    std::cerr << request << " -> " << status << std::endl;
    if (response == nullptr) return MHD_NO;
    for (const auto& [name, value] : headers) MHD_add_response_header(response, name.c_str(), value.c_str());
    const MHD_Result queued = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return queued;
}

}  // namespace

std::optional<std::int64_t> parseCount(std::string_view text) {
    std::int64_t value = 0;
    auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc{} || end != text.data() + text.size() || value < 0) return std::nullopt;
    return value;
}

bool parseOptions(int argc, char** argv, Options& options,
                  const std::function<bool(std::string_view name, const std::string& value)>& own) {
    if (argc % 2 == 0) return false;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string_view name = argv[i];
        const std::string value = argv[i + 1];
        const std::optional<std::int64_t> number = parseCount(value);
        if (name == "--port" && number && *number <= 65535)
            options.port = static_cast<std::uint16_t>(*number);
        else if (name == "--url-file")
            options.urlFile = value;
        else if (name == "--user")
            options.user = value;
        else if (name == "--password")
            options.password = value;
        else if (name == "--quota" && number)
            options.quota = *number;
        else if (name == "--tls-cert")
            options.tlsCertificateFile = value;
        else if (name == "--tls-key")
            options.tlsKeyFile = value;
        else if (!own || !own(name, value))
            return false;
    }
    return options.tlsCertificateFile.empty() == options.tlsKeyFile.empty();
}

int serveUntilStopped(std::string_view program, const Options& options, MHD_AccessHandlerCallback answer, void* server,
                      MHD_RequestCompletedCallback completed, UriLog uriLog) {
    // Blocked before the daemon's thread exists, so that only sigwait below sees them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    // Read before the daemon starts, and kept until it stops.
    std::optional<std::string> certificate, key;
    std::vector<MHD_OptionItem> tlsOptions;
    if (options.tls()) {
        certificate = readFile(options.tlsCertificateFile);
        key = readFile(options.tlsKeyFile);
        if (!certificate || !key || MHD_is_feature_supported(MHD_FEATURE_TLS) != MHD_YES) {
            std::cerr << program << ": cannot serve https with " << options.tlsCertificateFile << " and "
                      << options.tlsKeyFile << '\n';
            return 1;
        }
        tlsOptions.push_back({MHD_OPTION_HTTPS_MEM_CERT, 0, certificate->data()});
        tlsOptions.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, key->data()});
    }
    tlsOptions.push_back({MHD_OPTION_END, 0, nullptr});

    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(options.port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const unsigned flags = MHD_USE_AUTO_INTERNAL_THREAD | MHD_USE_ERROR_LOG | (options.tls() ? MHD_USE_TLS : 0);
    MHD_Daemon* daemon = MHD_start_daemon(flags, 0, nullptr, nullptr, answer, server, MHD_OPTION_SOCK_ADDR, &address,
                                          MHD_OPTION_CONNECTION_MEMORY_LIMIT, connectionMemoryBytes,
                                          MHD_OPTION_URI_LOG_CALLBACK, uriLog, nullptr, MHD_OPTION_NOTIFY_COMPLETED,
                                          completed, nullptr, MHD_OPTION_ARRAY, tlsOptions.data(), MHD_OPTION_END);
    const MHD_DaemonInfo* info = daemon != nullptr ? MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT) : nullptr;
    if (info == nullptr || info->port == 0) {
        std::cerr << program << ": cannot listen on 127.0.0.1:" << options.port << '\n';
        if (daemon != nullptr) MHD_stop_daemon(daemon);
        return 1;
    }
    const std::string url = (options.tls() ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(info->port);
    if (options.urlFile.empty()) {
        std::cout << url << std::endl;
    } else {
        const std::string temporary = options.urlFile + ".tmp";
        std::ofstream(temporary) << url << '\n';
        std::error_code failed;
        std::filesystem::rename(temporary, options.urlFile, failed);
        if (failed) {
            std::cerr << program << ": cannot write " << options.urlFile << ": " << failed.message() << '\n';
            MHD_stop_daemon(daemon);
            return 1;
        }
    }
    int received = 0;
    sigwait(&stopSignals, &received);
    MHD_stop_daemon(daemon);
    return 0;
}

std::string headerValue(MHD_Connection* connection, MHD_ValueKind kind, const char* name) {
    const char* value = MHD_lookup_connection_value(connection, kind, name);
    return value != nullptr ? value : "";
}

bool takeUpload(std::string& body, bool& tooLarge, const char* upload, std::size_t* uploadSize) {
    if (*uploadSize == 0) return false;
    tooLarge |= body.size() + *uploadSize > maxBodyBytes;
    if (!tooLarge) body.append(upload, *uploadSize);
    *uploadSize = 0;
    return true;
}

MHD_Result send(MHD_Connection* connection, std::string_view request, unsigned status, const std::string& body,
                const Headers& headers) {
    return queue(connection, request, status,
                 MHD_create_response_from_buffer(body.size(), const_cast<char*>(body.data()), MHD_RESPMEM_MUST_COPY),
                 headers);
}

MHD_Result sendFile(MHD_Connection* connection, std::string_view request, unsigned status, const std::string& path,
                    const Headers& headers) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info {};
    if (fd < 0 || ::fstat(fd, &info) != 0) {
        if (fd >= 0) ::close(fd);
        return send(connection, request, 404, "Not found", {{"Content-Type", "text/plain"}});
    }
    // The response owns the descriptor from here on and closes it when it is done.
    MHD_Response* response = MHD_create_response_from_fd64(static_cast<std::uint64_t>(info.st_size), fd);
    if (response == nullptr) ::close(fd);
    return queue(connection, request, status, response, headers);
}

}  // namespace fake_server
