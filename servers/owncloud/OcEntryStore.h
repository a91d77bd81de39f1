#pragma once
// The user's folders and files by full path, with their ids, sizes and dates. File content lives in
// files of a private directory, never in memory, so that files of any size cost the server nothing
// but disk; the directory goes with this object.
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "OcStagedFile.h"

namespace fake_owncloud {

class OcEntryStore {
public:
    struct Entry {
        std::int64_t id = 0;
        bool folder = false;
        std::string mime;
        std::int64_t size = 0;   // a file's own; see sizeOf for a folder's
        std::int64_t mtime = 0;  // seconds since 1970, UTC
    };

    // Makes its directory in parent; throws std::filesystem::filesystem_error when it cannot.
    explicit OcEntryStore(const std::filesystem::path& parent);
    ~OcEntryStore();
    OcEntryStore(const OcEntryStore&) = delete;
    OcEntryStore& operator=(const OcEntryStore&) = delete;

    // Nothing but an empty root folder; ids keep counting up.
    void reset();

    const Entry* find(const std::string& path) const;
    bool isFolder(const std::string& path) const;
    // The path of the entry with this id, or empty.
    std::string pathOf(std::int64_t id) const;
    // The entries directly in a folder: folders first, then files, each by name.
    std::vector<std::pair<std::string, const Entry*>> children(const std::string& folder) const;

    // A place to receive content into, for addFile.
    std::unique_ptr<OcStagedFile> stage() const;
    // Adds a folder, or a file holding content (which it takes), replacing an entry of that path
    // under a new id. Null when the content cannot be kept.
    const Entry* addFolder(const std::string& path, std::int64_t mtime);
    const Entry* addFile(const std::string& path, const std::string& mime, OcStagedFile& content, std::int64_t mtime);
    // Removes the entry and, for a folder, everything in it.
    void remove(const std::string& path);

    // The file holding a file entry's content.
    std::filesystem::path contentPath(const Entry& entry) const;
    // A file's size, or for a folder that of everything in it.
    std::int64_t sizeOf(const std::string& path) const;
    std::int64_t usedBytes() const { return sizeOf("/"); }

private:
    void forget(const std::map<std::string, Entry>::iterator& entry);

    std::filesystem::path _directory;
    std::map<std::string, Entry> _entries;  // by full path; "/" is the root folder
    std::int64_t _nextId = 1;
};

}  // namespace fake_owncloud
