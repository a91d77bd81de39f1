#pragma once
// The 5.0.6 upload: a fixed script address, and the id sent unquoted.
#include "DataStore/owncloud/QMROcCreateNewFileRequestv4_5_7.h"

class QMROcCreateNewFileRequestv5_0_6 : public QMROcCreateNewFileRequestv4_5_7 {
public:
    QMROcCreateNewFileRequestv5_0_6() = delete;
    using QMROcCreateNewFileRequestv4_5_7::QMROcCreateNewFileRequestv4_5_7;

    std::string constructUploadNewFileReqUrl() const override;
    std::optional<std::string> extractId(const QMRData& body, QMRErrorSlot& error) const override;
};
