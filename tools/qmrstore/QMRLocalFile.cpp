#include "QMRLocalFile.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <utility>

#include "QMRStoreFailure.h"

namespace {

[[noreturn]] void failLocally(const std::string& path, const char* what) {
    throw QMRStoreFailure(QMRStoreFailure::localFile, path + ": " + what);
}

}  // namespace

QMRLocalFile::QMRLocalFile(std::string path) : _path(std::move(path)) {
    if (isStdin()) return;
    struct stat info {};
    if (::stat(_path.c_str(), &info) != 0) failLocally(_path, std::strerror(errno));
    if (S_ISDIR(info.st_mode)) failLocally(_path, "is a directory");
    if (S_ISREG(info.st_mode)) _size = static_cast<std::int64_t>(info.st_size);
    _modificationDate = std::chrono::system_clock::time_point(std::chrono::duration_cast<QMRDate::duration>(
        std::chrono::seconds(info.st_mtim.tv_sec) + std::chrono::nanoseconds(info.st_mtim.tv_nsec)));
    _file.open(_path, std::ios::binary);
    if (!_file) failLocally(_path, std::strerror(errno));
}

std::string QMRLocalFile::baseName() const {
    if (isStdin()) return {};
    const std::size_t slash = _path.find_last_of('/');
    return slash == std::string::npos ? _path : _path.substr(slash + 1);
}

QMRData QMRLocalFile::read(std::size_t maxBytes) {
    std::istream& in = isStdin() ? std::cin : _file;
    QMRData piece(maxBytes);
    in.read(reinterpret_cast<char*>(piece.data()), static_cast<std::streamsize>(maxBytes));
    piece.resize(static_cast<std::size_t>(in.gcount()));
    if (in.bad()) failLocally(_path, "read error");
    return piece;
}

QMRData QMRLocalFile::readAll() {
    constexpr std::size_t pieceSize = 1 << 16;
    QMRData content;
    for (QMRData piece = read(pieceSize); !piece.empty(); piece = read(pieceSize))
        content.insert(content.end(), piece.begin(), piece.end());
    return content;
}

std::string QMRLocalFile::mimeTypeForName(std::string_view name) {
    // The kinds a user stores most; the Funambol back-end files pictures and videos by them.
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 18> types = {{
        {"txt", "text/plain"},
        {"md", "text/markdown"},
        {"csv", "text/csv"},
        {"html", "text/html"},
        {"json", "application/json"},
        {"xml", "application/xml"},
        {"pdf", "application/pdf"},
        {"zip", "application/zip"},
        {"jpg", "image/jpeg"},
        {"jpeg", "image/jpeg"},
        {"png", "image/png"},
        {"gif", "image/gif"},
        {"svg", "image/svg+xml"},
        {"mp3", "audio/mpeg"},
        {"mp4", "video/mp4"},
        {"mov", "video/quicktime"},
        {"avi", "video/x-msvideo"},
        {"webm", "video/webm"},
    }};
    const std::size_t dot = name.find_last_of('.');
    if (dot != std::string_view::npos && name.find('/', dot) == std::string_view::npos) {
        std::string extension(name.substr(dot + 1));
        std::transform(extension.begin(), extension.end(), extension.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        for (const auto& [known, type] : types)
            if (extension == known) return std::string(type);
    }
    return "application/octet-stream";
}
