#pragma once
// A server on 127.0.0.1 that decodes what a client sends with libmicrohttpd's own parsers (query arguments,
// url-encoded and multipart/form-data bodies), so tests check our encoders against a real decoder.
#include <mutex>
#include <string>
#include <utility>
#include <vector>

struct MHD_Daemon;

struct FormParsingServerField {
    std::string name;
    std::string filename;
    std::string contentType;
    std::string value;
};

struct FormParsingServerRequest {
    std::string method;
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
    std::string baseUrl() const;

    // Sends the request with libcurl and returns what the server decoded from it.
    FormParsingServerRequest get(const std::string& url);
    FormParsingServerRequest post(const std::string& url, const std::string& contentType, const std::string& body);

    // Called from the server's thread.
    void record(FormParsingServerRequest request);

private:
    FormParsingServerRequest send(const std::string& url, const std::string* contentType, const std::string* body);

    MHD_Daemon* _daemon = nullptr;
    unsigned short _port = 0;
    std::mutex _mutex;
    std::vector<FormParsingServerRequest> _requests;
};
