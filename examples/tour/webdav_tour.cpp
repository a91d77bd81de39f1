// A tour of the WebDAV back-end: every operation it offers, once, with what comes back.
// Usage: webdav_tour BASE_URL USER   (the password comes from QMRSTORE_PASSWORD)
#include <DataStore/DataStore.h>
#include <DataStore/webdav/QMRWebDavDataStore.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>

namespace {

void step(const std::string& title) { std::cout << "\n== " << title << " ==\n"; }

// Prints the error and ends the tour when an operation failed.
void check(const QMRErrorSlot& error) {
    if (!error) return;
    std::cout << "error " << error->code() << ": " << error->localizedDescription() << '\n';
    std::exit(1);
}

void printChanges(const QMREnumerablePtr<QMRChangeInfo>& changes, const std::string& token) {
    for (const QMRChangeInfo& change : *changes) std::cout << change.description() << '\n';
    std::cout << "new sync token: " << token << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: webdav_tour BASE_URL USER (password in QMRSTORE_PASSWORD)\n";
        return 2;
    }
    const char* password = std::getenv("QMRSTORE_PASSWORD");
    QMRWebDavDataStore store(argv[2], password ? password : "", argv[1]);
    QMRErrorSlot error;

    step("create notes.txt");
    QMRFileMetadata metadata;
    metadata.setName("notes.txt");
    metadata.setMimeContentType("text/plain");
    metadata.setClientSideCreationDateInLocalTime(std::chrono::system_clock::now());
    metadata.setClientSideModificationDateInLocalTime(std::chrono::system_clock::now());
    const std::string content = "Remember the milk.\n";
    metadata.setSizeInBytes(static_cast<std::int64_t>(content.size()));
    store.createNewFile(metadata, error, [&](ComQuillmereIO_Stream& stream) { stream.write(content); });
    check(error);
    std::cout << metadata.description();

    step("first sync");
    std::string token;
    printChanges(store.retrieveFileChangesWithSyncToken(token, error), token);
    check(error);

    step("read all file metadata");
    auto all = store.readAllFileMetadata(error);
    check(error);
    for (const QMRFileMetadataPtr& file : *all) std::cout << file->description() << '\n';

    step("read the content back");
    store.openFileForReading(metadata.fileId(), error, [](ComQuillmereIO_Stream& stream) {
        QMRData bytes = stream.readDataFromCurrentToEnd();
        std::cout << std::string(bytes.begin(), bytes.end());
    });
    check(error);

    step("rename it and replace the content");
    metadata.setName("shopping.txt");
    store.updateFileMetadata(metadata, error);
    check(error);
    const std::string newContent = "Milk, bread, coffee.\n";
    metadata.setSizeInBytes(static_cast<std::int64_t>(newContent.size()));
    store.openFileForUpdating(metadata, error, [&](ComQuillmereIO_Stream& stream) { stream.write(newContent); });
    check(error);
    auto byId = store.readFileMetadataWithSpecificFileIds({metadata.fileId()}, error);
    check(error);
    for (const QMRFileMetadataPtr& file : *byId) std::cout << file->description();

    step("changes since the first sync");
    printChanges(store.retrieveFileChangesWithSyncToken(token, error), token);
    check(error);

    step("take, refresh and release the exclusive lock");
    std::cout << "granted timeout: " << store.applyApplicationExclusiveAccessLockWithTimeout(3600, error) << " s\n";
    check(error);
    std::cout << "refreshed timeout: " << store.refreshApplicationExclusiveAccessLockWithTimeout(3600, error)
              << " s\n";
    check(error);
    store.applyApplicationExclusiveAccessUnlock(error);
    check(error);
    std::cout << "released\n";

    step("quota");
    auto quota = store.getStorageSpace(error);
    check(error);
    std::cout << quota->description() << '\n';

    step("delete the file");
    // The lock was released, but the store still names its old token on writes; a fresh store does not.
    QMRWebDavDataStore writer(argv[2], password ? password : "", argv[1]);
    writer.deleteFileWithSpecificFileIds({metadata.fileId()}, error);
    check(error);
    auto remaining = writer.readAllFileMetadata(error);
    check(error);
    std::cout << "files left: " << remaining->toVector().size() << '\n';

    step("changes since the last sync");
    printChanges(writer.retrieveFileChangesWithSyncToken(token, error), token);
    check(error);
    return 0;
}
