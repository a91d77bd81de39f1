#include "DataStore/owncloud/QMROwnCloudDataStore.h"

#include "DataStore/owncloud/QMROcAuthenticatorv4_5_7.h"
#include "DataStore/owncloud/QMROcAuthenticatorv5_0_6.h"
#include "DataStore/owncloud/QMROcDataStoreAdministrationv4_5_7.h"
#include "DataStore/owncloud/QMROcDataStoreAdministrationv5_0_6.h"
#include "DataStore/owncloud/QMROcDataStorev4_5_7.h"
#include "DataStore/owncloud/QMROcDataStorev5_0_6.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcReadServerInfoRequest.h"
#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {

const QMROwnCloudAuthenticator& providedAuthenticator(const std::shared_ptr<QMROwnCloudAuthenticator>& authenticator) {
    if (!authenticator)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "QMROwnCloudAuthenticator required but is not provided");
    return *authenticator;
}

// The authenticator as the class its release's data store is written for.
template <class Authenticator>
std::shared_ptr<Authenticator> releaseAuthenticator(const std::shared_ptr<QMROwnCloudAuthenticator>& authenticator) {
    auto typed = std::dynamic_pointer_cast<Authenticator>(authenticator);
    if (!typed)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "QMROwnCloudAuthenticator does not match its server version");
    return typed;
}

QMREnumerablePtr<QMRFileMetadataPtr> ofType(QMREnumerablePtr<QMRFileMetadataPtr> records, std::int32_t wantedType,
                                            const QMRErrorSlot& error) {
    if (error || !records) return nullptr;
    std::vector<QMRFileMetadataPtr> wanted;
    for (const QMRFileMetadataPtr& record : *records)
        if (record && record->resourceType() == wantedType) wanted.push_back(record);
    return QMRMakeArrayEnumerable(std::move(wanted));
}

}  // namespace

bool QMROwnCloudDataStore::isRelease4_5(const std::string& serverVersion) {
    return serverVersion.starts_with("4.5.");
}

std::shared_ptr<QMROwnCloudAuthenticator> QMROwnCloudDataStore::getAuthenticatorWithUrl(
    const std::string& url, const std::string& loginName, const std::string& loginPassword, QMRErrorSlot& error,
    const QMRUrlSessionConfiguration& configuration) {
    const std::string version = readServerVersion(url, error, configuration).value_or("");
    if (error) return nullptr;
    if (isRelease4_5(version))
        return QMROcAuthenticatorv4_5_7::initWithUrl(url, version, loginName, loginPassword, error, configuration);
    return QMROcAuthenticatorv5_0_6::initWithUrl(url, version, loginName, loginPassword, error, configuration);
}

std::shared_ptr<QMRDataStore> QMROwnCloudDataStore::getDataStore(
    const std::shared_ptr<QMROwnCloudAuthenticator>& authenticator) {
    if (isRelease4_5(providedAuthenticator(authenticator).serverVersion()))
        return std::make_shared<QMROcDataStorev4_5_7>(releaseAuthenticator<QMROcAuthenticatorv4_5_7>(authenticator));
    return std::make_shared<QMROcDataStorev5_0_6>(releaseAuthenticator<QMROcAuthenticatorv5_0_6>(authenticator));
}

std::shared_ptr<QMROwnCloudDataStoreAdministration> QMROwnCloudDataStore::getDataStoreAdministration(
    const std::shared_ptr<QMROwnCloudAuthenticator>& authenticator) {
    if (isRelease4_5(providedAuthenticator(authenticator).serverVersion()))
        return std::make_shared<QMROcDataStoreAdministrationv4_5_7>(authenticator);
    return std::make_shared<QMROcDataStoreAdministrationv5_0_6>(authenticator);
}

std::shared_ptr<QMROwnCloudDataStoreAdministration> QMROwnCloudDataStore::getDataStoreAdministration(
    const std::string& url, QMRErrorSlot& error, const QMRUrlSessionConfiguration& configuration) {
    const std::string version = readServerVersion(url, error, configuration).value_or("");
    if (error) return nullptr;
    if (isRelease4_5(version)) return std::make_shared<QMROcDataStoreAdministrationv4_5_7>(url, configuration);
    return std::make_shared<QMROcDataStoreAdministrationv5_0_6>(url, configuration);
}

std::optional<std::string> QMROwnCloudDataStore::readServerVersion(const std::string& url, QMRErrorSlot& error,
                                                                   const QMRUrlSessionConfiguration& configuration) {
    std::optional<QMROcReadServerInfoResponse> info = readServerInfoForUrl(url, error, configuration);
    if (error || !info || info->serverVersion().empty()) return std::nullopt;
    return info->serverVersion();
}

std::optional<QMROcReadServerInfoResponse> QMROwnCloudDataStore::readServerInfoForUrl(
    const std::string& url, QMRErrorSlot& error, const QMRUrlSessionConfiguration& configuration) {
    // Before any login there is no account session; the status page needs no cookie.
    QMRUrlSession session(configuration);
    return QMROcReadServerInfoRequest(session, url).send(error);
}

QMREnumerablePtr<QMRFileMetadataPtr> QMROwnCloudDataStore::readRootFolderContent(QMRDataStore& dataStore,
                                                                                 std::int32_t wantedType,
                                                                                 QMRErrorSlot& error) {
    return ofType(dataStore.readRootFolderContent(error), wantedType, error);
}

QMREnumerablePtr<QMRFileMetadataPtr> QMROwnCloudDataStore::readFolderContent(QMRDataStore& dataStore,
                                                                             const std::string& folderId,
                                                                             std::int32_t wantedType,
                                                                             QMRErrorSlot& error) {
    return ofType(dataStore.readFolderContent(folderId, error), wantedType, error);
}

std::string QMROwnCloudDataStore::convertFileOrFolderIdToDisplayableId(const std::string& fileOrFolderId) {
    return QMROcFileOrFolderId(fileOrFolderId).identifier();
}
