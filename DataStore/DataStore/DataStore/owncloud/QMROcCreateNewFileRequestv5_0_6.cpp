#include "DataStore/owncloud/QMROcCreateNewFileRequestv5_0_6.h"

#include "companion/util/QMRRegularExpression.h"

std::string QMROcCreateNewFileRequestv5_0_6::constructUploadNewFileReqUrl() const {
    return fixedUrl("/index.php/apps/files/ajax/upload.php");
}

std::optional<std::string> QMROcCreateNewFileRequestv5_0_6::extractId(const QMRData& body, QMRErrorSlot& error) const {
    // Greedy and not parsed as JSON; deliberate.
    static const QMRRegularExpression idPattern("\"id\":(.+),\"name\"", QMRRegularExpressionOptions::CaseInsensitive);
    return firstCapture(body, idPattern, error);
}
