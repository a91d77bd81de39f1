#include "DataStore/contract/QMRChangeInfo.h"

#include <fmt/format.h>

std::string QMRChangeInfo::changesMadeString() const {
    switch (_changesMade) {
        case changeNew:
            return "New";
        case changeUpdated:
            return "Updated";
        case changeDeleted:
            return "Deleted";
        default:
            return fmt::format("{}", _changesMade);
    }
}

std::string QMRChangeInfo::description() const {
    return fmt::format("FileId: {} Change: {}", _fileId, changesMadeString());
}
