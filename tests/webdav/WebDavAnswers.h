#pragma once
// Answers in the shape the service's WebDAV server writes them: DAV: under the prefix "d", the
// custom namespace declared on each of its elements, a fixed "Date" so that change dates and sync
// tokens can be stated exactly.
#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "tests/support/ScriptedHttpServer.h"

namespace webdav_answers {

using Properties = std::vector<std::pair<std::string, std::string>>;

// "Wed, 01 May 2013 10:20:<second> GMT", whose XML form is xmlDate(second).
inline std::string httpDate(int second) {
    return fmt::format("Wed, 01 May 2013 10:20:{:02} GMT", second);
}
inline std::string xmlDate(int second) {
    return fmt::format("2013-05-01T10:20:{:02}Z", second);
}

inline std::string customProperty(const std::string& name, const std::string& value) {
    return fmt::format("<x2:{0} xmlns:x2=\"{2}\">{1}</x2:{0}>", name, value, QMRWebDavDataStoreXmlNamespace);
}

// One response: the custom properties found, then (when given) the ones the resource lacks.
inline std::string response(const std::string& path, const Properties& found, const std::string& davFound = {},
                            const std::vector<std::string>& missing = {}) {
    std::string text = fmt::format("<d:response><d:href>{}</d:href><d:propstat><d:prop>{}", path, davFound);
    for (const auto& [name, value] : found) text += customProperty(name, value);
    text += "</d:prop><d:status>HTTP/1.1 200 OK</d:status></d:propstat>";
    if (!missing.empty()) {
        text += "<d:propstat><d:prop>";
        for (const std::string& name : missing) text += customProperty(name, "");
        text += "</d:prop><d:status>HTTP/1.1 404 Not Found</d:status></d:propstat>";
    }
    return text + "</d:response>";
}

inline std::string multistatus(const std::vector<std::string>& responses) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<d:multistatus xmlns:d=\"DAV:\">";
    for (const std::string& one : responses) text += one;
    return text + "</d:multistatus>";
}

inline ScriptedHttpAnswer answer(unsigned status, const std::string& body = {}, int dateSecond = 30) {
    return ScriptedHttpAnswer::withStatus(status, body).withHeader("Date", httpDate(dateSecond));
}

inline ScriptedHttpAnswer multistatusAnswer(const std::vector<std::string>& responses, int dateSecond = 30) {
    return answer(207, multistatus(responses), dateSecond).withHeader("Content-Type", "application/xml; charset=utf-8");
}

// The answer to a PROPFIND of one file's change state.
inline ScriptedHttpAnswer changeAnswer(const std::string& fileId, const std::string& change, int dateSecond = 30) {
    return multistatusAnswer({response("/data/" + fileId, {{"change", change}, {"changeDateInUtc", xmlDate(1)}})},
                             dateSecond);
}

// The answer to a PROPPATCH that set every property.
inline ScriptedHttpAnswer propertiesSet(const std::string& fileId) {
    return multistatusAnswer({response("/data/" + fileId, {{"change", ""}})});
}

}  // namespace webdav_answers
