#pragma once
// A file's metadata as the media server reports it: the shared fields plus where its content can be
// downloaded and which collection ("file", "picture", "video") holds it.
#include <memory>
#include <string>
#include <utility>

#include "DataStore/contract/QMRFileMetadata.h"

class QMRFunambolFileMetadata : public QMRFileMetadata {
public:
    QMRFunambolFileMetadata() = default;

    // Absolute URL of the content: the server's content URL followed by the entry's own.
    const std::string& contentDownloadUrl() const noexcept { return _contentDownloadUrl; }
    void setContentDownloadUrl(std::string value) { _contentDownloadUrl = std::move(value); }

    // The server's "mediatype".
    const std::string& systemContentType() const noexcept { return _systemContentType; }
    void setSystemContentType(std::string value) { _systemContentType = std::move(value); }

    std::string description() const override;

private:
    std::string _contentDownloadUrl;
    std::string _systemContentType;
};

using QMRFunambolFileMetadataPtr = std::shared_ptr<QMRFunambolFileMetadata>;
