#pragma once
// The entry point of the ownCloud back-end: asks the server which release it runs, logs in with the
// authenticator written for that release and hands out the data store or the administration object
// bound to it. Releases whose version begins with "4.5." use the 4.5.7 classes; every other
// release, and a server that reports none, uses the 5.0.6 classes.
//
// The operations that reach the server take the settings of the sessions they make (to trust a
// server's own certificate, or shorten the time-out); the authenticator's session keeps them.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "DataStore/contract/QMRDataStore.h"
#include "DataStore/owncloud/QMROcReadServerInfoResponse.h"
#include "DataStore/owncloud/QMROwnCloudAuthenticator.h"
#include "DataStore/owncloud/QMROwnCloudDataStoreAdministration.h"

class QMROwnCloudDataStore {
public:
    // Class operations only.
    QMROwnCloudDataStore() = delete;

    // getAuthenticatorWithUrl:loginName:loginPassword:error: the logged-in authenticator of the
    // account, or null with the error set (server info or login failure).
    static std::shared_ptr<QMROwnCloudAuthenticator> getAuthenticatorWithUrl(
        const std::string& url, const std::string& loginName, const std::string& loginPassword, QMRErrorSlot& error,
        const QMRUrlSessionConfiguration& configuration = {});

    // getDataStore: the data store of the authenticator's release (no traffic).
    static std::shared_ptr<QMRDataStore> getDataStore(const std::shared_ptr<QMROwnCloudAuthenticator>& authenticator);

    // getDataStoreAdministration: the administration of the authenticator's account (no traffic).
    static std::shared_ptr<QMROwnCloudDataStoreAdministration> getDataStoreAdministration(
        const std::shared_ptr<QMROwnCloudAuthenticator>& authenticator);

    // getDataStoreAdministration:error: an administration object for a server without logging in
    // (for the password-reset link), or null with the error set. Its own session has the settings.
    static std::shared_ptr<QMROwnCloudDataStoreAdministration> getDataStoreAdministration(
        const std::string& url, QMRErrorSlot& error, const QMRUrlSessionConfiguration& configuration = {});

    // readServerVersion:error: the version the server reports; none when it reports none or on
    // failure (then the error is set).
    static std::optional<std::string> readServerVersion(const std::string& url, QMRErrorSlot& error,
                                                        const QMRUrlSessionConfiguration& configuration = {});

    // readServerInfoForUrl:error:
    static std::optional<QMROcReadServerInfoResponse> readServerInfoForUrl(
        const std::string& url, QMRErrorSlot& error, const QMRUrlSessionConfiguration& configuration = {});

    // readRootFolderContent:wantedType:error: and readFolderContent:folderId:wantedType:error: the
    // records of the wanted resource type (QMRFileMetadata's 1 folder, 2 file) in listing order;
    // null when the listing failed.
    static QMREnumerablePtr<QMRFileMetadataPtr> readRootFolderContent(QMRDataStore& dataStore, std::int32_t wantedType,
                                                                      QMRErrorSlot& error);
    static QMREnumerablePtr<QMRFileMetadataPtr> readFolderContent(QMRDataStore& dataStore, const std::string& folderId,
                                                                  std::int32_t wantedType, QMRErrorSlot& error);

    // convertFileOrFolderIdToDisplayableId: the server's own numeric id inside a file or folder id.
    static std::string convertFileOrFolderIdToDisplayableId(const std::string& fileOrFolderId);

    // Whether a version selects the 4.5.7 classes.
    static bool isRelease4_5(const std::string& serverVersion);
};
