#pragma once
// The argument checks that every back-end applies to a caller's record before any traffic. Each
// raises NSInvalidArgumentException, located where the back-end asked for the check.
#include "DataStore/contract/QMRFileMetadata.h"
#include "companion/util/QMRSourceLocation.h"

class QMRFileMetadataValidation {
public:
    QMRFileMetadataValidation() = delete;

    static void validateFileIdNotAvailable(const QMRFileMetadata& metadata,
                                           QMRSourceLocation where = QMRSourceLocation::current());
    static void validateFileIdAvailable(const QMRFileMetadata& metadata,
                                        QMRSourceLocation where = QMRSourceLocation::current());
    static void validateNameAvailable(const QMRFileMetadata& metadata,
                                      QMRSourceLocation where = QMRSourceLocation::current());
    static void validateContentTypeAvailable(const QMRFileMetadata& metadata,
                                             QMRSourceLocation where = QMRSourceLocation::current());
    static void validateSizeInBytesAvailable(const QMRFileMetadata& metadata,
                                             QMRSourceLocation where = QMRSourceLocation::current());
};
