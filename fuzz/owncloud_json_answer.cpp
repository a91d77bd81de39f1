// The small JSON answers of the files application's ajax scripts and the status page, for both
// releases: new folder, delete, upload, server release. The id of a new folder or file is wrapped
// into the id handed to the caller, which must read back as that entry.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcCreateNewFolderRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcCreateNewFolderRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcReadServerInfoRequest.h"
#include "fuzz/FuzzSupport.h"

namespace {

constexpr char token[] = "tk";
constexpr char newPath[] = "/docs/new";

// The id text the caller gets for a server id, and that it reads back as the same entry.
void wrapServerId(const std::string& identifier, std::int32_t resourceType) {
    const QMROcFileOrFolderId read(QMROcFileOrFolderId(identifier, newPath, resourceType).toString());
    fuzz::require(read.identifier() == identifier && read.path() == newPath && read.resourceType() == resourceType,
                  "a new id reads back");
}

template <class Request>
void readCreatedId(const Request& request, const QMRData& answer, std::int32_t resourceType) {
    QMRErrorSlot error;
    if constexpr (std::is_base_of_v<QMROcCreateNewFolderRequestv4_5_7, Request>)
        request.validateCreateNewFolderResponseBody(answer, error);
    else
        request.validateResponseBody(answer, error);
    if (error) return;
    const std::optional<std::string> identifier = request.extractId(answer, error);
    fuzz::require(identifier.has_value() != error.has_value(), "an accepted answer gives an id or an error");
    if (identifier) wrapServerId(*identifier, resourceType);
}

std::shared_ptr<QMRFileMetadata> newFile() {
    auto metadata = std::make_shared<QMRFileMetadata>();
    metadata->setName(newPath);
    metadata->setMimeContentType("text/plain");
    metadata->setSizeInBytes(1);
    return metadata;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string deletedId =
        QMROcFileOrFolderId("7", newPath, QMRFileMetadata::resourceTypeFile).toString();
    static const QMROcCreateNewFolderRequestv4_5_7 folderV4(fuzz::session(), token, fuzz::baseUrl, newPath);
    static const QMROcCreateNewFolderRequestv5_0_6 folderV5(fuzz::session(), token, fuzz::baseUrl, newPath);
    static const QMROcDeleteFileOrFolderRequestv4_5_7 deleteV4(fuzz::session(), token, fuzz::baseUrl, deletedId);
    static const QMROcDeleteFileOrFolderRequestv5_0_6 deleteV5(fuzz::session(), token, fuzz::baseUrl, deletedId);
    static const QMROcCreateNewFileRequestv4_5_7 fileV4(fuzz::session(), token, fuzz::baseUrl, newFile(), {}, {});
    static const QMROcCreateNewFileRequestv5_0_6 fileV5(fuzz::session(), token, fuzz::baseUrl, newFile(), {}, {});
    static const QMROcReadServerInfoRequest status(fuzz::session(), fuzz::baseUrl);
    const QMRData answer = fuzz::bodyOf(data, size);

    readCreatedId(folderV4, answer, QMRFileMetadata::resourceTypeFolder);
    readCreatedId(folderV5, answer, QMRFileMetadata::resourceTypeFolder);
    readCreatedId(fileV4, answer, QMRFileMetadata::resourceTypeFile);
    readCreatedId(fileV5, answer, QMRFileMetadata::resourceTypeFile);

    QMRErrorSlot refusedByV4, refusedByV5;
    deleteV4.validateResponseBody(answer, refusedByV4);
    deleteV5.validateResponseBody(answer, refusedByV5);
    fuzz::require(refusedByV4.has_value() == refusedByV5.has_value(), "both releases judge a delete answer alike");

    QMRErrorSlot error;
    const std::optional<QMROcReadServerInfoResponse> release = status.extractServerInfo(answer, error);
    fuzz::require(release.has_value() != error.has_value(), "a status page gives a release or an error");
    return 0;
}
