#pragma once
// Answers that break HTTP in the ways a failing server or network does, for the fault tests of the
// HTTP layer and of each back-end. Each names the transport error that the HTTP layer reports for it.
#include <chrono>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "companion/web/QMRUrlError.h"
#include "tests/support/ScriptedHttpServer.h"

namespace broken_answers {

// Short enough that a stalled exchange ends quickly, long enough for any loopback answer.
inline constexpr std::chrono::milliseconds sessionTimeout{250};

inline ScriptedHttpAnswer closedBeforeTheContentLengthWasSent() {
    return ScriptedHttpAnswer::raw("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nthe first part");
}

// A whole answer whose Content-Length covers only the start of the bytes that follow; the rest
// must never be taken for the body, nor for the connection's next answer.
inline ScriptedHttpAnswer longerThanItsContentLength(unsigned status, const std::string& declared,
                                                     const std::string& excess) {
    return ScriptedHttpAnswer::rawThenStall("HTTP/1.1 " + std::to_string(status) + " Fine\r\nContent-Length: " +
                                            std::to_string(declared.size()) + "\r\n\r\n" + declared + excess);
}

// A fault that ends the exchange with a transport error, and that error's code.
struct TransportFault {
    std::string name;
    std::function<ScriptedHttpAnswer()> answer;
    long code;
};

// Names the case in test listings.
inline void PrintTo(const TransportFault& fault, std::ostream* out) {
    *out << fault.name;
}

// The faults that every exchange, whatever it asks, must turn into its transport error.
inline const std::vector<TransportFault>& transportFaults() {
    const auto raw = [](const char* bytes) { return [bytes] { return ScriptedHttpAnswer::raw(bytes); }; };
    static const std::vector<TransportFault> faults = {
        {"stalled before answering", ScriptedHttpAnswer::stall, QMRUrlErrorTimedOut},
        {"stalled inside the body",
         [] {
             return ScriptedHttpAnswer::rawThenStall("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nthe first part");
         },
         QMRUrlErrorTimedOut},
        {"closed inside the header fields", raw("HTTP/1.1 200 OK\r\nContent-Type: appli"),
         QMRUrlErrorNetworkConnectionLost},
        {"closed before the Content-Length was sent", closedBeforeTheContentLengthWasSent,
         QMRUrlErrorNetworkConnectionLost},
        {"closed inside a chunk", raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n40\r\nthe first part"),
         QMRUrlErrorNetworkConnectionLost},
        {"malformed status line", raw("HTTP/1.1 2OO OK\r\nContent-Length: 2\r\n\r\n{}"), QMRUrlErrorBadServerResponse},
        {"no status line at all", raw("{\"data\":{}}\r\n"), QMRUrlErrorBadServerResponse},
        {"unreadable Content-Length", raw("HTTP/1.1 200 OK\r\nContent-Length: many\r\n\r\n{}"),
         QMRUrlErrorBadServerResponse},
    };
    return faults;
}

}  // namespace broken_answers
