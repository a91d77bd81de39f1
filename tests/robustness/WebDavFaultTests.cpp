// The WebDAV data store against a server that fails one exchange of an operation, at each of the
// operation's steps in turn: the operation ends there with the error its status table gives (103
// for a time-out, 101 for a lost connection, a broken status line or an unreadable multistatus),
// within the session's time-out, and sends nothing after the failed step.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/robustness/BrokenAnswers.h"
#include "tests/robustness/FaultCase.h"
#include "tests/robustness/WebDavOperations.h"

using namespace webdav_operations;

namespace {

// The status table: only a time-out means the server is unavailable; a lost connection or a
// broken answer is an unknown error, and an unreadable multistatus an unrecognised answer.
std::vector<fault_case::BackEndFault> webDavFaults() {
    std::vector<fault_case::BackEndFault> faults;
    for (const broken_answers::TransportFault& fault : broken_answers::transportFaults()) {
        if (fault.code == QMRUrlErrorTimedOut)
            faults.push_back({fault.name, fault.answer, 103, "Server down or server busy", fault.code});
        else
            faults.push_back({fault.name, fault.answer, 101, "Unknown error", std::nullopt});
    }
    const std::string validAnswer = multistatus({response("/data/f1", {{"change", "updated"}})});
    faults.push_back({"multistatus longer than its Content-Length",
                      [validAnswer] {
                          return broken_answers::longerThanItsContentLength(207, validAnswer.substr(0, 60),
                                                                            validAnswer.substr(60));
                      },
                      101, "Unknown Response", std::nullopt});
    faults.push_back({"multistatus of garbage", [] { return answer(207, "<html><body>Internal error <p>\x89\xff"); },
                      101, "Unknown Response", std::nullopt});
    return faults;
}

class WebDavFaults : public ::testing::TestWithParam<fault_case::BackEndFault> {};

TEST_P(WebDavFaults, EveryStepOfEveryOperationEndsTheOperationWithItsDocumentedError) {
    for (const Operation& operation : operations()) {
        // A healthy run tells how many steps the operation has.
        ScriptedHttpServer healthy;
        healthy.setHandler(healthyAnswer);
        QMRWebDavDataStore healthyStore("alice", "secret", healthy.baseUrl());
        healthyStore.setApplicationExclusiveAccessLockToken("opaquelocktoken:9");
        QMRErrorSlot error;
        operation.run(healthyStore, error);
        ASSERT_FALSE(error.has_value()) << operation.name << ": " << error->localizedDescription();
        const std::size_t steps = healthy.requestCount();

        for (std::size_t failing = 0; failing < steps; ++failing) {
            SCOPED_TRACE(operation.name + ", step " + std::to_string(failing + 1) + " of " + std::to_string(steps));
            ScriptedHttpServer server;
            server.setHandler(fault_case::failingAt(failing, GetParam().answer, healthyAnswer));
            QMRWebDavDataStore store("alice", "secret", server.baseUrl());
            store.setApplicationExclusiveAccessLockToken("opaquelocktoken:9");
            store.session().setTimeoutInterval(broken_answers::sessionTimeout);

            error.reset();
            operation.run(store, error);

            fault_case::expectFault(error, GetParam());
            EXPECT_EQ(server.requestCount(), failing + 1) << "nothing follows the failed step";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EveryFault, WebDavFaults, ::testing::ValuesIn(webDavFaults()),
                         fault_case::nameOf<fault_case::BackEndFault>);

}  // namespace
