#pragma once
// A folder's entries (both releases), in the order of the page's rows.
#include <optional>
#include <utility>
#include <vector>

#include "DataStore/contract/QMRFileMetadata.h"

class QMROcReadFolderContentResponsev4_5_7 {
public:
    using MetadataList = std::vector<QMRFileMetadataPtr>;

    // None until a listing succeeded.
    const std::optional<MetadataList>& metadatas() const noexcept { return _metadatas; }
    void setMetadatas(std::optional<MetadataList> metadatas) { _metadatas = std::move(metadatas); }

private:
    std::optional<MetadataList> _metadatas;
};
