#include "DataStore/contract/QMRDataStoreError.h"

#include <memory>
#include <utility>

std::string_view QMRDataStoreErrorCodeName(long code) {
    switch (code) {
        case QMRDataStoreErrorUnknown:
            return "QMRDataStoreErrorUnknown";
        case QMRDataStoreErrorAuthentication:
            return "QMRDataStoreErrorAuthentication";
        case QMRDataStoreErrorServerUnavailable:
            return "QMRDataStoreErrorServerUnavailable";
        case QMRDataStoreErrorFileOrFolderNotFound:
            return "QMRDataStoreErrorFileOrFolderNotFound";
        case QMRDataStoreErrorInsufficientStorage:
            return "QMRDataStoreErrorInsufficientStorage";
        case QMRDataStoreErrorExclusiveLock:
            return "QMRDataStoreErrorExclusiveLock";
    }
    return "";
}

QMRError QMRDataStoreError::errorWithCode(QMRDataStoreErrorCode code, std::string description) {
    return QMRError::withDescription(QMRDataStoreErrorDomain, code, std::move(description));
}

QMRError QMRDataStoreError::errorWithCode(QMRDataStoreErrorCode code, std::string description,
                                          const QMRError& underlyingError) {
    QMRError error = errorWithCode(code, std::move(description));
    error.setUserInfoValue(QMRUnderlyingErrorKey, std::make_shared<const QMRError>(underlyingError));
    return error;
}

QMRError QMRDataStoreError::errorWithCode(QMRDataStoreErrorCode code, std::string description,
                                          std::vector<std::string> unknownFileIds) {
    QMRError error = errorWithCode(code, std::move(description));
    error.setUserInfoValue(QMRUnknownFileIds, std::move(unknownFileIds));
    return error;
}
