#pragma once
// The data store of a Funambol media server, spoken through its JSON REST interface under "/sapi/".
// The server keeps files in three collections by kind ("file", "picture", "video"); reads ask each
// in turn, and the full listing pages through them lazily.
//
// The store is created logged in or not at all (initWithUsername); it owns the HTTP session that
// keeps the login cookie, so that cookie serves this store alone. close() logs out, after which
// every operation raises QMRInvalidOperationException "Not logged in".
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "DataStore/contract/QMRDataStore.h"
#include "DataStore/funambol/QMRFunambolFileMetadata.h"
#include "DataStore/funambol/QMRFunambolKeyValuePair.h"
#include "DataStore/funambol/QMRFunambolSystemContentTypeAndJsonNodeName.h"
#include "companion/web/QMRUrlRequest.h"
#include "companion/web/QMRUrlSession.h"

class QMRFunambolErrorConverter;

class QMRFunambolDataStore : public QMRDataStore, public std::enable_shared_from_this<QMRFunambolDataStore> {
public:
    using CollectionList = std::vector<QMRFunambolSystemContentTypeAndJsonNodeName>;
    using MetadataList = std::vector<QMRFunambolFileMetadataPtr>;

    QMRFunambolDataStore() = delete;
    ~QMRFunambolDataStore() override;

    // initWithUsername:andPassword:forUrl:error: logs in at once, through a session with the given
    // settings; the store, or null with the error in the slot.
    static std::shared_ptr<QMRFunambolDataStore> initWithUsername(const std::string& username,
                                                                  const std::string& password, const std::string& url,
                                                                  QMRErrorSlot& error,
                                                                  const QMRUrlSessionConfiguration& configuration = {});

    bool supportsOperation(QMRDataStoreOperation operation) const override;

    // Scheme, host and optional port; every request replaces its path and query.
    const std::string& baseUrl() const noexcept { return _baseUrl; }
    void setBaseUrl(std::string baseUrl) { _baseUrl = std::move(baseUrl); }
    QMRUrlSession& session() noexcept { return _session; }

    // Authentication
    bool isLoggedIn() const noexcept { return _isLoggedIn; }
    void setIsLoggedIn(bool isLoggedIn) noexcept { _isLoggedIn = isLoggedIn; }
    // One login exchange; may be called again after close().
    void loginUsername(const std::string& username, const std::string& password, QMRErrorSlot& error);
    // Logs out; on a store that is not logged in, sends nothing and leaves the slot alone.
    void close(QMRErrorSlot& error) override;
    // Raises QMRInvalidOperationException "Not logged in" unless logged in.
    void validateNotLoggedOut() const;
    std::string constructLoginRequestUri() const;
    std::string constructLogoutRequestUri() const;
    static QMRData constructLoginRequestBody(std::string_view username, std::string_view password);

    // Shared
    // The collections, in the order of every operation that walks them all.
    static const CollectionList& systemContentType();
    // Lower-case MIME subtypes stored as pictures and as videos.
    static const std::vector<std::string>& recognizedImageType();
    static const std::vector<std::string>& recognizedVideoType();
    // "yyyyMMdd'T'HHmmss" in UTC with "Z" (20130305T140709Z), and back.
    static std::string toStringFromDate(QMRDate date);
    static std::optional<QMRDate> toDateFromString(std::string_view text);
    static QMRFunambolErrorExtraInfo singleEntryErrorMapper(const std::string& code, std::string key,
                                                            QMRFunambolKeyValuePair::Value value);
    // The base URL with the path, the query and then each parameter in order.
    std::string constructRequestUri(std::string_view path, std::string_view query,
                                    const std::vector<QMRFunambolKeyValuePair>& params = {}) const;

    // CreateAndUpdate
    void createNewFile(QMRFileMetadata& metadata, QMRErrorSlot& error, const QMRStreamBlock& block) override;
    void updateFileMetadata(const QMRFileMetadata& metadata, QMRErrorSlot& error) override;
    void openFileForUpdating(const QMRFileMetadata& metadata, QMRErrorSlot& error,
                             const QMRStreamBlock& block) override;
    // The metadata save of an existing file in the given collection.
    void updateFileMetadata(const std::string& systemContentType, const QMRFileMetadata& metadata, QMRErrorSlot& error);
    // The metadata save of a new file; its new id, or none.
    std::optional<std::string> createFileMetadata(const QMRFileMetadata& metadata, const std::string& systemContentType,
                                                  QMRErrorSlot& error);
    // The content save: the stream's whole content, with the declared size in its own header.
    void sendStream(ComQuillmereIO_Stream& stream, const std::string& systemContentType, const std::string& fileId,
                    std::int64_t totalWriteSize, QMRErrorSlot& error);
    // "picture", "video" or "file" by the MIME subtype; a type without "/" raises QMRRangeException.
    static std::string toSystemContentTypeFromMimeContentType(std::string_view mimeContentType);
    std::string constructCreateOrUpdateFileMetadataUri(std::string_view systemContentType) const;
    std::string constructCreateOrUpdateFileContentRequestUri(std::string_view systemContentType) const;
    // {"data":{...}} with the record's available fields.
    static std::string constructWriteOrUpdateMetadataRequestContent(const QMRFileMetadata& metadata);
    static void validateFileIdNotAvailable(const QMRFileMetadata& metadata);
    static void validateFileIdAvailable(const QMRFileMetadata& metadata);
    static void validateNameAvailable(const QMRFileMetadata& metadata);
    static void validateContentTypeAvailable(const QMRFileMetadata& metadata);
    static void validateSizeInBytesAvailable(const QMRFileMetadata& metadata);

