// How a failure reaches the user: the message on stderr and an exit status per data store error.
#include <gtest/gtest.h>

#include <set>

#include "DataStore/contract/QMRDataStoreError.h"
#include "QMRStoreFailure.h"
#include "companion/web/QMRUrlError.h"

namespace {

TEST(QMRStoreFailure, EachDataStoreErrorHasItsOwnExitStatus) {
    std::set<int> statuses;
    for (long code = QMRDataStoreErrorUnknown; code <= QMRDataStoreErrorExclusiveLock; ++code) {
        const int status = QMRStoreFailure::exitStatusForError(
            QMRDataStoreError::errorWithCode(static_cast<QMRDataStoreErrorCode>(code), "x"));
        EXPECT_EQ(status, code - 90);
        statuses.insert(status);
    }
    EXPECT_EQ(statuses.size(), 6u);
    // Nor may they be taken for the tool's own statuses.
    for (int own : {0, 1, 2, 3, 4}) EXPECT_EQ(statuses.count(own), 0u);
    // An error of another domain is no data store verdict.
    EXPECT_EQ(QMRStoreFailure::exitStatusForError(QMRError::withDescription("other", 104, "x")), 1);
}

TEST(QMRStoreFailure, MessagesNameTheUnknownIdsAndTheCause) {
    EXPECT_EQ(QMRStoreFailure(QMRDataStoreError::errorWithCode(QMRDataStoreErrorFileOrFolderNotFound,
                                                               "One or more specified fileId is not found",
                                                               std::vector<std::string>{"17", "42"}))
                  .what(),
              std::string("error 104: One or more specified fileId is not found (ids: 17, 42)"));
    const QMRError refused = QMRError::withDescription(QMRUrlErrorDomain, -1004, "Could not connect to the server.");
    EXPECT_EQ(QMRStoreFailure::messageForError(QMRDataStoreError::errorWithCode(QMRDataStoreErrorServerUnavailable,
                                                                                "Server down or server busy", refused)),
              "error 103: Server down or server busy (Could not connect to the server.)");
}

}  // namespace
