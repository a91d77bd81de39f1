#include "DataStore/contract/QMRFileMetadata.h"

#include <fmt/format.h>

#include "companion/util/QMRDateFormat.h"

std::string QMRFileMetadata::description() const {
    std::string text;
    auto appendDate = [&text](const char* label, const std::optional<QMRDate>& date) {
        if (date) text += fmt::format("{}{}\n", label, QMRDateFormat::toLocalTimeDisplayString(*date));
    };
    if (fileIdAvailable()) text += fmt::format("FileId: {}\n", _fileId);
    if (nameAvailable()) text += fmt::format("Name: {}\n", _name);
    appendDate("Server Side Modification Date (in local time): ", _serverSideModificationDateInLocalTime);
    appendDate("Client Side Creation Date (in local time): ", _clientSideCreationDateInLocalTime);
    appendDate("Client Side Modification Date (in local time): ", _clientSideModificationDateInLocalTime);
    if (mimeContentTypeAvailable()) text += fmt::format("Mime Content Type: {}\n", _mimeContentType);
    if (sizeInBytesAvailable()) text += fmt::format("Size (in bytes): {}\n", _sizeInBytes);
    if (resourceTypeAvailable()) text += fmt::format("Resource Type: {}\n", _resourceType);
    return text;
}