    // Read
    void openFileForReading(const std::string& fileId, QMRErrorSlot& error, const QMRStreamBlock& block) override;
    // Lazy: nothing is sent until the caller walks the result (QMRFunambolFileMetadataFastEnumeration).
    QMREnumerablePtr<QMRFileMetadataPtr> readAllFileMetadata(QMRErrorSlot& error) override;
    QMREnumerablePtr<QMRFileMetadataPtr> readFileMetadataWithSpecificDate(const QMRDate& date,
                                                                          QMRErrorSlot& error) override;
    // Every id must be known; otherwise error 104 names the unknown ones in request order.
    QMREnumerablePtr<QMRFileMetadataPtr> readFileMetadataWithSpecificFileIds(const std::vector<std::string>& fileIds,
                                                                             QMRErrorSlot& error) override;
    // The first record the collections return for the id, or null with error 104.
    QMRFunambolFileMetadataPtr readFileMetadataForFileId(const std::string& fileId, QMRErrorSlot& error);
    // One page of the collections: "offset", "limit" and, with a date, "from".
    std::optional<MetadataList> readAllFileMetadataStartingFrom(const CollectionList& collections,
                                                                const std::optional<QMRDate>& notBeforeDateInLocalTime,
                                                                std::uint64_t offset, std::uint64_t limit,
                                                                QMRErrorSlot& error);
    // The records of each collection in turn, with the parameters; none at the first failure.
    std::optional<MetadataList> readFileMetadataWithOptionalParam(const CollectionList& collections,
                                                                  const std::vector<QMRFunambolKeyValuePair>& params,
                                                                  QMRErrorSlot& error);
    std::string constructReadFileMetadataUri(std::string_view systemContentType,
                                             const std::vector<QMRFunambolKeyValuePair>& params) const;
    // {"ids":[17,42]}; an id that is not a number counts as 0.
    static std::string toFileIdUrlParam(const std::vector<std::string>& fileIds);
    static std::string toUtcMillisecondsStringFromLocalDate(QMRDate date);
    static QMRDate toLocalDateFromUtcMilliseconds(double milliseconds);

    // Delete
    void deleteAllFiles(QMRErrorSlot& error) override;
    void deleteFileWithSpecificFileIds(const std::vector<std::string>& fileIds, QMRErrorSlot& error) override;
    std::string constructDeleteAllFileUri(std::string_view systemContentType) const;
    std::string constructDeleteFileByFileIdUri(std::string_view systemContentType) const;
    // {"data":{"pictures":[17,42]}}
    static std::string constructDeleteFileByFileIdRequestContent(
        const QMRFunambolSystemContentTypeAndJsonNodeName& collection, const std::vector<std::string>& fileIds);

    // Sync
    // The token (empty on the first call) is replaced only when the exchange succeeds.
    QMREnumerablePtr<QMRChangeInfo> retrieveFileChangesWithSyncToken(std::string& syncToken,
                                                                     QMRErrorSlot& error) override;
    std::string constructRetrieveFileChangesRequestUri(const std::string& syncToken) const;

    // StorageSpace
    // Always a record: on failure it holds 0 and 0 beside the error in the slot.
    std::optional<QMRStorageSpaceInfo> getStorageSpace(QMRErrorSlot& error) override;
    std::string constructStorageSpaceRequestUri() const;

private:
    QMRFunambolDataStore(std::string baseUrl, const QMRUrlSessionConfiguration& configuration);

    // A request with a JSON or form body and its byte count as "Content-Length".
    static QMRUrlRequest newRequestWithBody(std::string method, std::string url, std::string contentType, QMRData body);
    // The standard exchange: sends the request and puts the converted outcome into the slot; on
    // success the returned converter holds the parsed answer, if there was one.
    QMRFunambolErrorConverter exchange(const QMRUrlRequest& request, QMRErrorSlot& error,
                                       const QMRFunambolErrorExtraInfo& customErrorExtraInfo = {});

    std::string _baseUrl;
    bool _isLoggedIn = false;
    QMRUrlSession _session;
};
