#include "DataStore/contract/QMRFileMetadataValidation.h"

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {
void check(bool valid, const char* reason, QMRSourceLocation where) {
    if (!valid) comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName, reason, where);
}
}  // namespace

void QMRFileMetadataValidation::validateFileIdNotAvailable(const QMRFileMetadata& metadata, QMRSourceLocation where) {
    check(!metadata.fileIdAvailable(), "FileId should not be provided", where);
}

void QMRFileMetadataValidation::validateFileIdAvailable(const QMRFileMetadata& metadata, QMRSourceLocation where) {
    check(metadata.fileIdAvailable(), "FileId should be provided", where);
}

void QMRFileMetadataValidation::validateNameAvailable(const QMRFileMetadata& metadata, QMRSourceLocation where) {
    check(metadata.nameAvailable(), "Name must be provided", where);
}

void QMRFileMetadataValidation::validateContentTypeAvailable(const QMRFileMetadata& metadata,
                                                             QMRSourceLocation where) {
    check(metadata.mimeContentTypeAvailable(), "MimeContentType must be provided", where);
}

void QMRFileMetadataValidation::validateSizeInBytesAvailable(const QMRFileMetadata& metadata,
                                                             QMRSourceLocation where) {
    check(metadata.sizeInBytesAvailable(), "SizeInBytes must be provided", where);
}
