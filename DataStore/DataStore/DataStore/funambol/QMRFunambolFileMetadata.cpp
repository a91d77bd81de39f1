#include "DataStore/funambol/QMRFunambolFileMetadata.h"

#include <fmt/format.h>

std::string QMRFunambolFileMetadata::description() const {
    return fmt::format("{}Content Download URL: {}\nSystem Content Type: {}\n", QMRFileMetadata::description(),
                       _contentDownloadUrl, _systemContentType);
}
