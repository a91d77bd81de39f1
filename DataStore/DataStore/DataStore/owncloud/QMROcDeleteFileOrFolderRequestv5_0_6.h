#pragma once
// The 5.0.6 delete: a fixed script address, and 404 means the entry is not there.
#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv4_5_7.h"

class QMROcDeleteFileOrFolderRequestv5_0_6 : public QMROcDeleteFileOrFolderRequestv4_5_7 {
public:
    QMROcDeleteFileOrFolderRequestv5_0_6() = delete;
    using QMROcDeleteFileOrFolderRequestv4_5_7::QMROcDeleteFileOrFolderRequestv4_5_7;

    // 404 gives 104 "File or folder not found"; otherwise the standard table.
    void validateResponseHeader(long statusCode, QMRErrorSlot& error) const override;
    std::string constructDeleteFileContentRequestUrl() const override;
};
