#pragma once
// One request as the server's scripts see it: PHP's $_GET, $_POST and $_FILES, the cookie and the
// headers that matter.
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "OcStagedFile.h"

namespace fake_owncloud {

struct OcRequest {
    // A file part of a multipart body, its content on disk.
    struct File {
        std::string field, filename;
        std::unique_ptr<OcStagedFile> content;
    };

    std::string method, path, rawQuery;  // the path decoded, the query as sent
    std::map<std::string, std::string> query;
    std::string session, tokenHeader, acceptLanguage, contentType, host;
    std::string body;                          // a body kept in memory
    std::unique_ptr<OcStagedFile> stagedBody;  // or a body received straight to disk
    std::map<std::string, std::string> form;   // the fields of a form body, url-encoded or multipart
    std::vector<File> files;

    std::string param(const std::string& name) const { return valueIn(query, name); }
    std::string field(const std::string& name) const { return valueIn(form, name); }
    // "METHOD /path?query", for the log.
    std::string line() const { return method + ' ' + path + (rawQuery.empty() ? "" : "?") + rawQuery; }

private:
    static std::string valueIn(const std::map<std::string, std::string>& fields, const std::string& name) {
        auto found = fields.find(name);
        return found == fields.end() ? "" : found->second;
    }
};

}  // namespace fake_owncloud
