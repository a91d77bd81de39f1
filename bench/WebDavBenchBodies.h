#pragma once
// Multistatus answers in the exact shape the service's WebDAV server writes them (DAV: as "d", the
// custom namespace declared on every one of its elements as "x2", all on one line), so the cleaning
// patterns and the parser see what they see in production.
#include <cstddef>
#include <string>
#include <string_view>

namespace webdav_bench {

// The id of the file at index: 32 lower-case hexadecimal digits, as the client makes them.
std::string fileIdAt(std::size_t index);

// One live file's response with every property of the all-metadata read.
std::string fileResponse(std::string_view fileId, std::size_t index);

// The Depth 1 answer on /data/: the collection's own entry (which lacks the custom properties, so
// it carries a 404 propstat) followed by fileCount live files.
std::string collectionListing(std::size_t fileCount);

// A collection without files, marked as one for clients that ask (a Depth 0 answer, or the
// listing of an empty collection).
std::string collectionOnly(std::string_view href);

// The answer to a PROPFIND on one file.
std::string singleFile(std::string_view fileId);

}  // namespace webdav_bench
