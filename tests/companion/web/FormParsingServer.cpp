#include "tests/companion/web/FormParsingServer.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <microhttpd.h>
#include <netinet/in.h>

#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

struct PendingRequest {
    FormParsingServer* server = nullptr;
    FormParsingServerRequest request;
    MHD_PostProcessor* postProcessor = nullptr;
};

MHD_Result collectQueryArgument(void* cls, MHD_ValueKind, const char* key, const char* value) {
    static_cast<FormParsingServerRequest*>(cls)->queryArguments.emplace_back(key, value ? value : "");
    return MHD_YES;
}

MHD_Result collectField(void* cls, MHD_ValueKind, const char* key, const char* filename, const char* contentType,
                        const char*, const char* data, uint64_t offset, size_t size) {
    auto& fields = static_cast<PendingRequest*>(cls)->request.fields;
    if (offset == 0) fields.push_back({key ? key : "", filename ? filename : "", contentType ? contentType : "", ""});
    fields.back().value.append(data, size);
    return MHD_YES;
}

MHD_Result handleRequest(void* cls, MHD_Connection* connection, const char* url, const char*, const char*,
                         const char* uploadData, size_t* uploadDataSize, void** requestState) {
    auto* pending = static_cast<PendingRequest*>(*requestState);
    if (!pending) {
        pending = new PendingRequest{static_cast<FormParsingServer*>(cls), {url, {}, {}, false}, nullptr};
        MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, collectQueryArgument, &pending->request);
        pending->postProcessor = MHD_create_post_processor(connection, 4096, collectField, pending);
        *requestState = pending;
        return MHD_YES;
    }
    if (*uploadDataSize > 0) {
        if (pending->postProcessor) MHD_post_process(pending->postProcessor, uploadData, *uploadDataSize);
        *uploadDataSize = 0;
        return MHD_YES;
    }
    if (pending->postProcessor) {
        pending->request.bodyFullyParsed = MHD_destroy_post_processor(pending->postProcessor) == MHD_YES;
        pending->postProcessor = nullptr;
    }
    pending->server->record(std::move(pending->request));
    MHD_Response* response = MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT);
    MHD_Result queued = MHD_queue_response(connection, MHD_HTTP_OK, response);
    MHD_destroy_response(response);
    return queued;
}

void forgetRequest(void*, MHD_Connection*, void** requestState, MHD_RequestTerminationCode) {
    auto* pending = static_cast<PendingRequest*>(*requestState);
    if (!pending) return;
    if (pending->postProcessor) MHD_destroy_post_processor(pending->postProcessor);
    delete pending;
    *requestState = nullptr;
}

}  // namespace

FormParsingServer::FormParsingServer() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    _daemon = MHD_start_daemon(MHD_USE_INTERNAL_POLLING_THREAD, 0, nullptr, nullptr, handleRequest, this,
                               MHD_OPTION_SOCK_ADDR, &address, MHD_OPTION_NOTIFY_COMPLETED, forgetRequest, nullptr,
                               MHD_OPTION_END);
    if (!_daemon) throw std::runtime_error("cannot start the test server");
    _port = MHD_get_daemon_info(_daemon, MHD_DAEMON_INFO_BIND_PORT)->port;
}

FormParsingServer::~FormParsingServer() {
    MHD_stop_daemon(_daemon);
}

FormParsingServerRequest FormParsingServer::send(const std::string& url, const std::string* contentType,
                                                 const std::string* body) {
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    curl_slist* headers = nullptr;
    if (contentType) headers = curl_slist_append(headers, ("Content-Type: " + *contentType).c_str());
    curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers);
    if (body) {
        curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body->data());
        curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body->size()));
    }
    CURLcode result = curl_easy_perform(curl.get());
    long status = 0;
    curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
    curl_slist_free_all(headers);
    if (result != CURLE_OK || status != 200)
        throw std::runtime_error(std::string("request failed: ") + curl_easy_strerror(result));
    std::lock_guard lock(_mutex);
    if (_requests.empty()) throw std::runtime_error("the server recorded no request");
    FormParsingServerRequest last = std::move(_requests.back());
    _requests.clear();
    return last;
}
