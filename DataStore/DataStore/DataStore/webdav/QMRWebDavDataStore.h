#pragma once
// The data store of the service's WebDAV server. Files lie flat in the collection "data" under the
// server root, named by client-made ids; their metadata lives in custom properties, and a change
// state ("new", "updated", "pending", "deleted") with a server date makes soft deletion and
// synchronisation possible. The store keeps only the Basic authentication token (never the
// password), the held lock token and one HTTP session, so a run of requests reuses one connection.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "DataStore/contract/QMRDataStore.h"
#include "DataStore/webdav/QMRWebDavFileMetadata.h"
#include "DataStore/webdav/QMRWebDavLockInfo.h"
#include "companion/web/QMRUrlSession.h"
#include "companion/xml/RXMLElement.h"

class QMRWebDavTransceiver;

class QMRWebDavDataStore : public QMRDataStore {
public:
    // A property of a request body: in the DAV: namespace or in the service's own.
    struct Property {
        enum class Namespace { dav, custom } inNamespace;
        std::string_view localName;
    };
    using PropertyList = std::vector<Property>;
    // What a soft delete works on: an id, or a record carrying one.
    using FileIdOrFileMetadata = std::variant<std::string, QMRFileMetadataPtr>;

    // The property lists of the reads.
    static const PropertyList allMetadataElements;
    static const PropertyList byDateElements;
    static const PropertyList changeElements;
    static const PropertyList deletionElements;
    static const PropertyList syncElements;

    QMRWebDavDataStore() = delete;
    // initWithUsername:andPassword:forUrl: keeps the base URL and the Basic token made from the
    // credentials; nothing is sent, so a wrong password shows at the first request.
    QMRWebDavDataStore(const std::string& username, const std::string& password, std::string baseUrl);

    bool supportsOperation(QMRDataStoreOperation operation) const override;

    const std::string& baseUrl() const noexcept { return _baseUrl; }
    QMRUrlSession& session() noexcept { return _session; }

    // Authentication
    static std::string constructBasicAccessAuthenticationTokenFromUsername(std::string_view username,
                                                                          std::string_view password);
    const std::string& basicAccessAuthenticationToken() const noexcept { return _basicAccessAuthenticationToken; }
    void setBasicAccessAuthenticationToken(std::string token) { _basicAccessAuthenticationToken = std::move(token); }

    // Shared
    std::string constructCollectionUri(std::string_view collection) const;
    std::string constructFileUri(std::string_view collection, std::string_view filename) const;
    static std::string toXmlDateStringFromDate(QMRDate date);
    static std::optional<QMRDate> toDateFromXmlDateString(std::string_view text);
    static std::optional<QMRDate> toDateFromRfc1123DateString(std::string_view text);
    static void validateFileIdNotAvailable(const QMRFileMetadata& metadata);
    static void validateFileIdAvailable(const QMRFileMetadata& metadata);
    static void validateNameAvailable(const QMRFileMetadata& metadata);
    static void validateContentTypeAvailable(const QMRFileMetadata& metadata);
    static void validateSizeInBytesAvailable(const QMRFileMetadata& metadata);
    // Lets the caller write the whole content into a memory stream and returns its bytes.
    static QMRData readFileContentFromBlock(const QMRStreamBlock& block);

    // CreateAndUpdate
    void createNewFile(QMRFileMetadata& metadata, QMRErrorSlot& error, const QMRStreamBlock& block) override;
    void updateFileMetadata(const QMRFileMetadata& metadata, QMRErrorSlot& error) override;
    void openFileForUpdating(const QMRFileMetadata& metadata, QMRErrorSlot& error, const QMRStreamBlock& block) override;
    // One PROPPATCH of the record's available properties.
    void updateWebDavFileMetadata(const QMRWebDavFileMetadata& metadata, QMRErrorSlot& error);
    static QMRData constructUpdateFileMetadataRequestBody(const QMRWebDavFileMetadata& metadata, bool forCreate);

