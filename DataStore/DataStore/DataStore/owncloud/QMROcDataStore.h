#pragma once
// The ownCloud data store's operations, whatever the server's release: each checks the session,
// makes one request of the release, sends it and returns the response's result. What a release
// changes is only which request classes it makes (the request-making steps below), so the store of
// each release is QMROcReleaseDataStore over its own request classes.
//
// The store keeps nothing but the logged-in authenticator it was given, and never changes it: after
// the authenticator has logged out, every operation raises QMRInvalidOperationException "Not logged
// in". Closing the store does nothing; ending the session is the authenticator's close.
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "DataStore/contract/QMRDataStore.h"
#include "DataStore/owncloud/QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcCreateNewFolderRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcDisableFileOrFolderSharingRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcEnableFileOrFolderSharingRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadFileContentRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadSharingFileOrFolderInfoRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadSharingPartyInfoRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadStorageQuotaInfoRequestv4_5_7.h"
#include "DataStore/owncloud/QMROwnCloudAuthenticator.h"

class QMROcDataStore : public QMRDataStore {
public:
    // What the ownCloud stores offer: a folder tree with sharing, no synchronisation and no lock.
    static constexpr std::array<QMRDataStoreOperation, 13> supportedOperations = {
        QMRDataStoreOperation::createNewFileAsync,
        QMRDataStoreOperation::createNewFolder,
        QMRDataStoreOperation::openFileForReadingAsync,
        QMRDataStoreOperation::readRootFolderContent,
        QMRDataStoreOperation::readFolderContent,
        QMRDataStoreOperation::deleteFileOrFolder,
        QMRDataStoreOperation::getStorageSpace,
        QMRDataStoreOperation::close,
        QMRDataStoreOperation::readAllowedSharingPartyInfo,
        QMRDataStoreOperation::enableFileOrFolderSharing,
        QMRDataStoreOperation::disableFileOrFolderSharing,
        QMRDataStoreOperation::changeFileOrFolderSharingPermission,
        QMRDataStoreOperation::readSharedFileOrFolderInfo,
    };

    QMROcDataStore() = delete;

    bool supportsOperation(QMRDataStoreOperation operation) const override;
    const std::shared_ptr<QMROwnCloudAuthenticator>& authenticator() const noexcept { return _authenticator; }

    // CreateAndUpdate
    // The record needs no fileId, and a name (the new file's full path), a content type and a size.
    void createNewFileAsync(QMRFileMetadataPtr metadata, QMRCreateNewFileCompletionBlock onCompletionBlock,
                            QMRSpaceAvailableBlock onSpaceAvailableBlock) override;
    // The new folder's full path; "Shared" is refused at any depth.
    std::optional<std::string> createNewFolder(const std::string& path, QMRErrorSlot& error) override;

    // Read
    void openFileForReadingAsync(const std::string& fileId, QMRReadFileCompletionBlock onCompletionBlock,
                                 QMRDataAvailableBlock onDataAvailableBlock) override;
    // Each record's name is the entry's full path.
    QMREnumerablePtr<QMRFileMetadataPtr> readRootFolderContent(QMRErrorSlot& error) override;
    QMREnumerablePtr<QMRFileMetadataPtr> readFolderContent(const std::string& folderId, QMRErrorSlot& error) override;

    // Delete
    void deleteFileOrFolder(const std::string& fileOrFolderId, QMRErrorSlot& error) override;

    // StorageSpace
    std::optional<QMRStorageSpaceInfo> getStorageSpace(QMRErrorSlot& error) override;

    // Authentication
    // Does nothing, not even check the session.
    void close(QMRErrorSlot& error) override;

