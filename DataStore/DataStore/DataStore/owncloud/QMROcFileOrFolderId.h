#pragma once
// The opaque file or folder id the ownCloud back-end hands out: the server's own id of the entry,
// its full path and whether it is a file or a folder, as a small XML text:
//   <OwnCloudId><Id>17</Id><Path>/a.txt</Path><Type>file</Type></OwnCloudId>
#include <cstdint>
#include <string>
#include <string_view>

class QMROcFileOrFolderId {
public:
    QMROcFileOrFolderId() = delete;
    // initWithId:path:resourceType:. A type other than 1 (folder) or 2 (file) raises
    // QMRInvalidOperationException "Invalid Resource Type".
    QMROcFileOrFolderId(std::string identifier, std::string path, std::int32_t resourceType);
    // initWithString: reads an id text. A text without a valid "Type" (a plain path, say) raises
    // QMRInvalidOperationException "Invalid Resource Type".
    explicit QMROcFileOrFolderId(std::string_view idText);

    const std::string& identifier() const noexcept { return _identifier; }
    const std::string& path() const noexcept { return _path; }
    std::int32_t resourceType() const noexcept { return _resourceType; }
    const std::string& resourceTypeName() const noexcept { return _resourceTypeName; }

    // The id text.
    std::string toString() const;

    // 1 <-> "folder", 2 <-> "file" (exact case); anything else raises "Invalid Resource Type".
    static std::string toStringFromResourceType(std::int32_t resourceType);
    static std::int32_t toResourceTypeFromString(std::string_view resourceTypeName);

private:
    std::string _identifier;
    std::string _path;
    std::int32_t _resourceType;
    std::string _resourceTypeName;
};
