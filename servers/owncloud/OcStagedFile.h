#pragma once
// A file being received, written to disk piece by piece as it arrives: an upload's content or a
// test's body. It goes away with this object unless it was moved into the store.
#include <cstdint>
#include <filesystem>
#include <string_view>

namespace fake_owncloud {

class OcStagedFile {
public:
    // A new empty file in directory; failed() when it could not be made.
    explicit OcStagedFile(const std::filesystem::path& directory);
    ~OcStagedFile();
    OcStagedFile(const OcStagedFile&) = delete;
    OcStagedFile& operator=(const OcStagedFile&) = delete;

    // Appends; after a write error the file stays failed and takes nothing more.
    void write(std::string_view bytes);
    bool failed() const { return _fd < 0; }
    std::int64_t size() const { return _size; }

    // Closes the file and renames it to target (in the same file system); false when that fails.
    bool moveTo(const std::filesystem::path& target);

private:
    void close();

    std::filesystem::path _path;
    int _fd = -1;
    std::int64_t _size = 0;
};

}  // namespace fake_owncloud
