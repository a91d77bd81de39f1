#pragma once
// The 5.0.6 download: a fixed script address with the file name written into the query as it is.
#include "DataStore/owncloud/QMROcReadFileContentRequestv4_5_7.h"

class QMROcReadFileContentRequestv5_0_6 : public QMROcReadFileContentRequestv4_5_7 {
public:
    QMROcReadFileContentRequestv5_0_6() = delete;
    using QMROcReadFileContentRequestv4_5_7::QMROcReadFileContentRequestv4_5_7;

    std::string constructReadFileContentReqUrl() const override;
};
