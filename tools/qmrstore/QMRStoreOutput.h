#pragma once
// What qmrstore prints on stdout: tables with human sizes and local dates for people, or with
// --json one JSON document per command for scripts (exact byte counts, UTC dates, full ids).
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "DataStore/contract/QMRChangeInfo.h"
#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/contract/QMRSharingFileOrFolderInfo.h"
#include "DataStore/contract/QMRSharingPartyInfo.h"
#include "DataStore/contract/QMRStorageSpaceInfo.h"

class QMRStoreFailure;

class QMRStoreOutput {
public:
    // Makes a file id short enough for a table (JSON always carries the full id).
    using IdShortener = std::function<std::string(const std::string& fileId)>;

    QMRStoreOutput(std::ostream& out, bool json);

    bool json() const noexcept { return _json; }
    void setIdShortener(IdShortener shortener) { _shortenId = std::move(shortener); }

    // A listing: one row per file.
    void files(const std::vector<QMRFileMetadataPtr>& files);
    // Every known field of each file.
    void fileDetails(const std::vector<QMRFileMetadataPtr>& files);
    void createdFile(const QMRFileMetadata& file);
    void changes(const std::vector<QMRChangeInfo>& changes, const std::string& syncToken);
    void storageSpace(const QMRStorageSpaceInfo& space);
    void sharingParties(const std::vector<QMRSharingPartyInfo>& parties);
    void shares(const std::vector<QMRSharingFileOrFolderInfo>& shares);
    // Any other result: the JSON value, or the text as one line.
    void result(const nlohmann::json& value, const std::string& text);
    // The failure as {"error": …} for scripts; people read it on stderr instead.
    void failure(const QMRStoreFailure& failure);

    static nlohmann::json toJson(const QMRFileMetadata& file);

private:
    void write(const nlohmann::json& value);
    std::string shortId(const std::string& fileId) const;

    std::ostream& _out;
    bool _json;
    IdShortener _shortenId;
};