    // Sharing
    QMREnumerablePtr<QMRSharingPartyInfo> readAllowedSharingPartyInfo(const std::string& partyThatBeginsWith,
                                                                      QMRErrorSlot& error) override;
    // The permission is sent with read added and, for a file, create removed.
    void enableFileOrFolderSharing(const std::string& fileOrFolderId, const QMRSharingPartyInfo& sharingPartyInfo,
                                   std::int32_t sharingPermission, QMRErrorSlot& error) override;
    void disableFileOrFolderSharing(const std::string& fileOrFolderId, const QMRSharingPartyInfo& sharingPartyInfo,
                                    QMRErrorSlot& error) override;
    void changeFileOrFolderSharingPermission(const std::string& fileOrFolderId,
                                             const QMRSharingPartyInfo& sharingPartyInfo,
                                             std::int32_t sharingPermission, QMRErrorSlot& error) override;
    // The owner first, when the item was shared with the user.
    QMREnumerablePtr<QMRSharingFileOrFolderInfo> readSharedFileOrFolderInfo(const std::string& fileOrFolderId,
                                                                            QMRErrorSlot& error) override;

protected:
    // A null authenticator raises QMRInvalidArgumentException.
    explicit QMROcDataStore(std::shared_ptr<QMROwnCloudAuthenticator> authenticator);

    // What every request is made with: the account's session, its base URL and its request token.
    QMRUrlSession& session() const { return _authenticator->session(); }
    const std::string& baseUrl() const { return _authenticator->baseUrl(); }
    const std::string& requestToken() const { return _authenticator->requestToken(); }

    // The request-making steps: one request object of the store's release per call. Arguments are
    // checked by the request's constructor.
    virtual std::shared_ptr<QMROcCreateNewFileRequestv4_5_7> newCreateNewFileRequest(
        QMRFileMetadataPtr metadata, QMRCreateNewFileCompletionBlock onCompletionBlock,
        QMRSpaceAvailableBlock onSpaceAvailableBlock) const = 0;
    virtual std::unique_ptr<QMROcCreateNewFolderRequestv4_5_7> newCreateNewFolderRequest(std::string path) const = 0;
    virtual std::shared_ptr<QMROcReadFileContentRequestv4_5_7> newReadFileContentRequest(
        const std::string& fileId, QMRReadFileCompletionBlock onCompletionBlock,
        QMRDataAvailableBlock onDataAvailableBlock) const = 0;
    virtual std::unique_ptr<QMROcReadFolderContentRequestv4_5_7> newReadRootFolderContentRequest() const = 0;
    virtual std::unique_ptr<QMROcReadFolderContentRequestv4_5_7> newReadFolderContentRequest(
        std::string_view folderId) const = 0;
    virtual std::unique_ptr<QMROcDeleteFileOrFolderRequestv4_5_7> newDeleteFileOrFolderRequest(
        std::string_view fileOrFolderId) const = 0;
    virtual std::unique_ptr<QMROcReadStorageQuotaInfoRequestv4_5_7> newReadStorageQuotaInfoRequest() const = 0;
    virtual std::unique_ptr<QMROcReadSharingPartyInfoRequestv4_5_7> newReadSharingPartyInfoRequest(
        std::string partyThatBeginsWith) const = 0;
    virtual std::unique_ptr<QMROcEnableFileOrFolderSharingRequestv4_5_7> newEnableFileOrFolderSharingRequest(
        std::string_view fileOrFolderId, QMRSharingPartyInfo sharingPartyInfo,
        std::int32_t sharingPermission) const = 0;
    virtual std::unique_ptr<QMROcDisableFileOrFolderSharingRequestv4_5_7> newDisableFileOrFolderSharingRequest(
        std::string_view fileOrFolderId, QMRSharingPartyInfo sharingPartyInfo) const = 0;
    virtual std::unique_ptr<QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7>
    newChangeFileOrFolderSharingPermissionRequest(std::string_view fileOrFolderId, QMRSharingPartyInfo sharingPartyInfo,
                                                  std::int32_t sharingPermission) const = 0;
    virtual std::unique_ptr<QMROcReadSharingFileOrFolderInfoRequestv4_5_7> newReadSharingFileOrFolderInfoRequest(
        std::string_view fileOrFolderId) const = 0;

    // A read's result as the interface hands it out: null when the read failed.
    template <class T>
    static QMREnumerablePtr<T> enumerableOf(const std::optional<std::vector<T>>& items) {
        return items ? QMRMakeArrayEnumerable(*items) : nullptr;
    }

private:
    std::shared_ptr<QMROwnCloudAuthenticator> _authenticator;
};
