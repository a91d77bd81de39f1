#pragma once
#include <cstdint>
#include <string>
#include <utility>

// One change since a sync token: which file, and whether it is new, updated or deleted.
class QMRChangeInfo {
public:
    static constexpr std::int32_t changeNew = 1;
    static constexpr std::int32_t changeUpdated = 2;
    static constexpr std::int32_t changeDeleted = 3;

    QMRChangeInfo() = default;
    QMRChangeInfo(std::string fileId, std::int32_t changesMade)
        : _fileId(std::move(fileId)), _changesMade(changesMade) {}

    const std::string& fileId() const noexcept { return _fileId; }
    void setFileId(std::string value) { _fileId = std::move(value); }
    std::int32_t changesMade() const noexcept { return _changesMade; }
    void setChangesMade(std::int32_t value) noexcept { _changesMade = value; }

    // "New", "Updated", "Deleted", or the number for any other value.
    std::string changesMadeString() const;
    std::string description() const;

private:
    std::string _fileId;
    std::int32_t _changesMade = 0;
};
