// A tour of the ownCloud back-end: a folder, a streamed upload and download, sharing, the quota,
// and the end of the session, with what comes back.
// Usage: owncloud_tour BASE_URL USER [SHARE_WITH]   (the password comes from QMRSTORE_PASSWORD)
#include <DataStore/DataStore.h>
#include <DataStore/owncloud/QMROwnCloudDataStore.h>
#include <companion/web/QMRRunLoop.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

namespace {

void step(const std::string& title) { std::cout << "\n== " << title << " ==\n"; }

// Prints the error and ends the tour when an operation failed.
void check(const std::optional<QMRError>& error) {
    if (!error) return;
    std::cout << "error " << error->code() << ": " << error->localizedDescription() << '\n';
    std::exit(1);
}

void printEntries(const QMREnumerablePtr<QMRFileMetadataPtr>& entries) {
    for (const QMRFileMetadataPtr& entry : *entries) std::cout << entry->description() << '\n';
}

// Uploads text as a new file at path: the library asks for each piece when the connection can
// take it, and the current thread's run loop drives the transfer until the completion.
QMRFileMetadataPtr upload(QMRDataStore& store, const std::string& path, const std::string& text) {
    auto metadata = std::make_shared<QMRFileMetadata>();
    metadata->setName(path);
    metadata->setMimeContentType("text/plain");
    metadata->setSizeInBytes(static_cast<std::int64_t>(text.size()));
    QMRFileMetadataPtr created;
    std::optional<QMRError> failure;
    bool sent = false;
    store.createNewFileAsync(
        metadata,
        [&](QMRFileMetadataPtr result, std::optional<QMRError> error) {
            created = std::move(result);
            failure = std::move(error);
        },
        [&](std::optional<QMRData>& piece, bool& /*stop*/) {
            if (!sent) piece = QMRData(text.begin(), text.end());  // the whole content in one piece
            sent = true;                                           // then no data: the end
        });
    QMRRunLoop::current().run();
    check(failure);
    return created;
}

// Downloads a file piece by piece; an empty piece marks the end.
std::string download(QMRDataStore& store, const std::string& fileId) {
    std::string content;
    std::optional<QMRError> failure;
    store.openFileForReadingAsync(
        fileId, [&](std::optional<QMRError> error) { failure = std::move(error); },
        [&](QMRDataView piece, bool& /*stop*/) { content.append(piece.begin(), piece.end()); });
    QMRRunLoop::current().run();
    check(failure);
    return content;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        std::cerr << "usage: owncloud_tour BASE_URL USER [SHARE_WITH] (password in QMRSTORE_PASSWORD)\n";
        return 2;
    }
    const std::string url = argv[1], user = argv[2], shareWith = argc == 4 ? argv[3] : "";
    const char* passwordVariable = std::getenv("QMRSTORE_PASSWORD");
    QMRErrorSlot error;

    step("server release");
    const std::optional<std::string> version = QMROwnCloudDataStore::readServerVersion(url, error);
    check(error);
    std::cout << version.value_or("(not given)") << '\n';

    // The authenticator logs in and holds the account's session; the data store of the server's
    // release works through it.
    auto authenticator = QMROwnCloudDataStore::getAuthenticatorWithUrl(
        url, user, passwordVariable ? passwordVariable : "", error);
    check(error);
    std::shared_ptr<QMRDataStore> store = QMROwnCloudDataStore::getDataStore(authenticator);

    step("create the folder /tour");
    const std::optional<std::string> folderId = store->createNewFolder("/tour", error);
    check(error);
    std::cout << "folder id: " << *folderId << '\n';

    step("upload /tour/notes.txt");
    const QMRFileMetadataPtr notes = upload(*store, "/tour/notes.txt", "Remember the milk.\n");
    std::cout << notes->description() << '\n';

    step("list the root folder, then /tour");
    auto root = store->readRootFolderContent(error);
    check(error);
    printEntries(root);
    auto folder = store->readFolderContent(*folderId, error);
    check(error);
    printEntries(folder);

    step("download /tour/notes.txt");
    std::cout << download(*store, notes->fileId());

    if (!shareWith.empty()) {
        step("share /tour with " + shareWith);
        auto found = store->readAllowedSharingPartyInfo(shareWith, error);
        check(error);
        auto parties = found->toVector();
        const auto party = std::find_if(parties.begin(), parties.end(), [&](const QMRSharingPartyInfo& candidate) {
            return candidate.sharingPartyName() == shareWith;
        });
        if (party == parties.end()) {
            std::cout << shareWith << " cannot be shared with\n";
            return 1;
        }
        constexpr std::int32_t readAndUpdate = 1 | 2;
        store->enableFileOrFolderSharing(*folderId, *party, readAndUpdate, error);
        check(error);
        auto shares = store->readSharedFileOrFolderInfo(*folderId, error);
        check(error);
        for (const QMRSharingFileOrFolderInfo& share : *shares) std::cout << share.description() << '\n';
        store->disableFileOrFolderSharing(*folderId, *party, error);
        check(error);
        std::cout << "no longer shared\n";
    }

    step("quota");
    const std::optional<QMRStorageSpaceInfo> quota = store->getStorageSpace(error);
    check(error);
    std::cout << quota->description() << '\n';

    step("delete the file and the folder");
    store->deleteFileOrFolder(notes->fileId(), error);
    check(error);
    store->deleteFileOrFolder(*folderId, error);
    check(error);
    root = store->readRootFolderContent(error);
    check(error);
    std::cout << "entries left in the root folder: " << root->toVector().size() << '\n';

    step("log out");
    authenticator->close(error);
    check(error);
    std::cout << "logged out\n";
    return 0;
}
