#pragma once
// The new folder's id text (both releases).
#include <string>
#include <utility>

class QMROcCreateNewFolderResponsev4_5_7 {
public:
    const std::string& folderId() const noexcept { return _folderId; }
    void setFolderId(std::string folderId) { _folderId = std::move(folderId); }

private:
    std::string _folderId;
};
