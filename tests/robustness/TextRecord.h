#pragma once
// The record of a small text file, as the operations of the robustness tests write it.
#include <string>
#include <utility>

#include "DataStore/contract/QMRFileMetadata.h"

namespace test_records {

// Without an id it is a new file; with one, the file of that id.
inline QMRFileMetadata textRecord(std::string fileId) {
    QMRFileMetadata metadata;
    metadata.setFileId(std::move(fileId));
    metadata.setName("notes.txt");
    metadata.setMimeContentType("text/plain");
    metadata.setSizeInBytes(5);
    return metadata;
}

}  // namespace test_records
