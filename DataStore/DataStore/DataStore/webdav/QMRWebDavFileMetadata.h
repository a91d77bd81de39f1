#pragma once
// A file's metadata as the WebDAV back-end keeps it: the shared fields plus the server-side
// creation date and the change state with its date.
#include <memory>
#include <optional>
#include <string>

#include "DataStore/contract/QMRFileMetadata.h"

class QMRWebDavFileMetadata : public QMRFileMetadata {
public:
    QMRWebDavFileMetadata() = default;
    // Copies the shared fields but the resource type, which this back-end never sets.
    explicit QMRWebDavFileMetadata(const QMRFileMetadata& metadata);

    const std::optional<QMRDate>& serverSideCreationDateInLocalTime() const noexcept {
        return _serverSideCreationDateInLocalTime;
    }
    void setServerSideCreationDateInLocalTime(std::optional<QMRDate> value) {
        _serverSideCreationDateInLocalTime = value;
    }
    bool serverSideCreationDateInLocalTimeAvailable() const noexcept {
        return _serverSideCreationDateInLocalTime.has_value();
    }

    // One of "new", "updated", "pending", "deleted".
    const std::string& change() const noexcept { return _change; }
    void setChange(std::string value) { _change = std::move(value); }
    bool changeAvailable() const noexcept { return !_change.empty(); }

    const std::optional<QMRDate>& changeDate() const noexcept { return _changeDate; }
    void setChangeDate(std::optional<QMRDate> value) { _changeDate = value; }
    bool changeDateAvailable() const noexcept { return _changeDate.has_value(); }

    std::string description() const override;

private:
    std::optional<QMRDate> _serverSideCreationDateInLocalTime;
    std::string _change;
    std::optional<QMRDate> _changeDate;
};

using QMRWebDavFileMetadataPtr = std::shared_ptr<QMRWebDavFileMetadata>;
