#pragma once
// What the security tests of every back-end share: the TLS identity of the in-process servers,
// redirects to another origin, and looks at what reached a server or what an error carries.
#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "companion/util/QMRError.h"
#include "tests/support/DataStoreTestSupport.h"
#include "tests/support/ScriptedHttpServer.h"

namespace security_support {

// The error of an operation that never got an answer: 103, with the transport's error under it.
inline void expectTransportFailure(const QMRErrorSlot& error, long transportCode) {
    test_support::expectDataStoreError(error, QMRDataStoreErrorServerUnavailable, "Server down or server busy");
    ASSERT_TRUE(error && error->underlyingError());
    EXPECT_EQ(error->underlyingError()->code(), transportCode);
}

inline std::string tlsFile(const std::string& name) {
    return std::string(QMR_TEST_TLS_DIR) + "/" + name;
}

// The self-signed identity (for 127.0.0.1) that tls/server-cert.pem certifies.
inline ScriptedHttpServer::Tls serverIdentity() {
    auto read = [](const std::string& path) {
        std::ifstream in(path);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    return {read(tlsFile("server-cert.pem")), read(tlsFile("server-key.pem"))};
}

inline std::string portOf(const ScriptedHttpServer& server) {
    return std::to_string(server.port());
}

// Redirects every request to the same target at the origin.
inline ScriptedHttpServer::Handler redirectingTo(const std::string& origin) {
    return [origin](const ScriptedHttpRequest& request) {
        return ScriptedHttpAnswer::withStatus(307).withHeader("Location", origin + request.target);
    };
}

// The header fields that hold a secret of the session or of a lock, besides Authorization and Cookie.
inline constexpr std::string_view secretHeaderFields[] = {"requesttoken", "If", "Lock-Token"};

// Whether a request carries a body or a secret header field: what must never reach another origin.
inline bool carriesSecrets(const ScriptedHttpRequest& request) {
    return !request.body.empty() || std::ranges::any_of(secretHeaderFields, [&](std::string_view name) {
        return request.headers.contains(name);
    });
}

// Whether any request the server got carried a body or a secret header field.
inline bool anySecrets(const ScriptedHttpServer& server) {
    const std::vector<ScriptedHttpRequest> requests = server.requests();
    return std::ranges::any_of(requests, carriesSecrets);
}

// Whether any request carried the injected line as a header field of its own.
inline bool anyInjected(const ScriptedHttpServer& server) {
    const std::vector<ScriptedHttpRequest> requests = server.requests();
    return std::ranges::any_of(requests,
                               [](const ScriptedHttpRequest& request) { return request.headers.contains("Injected"); });
}

// Every text an error carries: its description, each user-info value, and those of the errors under it.
inline void collectTexts(const QMRError& error, std::vector<std::string>& texts) {
    texts.push_back(error.description());
    for (const auto& [key, value] : error.userInfo()) {
        if (const auto* text = std::get_if<std::string>(&value)) texts.push_back(*text);
        if (const auto* list = std::get_if<std::vector<std::string>>(&value))
            texts.insert(texts.end(), list->begin(), list->end());
        if (const auto* underlying = std::get_if<std::shared_ptr<const QMRError>>(&value))
            if (*underlying) collectTexts(**underlying, texts);
    }
}

// Runs operation and adds the texts of the error it leaves, and of any exception it raises, to texts.
inline void collectTextsOf(const std::function<void(QMRErrorSlot&)>& operation, std::vector<std::string>& texts) {
    QMRErrorSlot error;
    try {
        operation(error);
    } catch (const std::exception& raised) {
        texts.push_back(raised.what());
    }
    if (error) collectTexts(*error, texts);
}

}  // namespace security_support
