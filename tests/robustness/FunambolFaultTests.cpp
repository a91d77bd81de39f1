// The Funambol data store against a server that fails one exchange of an operation, at each of the
// operation's steps in turn: a transport failure is 103 with the transport error underneath, an
// answer that is not JSON is 101, the operation ends there within the session's time-out and sends
// nothing more. Content downloads alone take any HTTP answer's body as the content.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/robustness/BrokenAnswers.h"
#include "tests/robustness/FaultCase.h"
#include "tests/robustness/FunambolOperations.h"

using namespace funambol_operations;

namespace {

struct FunambolFault : fault_case::BackEndFault {
    // Whether the answer is HTTP that a download takes as the content.
    bool readableAsContent = false;
};

std::vector<FunambolFault> funambolFaults() {
    std::vector<FunambolFault> faults;
    for (const broken_answers::TransportFault& fault : broken_answers::transportFaults())
        faults.push_back({{fault.name, fault.answer, 103, "Server down or server busy", fault.code}});
    // Were the surplus read, the answer would be a storage error (105), not unreadable JSON.
    faults.push_back(
        {{"JSON longer than its Content-Length",
          [] { return broken_answers::longerThanItsContentLength(200, "{", R"("error":{"code":"MED-1007"}})"); }, 101,
          "JSON deserialization error", std::nullopt},
         true});
    faults.push_back({{"200 with garbage", [] { return json("<html><body>Internal error</body></html>"); }, 101,
                       "JSON deserialization error", std::nullopt},
                      true});
    return faults;
}

class FunambolFaults : public ::testing::TestWithParam<FunambolFault> {};

TEST_P(FunambolFaults, EveryStepOfEveryOperationEndsTheOperationWithItsDocumentedError) {
    const fault_case::BackEndFault& fault = GetParam();
    for (const Operation& operation : operations()) {
        const std::size_t login = operation.logsIn ? 0 : 1;
        auto prepared = [&](ScriptedHttpServer& server, QMRErrorSlot& error) {
            std::shared_ptr<QMRFunambolDataStore> store;
            if (!operation.logsIn)
                store =
                    QMRFunambolDataStore::initWithUsername("bob", "secret", server.baseUrl(), error, quickSession());
            return store;
        };
        ScriptedHttpServer healthy;
        healthy.setHandler(healthyServer(healthy.baseUrl()));
        QMRErrorSlot error;
        std::shared_ptr<QMRFunambolDataStore> store = prepared(healthy, error);
        operation.run(store, healthy.baseUrl(), error);
        ASSERT_FALSE(error.has_value()) << operation.name << ": " << error->localizedDescription();
        const std::size_t steps = healthy.requestCount() - login;

        for (std::size_t failing = login; failing < login + steps; ++failing) {
            SCOPED_TRACE(operation.name + ", step " + std::to_string(failing - login + 1) + " of " +
                         std::to_string(steps));
            ScriptedHttpServer server;
            server.setHandler(fault_case::failingAt(failing, fault.answer, healthyServer(server.baseUrl())));
            store = prepared(server, error);

            error.reset();
            operation.run(store, server.baseUrl(), error);

            EXPECT_EQ(server.requestCount(), failing + 1) << "nothing follows the failed step";
            const bool download = server.request(failing).target.starts_with("/content/");
            if (download && GetParam().readableAsContent)
                EXPECT_FALSE(error.has_value()) << "a download takes any answer's body";
            else
                fault_case::expectFault(error, fault);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EveryFault, FunambolFaults, ::testing::ValuesIn(funambolFaults()),
                         fault_case::nameOf<FunambolFault>);

}  // namespace
