#pragma once
// The codes of the library's error domain and the builder of its errors.
#include <string>
#include <string_view>
#include <vector>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "companion/util/QMRError.h"

enum QMRDataStoreErrorCode : long {
    QMRDataStoreErrorUnknown = 101,
    QMRDataStoreErrorAuthentication = 102,
    QMRDataStoreErrorServerUnavailable = 103,
    QMRDataStoreErrorFileOrFolderNotFound = 104,
    QMRDataStoreErrorInsufficientStorage = 105,
    QMRDataStoreErrorExclusiveLock = 106,
};

// The code's name ("QMRDataStoreErrorUnknown"), or "" for a code outside the domain.
std::string_view QMRDataStoreErrorCodeName(long code);

// Builds the errors of QMRDataStoreErrorDomain: a code, a description and, where given, the
// underlying transport error or the ids the server did not know.
class QMRDataStoreError {
public:
    QMRDataStoreError() = delete;

    static QMRError errorWithCode(QMRDataStoreErrorCode code, std::string description);
    static QMRError errorWithCode(QMRDataStoreErrorCode code, std::string description, const QMRError& underlyingError);
    static QMRError errorWithCode(QMRDataStoreErrorCode code, std::string description,
                                  std::vector<std::string> unknownFileIds);
};
