// A tour of a back-end: every operation of the flat file stores it offers, once, with what comes back.
// Usage: tour webdav|funambol BASE_URL USER   (the password comes from QMRSTORE_PASSWORD)
#include <DataStore/DataStore.h>
#include <DataStore/funambol/QMRFunambolDataStore.h>
#include <DataStore/webdav/QMRWebDavDataStore.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <string>

namespace {

using enum QMRDataStoreOperation;

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

void printFiles(const QMREnumerablePtr<QMRFileMetadataPtr>& files) {
    for (const QMRFileMetadataPtr& file : *files) std::cout << file->description() << '\n';
}

void setSizeOf(QMRFileMetadata& metadata, const std::string& text) {
    metadata.setSizeInBytes(static_cast<std::int64_t>(text.size()));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: tour webdav|funambol BASE_URL USER (password in QMRSTORE_PASSWORD)\n";
        return 2;
    }
    const std::string backend = argv[1], url = argv[2], user = argv[3];
    const char* passwordVariable = std::getenv("QMRSTORE_PASSWORD");
    const std::string password = passwordVariable ? passwordVariable : "";
    QMRErrorSlot error;

    std::function<std::shared_ptr<QMRDataStore>()> open = [&]() -> std::shared_ptr<QMRDataStore> {
        if (backend == "webdav") return std::make_shared<QMRWebDavDataStore>(user, password, url);
        auto store = QMRFunambolDataStore::initWithUsername(user, password, url, error);
        check(error);
        return store;
    };
    std::shared_ptr<QMRDataStore> store = open();

    step("create notes.txt");
    QMRFileMetadata metadata;
    metadata.setName("notes.txt");
    metadata.setMimeContentType("text/plain");
    metadata.setClientSideCreationDateInLocalTime(std::chrono::system_clock::now());
    metadata.setClientSideModificationDateInLocalTime(std::chrono::system_clock::now());
    const std::string content = "Remember the milk.\n";
    setSizeOf(metadata, content);
    store->createNewFile(metadata, error, [&](ComQuillmereIO_Stream& stream) { stream.write(content); });
    check(error);
    std::cout << metadata.description();

    step("first sync");
    std::string token;
    auto changes = store->retrieveFileChangesWithSyncToken(token, error);
    check(error);
    printChanges(changes, token);

    step("read all file metadata");
    auto all = store->readAllFileMetadata(error);
    check(error);
    printFiles(all);

    step("read the content back");
    store->openFileForReading(metadata.fileId(), error, [](ComQuillmereIO_Stream& stream) {
        QMRData bytes = stream.readDataFromCurrentToEnd();
        std::cout << std::string(bytes.begin(), bytes.end());
    });
    check(error);

    step("rename it and replace the content");
    metadata.setName("shopping.txt");
    store->updateFileMetadata(metadata, error);
    check(error);
    const std::string newContent = "Milk, bread, coffee.\n";
    setSizeOf(metadata, newContent);
    store->openFileForUpdating(metadata, error, [&](ComQuillmereIO_Stream& stream) { stream.write(newContent); });
    check(error);
    auto updated = store->readFileMetadataWithSpecificFileIds({metadata.fileId()}, error);
    check(error);
    printFiles(updated);

    step("changes since the first sync");
    changes = store->retrieveFileChangesWithSyncToken(token, error);
    check(error);
    printChanges(changes, token);

    if (store->supportsOperation(applyApplicationExclusiveAccessLockWithTimeout)) {
        step("take, refresh and release the exclusive lock");
        std::cout << "granted timeout: " << store->applyApplicationExclusiveAccessLockWithTimeout(3600, error)
                  << " s\n";
        check(error);
        std::cout << "refreshed timeout: " << store->refreshApplicationExclusiveAccessLockWithTimeout(3600, error)
                  << " s\n";
        check(error);
        store->applyApplicationExclusiveAccessUnlock(error);
        check(error);
        std::cout << "released\n";
        // A store keeps naming its old lock token on writes after the unlock; a fresh one names none.
        store = open();
    }

    step("quota");
    auto quota = store->getStorageSpace(error);
    check(error);
    std::cout << quota->description() << '\n';

    step("delete the file");
    store->deleteFileWithSpecificFileIds({metadata.fileId()}, error);
    check(error);
    all = store->readAllFileMetadata(error);
    check(error);
    std::cout << "files left: " << all->toVector().size() << '\n';

    step("changes since the last sync");
    changes = store->retrieveFileChangesWithSyncToken(token, error);
    check(error);
    printChanges(changes, token);

    if (store->supportsOperation(QMRDataStoreOperation::close)) {
        step("close the session");
        store->close(error);
        check(error);
        std::cout << "closed\n";
    }
    return 0;
}
