#include "tests/support/ScriptedHttpServer.h"

#include <arpa/inet.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <utility>

struct ScriptedHttpServer::PendingRequest {
    ScriptedHttpRequest request;
    bool started = false;
};

struct ScriptedHttpServer::Callbacks {
    // Called once per request with the raw request target, before MHD decodes it.
    static void* beginRequest(void*, const char* uri, MHD_Connection* connection) {
        auto* pending = new PendingRequest;
        pending->request.target = uri;
        const MHD_ConnectionInfo* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
        if (info != nullptr)
            pending->request.connectionId =
                static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(info->socket_context));
        return pending;
    }

    static void endRequest(void*, MHD_Connection*, void** requestContext, MHD_RequestTerminationCode) {
        delete static_cast<PendingRequest*>(*requestContext);
        *requestContext = nullptr;
    }

    static void noteConnection(void* self, MHD_Connection*, void** socketContext,
                               MHD_ConnectionNotificationCode event) {
        if (event != MHD_CONNECTION_NOTIFY_STARTED) return;
        auto& server = *static_cast<ScriptedHttpServer*>(self);
        std::lock_guard lock(server._mutex);
        // The number itself is the context: nothing to allocate or free.
        *socketContext = reinterpret_cast<void*>(static_cast<std::uintptr_t>(++server._connections));
    }

    static MHD_Result collectHeader(void* fields, MHD_ValueKind, const char* name, const char* value) {
        static_cast<QMRHttpHeaderFields*>(fields)->append(name, value != nullptr ? value : "");
        return MHD_YES;
    }

    static MHD_Result dispatch(void* self, MHD_Connection* connection, const char*, const char* method, const char*,
                               const char* uploadData, std::size_t* uploadSize, void** requestContext) {
        auto& server = *static_cast<ScriptedHttpServer*>(self);
        auto& pending = *static_cast<PendingRequest*>(*requestContext);
        if (!pending.started) {
            pending.started = true;
            pending.request.method = method;
            MHD_get_connection_values(connection, MHD_HEADER_KIND, &collectHeader, &pending.request.headers);
            return MHD_YES;
        }
        if (*uploadSize != 0) {
            pending.request.body.insert(pending.request.body.end(), uploadData, uploadData + *uploadSize);
            *uploadSize = 0;
            return MHD_YES;
        }
        server.record(pending.request);
        const ScriptedHttpAnswer answer = server.answerFor(pending.request);
        switch (answer.action) {
            case ScriptedHttpAnswer::Action::stall:
                server.waitUntilStopped();
                return MHD_NO;
            case ScriptedHttpAnswer::Action::closeConnection:
                return MHD_NO;
            case ScriptedHttpAnswer::Action::sendRaw:
                // Under TLS the socket's bytes are the cipher's, so a raw answer cannot be written.
                if (server._tls) return refuse(connection, "The test server cannot write raw bytes under TLS");
                if (writeRaw(connection, answer.body) && answer.holdOpen) server.waitUntilStopped();
                return MHD_NO;
            case ScriptedHttpAnswer::Action::respond:
                break;
        }
        return respond(connection, answer);
    }

    static MHD_Result respond(MHD_Connection* connection, const ScriptedHttpAnswer& answer) {
        MHD_Response* response = MHD_create_response_from_buffer(
            answer.body.size(), const_cast<std::uint8_t*>(answer.body.data()), MHD_RESPMEM_MUST_COPY);
        if (response == nullptr) return MHD_NO;
        for (const auto& [name, value] : answer.headers) {
            if (MHD_add_response_header(response, name.c_str(), value.c_str()) != MHD_YES) {
                // A header MHD will not send would make the test pass or fail for the wrong reason.
                MHD_destroy_response(response);
                return refuse(connection, "The test server cannot send the header " + name);
            }
        }
        const MHD_Result queued = MHD_queue_response(connection, answer.status, response);
        MHD_destroy_response(response);
        return queued;
    }

    // Writes the bytes straight to the connection's socket, past the daemon, which then only closes it.
    static bool writeRaw(MHD_Connection* connection, const QMRData& bytes) {
        const MHD_ConnectionInfo* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        if (info == nullptr) return false;
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t written = ::send(info->connect_fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (written > 0) {
                sent += static_cast<std::size_t>(written);
            } else if (written < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) {
                // The daemon's sockets do not block; wait for room instead.
                pollfd writable{info->connect_fd, POLLOUT, 0};
                ::poll(&writable, 1, -1);
            } else {
                return false;
            }
        }
        return true;
    }

    static MHD_Result refuse(MHD_Connection* connection, const std::string& reason) {
        ScriptedHttpAnswer answer = ScriptedHttpAnswer::withStatus(500, reason);
        return respond(connection, answer);
    }
};

