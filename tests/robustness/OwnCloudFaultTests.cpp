// The ownCloud back-end of both releases against a server that fails one exchange of an operation, at
// each of the operation's steps in turn (the four of the login included): a transport failure is 103
// with the transport error underneath, a page that no step expects is the error its request documents,
// and the operation ends there, within its session's time-out, and sends nothing more.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/robustness/BrokenAnswers.h"
#include "tests/robustness/FaultCase.h"
#include "tests/robustness/OwnCloudOperations.h"

using namespace owncloud_operations;
using ::testing::StartsWith;

namespace {

using StepCheck = std::function<void(const Operation&, std::size_t step, bool handedBack, const QMRErrorSlot& error)>;

// The account an operation starts from: the bare server, or logged in on it.
Account prepared(const std::string& baseUrl, const Operation& operation, QMRErrorSlot& error) {
    if (operation.beforeLogin) return Account{baseUrl, nullptr, nullptr};
    return logIn(baseUrl, "carol", "pw", error);
}

// Runs every operation of both releases once for each of its steps, that step answered with the fault
// and every other one healthily, and hands the outcome to check. Operations that skip says so are left out.
void forEachFailedStep(const std::function<ScriptedHttpAnswer()>& fault, const StepCheck& check,
                       const std::function<bool(const Operation&)>& skip = nullptr) {
    for (const std::string& version : releases())
        for (const Operation& operation : operations()) {
            if (skip && skip(operation)) continue;
            ScriptedHttpServer healthy;
            healthy.setHandler(healthyServer(version));
            QMRErrorSlot error;
            Account account = prepared(healthy.baseUrl(), operation, error);
            const std::size_t before = healthy.requestCount();
            ASSERT_TRUE(operation.run(account, error)) << version << " " << operation.name;
            ASSERT_FALSE(error.has_value()) << version << " " << operation.name << ": " << error->description();
            const std::size_t steps = healthy.requestCount() - before;

            for (std::size_t step = 0; step < steps; ++step) {
                SCOPED_TRACE(version + " " + operation.name + ", step " + std::to_string(step + 1) + " of " +
                             std::to_string(steps));
                ScriptedHttpServer server;
                server.setHandler(fault_case::failingAt(before + step, fault, healthyServer(version)));
                error.reset();
                account = prepared(server.baseUrl(), operation, error);
                ASSERT_FALSE(error.has_value());

                const auto start = std::chrono::steady_clock::now();
                const bool handedBack = operation.run(account, error);
                // Far below the default minute: a stalled exchange ends with the session's time-out.
                EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));

                // An operation that took the answer goes on to its end; one that failed sends nothing more.
                EXPECT_EQ(server.requestCount(), before + (handedBack ? steps : step + 1));
                check(operation, step, handedBack, error);
            }
        }
}

class OwnCloudTransportFaults : public ::testing::TestWithParam<broken_answers::TransportFault> {};

TEST_P(OwnCloudTransportFaults, EveryStepOfEveryOperationEndsWith103AndTheTransportErrorUnderneath) {
    const broken_answers::TransportFault& fault = GetParam();
    const fault_case::BackEndFault expected{fault.name, fault.answer, 103, "Server down or server busy", fault.code};
    // An upload or download cut inside its answer's body is the transfer tests' case.
    const bool insideTheBody =
        fault.name == "stalled inside the body" || fault.name == "closed before the Content-Length was sent";
    auto transfersWhenInsideTheBody = [insideTheBody](const Operation& operation) {
        return insideTheBody && operation.name.ends_with("Async");
    };
    forEachFailedStep(
        fault.answer,
        [&expected](const Operation& operation, std::size_t, bool handedBack, const QMRErrorSlot& error) {
            EXPECT_FALSE(handedBack);
            // Deliberately, the upload's completion carries neither record nor error after a transport failure.
            if (operation.name == "createNewFileAsync")
                EXPECT_FALSE(error.has_value());
            else
                fault_case::expectFault(error, expected);
        },
        transfersWhenInsideTheBody);
}

INSTANTIATE_TEST_SUITE_P(EveryFault, OwnCloudTransportFaults, ::testing::ValuesIn(broken_answers::transportFaults()),
                         fault_case::nameOf<broken_answers::TransportFault>);

TEST(OwnCloudUnexpectedPages, APageThatNoStepExpectsIsEachRequestsDocumentedErrorOrTakenAsItStands) {
    const std::string page = "<html><body>Internal error</body></html>";
    struct Refusal {
        std::string domain;
        long code;
        std::string description;  // its beginning
    };
    const Refusal unknownError{QMRDataStoreErrorDomain, 101, "Unknown error - " + page};
    const Refusal unrecognized{QMRDataStoreErrorDomain, 101, "Unrecognized response: " + page};
    const Refusal notJson{"NSCocoaErrorDomain", 3840, "[json.exception.parse_error"};
    // What each step makes of the page. None: it is taken, by a step that reads no body (the login's
    // form post and file scan, a deletion, a sharing change without an error mark), as the root
    // folder's page (which is not checked), or as a file's content.
    const std::optional<Refusal> taken;
    const std::map<std::string, std::vector<std::optional<Refusal>>> outcomes = {
        {"login",
         {unknownError, taken, Refusal{QMRDataStoreErrorDomain, 101, "Unknown Error - Request token not found"},
          taken}},
        {"readServerInfoForUrl", {unknownError}},
        {"readRootFolderContent", {taken}},
        {"readFolderContent", {unrecognized}},
        {"createNewFolder", {unrecognized}},
        {"deleteFileOrFolder", {taken}},
        {"getStorageSpace", {Refusal{QMRDataStoreErrorDomain, 101, "Unknown Response"}}},
        {"readAllowedSharingPartyInfo", {notJson}},
        {"enableFileOrFolderSharing", {taken}},
        {"disableFileOrFolderSharing", {taken}},
        {"changeFileOrFolderSharingPermission", {taken}},
        {"readSharedFileOrFolderInfo", {notJson}},
        {"createNewFileAsync", {unrecognized}},
        {"openFileForReadingAsync", {taken}},
    };
    forEachFailedStep([&page] { return ScriptedHttpAnswer::withStatus(200, page); },
                      [&](const Operation& operation, std::size_t step, bool handedBack, const QMRErrorSlot& error) {
                          const std::optional<Refusal>& refusal = outcomes.at(operation.name).at(step);
                          if (!refusal) {
                              EXPECT_TRUE(handedBack);
                              EXPECT_FALSE(error.has_value()) << error->description();
                              return;
                          }
                          EXPECT_FALSE(handedBack);
                          ASSERT_TRUE(error.has_value());
                          EXPECT_EQ(error->domain(), refusal->domain);
                          EXPECT_EQ(error->code(), refusal->code);
                          EXPECT_THAT(error->localizedDescription(), StartsWith(refusal->description));
                      });
}

}  // namespace
