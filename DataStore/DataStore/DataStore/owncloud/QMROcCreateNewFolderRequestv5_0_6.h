#pragma once
// The 5.0.6 new folder: a fixed script address, and the id sent as a JSON number.
#include "DataStore/owncloud/QMROcCreateNewFolderRequestv4_5_7.h"

class QMROcCreateNewFolderRequestv5_0_6 : public QMROcCreateNewFolderRequestv4_5_7 {
public:
    QMROcCreateNewFolderRequestv5_0_6() = delete;
    using QMROcCreateNewFolderRequestv4_5_7::QMROcCreateNewFolderRequestv4_5_7;

    std::string constructCreateNewFolderRequestUrl() const override;
    // A body that is not JSON gives 101 "Unknown error - <body>".
    std::optional<std::string> extractId(const QMRData& body, QMRErrorSlot& error) const override;
};
