#include "QMRStoreBackendConnector.h"

#include <utility>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/owncloud/QMROcDataStore.h"
#include "DataStore/owncloud/QMROwnCloudDataStore.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "QMRStoreOwnCloudAdministration.h"
#include "companion/util/QMRExceptions.h"

const std::vector<std::pair<std::string, QMRStoreBackendConnector::Backend>>& QMRStoreBackendConnector::backendNames() {
    static const std::vector<std::pair<std::string, Backend>> names = {
        {"webdav", Backend::webdav}, {"funambol", Backend::funambol}, {"owncloud", Backend::owncloud}};
    return names;
}

std::unique_ptr<QMRStoreConnector> QMRStoreBackendConnector::create(Settings settings) {
    return std::make_unique<QMRStoreBackendConnector>(std::move(settings));
}

QMRStoreBackendConnector::QMRStoreBackendConnector(Settings settings) : _settings(std::move(settings)) {}

QMRStoreBackendConnector::~QMRStoreBackendConnector() = default;

std::string_view QMRStoreBackendConnector::backendName() const {
    for (const auto& [name, backend] : backendNames())
        if (backend == _settings.backend) return name;
    return {};
}

bool QMRStoreBackendConnector::supportsOperation(QMRDataStoreOperation operation) const {
    switch (_settings.backend) {
        case Backend::webdav:
            // Making a WebDAV store sends nothing, so it can answer for itself.
            return QMRWebDavDataStore("", "", _settings.url).supportsOperation(operation);
        case Backend::funambol:
            // A Funambol store exists only logged in, which is traffic: its answer is restated here.
            return QMRDataStoreOperationIsOneOf(operation, QMRFlatFileStoreOperations) ||
                   operation == QMRDataStoreOperation::close;
        case Backend::owncloud:
            // Both releases' stores offer the same operations, published without needing a login.
            return QMRDataStoreOperationIsOneOf(operation, QMROcDataStore::supportedOperations);
    }
    return false;
}

bool QMRStoreBackendConnector::supportsAccountAdministration() const {
    return _settings.backend == Backend::owncloud;
}

bool QMRStoreBackendConnector::supportsServerVersion() const {
    return _settings.backend == Backend::owncloud;
}

std::shared_ptr<QMRDataStore> QMRStoreBackendConnector::connect(QMRErrorSlot& error) {
    if (_store) return _store;
    switch (_settings.backend) {
        case Backend::webdav:
            _webDavStore = std::make_shared<QMRWebDavDataStore>(_settings.user, _settings.password(), _settings.url);
            _webDavStore->session().setTimeoutInterval(_settings.session.timeoutInterval);
            _webDavStore->session().setTrustedCertificateFile(_settings.session.trustedCertificateFile);
            _webDavStore->setApplicationExclusiveAccessLockToken(_settings.lockToken);
            _store = _webDavStore;
            break;
        case Backend::funambol:
            _store = QMRFunambolDataStore::initWithUsername(_settings.user, _settings.password(), _settings.url, error,
                                                            _settings.session);
            break;
        case Backend::owncloud:
            if (ownCloudAuthenticator(error)) _store = QMROwnCloudDataStore::getDataStore(_ownCloudAuthenticator);
            break;
    }
    return _store;
}

void QMRStoreBackendConnector::disconnect(QMRErrorSlot& error) {
    if (_store && _store->supportsOperation(QMRDataStoreOperation::close)) _store->close(error);
    // Closing an ownCloud store leaves the session open: logging out is the authenticator's.
    if (_ownCloudAuthenticator && _ownCloudAuthenticator->isLoggedIn()) _ownCloudAuthenticator->close(error);
    _store.reset();
    _webDavStore.reset();
    _ownCloudAuthenticator.reset();
}

std::string QMRStoreBackendConnector::heldLockToken() const {
    return _webDavStore ? _webDavStore->applicationExclusiveAccessLockToken() : _settings.lockToken;
}

std::unique_ptr<QMRStoreAccountAdministration> QMRStoreBackendConnector::accountAdministration(bool logIn,
                                                                                               QMRErrorSlot& error) {
    if (_settings.backend != Backend::owncloud) return nullptr;
    std::shared_ptr<QMROwnCloudDataStoreAdministration> administration;
    if (!logIn)
        administration = QMROwnCloudDataStore::getDataStoreAdministration(_settings.url, error, _settings.session);
    else if (ownCloudAuthenticator(error))
        administration = QMROwnCloudDataStore::getDataStoreAdministration(_ownCloudAuthenticator);
    if (!administration) return nullptr;
    return std::make_unique<QMRStoreOwnCloudAdministration>(std::move(administration));
}

std::optional<std::string> QMRStoreBackendConnector::readServerVersion(QMRErrorSlot& error) {
    if (_settings.backend != Backend::owncloud) return std::nullopt;
    return QMROwnCloudDataStore::readServerVersion(_settings.url, error, _settings.session);
}

std::string QMRStoreBackendConnector::displayableId(const std::string& fileId) const {
    if (_settings.backend != Backend::owncloud) return fileId;
    try {
        return QMROwnCloudDataStore::convertFileOrFolderIdToDisplayableId(fileId);
    } catch (const QMRException&) {
        // Not an id of the store's making: what the user typed (a path) is shown as it is.
        return fileId;
    }
}

std::string QMRStoreBackendConnector::resolveFileId(QMRDataStore& store, const std::string& userText,
                                                    QMRErrorSlot& error) {
    if (_settings.backend != Backend::owncloud || userText.starts_with('<')) return userText;
    std::string path = userText.starts_with('/') ? userText : "/" + userText;
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return ownCloudIdOfPath(store, path, std::nullopt, error);
}

const std::shared_ptr<QMROwnCloudAuthenticator>& QMRStoreBackendConnector::ownCloudAuthenticator(QMRErrorSlot& error) {
    if (!_ownCloudAuthenticator)
        _ownCloudAuthenticator = QMROwnCloudDataStore::getAuthenticatorWithUrl(
            _settings.url, _settings.user, _settings.password(), error, _settings.session);
    return _ownCloudAuthenticator;
}

std::string QMRStoreBackendConnector::ownCloudIdOfPath(QMRDataStore& store, const std::string& path,
                                                       std::optional<std::int32_t> wantedType, QMRErrorSlot& error) {
    // The root folder has no id of its own: the store lists it by a call of its own.
    const std::string parent = path.substr(0, path.rfind('/'));
    QMREnumerablePtr<QMRFileMetadataPtr> siblings;
    if (parent.empty()) {
        siblings = store.readRootFolderContent(error);
    } else {
        const std::string parentId = ownCloudIdOfPath(store, parent, QMRFileMetadata::resourceTypeFolder, error);
        if (error) return {};
        siblings = store.readFolderContent(parentId, error);
    }
    if (error || !siblings) return {};
    // Listed records are named by their full paths.
    for (const QMRFileMetadataPtr& entry : *siblings)
        if (entry->name() == path && (!wantedType || entry->resourceType() == *wantedType)) return entry->fileId();
    error = QMRDataStoreError::errorWithCode(QMRDataStoreErrorFileOrFolderNotFound, "File or folder not found",
                                             std::vector<std::string>{path});
    return {};
}
