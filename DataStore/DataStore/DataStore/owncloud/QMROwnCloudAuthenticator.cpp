#include "DataStore/owncloud/QMROwnCloudAuthenticator.h"

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

QMROwnCloudAuthenticator::QMROwnCloudAuthenticator(std::string baseUrl, std::string serverVersion,
                                                   const QMRUrlSessionConfiguration& configuration)
    : _baseUrl(std::move(baseUrl)), _serverVersion(std::move(serverVersion)), _session(configuration) {}

QMROwnCloudAuthenticator::~QMROwnCloudAuthenticator() = default;

void QMROwnCloudAuthenticator::throwExceptionWhenNotLoggedIn() const {
    if (!_isLoggedIn)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName, "Not logged in");
}
