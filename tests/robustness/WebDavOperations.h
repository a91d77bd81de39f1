#pragma once
// Every operation of the WebDAV data store, runnable one after another against a server that
// answers each step healthily, so that tests can break one step or watch the traffic of all.
#include <functional>
#include <string>
#include <vector>

#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "tests/robustness/TextRecord.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/webdav/WebDavAnswers.h"

namespace webdav_operations {

using namespace webdav_answers;

inline constexpr char lockAnswer[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<d:prop xmlns:d=\"DAV:\"><d:lockdiscovery><d:activelock>"
    "<d:timeout>Second-60</d:timeout><d:locktoken><d:href>opaquelocktoken:9</d:href></d:locktoken>"
    "</d:activelock></d:lockdiscovery></d:prop>";

// A server on which every step of every operation succeeds, holding the one live file "f1".
inline ScriptedHttpAnswer healthyAnswer(const ScriptedHttpRequest& request) {
    if (request.method == "PROPFIND" && request.header("Depth") == "0")
        return multistatusAnswer({response("/data/", {},
                                           "<d:quota-available-bytes>3000</d:quota-available-bytes>"
                                           "<d:quota-used-bytes>1000</d:quota-used-bytes>")});
    if (request.method == "PROPFIND")
        return multistatusAnswer({response("/data/f1",
                                           {{"name", "notes.txt"},
                                            {"serverSideCreationDateInUtc", xmlDate(1)},
                                            {"clientSideCreationDateInUtc", xmlDate(1)},
                                            {"clientSideModificationDateInUtc", xmlDate(1)},
                                            {"mimeContentType", "text/plain"},
                                            {"change", "updated"},
                                            {"changeDateInUtc", xmlDate(1)}},
                                           "<d:getcontentlength>5</d:getcontentlength>")});
    if (request.method == "PROPPATCH") return propertiesSet("f1");
    if (request.method == "GET") return answer(200, "notes");
    if (request.method == "LOCK") return answer(200, lockAnswer);
    if (request.method == "UNLOCK") return answer(204);
    return answer(201);  // PUT, MKCOL
}

struct Operation {
    std::string name;
    std::function<void(QMRWebDavDataStore&, QMRErrorSlot&)> run;
};

// The operations on one file work on fileId, which the healthy server knows as "f1".
inline std::vector<Operation> operations(const std::string& fileId = "f1") {
    using test_records::textRecord;
    return {
        {"createNewFile",
         [](QMRWebDavDataStore& store, QMRErrorSlot& error) {
             QMRFileMetadata fresh = textRecord("");
             store.createNewFile(fresh, error, test_support::writing("notes"));
         }},
        {"updateFileMetadata",
         [fileId](QMRWebDavDataStore& s, QMRErrorSlot& e) { s.updateFileMetadata(textRecord(fileId), e); }},
        {"openFileForUpdating",
         [fileId](QMRWebDavDataStore& s, QMRErrorSlot& e) {
             s.openFileForUpdating(textRecord(fileId), e, test_support::writing("notes"));
         }},
        {"openFileForReading",
         [fileId](QMRWebDavDataStore& s, QMRErrorSlot& e) { test_support::contentOf(s, fileId, e); }},
        {"readAllFileMetadata", [](QMRWebDavDataStore& s, QMRErrorSlot& e) { s.readAllFileMetadata(e); }},
        {"readFileMetadataWithSpecificDate",
         [](QMRWebDavDataStore& s, QMRErrorSlot& e) { s.readFileMetadataWithSpecificDate(QMRDate{}, e); }},
        {"readFileMetadataWithSpecificFileIds",
         [fileId](QMRWebDavDataStore& s, QMRErrorSlot& e) { s.readFileMetadataWithSpecificFileIds({fileId}, e); }},
        {"deleteAllFiles", [](QMRWebDavDataStore& s, QMRErrorSlot& e) { s.deleteAllFiles(e); }},
        {"deleteFileWithSpecificFileIds",
         [fileId](QMRWebDavDataStore& s, QMRErrorSlot& e) { s.deleteFileWithSpecificFileIds({fileId}, e); }},
        {"retrieveFileChangesWithSyncToken",
         [](QMRWebDavDataStore& s, QMRErrorSlot& e) {
             std::string token;
             s.retrieveFileChangesWithSyncToken(token, e);
         }},
        {"getStorageSpace", [](QMRWebDavDataStore& s, QMRErrorSlot& e) { s.getStorageSpace(e); }},
        {"applyLock",
         [](QMRWebDavDataStore& s, QMRErrorSlot& e) { s.applyApplicationExclusiveAccessLockWithTimeout(60, e); }},
        {"refreshLock",
         [](QMRWebDavDataStore& s, QMRErrorSlot& e) { s.refreshApplicationExclusiveAccessLockWithTimeout(60, e); }},
        {"unlock", [](QMRWebDavDataStore& s, QMRErrorSlot& e) { s.applyApplicationExclusiveAccessUnlock(e); }},
    };
}

}  // namespace webdav_operations
