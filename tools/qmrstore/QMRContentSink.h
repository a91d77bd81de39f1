#pragma once
// Where downloaded content goes: stdout, or a file that appears only once the whole content has
// arrived (written beside it under a temporary name, then renamed), so a failed download never
// leaves a truncated file or spoils the one already there.
#include <cstdint>
#include <fstream>
#include <string>

#include "companion/util/QMRTypes.h"

class QMRContentSink {
public:
    // "-" or "" is stdout.
    explicit QMRContentSink(std::string path);
    QMRContentSink(const QMRContentSink&) = delete;
    QMRContentSink& operator=(const QMRContentSink&) = delete;
    // Without commit(), removes the temporary file.
    ~QMRContentSink();

    bool isStdout() const noexcept { return _path.empty(); }
    const std::string& path() const noexcept { return _path; }
    std::uint64_t bytesWritten() const noexcept { return _bytesWritten; }

    void write(QMRDataView data);
    // Puts the file in place.
    void commit();

private:
    std::string _path;
    std::string _temporaryPath;
    std::ofstream _file;
    std::uint64_t _bytesWritten = 0;
    bool _committed = false;
};
