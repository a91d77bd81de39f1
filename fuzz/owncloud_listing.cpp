// The files page of both releases, for the root and for a sub-folder (whose page must show the
// folder's breadcrumb first), read into records. Every record's id is handed to the caller, who
// gives it back to read, list or delete: it must read back as the same entry.
#include <cstddef>
#include <cstdint>
#include <optional>

#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv5_0_6.h"
#include "fuzz/FuzzSupport.h"

namespace {

void readListing(const QMROcReadFolderContentRequestv4_5_7& listing, const QMRData& page) {
    QMRErrorSlot error;
    listing.validateResponseBody(page, error);
    if (error) return;
    const std::optional<QMROcReadFolderContentResponsev4_5_7::MetadataList> records =
        listing.extractMetadatas(page, error);
    fuzz::require(records.has_value() != error.has_value(), "a listing gives records or an error");
    if (!records) return;
    for (const QMRFileMetadataPtr& record : *records) {
        (void)record->description();
        const QMROcFileOrFolderId id(record->fileId());
        // The name may lack the upload suffix that the id's path keeps.
        fuzz::require(id.resourceType() == record->resourceType() && id.path().starts_with(record->name()),
                      "an id reads back as its entry");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string folderId =
        QMROcFileOrFolderId("5", "/docs", QMRFileMetadata::resourceTypeFolder).toString();
    static const QMROcReadFolderContentRequestv4_5_7 v4Root(fuzz::session(), fuzz::baseUrl);
    static const QMROcReadFolderContentRequestv4_5_7 v4Folder(fuzz::session(), fuzz::baseUrl, folderId);
    static const QMROcReadFolderContentRequestv5_0_6 v5Root(fuzz::session(), fuzz::baseUrl);
    static const QMROcReadFolderContentRequestv5_0_6 v5Folder(fuzz::session(), fuzz::baseUrl, folderId);
    const QMRData page = fuzz::bodyOf(data, size);
    readListing(v4Root, page);
    readListing(v4Folder, page);
    readListing(v5Root, page);
    readListing(v5Folder, page);
    return 0;
}
