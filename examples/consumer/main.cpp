// Builds a record, writes content into a memory stream and prints both, through the installed headers.
#include <DataStore/DataStore.h>

#include <iostream>

int main() {
    QMRFileMetadata metadata;
    metadata.setName("notes.txt");
    metadata.setMimeContentType("text/plain");

    ComQuillmereIO_MemoryStream content;
    content.write("hello");
    metadata.setSizeInBytes(static_cast<std::int64_t>(content.length()));

    QMRErrorSlot error = QMRDataStoreError::errorWithCode(QMRDataStoreErrorUnknown, "Unknown error");
    std::cout << metadata.description() << error->description() << '\n';
    return metadata.sizeInBytes() == 5 ? 0 : 1;
}
