#pragma once
// Files pages of the ownCloud web front-end in each release's exact markup (the fake server's page
// frame, breadcrumb, table and rows), for a root folder of many entries, with the entries that each
// row must turn into. 4.5.7 writes a row's opening tag on one line; 5.0.6 puts every attribute after
// data-id on a line of its own, and pads the day of its dates.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace owncloud_bench {

enum class Release { v4_5_7, v5_0_6 };

struct Entry {
    std::int64_t id = 0;
    // As the server stores it: uploads may carry a "." and 32 hex digits after the name.
    std::string storedName;
    // What a listing shows: the stored name without the upload suffix of a file.
    std::string listedName;
    bool folder = false;
    std::string mime;
    std::int64_t size = 0;
    std::int64_t mtime = 0;  // seconds since 1970, UTC, on a whole minute
    // Written into data-file with an HTML entity rather than escaped, as older pages did.
    bool entityInDataFile = false;
};

// Folders first, then files of assorted kinds: plain, percent-escaped (blank, accent, apostrophe),
// an entity in the attribute, and uploads with the suffix.
std::vector<Entry> rootEntries(std::size_t count);

// The whole page of the root folder listing entries, as the release serves it in English.
std::string filesPage(Release release, const std::vector<Entry>& entries);

}  // namespace owncloud_bench
