#include "QMRContentSink.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <utility>

#include "QMRStoreFailure.h"

namespace {

[[noreturn]] void failLocally(const std::string& path, const char* what) {
    throw QMRStoreFailure(QMRStoreFailure::localFile, path + ": " + what);
}

}  // namespace

QMRContentSink::QMRContentSink(std::string path) : _path(path == "-" ? std::string() : std::move(path)) {
    if (isStdout()) return;
    _temporaryPath = _path + ".qmrstore-" + std::to_string(getpid());
    _file.open(_temporaryPath, std::ios::binary | std::ios::trunc);
    if (!_file) failLocally(_path, std::strerror(errno));
}

QMRContentSink::~QMRContentSink() {
    if (!isStdout() && !_committed) std::remove(_temporaryPath.c_str());
}

void QMRContentSink::write(QMRDataView data) {
    std::ostream& out = isStdout() ? std::cout : _file;
    out.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
    if (!out) failLocally(isStdout() ? std::string("stdout") : _path, "write error");
    _bytesWritten += data.size();
}

void QMRContentSink::commit() {
    if (isStdout()) {
        std::cout.flush();
        return;
    }
    _file.close();
    if (!_file) failLocally(_path, "write error");
    if (std::rename(_temporaryPath.c_str(), _path.c_str()) != 0) failLocally(_path, std::strerror(errno));
    _committed = true;
}
