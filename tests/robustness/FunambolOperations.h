#pragma once
// Every operation of the Funambol data store, runnable one after another against a server that
// answers each step healthily, so that tests can break one step or watch the traffic of all.
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "tests/robustness/BrokenAnswers.h"
#include "tests/robustness/TextRecord.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ScriptedHttpServer.h"

namespace funambol_operations {

inline ScriptedHttpAnswer json(const std::string& body) {
    return ScriptedHttpAnswer::withStatus(200, body).withHeader("Content-Type", "application/json");
}

// A server on which every step succeeds, holding the one file 7 in the "file" collection; its
// content lies under /content on the same server.
inline ScriptedHttpServer::Handler healthyServer(const std::string& baseUrl) {
    return [baseUrl](const ScriptedHttpRequest& request) {
        const std::string& target = request.target;
        if (target.starts_with("/sapi/login")) return ScriptedHttpAnswer::withStatus(200);
        if (target.starts_with("/content/")) return ScriptedHttpAnswer::withStatus(200, "notes");
        if (target.starts_with("/sapi/media/file?action=get"))
            return json(R"({"data":{"mediaserverurl":")" + baseUrl + R"(","files":[{"id":7,"url":"/content/7"}]}})");
        if (target.starts_with("/sapi/media/picture?action=get")) return json(R"({"data":{"pictures":[]}})");
        if (target.starts_with("/sapi/media/video?action=get")) return json(R"({"data":{"videos":[]}})");
        if (target.starts_with("/sapi/upload/") && target.ends_with("save-metadata")) return json(R"({"id":7})");
        if (target.starts_with("/sapi/profile/changes")) return json(R"({"data":{},"responsetime":5})");
        if (target.starts_with("/sapi/media?action=get-storage-space"))
            return json(R"({"data":{"quota":10,"free":5}})");
        return json("{}");  // content saves, deletions, resets
    };
}

// A session that gives up on a silent server soon.
inline QMRUrlSessionConfiguration quickSession() {
    return {.timeoutInterval = broken_answers::sessionTimeout};
}

struct Operation {
    std::string name;
    // Runs on a logged-in store, or, given none, logs in itself.
    std::function<void(std::shared_ptr<QMRFunambolDataStore>&, const std::string& baseUrl, QMRErrorSlot&)> run;
    bool logsIn = false;
};

// The operations on one file work on fileId, which the healthy server knows as "7".
inline std::vector<Operation> operations(const std::string& fileId = "7") {
    using Store = std::shared_ptr<QMRFunambolDataStore>;
    using test_records::textRecord;
    return {
        {"login",
         [](Store& s, const std::string& url, QMRErrorSlot& e) {
             s = QMRFunambolDataStore::initWithUsername("bob", "secret", url, e, quickSession());
             if (s)
                 EXPECT_FALSE(e.has_value());
             else
                 EXPECT_TRUE(e.has_value()) << "no store means an error";
         },
         true},
        {"createNewFile",
         [](Store& s, const std::string&, QMRErrorSlot& e) {
             QMRFileMetadata fresh = textRecord("");
             s->createNewFile(fresh, e, test_support::writing("notes"));
         }},
        {"updateFileMetadata",
         [fileId](Store& s, const std::string&, QMRErrorSlot& e) { s->updateFileMetadata(textRecord(fileId), e); }},
        {"openFileForUpdating",
         [fileId](Store& s, const std::string&, QMRErrorSlot& e) {
             s->openFileForUpdating(textRecord(fileId), e, test_support::writing("notes"));
         }},
        {"openFileForReading",
         [fileId](Store& s, const std::string&, QMRErrorSlot& e) { test_support::contentOf(*s, fileId, e); }},
        {"readAllFileMetadata",
         [](Store& s, const std::string&, QMRErrorSlot& e) { s->readAllFileMetadata(e)->toVector(); }},
        {"readFileMetadataWithSpecificDate",
         [](Store& s, const std::string&, QMRErrorSlot& e) {
             s->readFileMetadataWithSpecificDate(QMRDate{}, e)->toVector();
         }},
        {"readFileMetadataWithSpecificFileIds",
         [fileId](Store& s, const std::string&, QMRErrorSlot& e) {
             s->readFileMetadataWithSpecificFileIds({fileId}, e);
         }},
        {"deleteAllFiles", [](Store& s, const std::string&, QMRErrorSlot& e) { s->deleteAllFiles(e); }},
        {"deleteFileWithSpecificFileIds",
         [fileId](Store& s, const std::string&, QMRErrorSlot& e) { s->deleteFileWithSpecificFileIds({fileId}, e); }},
        {"retrieveFileChangesWithSyncToken",
         [](Store& s, const std::string&, QMRErrorSlot& e) {
             std::string token;
             s->retrieveFileChangesWithSyncToken(token, e);
         }},
        {"getStorageSpace", [](Store& s, const std::string&, QMRErrorSlot& e) { s->getStorageSpace(e); }},
        {"close", [](Store& s, const std::string&, QMRErrorSlot& e) { s->close(e); }},
    };
}

}  // namespace funambol_operations
