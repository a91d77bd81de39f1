#pragma once
// Helpers shared by the ownCloud unit tests.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "companion/util/QMRExceptions.h"
#include "companion/web/QMRUrlSession.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ScriptedHttpServer.h"

namespace oc_test {

// The Content-Type of the forms that the files and settings scripts take.
inline const std::string ajaxFormType = "application/x-www-form-urlencoded ;charset=UTF-8";

inline ScriptedHttpAnswer page(std::string_view body, unsigned status = 200) {
    return ScriptedHttpAnswer::withStatus(status, body).withHeader("Content-Type", "text/html; charset=utf-8");
}

inline QMRData bytes(std::string_view text) {
    return QMRData(text.begin(), text.end());
}

// The reason of the Exception that call raises, or "<nothing raised>".
template <class Exception, class Call>
std::string reasonRaisedBy(Call call) {
    try {
        call();
    } catch (const Exception& raised) {
        return raised.reason();
    }
    return "<nothing raised>";
}

// The ids of a file and of a folder.
inline std::string fileIdOf(const std::string& path, const std::string& identifier = "9") {
    return QMROcFileOrFolderId(identifier, path, QMRFileMetadata::resourceTypeFile).toString();
}
inline std::string folderIdOf(const std::string& path, const std::string& identifier = "3") {
    return QMROcFileOrFolderId(identifier, path, QMRFileMetadata::resourceTypeFolder).toString();
}

// A request class of both releases: make() gives either from the same arguments, the 5.0.6 class
// overriding its 4.5.7 base.
template <class V457, class V506>
struct ReleaseRequest {
    template <class... Arguments>
    static std::unique_ptr<V457> make(bool v506, Arguments&&... arguments) {
        if (v506) return std::make_unique<V506>(std::forward<Arguments>(arguments)...);
        return std::make_unique<V457>(std::forward<Arguments>(arguments)...);
    }
};

// "METHOD target" of each request the server received, from request number first on.
inline std::vector<std::string> requestLines(const ScriptedHttpServer& server, std::size_t first = 0) {
    std::vector<std::string> lines;
    const std::vector<ScriptedHttpRequest> requests = server.requests();
    for (std::size_t i = first; i < requests.size(); ++i)
        lines.push_back(requests[i].method + " " + requests[i].target);
    return lines;
}

// A scripted server with a session and an error slot for the requests sent to it.
class ScriptedServerTest : public ::testing::Test {
protected:
    // A server installed in a sub-folder, so every address must keep the base URL's path.
    std::string base() const { return server.url("/oc"); }
    void expectError(long code, const std::string& description) const {
        test_support::expectDataStoreError(error, code, description);
    }
    // "METHOD target" of request number index.
    std::string requestLine(std::size_t index) const { return requestLines(server).at(index); }

    ScriptedHttpServer server;
    QMRUrlSession session;
    QMRErrorSlot error;
};

}  // namespace oc_test
