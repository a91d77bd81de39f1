#pragma once
// Metadata of one file or folder. A field that is not set is marked by an empty text, an empty
// date, sizeInBytes -1 or resourceType 0; each has an availability test.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "companion/util/QMRTypes.h"

class QMRFileMetadata {
public:
    static constexpr std::int64_t sizeNotAvailable = -1;
    static constexpr std::int32_t resourceTypeNotAvailable = 0;
    static constexpr std::int32_t resourceTypeFolder = 1;
    static constexpr std::int32_t resourceTypeFile = 2;

    QMRFileMetadata() = default;
    QMRFileMetadata(const QMRFileMetadata&) = default;
    QMRFileMetadata& operator=(const QMRFileMetadata&) = default;
    virtual ~QMRFileMetadata() = default;

    const std::string& fileId() const noexcept { return _fileId; }
    void setFileId(std::string value) { _fileId = std::move(value); }
    bool fileIdAvailable() const noexcept { return !_fileId.empty(); }

    const std::string& name() const noexcept { return _name; }
    void setName(std::string value) { _name = std::move(value); }
    bool nameAvailable() const noexcept { return !_name.empty(); }

    const std::optional<QMRDate>& serverSideModificationDateInLocalTime() const noexcept {
        return _serverSideModificationDateInLocalTime;
    }
    void setServerSideModificationDateInLocalTime(std::optional<QMRDate> value) {
        _serverSideModificationDateInLocalTime = value;
    }
    bool serverSideModificationDateInLocalTimeAvailable() const noexcept {
        return _serverSideModificationDateInLocalTime.has_value();
    }

    const std::optional<QMRDate>& clientSideCreationDateInLocalTime() const noexcept {
        return _clientSideCreationDateInLocalTime;
    }
    void setClientSideCreationDateInLocalTime(std::optional<QMRDate> value) {
        _clientSideCreationDateInLocalTime = value;
    }
    bool clientSideCreationDateInLocalTimeAvailable() const noexcept {
        return _clientSideCreationDateInLocalTime.has_value();
    }

    const std::optional<QMRDate>& clientSideModificationDateInLocalTime() const noexcept {
        return _clientSideModificationDateInLocalTime;
    }
    void setClientSideModificationDateInLocalTime(std::optional<QMRDate> value) {
        _clientSideModificationDateInLocalTime = value;
    }
    bool clientSideModificationDateInLocalTimeAvailable() const noexcept {
        return _clientSideModificationDateInLocalTime.has_value();
    }

    const std::string& mimeContentType() const noexcept { return _mimeContentType; }
    void setMimeContentType(std::string value) { _mimeContentType = std::move(value); }
    bool mimeContentTypeAvailable() const noexcept { return !_mimeContentType.empty(); }

    std::int64_t sizeInBytes() const noexcept { return _sizeInBytes; }
    void setSizeInBytes(std::int64_t value) noexcept { _sizeInBytes = value; }
    // 0 is a valid size; only -1 means "not known".
    bool sizeInBytesAvailable() const noexcept { return _sizeInBytes != sizeNotAvailable; }

    std::int32_t resourceType() const noexcept { return _resourceType; }
    void setResourceType(std::int32_t value) noexcept { _resourceType = value; }
    bool resourceTypeAvailable() const noexcept { return _resourceType != resourceTypeNotAvailable; }

    // One "Label: value\n" line per available field; "" when nothing is available.
    virtual std::string description() const;

private:
    std::string _fileId;
    std::string _name;
    std::optional<QMRDate> _serverSideModificationDateInLocalTime;
    std::optional<QMRDate> _clientSideCreationDateInLocalTime;
    std::optional<QMRDate> _clientSideModificationDateInLocalTime;
    std::string _mimeContentType;
    std::int64_t _sizeInBytes = sizeNotAvailable;
    std::int32_t _resourceType = resourceTypeNotAvailable;
};

using QMRFileMetadataPtr = std::shared_ptr<QMRFileMetadata>;
