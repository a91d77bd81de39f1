#include "QMRStoreOutput.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cctype>
#include <utility>

#include "QMRHumanText.h"
#include "QMRSharingPermission.h"
#include "QMRStoreFailure.h"
#include "QMRTextTable.h"

namespace {

using Align = QMRTextTable::Align;

std::string kindOf(const QMRFileMetadata& file) {
    if (file.resourceType() == QMRFileMetadata::resourceTypeFolder) return "folder";
    if (file.resourceType() == QMRFileMetadata::resourceTypeFile) return "file";
    return {};
}

std::string sizeOf(const QMRFileMetadata& file) {
    return file.sizeInBytesAvailable() ? QMRHumanText::size(file.sizeInBytes()) : std::string();
}

// What a person means by "modified": when the user last changed it, else when the server did.
std::string modifiedOf(const QMRFileMetadata& file) {
    if (file.clientSideModificationDateInLocalTimeAvailable())
        return QMRHumanText::localDate(*file.clientSideModificationDateInLocalTime());
    if (file.serverSideModificationDateInLocalTimeAvailable())
        return QMRHumanText::localDate(*file.serverSideModificationDateInLocalTime());
    return {};
}

std::string countOf(std::size_t count, const char* singular, const char* plural) {
    return fmt::format("{} {}", count, count == 1 ? singular : plural);
}

}  // namespace

QMRStoreOutput::QMRStoreOutput(std::ostream& out, bool json) : _out(out), _json(json) {}

void QMRStoreOutput::files(const std::vector<QMRFileMetadataPtr>& files) {
    if (_json) {
        nlohmann::json list = nlohmann::json::array();
        for (const auto& file : files) list.push_back(toJson(*file));
        write({{"files", list}});
        return;
    }
    if (files.empty()) {
        _out << "no files\n";
        return;
    }
    bool withKinds = false;
    for (const auto& file : files) withKinds = withKinds || file->resourceTypeAvailable();
    std::vector<QMRTextTable::Column> columns = {{"ID"}, {"NAME"}, {"SIZE", Align::right}, {"MODIFIED"}, {"TYPE"}};
    if (withKinds) columns.insert(columns.begin(), {"KIND"});
    QMRTextTable table(std::move(columns));
    std::int64_t totalBytes = 0;
    std::size_t folders = 0;
    for (const auto& file : files) {
        if (file->resourceType() == QMRFileMetadata::resourceTypeFolder) ++folders;
        std::vector<std::string> row = {shortId(file->fileId()), file->name(), sizeOf(*file), modifiedOf(*file),
                                        file->mimeContentType()};
        if (withKinds) row.insert(row.begin(), kindOf(*file));
        table.addRow(std::move(row));
        if (file->sizeInBytesAvailable()) totalBytes += file->sizeInBytes();
    }
    _out << table.render();
    if (folders < files.size() || folders == 0) _out << countOf(files.size() - folders, "file", "files") << ", ";
    if (folders > 0) _out << countOf(folders, "folder", "folders") << ", ";
    _out << QMRHumanText::size(totalBytes) << '\n';
}

void QMRStoreOutput::fileDetails(const std::vector<QMRFileMetadataPtr>& files) {
    if (_json) return this->files(files);
    bool first = true;
    for (const auto& file : files) {
        QMRTextTable table({{""}, {""}});
        table.addRow({"ID", file->fileId()});
        if (file->resourceTypeAvailable()) table.addRow({"Kind", kindOf(*file)});
        if (file->nameAvailable()) table.addRow({"Name", file->name()});
        if (file->sizeInBytesAvailable())
            table.addRow({"Size", fmt::format("{} ({} bytes)", sizeOf(*file), file->sizeInBytes())});
        if (file->mimeContentTypeAvailable()) table.addRow({"Type", file->mimeContentType()});
        if (auto date = file->clientSideCreationDateInLocalTime())
            table.addRow({"Created", QMRHumanText::localDate(*date)});
        if (auto date = file->clientSideModificationDateInLocalTime())
            table.addRow({"Modified", QMRHumanText::localDate(*date)});
        if (auto date = file->serverSideModificationDateInLocalTime())
            table.addRow({"Stored", QMRHumanText::localDate(*date)});
        _out << (first ? "" : "\n") << table.render();
        first = false;
    }
}

void QMRStoreOutput::createdFile(const QMRFileMetadata& file) {
    result({{"file", toJson(file)}}, fmt::format("created {} as {}", file.name(), shortId(file.fileId())));
}

