#pragma once
// What the back-end fault tests share: a fault with the data store error it must end in, a server
// handler that injects it at one chosen request, and the check of the outcome.
#include <gtest/gtest.h>

#include <atomic>
#include <cctype>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "companion/util/QMRError.h"
#include "companion/web/QMRUrlError.h"
#include "tests/support/ScriptedHttpServer.h"

namespace fault_case {

struct BackEndFault {
    std::string name;
    std::function<ScriptedHttpAnswer()> answer;
    long code;
    std::string description;
    // The transport error the data store error must carry underneath, when it carries one.
    std::optional<long> underlyingCode;
};

// Names the case in test listings.
inline void PrintTo(const BackEndFault& fault, std::ostream* out) {
    *out << fault.name;
}

// Test names from the cases' own names: "stalled before answering" gives "stalledbeforeanswering".
template <class Case>
std::string nameOf(const ::testing::TestParamInfo<Case>& info) {
    std::string name;
    for (char c : info.param.name)
        if (std::isalnum(static_cast<unsigned char>(c))) name += c;
    return name;
}

// Answers request number failing (from 0) with the fault and every other one healthily.
inline ScriptedHttpServer::Handler failingAt(std::size_t failing, std::function<ScriptedHttpAnswer()> fault,
                                             ScriptedHttpServer::Handler healthy) {
    auto seen = std::make_shared<std::atomic<std::size_t>>(0);
    return [seen, failing, fault = std::move(fault), healthy = std::move(healthy)](const ScriptedHttpRequest& request) {
        return seen->fetch_add(1) == failing ? fault() : healthy(request);
    };
}

inline void expectFault(const QMRErrorSlot& error, const BackEndFault& fault) {
    ASSERT_TRUE(error.has_value()) << "no error, expected " << fault.code;
    EXPECT_EQ(error->domain(), QMRDataStoreErrorDomain);
    EXPECT_EQ(error->code(), fault.code);
    EXPECT_EQ(error->localizedDescription(), fault.description);
    const std::shared_ptr<const QMRError> underlying = error->underlyingError();
    if (!fault.underlyingCode) return;
    ASSERT_NE(underlying, nullptr);
    EXPECT_EQ(underlying->domain(), QMRUrlErrorDomain);
    EXPECT_EQ(underlying->code(), *fault.underlyingCode);
}

}  // namespace fault_case
