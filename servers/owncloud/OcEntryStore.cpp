#include "OcEntryStore.h"

#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>

#include "OcText.h"

namespace fake_owncloud {

OcEntryStore::OcEntryStore(const std::filesystem::path& parent) {
    std::string name = (parent / "qmr-owncloud-files.XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        throw std::filesystem::filesystem_error("cannot make the content directory", name,
                                                std::error_code(errno, std::generic_category()));
    _directory = name;
    reset();
}

OcEntryStore::~OcEntryStore() {
    std::error_code ignored;
    std::filesystem::remove_all(_directory, ignored);
}

void OcEntryStore::reset() {
    while (!_entries.empty()) forget(_entries.begin());
    _entries["/"] = Entry{_nextId++, true, "httpd/unix-directory", 0, now()};
}

const OcEntryStore::Entry* OcEntryStore::find(const std::string& path) const {
    auto found = _entries.find(path);
    return found == _entries.end() ? nullptr : &found->second;
}

bool OcEntryStore::isFolder(const std::string& path) const {
    const Entry* entry = find(path);
    return entry != nullptr && entry->folder;
}

std::string OcEntryStore::pathOf(std::int64_t id) const {
    for (const auto& [path, entry] : _entries)
        if (entry.id == id) return path;
    return {};
}

std::vector<std::pair<std::string, const OcEntryStore::Entry*>> OcEntryStore::children(
    const std::string& folder) const {
    std::vector<std::pair<std::string, const Entry*>> found;
    for (const auto& [path, entry] : _entries)
        if (path != "/" && parentOf(path) == folder) found.emplace_back(path, &entry);
    std::stable_partition(found.begin(), found.end(), [](const auto& child) { return child.second->folder; });
    return found;
}

std::unique_ptr<OcStagedFile> OcEntryStore::stage() const {
    return std::make_unique<OcStagedFile>(_directory);
}

const OcEntryStore::Entry* OcEntryStore::addFolder(const std::string& path, std::int64_t mtime) {
    remove(path);
    return &(_entries[path] = Entry{_nextId++, true, "httpd/unix-directory", 0, mtime});
}

const OcEntryStore::Entry* OcEntryStore::addFile(const std::string& path, const std::string& mime,
                                                 OcStagedFile& content, std::int64_t mtime) {
    const Entry entry{_nextId++, false, mime, content.size(), mtime};
    if (!content.moveTo(contentPath(entry))) return nullptr;
    remove(path);
    return &(_entries[path] = entry);
}

void OcEntryStore::remove(const std::string& path) {
    const std::string inside = path == "/" ? path : path + "/";
    for (auto entry = _entries.begin(); entry != _entries.end();) {
        auto next = std::next(entry);
        if (entry->first == path || entry->first.starts_with(inside)) forget(entry);
        entry = next;
    }
}

std::filesystem::path OcEntryStore::contentPath(const Entry& entry) const {
    return _directory / ("content-" + std::to_string(entry.id));
}

std::int64_t OcEntryStore::sizeOf(const std::string& path) const {
    const std::string inside = path == "/" ? path : path + "/";
    std::int64_t size = 0;
    for (const auto& [other, entry] : _entries)
        if (other == path || other.starts_with(inside)) size += entry.size;
    return size;
}

// A download still reading the content keeps it through its open descriptor.
void OcEntryStore::forget(const std::map<std::string, Entry>::iterator& entry) {
    if (!entry->second.folder) {
        std::error_code ignored;
        std::filesystem::remove(contentPath(entry->second), ignored);
    }
    _entries.erase(entry);
}

}  // namespace fake_owncloud
