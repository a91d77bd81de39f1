#include "DataStore/owncloud/QMROcDataStore.h"

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {

std::shared_ptr<QMROwnCloudAuthenticator> providedAuthenticator(
    std::shared_ptr<QMROwnCloudAuthenticator> authenticator) {
    if (!authenticator)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "QMROwnCloudAuthenticator required but is not provided");
    return authenticator;
}

}  // namespace

QMROcDataStore::QMROcDataStore(std::shared_ptr<QMROwnCloudAuthenticator> authenticator)
    : _authenticator(providedAuthenticator(std::move(authenticator))) {}

bool QMROcDataStore::supportsOperation(QMRDataStoreOperation operation) const {
    return QMRDataStoreOperationIsOneOf(operation, supportedOperations);
}
