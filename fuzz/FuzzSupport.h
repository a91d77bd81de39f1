#pragma once
// What every fuzz target shares: the input as the body an exchange would have handed over, the one
// HTTP session that request objects need to exist (nothing is ever sent through it), and the way a
// target reports a broken promise so that libFuzzer keeps the input.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"
#include "companion/web/QMRUrlSession.h"

namespace fuzz {

// Request objects are built on it; no target sends, so the port is never dialled.
inline constexpr char baseUrl[] = "http://127.0.0.1:9";

inline QMRData bodyOf(const std::uint8_t* data, std::size_t size) {
    return QMRData(data, data + size);
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return std::string_view(reinterpret_cast<const char*>(data), size);
}

inline QMRUrlSession& session() {
    static QMRUrlSession shared;
    return shared;
}

// A crash on purpose: libFuzzer saves the input that broke what must hold.
inline void require(bool holds, const char* promise) {
    if (holds) return;
    std::fprintf(stderr, "fuzz: broken promise: %s\n", promise);
    std::abort();
}

// The code of the error that a request's check of an answer sets (its description shown, as a caller
// would show it), or 0 when the check accepts the answer.
template <class Request>
long refusalOf(const Request& request, const QMRData& answer) {
    QMRErrorSlot error;
    request.validateResponseBody(answer, error);
    if (!error) return 0;
    (void)error->localizedDescription();
    return error->code();
}

}  // namespace fuzz
