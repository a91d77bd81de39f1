#include "WebDavBenchBodies.h"

#include <fmt/format.h>

#include "DataStore/contract/QMRDataStoreConstants.h"

namespace webdav_bench {

namespace {

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<d:multistatus xmlns:d=\"DAV:\" xmlns:s=\"http://sabredav.org/ns\">";
constexpr std::string_view kTail = "</d:multistatus>";

std::string custom(std::string_view name, std::string_view value) {
    return fmt::format("<x2:{0} xmlns:x2=\"{2}\">{1}</x2:{0}>", name, value, QMRWebDavDataStoreXmlNamespace);
}

std::string emptyCustom(std::string_view name) {
    return fmt::format("<x2:{0} xmlns:x2=\"{1}\"/>", name, QMRWebDavDataStoreXmlNamespace);
}

std::string collectionResponse(std::string_view href, std::string_view liveProperties) {
    return fmt::format(
        "<d:response><d:href>{}</d:href><d:propstat><d:prop>{}"
        "<d:getlastmodified>Sun, 22 Nov 2026 16:36:44 GMT</d:getlastmodified></d:prop>"
        "<d:status>HTTP/1.1 200 OK</d:status></d:propstat><d:propstat><d:prop>{}{}{}<d:getcontentlength/>{}"
        "</d:prop><d:status>HTTP/1.1 404 Not Found</d:status></d:propstat></d:response>",
        href, liveProperties, emptyCustom("name"), emptyCustom("clientSideCreationDateInUtc"),
        emptyCustom("mimeContentType"), emptyCustom("change"));
}

}  // namespace

std::string fileIdAt(std::size_t index) {
    return fmt::format("{:032x}", 0x5eed0000ULL + index);
}

std::string fileResponse(std::string_view fileId, std::size_t index) {
    // Values vary with the index so that neither side can profit from repeated text.
    const unsigned minute = static_cast<unsigned>(index / 60 % 60);
    const unsigned second = static_cast<unsigned>(index % 60);
    const std::string created = fmt::format("2013-05-01T10:{:02}:{:02}Z", minute, second);
    const std::string modified = fmt::format("2013-05-02T11:{:02}:{:02}Z", minute, second);
    return fmt::format(
        "<d:response><d:href>/data/{}</d:href><d:propstat><d:prop>{}{}{}{}{}"
        "<d:getlastmodified>Sun, 22 Nov 2026 16:{:02}:{:02} GMT</d:getlastmodified>"
        "<d:getcontentlength>{}</d:getcontentlength></d:prop><d:status>HTTP/1.1 200 OK</d:status></d:propstat>"
        "</d:response>",
        fileId, custom("name", fmt::format("report-{:05}.txt", index)), custom("clientSideCreationDateInUtc", created),
        custom("clientSideModificationDateInUtc", modified), custom("mimeContentType", "text/plain"),
        custom("change", index % 3 == 0 ? "updated" : "new"), minute, second, 1000 + index * 37 % 100000);
}

std::string collectionListing(std::size_t fileCount) {
    std::string text(kHead);
    text += collectionResponse("/data/", "");
    for (std::size_t index = 0; index < fileCount; ++index) text += fileResponse(fileIdAt(index), index);
    text += kTail;
    return text;
}

std::string collectionOnly(std::string_view href) {
    std::string text(kHead);
    text += collectionResponse(href, "<d:resourcetype><d:collection/></d:resourcetype>");
    text += kTail;
    return text;
}

std::string singleFile(std::string_view fileId) {
    std::string text(kHead);
    text += fileResponse(fileId, 7);
    text += kTail;
    return text;
}

}  // namespace webdav_bench