    // Read
    QMREnumerablePtr<QMRFileMetadataPtr> readAllFileMetadata(QMRErrorSlot& error) override;
    QMREnumerablePtr<QMRFileMetadataPtr> readFileMetadataWithSpecificDate(const QMRDate& date,
                                                                          QMRErrorSlot& error) override;
    QMREnumerablePtr<QMRFileMetadataPtr> readFileMetadataWithSpecificFileIds(const std::vector<std::string>& fileIds,
                                                                             QMRErrorSlot& error) override;
    void openFileForReading(const std::string& fileId, QMRErrorSlot& error, const QMRStreamBlock& block) override;
    // Every record of the collection with the given properties, less those whose change is unwanted.
    std::optional<std::vector<QMRWebDavFileMetadataPtr>> readAllFileMetadataWithRequiredElements(
        const PropertyList& requiredElements, const std::vector<std::string>& unwantedChangeElementValues,
        std::optional<QMRDate>* latestServerDate, QMRErrorSlot& error);
    // The records of the ids, one request each; writes the slot only on failure, so callers hand
    // it an empty one.
    std::optional<std::vector<QMRWebDavFileMetadataPtr>> readFileMetadataWithSpecificFileIds(
        const std::vector<std::string>& fileIds, const PropertyList& requiredElements,
        const std::vector<std::string>& unwantedChangeElementValues, std::optional<QMRDate>* latestServerDate,
        QMRErrorSlot& error);
    // The file's change state and date, whatever the state.
    QMRWebDavFileMetadataPtr readChangeFromFileId(const std::string& fileId, std::optional<QMRDate>* latestServerDate,
                                                  QMRErrorSlot& error);
    static QMRData constructReadAllFileMetadataRequestBody(const PropertyList& requiredElements);
    static std::vector<QMRWebDavFileMetadataPtr> extractAllFileMetadataFromXml(const RXMLElement& multistatus);
    static QMRWebDavFileMetadataPtr extractFileMetadataFromXml(const RXMLElement& response);

    // Delete
    void deleteAllFiles(QMRErrorSlot& error) override;
    void deleteFileWithSpecificFileIds(const std::vector<std::string>& fileIds, QMRErrorSlot& error) override;
    // The soft delete: pending, content emptied, deleted.
    void deleteFileWithSpecificFileIdsOrFileMetadatas(const std::vector<FileIdOrFileMetadata>& items,
                                                      const std::optional<QMRDate>& latestServerDate,
                                                      QMRErrorSlot& error);
    // Removes the resource outright, leaving no tombstone for other clients to see.
    void syncPartiallySupportedDelete(const std::string& fileId, QMRErrorSlot& error);

    // Sync
    QMREnumerablePtr<QMRChangeInfo> retrieveFileChangesWithSyncToken(std::string& syncToken,
                                                                    QMRErrorSlot& error) override;
    static std::vector<QMRChangeInfo> extractChangeInfoFromMetadata(
        const std::vector<QMRWebDavFileMetadataPtr>& metadatas, QMRDate prevSyncTokenDate);

    // StorageSpace
    std::optional<QMRStorageSpaceInfo> getStorageSpace(QMRErrorSlot& error) override;
    static QMRData constructReadStorageSpaceRequestBody();
    static QMRStorageSpaceInfo extractStorageSpaceInfoFromXml(const RXMLElement& multistatus);

    // Lock
    std::uint32_t applyApplicationExclusiveAccessLockWithTimeout(std::uint32_t timeout, QMRErrorSlot& error) override;
    std::uint32_t refreshApplicationExclusiveAccessLockWithTimeout(std::uint32_t timeout,
                                                                   QMRErrorSlot& error) override;
    void applyApplicationExclusiveAccessUnlock(QMRErrorSlot& error) override;
    static QMRData constructAppExclusiveAccessLockRequestBody();
    // "(<token>)" with the held token; empty when none is held.
    std::string constructIfHeaderValueFromLockToken() const;
    static std::string toStringFromLockTimeout(std::uint32_t timeout);
    static QMRWebDavLockInfo extractLockInfoFromXml(const RXMLElement& prop);
    const std::string& applicationExclusiveAccessLockToken() const noexcept { return _applicationExclusiveAccessLockToken; }
    void setApplicationExclusiveAccessLockToken(std::string token) {
        _applicationExclusiveAccessLockToken = std::move(token);
    }

private:
    // A transceiver for one request on the url, carrying the authentication token.
    QMRWebDavTransceiver newTransceiver(std::string_view method, std::string url);
    // A PUT of content to the file, with the lock's "If".
    QMRWebDavTransceiver newContentPut(const std::string& fileId, QMRData content);
    // The 104 error naming the ids, built as the server's 404 would be.
    QMRError fileNotFoundError(std::vector<std::string> fileIds);

    std::string _baseUrl;
    std::string _basicAccessAuthenticationToken;
    std::string _applicationExclusiveAccessLockToken;
    QMRUrlSession _session;
};
