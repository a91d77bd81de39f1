#pragma once
// The local side of a transfer: reading a file (or stdin, named "-") and what can be told of it
// without the user saying so: size, modification date, MIME type. Failures raise QMRStoreFailure
// with the local-file exit status.
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include "companion/util/QMRTypes.h"

class QMRLocalFile {
public:
    // Opens the file for reading piece by piece.
    explicit QMRLocalFile(std::string path);

    const std::string& path() const noexcept { return _path; }
    bool isStdin() const noexcept { return _path == "-"; }
    // The size when known before reading (a regular file).
    std::optional<std::int64_t> size() const noexcept { return _size; }
    std::optional<QMRDate> modificationDate() const noexcept { return _modificationDate; }
    // The last path component; "" for stdin.
    std::string baseName() const;

    // Up to maxBytes more; empty at the end.
    QMRData read(std::size_t maxBytes);
    // Everything not read yet.
    QMRData readAll();

    // By the name's extension; "application/octet-stream" when it says nothing.
    static std::string mimeTypeForName(std::string_view name);

private:
    std::string _path;
    std::ifstream _file;
    std::optional<std::int64_t> _size;
    std::optional<QMRDate> _modificationDate;
};
