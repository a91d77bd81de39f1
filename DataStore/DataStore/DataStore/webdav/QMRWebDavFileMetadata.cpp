#include "DataStore/webdav/QMRWebDavFileMetadata.h"

#include <fmt/format.h>

#include "companion/util/QMRDateFormat.h"

QMRWebDavFileMetadata::QMRWebDavFileMetadata(const QMRFileMetadata& metadata) {
    setFileId(metadata.fileId());
    setName(metadata.name());
    setServerSideModificationDateInLocalTime(metadata.serverSideModificationDateInLocalTime());
    setClientSideCreationDateInLocalTime(metadata.clientSideCreationDateInLocalTime());
    setClientSideModificationDateInLocalTime(metadata.clientSideModificationDateInLocalTime());
    setMimeContentType(metadata.mimeContentType());
    setSizeInBytes(metadata.sizeInBytes());
}

std::string QMRWebDavFileMetadata::description() const {
    std::string text = QMRFileMetadata::description();
    if (_serverSideCreationDateInLocalTime)
        text += fmt::format("Server Side Creation Date (in local time): {}\n",
                            QMRDateFormat::toLocalTimeDisplayString(*_serverSideCreationDateInLocalTime));
    if (changeAvailable()) text += fmt::format("Change: {}\n", _change);
    if (_changeDate)
        text += fmt::format("Change Date (in local time): {}\n", QMRDateFormat::toLocalTimeDisplayString(*_changeDate));
    return text;
}
