#pragma once
// The ownCloud data store over the request classes of one release. Requests names them:
//
//   struct Requests {
//       using CreateNewFile = ...; using CreateNewFolder = ...; using ReadFileContent = ...;
//       using ReadFolderContent = ...; using DeleteFileOrFolder = ...; using ReadStorageQuotaInfo = ...;
//       using ReadSharingPartyInfo = ...; using EnableFileOrFolderSharing = ...;
//       using DisableFileOrFolderSharing = ...; using ChangeFileOrFolderSharingPermission = ...;
//       using ReadSharingFileOrFolderInfo = ...;
//   };
#include <memory>
#include <utility>

#include "DataStore/owncloud/QMROcDataStore.h"

template <class Requests>
class QMROcReleaseDataStore : public QMROcDataStore {
public:
    QMROcReleaseDataStore() = delete;

protected:
    using QMROcDataStore::QMROcDataStore;

    std::shared_ptr<QMROcCreateNewFileRequestv4_5_7> newCreateNewFileRequest(
        QMRFileMetadataPtr metadata, QMRCreateNewFileCompletionBlock onCompletionBlock,
        QMRSpaceAvailableBlock onSpaceAvailableBlock) const override {
        return std::make_shared<typename Requests::CreateNewFile>(session(), requestToken(), baseUrl(),
                                                                  std::move(metadata), std::move(onCompletionBlock),
                                                                  std::move(onSpaceAvailableBlock));
    }
    std::unique_ptr<QMROcCreateNewFolderRequestv4_5_7> newCreateNewFolderRequest(std::string path) const override {
        return std::make_unique<typename Requests::CreateNewFolder>(session(), requestToken(), baseUrl(),
                                                                    std::move(path));
    }
    std::shared_ptr<QMROcReadFileContentRequestv4_5_7> newReadFileContentRequest(
        const std::string& fileId, QMRReadFileCompletionBlock onCompletionBlock,
        QMRDataAvailableBlock onDataAvailableBlock) const override {
        return std::make_shared<typename Requests::ReadFileContent>(
            session(), baseUrl(), fileId, std::move(onCompletionBlock), std::move(onDataAvailableBlock));
    }
    std::unique_ptr<QMROcReadFolderContentRequestv4_5_7> newReadRootFolderContentRequest() const override {
        return std::make_unique<typename Requests::ReadFolderContent>(session(), baseUrl());
    }
    std::unique_ptr<QMROcReadFolderContentRequestv4_5_7> newReadFolderContentRequest(
        std::string_view folderId) const override {
        return std::make_unique<typename Requests::ReadFolderContent>(session(), baseUrl(), folderId);
    }
    std::unique_ptr<QMROcDeleteFileOrFolderRequestv4_5_7> newDeleteFileOrFolderRequest(
        std::string_view fileOrFolderId) const override {
        return std::make_unique<typename Requests::DeleteFileOrFolder>(session(), requestToken(), baseUrl(),
                                                                       fileOrFolderId);
    }
    std::unique_ptr<QMROcReadStorageQuotaInfoRequestv4_5_7> newReadStorageQuotaInfoRequest() const override {
        return std::make_unique<typename Requests::ReadStorageQuotaInfo>(session(), baseUrl());
    }
    std::unique_ptr<QMROcReadSharingPartyInfoRequestv4_5_7> newReadSharingPartyInfoRequest(
        std::string partyThatBeginsWith) const override {
        return std::make_unique<typename Requests::ReadSharingPartyInfo>(session(), requestToken(), baseUrl(),
                                                                         std::move(partyThatBeginsWith));
    }
    std::unique_ptr<QMROcEnableFileOrFolderSharingRequestv4_5_7> newEnableFileOrFolderSharingRequest(
        std::string_view fileOrFolderId, QMRSharingPartyInfo sharingPartyInfo,
        std::int32_t sharingPermission) const override {
        return std::make_unique<typename Requests::EnableFileOrFolderSharing>(
            session(), requestToken(), baseUrl(), fileOrFolderId, std::move(sharingPartyInfo), sharingPermission);
    }
    std::unique_ptr<QMROcDisableFileOrFolderSharingRequestv4_5_7> newDisableFileOrFolderSharingRequest(
        std::string_view fileOrFolderId, QMRSharingPartyInfo sharingPartyInfo) const override {
        return std::make_unique<typename Requests::DisableFileOrFolderSharing>(
            session(), requestToken(), baseUrl(), fileOrFolderId, std::move(sharingPartyInfo));
    }
    std::unique_ptr<QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7>
    newChangeFileOrFolderSharingPermissionRequest(std::string_view fileOrFolderId, QMRSharingPartyInfo sharingPartyInfo,
                                                  std::int32_t sharingPermission) const override {
        return std::make_unique<typename Requests::ChangeFileOrFolderSharingPermission>(
            session(), requestToken(), baseUrl(), fileOrFolderId, std::move(sharingPartyInfo), sharingPermission);
    }
    std::unique_ptr<QMROcReadSharingFileOrFolderInfoRequestv4_5_7> newReadSharingFileOrFolderInfoRequest(
        std::string_view fileOrFolderId) const override {
        return std::make_unique<typename Requests::ReadSharingFileOrFolderInfo>(session(), requestToken(), baseUrl(),
                                                                                fileOrFolderId);
    }
};
