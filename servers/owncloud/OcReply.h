#pragma once
// What a script answers: a status, headers and a body, from memory or from a file.
#include <string>
#include <string_view>
#include <utility>

#include "FakeServer.h"
#include "OcText.h"

namespace fake_owncloud {

struct OcReply {
    unsigned status = 200;
    std::string body;
    fake_server::Headers headers;
    std::string file;  // when set, the body is this file's content, read as it is sent

    // A page unless headers say otherwise.
    OcReply(unsigned status, std::string body,
            fake_server::Headers headers = {{"Content-Type", "text/html; charset=utf-8"}}, std::string file = {})
        : status(status), body(std::move(body)), headers(std::move(headers)), file(std::move(file)) {}

    // JSON as the PHP scripts print it.
    static OcReply ofJson(const json& value) {
        return {200, phpJson(value), {{"Content-Type", "application/json"}}, {}};
    }
    static OcReply success(json data) { return ofJson({{"data", std::move(data)}, {"status", "success"}}); }
    static OcReply error(std::string_view message) {
        return ofJson({{"data", {{"message", message}}}, {"status", "error"}});
    }
};

}  // namespace fake_owncloud
