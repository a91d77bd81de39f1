#pragma once
// A server on 127.0.0.1 that decodes what a client sends with libmicrohttpd's own parsers (query arguments,
// url-encoded and multipart/form-data bodies), so tests check our encoders against a real decoder.
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

struct MHD_Daemon;

struct FormParsingServerField {
    std::string name;
    std::string filename;
    std::string contentType;
    std::string value;

    bool operator==(const FormParsingServerField&) const = default;
};

// A long value prints as its size: an uploaded file's bytes would bury the failure.
inline void PrintTo(const FormParsingServerField& field, std::ostream* out) {
    *out << "{" << field.name << ", " << field.filename << ", " << field.contentType << ", "
         << (field.value.size() > 80 ? std::to_string(field.value.size()) + " bytes" : field.value) << "}";
}

struct FormParsingServerRequest {
    std::string path;  // decoded by the server
    std::vector<std::pair<std::string, std::string>> queryArguments;
    std::vector<FormParsingServerField> fields;
    bool bodyFullyParsed = false;
};

class FormParsingServer {
public:
    FormParsingServer();
    ~FormParsingServer();
    FormParsingServer(const FormParsingServer&) = delete;
    FormParsingServer& operator=(const FormParsingServer&) = delete;

    // "http://127.0.0.1:<port>"
    std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(_port); }

    // Sends the request with libcurl and returns what the server decoded from it.
    FormParsingServerRequest get(const std::string& url) { return send(url, nullptr, nullptr); }
    FormParsingServerRequest post(const std::string& url, const std::string& contentType, const std::string& body) {
        return send(url, &contentType, &body);
    }

    // Called from the server's thread.
    void record(FormParsingServerRequest request) {
        std::lock_guard lock(_mutex);
        _requests.push_back(std::move(request));
    }

private:
    FormParsingServerRequest send(const std::string& url, const std::string* contentType, const std::string* body);

    MHD_Daemon* _daemon = nullptr;
    unsigned short _port = 0;
    std::mutex _mutex;
    std::vector<FormParsingServerRequest> _requests;
};