void QMRStoreOutput::changes(const std::vector<QMRChangeInfo>& changes, const std::string& syncToken) {
    if (_json) {
        nlohmann::json list = nlohmann::json::array();
        for (const QMRChangeInfo& change : changes) {
            std::string kind = change.changesMadeString();
            for (char& c : kind) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            list.push_back({{"fileId", change.fileId()}, {"change", kind}});
        }
        write({{"changes", list}, {"syncToken", syncToken}});
        return;
    }
    if (changes.empty()) {
        _out << "no changes\n";
    } else {
        QMRTextTable table({{"ID"}, {"CHANGE"}});
        for (const QMRChangeInfo& change : changes)
            table.addRow({shortId(change.fileId()), change.changesMadeString()});
        _out << table.render();
    }
    _out << "sync token: " << syncToken << '\n';
}

void QMRStoreOutput::storageSpace(const QMRStorageSpaceInfo& space) {
    const std::int64_t total = space.allocatedPlusUnallocatedBytes(), free = space.unallocatedBytes();
    const std::int64_t used = total - free;
    const double percent = total > 0 ? 100.0 * static_cast<double>(used) / static_cast<double>(total) : 0;
    result({{"totalBytes", total}, {"usedBytes", used}, {"freeBytes", free}},
           fmt::format("{} of {} used ({:.0f}%), {} free", QMRHumanText::size(used), QMRHumanText::size(total), percent,
                       QMRHumanText::size(free)));
}

void QMRStoreOutput::sharingParties(const std::vector<QMRSharingPartyInfo>& parties) {
    if (_json) {
        nlohmann::json list = nlohmann::json::array();
        for (const auto& party : parties)
            list.push_back({{"sharingPartyName", party.sharingPartyName()}, {"sharingType", party.sharingType()}});
        write({{"parties", list}});
        return;
    }
    if (parties.empty()) {
        _out << "no parties\n";
        return;
    }
    QMRTextTable table({{"NAME"}, {"SHARE TYPE", Align::right}});
    for (const auto& party : parties) table.addRow({party.sharingPartyName(), std::to_string(party.sharingType())});
    _out << table.render();
}

void QMRStoreOutput::shares(const std::vector<QMRSharingFileOrFolderInfo>& shares) {
    if (_json) {
        nlohmann::json list = nlohmann::json::array();
        for (const auto& share : shares)
            list.push_back({{"sharingPartyName", share.sharingPartyInfo().sharingPartyName()},
                            {"sharingType", share.sharingPartyInfo().sharingType()},
                            {"isOwner", share.sharingPartyIsOwner()},
                            {"sharingPermission", share.sharingPermission()},
                            {"permissions", QMRSharingPermission::names(share.sharingPermission())}});
        write({{"shares", list}});
        return;
    }
    if (shares.empty()) {
        _out << "not shared\n";
        return;
    }
    QMRTextTable table({{"PARTY"}, {"SHARE TYPE", Align::right}, {"ROLE"}, {"PERMISSIONS"}});
    for (const auto& share : shares)
        table.addRow({share.sharingPartyInfo().sharingPartyName(),
                      std::to_string(share.sharingPartyInfo().sharingType()),
                      share.sharingPartyIsOwner() ? "owner" : "shared with",
                      QMRSharingPermission::text(share.sharingPermission())});
    _out << table.render();
}

void QMRStoreOutput::result(const nlohmann::json& value, const std::string& text) {
    if (_json) return write(value);
    _out << text << '\n';
}

void QMRStoreOutput::failure(const QMRStoreFailure& failure) {
    if (!_json) return;
    nlohmann::json error = {{"exitStatus", failure.exitStatus()}, {"message", failure.what()}};
    if (const auto& cause = failure.dataStoreError()) {
        error["code"] = cause->code();
        error["description"] = cause->localizedDescription();
        if (auto ids = cause->unknownFileIds()) error["unknownFileIds"] = *ids;
    }
    write({{"error", error}});
}

nlohmann::json QMRStoreOutput::toJson(const QMRFileMetadata& file) {
    nlohmann::json json = nlohmann::json::object();
    if (file.fileIdAvailable()) json["fileId"] = file.fileId();
    if (file.resourceTypeAvailable()) json["resourceType"] = kindOf(file);
    if (file.nameAvailable()) json["name"] = file.name();
    if (file.sizeInBytesAvailable()) json["sizeInBytes"] = file.sizeInBytes();
    if (file.mimeContentTypeAvailable()) json["mimeContentType"] = file.mimeContentType();
    if (auto date = file.clientSideCreationDateInLocalTime())
        json["clientSideCreationDate"] = QMRHumanText::utcDate(*date);
    if (auto date = file.clientSideModificationDateInLocalTime())
        json["clientSideModificationDate"] = QMRHumanText::utcDate(*date);
    if (auto date = file.serverSideModificationDateInLocalTime())
        json["serverSideModificationDate"] = QMRHumanText::utcDate(*date);
    return json;
}

void QMRStoreOutput::write(const nlohmann::json& value) {
    _out << value.dump(2) << '\n';
}

std::string QMRStoreOutput::shortId(const std::string& fileId) const {
    return _shortenId ? _shortenId(fileId) : fileId;
}
