#include "OcStagedFile.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace fake_owncloud {

OcStagedFile::OcStagedFile(const std::filesystem::path& directory) {
    std::string name = (directory / "staged.XXXXXX").string();
    _fd = ::mkostemp(name.data(), O_CLOEXEC);
    if (_fd >= 0) _path = name;
}

OcStagedFile::~OcStagedFile() {
    close();
    if (!_path.empty()) {
        std::error_code ignored;
        std::filesystem::remove(_path, ignored);
    }
}

void OcStagedFile::write(std::string_view bytes) {
    while (!bytes.empty() && _fd >= 0) {
        const ssize_t written = ::write(_fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            close();
            return;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
        _size += written;
    }
}

bool OcStagedFile::moveTo(const std::filesystem::path& target) {
    if (_fd < 0) return false;
    close();
    std::error_code failed;
    std::filesystem::rename(_path, target, failed);
    if (failed) return false;
    _path.clear();
    return true;
}

void OcStagedFile::close() {
    if (_fd >= 0) ::close(_fd);
    _fd = -1;
}

}  // namespace fake_owncloud