ScriptedHttpServer::ScriptedHttpServer() {
    start();
}

ScriptedHttpServer::ScriptedHttpServer(Tls tls) : _tls(std::move(tls)) {
    start();
}

void ScriptedHttpServer::start() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = 0;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // A thread per connection lets a stalled answer block its own thread only.
    const unsigned flags = MHD_USE_THREAD_PER_CONNECTION | MHD_USE_INTERNAL_POLLING_THREAD | (_tls ? MHD_USE_TLS : 0);
    // Without TLS the key and certificate options are left out by ending the list early.
    const MHD_OPTION tlsKey = _tls ? MHD_OPTION_HTTPS_MEM_KEY : MHD_OPTION_END;
    _daemon = MHD_start_daemon(flags, 0, nullptr, nullptr, &Callbacks::dispatch, this,  //
                               MHD_OPTION_SOCK_ADDR, &address,                          //
                               MHD_OPTION_URI_LOG_CALLBACK, &Callbacks::beginRequest, this, MHD_OPTION_NOTIFY_COMPLETED,
                               &Callbacks::endRequest, this, MHD_OPTION_NOTIFY_CONNECTION, &Callbacks::noteConnection,
                               this, tlsKey, _tls ? _tls->keyPem.c_str() : nullptr, MHD_OPTION_HTTPS_MEM_CERT,
                               _tls ? _tls->certificatePem.c_str() : nullptr, MHD_OPTION_END);
    if (_daemon == nullptr) throw std::runtime_error("The scripted HTTP server could not start");
    const MHD_DaemonInfo* info = MHD_get_daemon_info(_daemon, MHD_DAEMON_INFO_BIND_PORT);
    if (info == nullptr || info->port == 0) {
        MHD_stop_daemon(_daemon);
        throw std::runtime_error("The scripted HTTP server has no port");
    }
    _port = info->port;
}

ScriptedHttpServer::~ScriptedHttpServer() {
    stop();
}

void ScriptedHttpServer::stop() {
    {
        std::lock_guard lock(_mutex);
        if (_stopping) return;
        _stopping = true;
    }
    _stopped.notify_all();
    MHD_stop_daemon(_daemon);
    _daemon = nullptr;
}

std::string ScriptedHttpServer::baseUrl() const {
    return (_tls ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(_port);
}

std::string ScriptedHttpServer::url(std::string_view target) const {
    return baseUrl().append(target);
}

ScriptedHttpServer& ScriptedHttpServer::enqueue(ScriptedHttpAnswer answer) {
    std::lock_guard lock(_mutex);
    _script.push_back(std::move(answer));
    return *this;
}

void ScriptedHttpServer::setHandler(Handler handler) {
    std::lock_guard lock(_mutex);
    _handler = std::move(handler);
}

std::vector<ScriptedHttpRequest> ScriptedHttpServer::requests() const {
    std::lock_guard lock(_mutex);
    return _requests;
}

std::size_t ScriptedHttpServer::requestCount() const {
    std::lock_guard lock(_mutex);
    return _requests.size();
}

ScriptedHttpRequest ScriptedHttpServer::request(std::size_t index) const {
    std::lock_guard lock(_mutex);
    if (index >= _requests.size())
        throw std::out_of_range("The scripted HTTP server received only " + std::to_string(_requests.size()) +
                                " requests");
    return _requests[index];
}

std::uint64_t ScriptedHttpServer::connectionCount() const {
    std::lock_guard lock(_mutex);
    return _connections;
}

void ScriptedHttpServer::record(const ScriptedHttpRequest& request) {
    std::lock_guard lock(_mutex);
    _requests.push_back(request);
}

ScriptedHttpAnswer ScriptedHttpServer::answerFor(const ScriptedHttpRequest& request) {
    Handler handler;
    {
        std::lock_guard lock(_mutex);
        if (!_script.empty()) {
            ScriptedHttpAnswer next = std::move(_script.front());
            _script.pop_front();
            return next;
        }
        handler = _handler;
    }
    if (!handler) return ScriptedHttpAnswer::withStatus(500, "No scripted answer");
    // The handler runs unlocked, so it may itself inspect the server; its failure becomes a 500.
    try {
        return handler(request);
    } catch (const std::exception& failure) {
        return ScriptedHttpAnswer::withStatus(500, std::string("The test handler failed: ") + failure.what());
    }
}

void ScriptedHttpServer::waitUntilStopped() {
    std::unique_lock lock(_mutex);
    _stopped.wait(lock, [this] { return _stopping; });
}
