#pragma once
// The 5.0.6 listing: another page address, breadcrumb link, row markup and date text.
#include "DataStore/owncloud/QMROcReadFolderContentRequestv4_5_7.h"

class QMROcReadFolderContentRequestv5_0_6 : public QMROcReadFolderContentRequestv4_5_7 {
public:
    QMROcReadFolderContentRequestv5_0_6() = delete;
    using QMROcReadFolderContentRequestv4_5_7::QMROcReadFolderContentRequestv4_5_7;

    std::string constructReadFolderContentReqUrl() const override;

protected:
    RowPatterns rowPatterns() const override;
    std::string expectedBreadcrumbLink() const override;
    std::optional<QMRDate> toModificationDate(std::string_view title) const override;
};
