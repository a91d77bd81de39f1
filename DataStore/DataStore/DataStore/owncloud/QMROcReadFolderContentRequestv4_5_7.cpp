#include "DataStore/owncloud/QMROcReadFolderContentRequestv4_5_7.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <limits>

#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcPathUtil.h"
#include "companion/util/QMRDateFormat.h"
#include "companion/util/QMRExceptions.h"
#include "companion/util/QMRGuid.h"
#include "companion/web/QMRUriUtil.h"

namespace {

constexpr std::size_t guidExtensionLength = 33;  // "." and 32 hex digits

std::string validatedFolderPathOfId(std::string_view folderId) {
    std::string path = QMROcFileOrFolderId(folderId).path();
    QMROcPathUtil::validatePath(path, true);  // the "Shared" folder may be listed
    return path;
}

// The leading decimal number of a text (blanks and a sign allowed before it), 0 when there is none;
// values beyond 64 bits end at the nearest limit.
std::int64_t leadingInteger(std::string_view text) {
    std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos) return 0;
    if (text[start] == '+') ++start;
    std::int64_t value = 0;
    const auto [end, failure] = std::from_chars(text.data() + start, text.data() + text.size(), value);
    (void)end;
    if (failure == std::errc::result_out_of_range)
        return text[start] == '-' ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    return failure == std::errc() ? value : 0;
}

// Reads the element that a matched piece of the page opens, closed by closingTag. The page was
// checked as UTF-8 before its rows were walked, so the search of the row need not check it again.
// The values read point into markup (a buffer reused from row to row) until element reads again.
void readElementOfMatch(const QMRRegularExpression& pattern, const QMRUtf8Text& page, QMRTextRange row,
                        std::string_view closingTag, std::string& markup, RXMLAttributeReader& element) {
    const std::optional<QMRRegularExpressionMatch> match = pattern.firstMatchInString(page, row);
    markup.clear();
    if (match) {
        markup.append(page.view().substr(match->range().location, match->range().length));
        markup.append(closingTag);
    }
    // No match reads as no element: every attribute is missing.
    element.read(markup);
}

bool equalsIgnoringAsciiCase(std::string_view text, std::string_view lowercaseWord) {
    if (text.size() != lowercaseWord.size()) return false;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char c = text[index];
        if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != lowercaseWord[index]) return false;
    }
    return true;
}

}  // namespace

QMROcReadFolderContentRequestv4_5_7::QMROcReadFolderContentRequestv4_5_7(QMRUrlSession& session, std::string baseUrl)
    : QMROcRequest(session, std::move(baseUrl)), _folderPath("/") {}

QMROcReadFolderContentRequestv4_5_7::QMROcReadFolderContentRequestv4_5_7(QMRUrlSession& session, std::string baseUrl,
                                                                         std::string_view folderId)
    : QMROcRequest(session, std::move(baseUrl)), _folderPath(validatedFolderPathOfId(folderId)) {}

void QMROcReadFolderContentRequestv4_5_7::send(QMROcReadFolderContentResponsev4_5_7& response, QMRErrorSlot& error) {
    std::optional<QMRData> body = exchange(newRequest("GET", constructReadFolderContentReqUrl()), error);
    if (!body) return;
    validateResponseBody(*body, error);
    if (error) return;
    response.setMetadatas(extractMetadatas(*body, error));
}

std::string QMROcReadFolderContentRequestv4_5_7::constructReadFolderContentReqUrl() const {
    return builtUrl("/", "app=files", {{"dir", _folderPath}});
}

void QMROcReadFolderContentRequestv4_5_7::validateResponseBody(const QMRData& body, QMRErrorSlot& error) const {
    if (_folderPath == "/") return;
    const std::string_view text = textOf(body);
    if (lowercased(text).find(expectedBreadcrumbLink()) != std::string::npos) return;
    error = expiredOrUnrecognizedResponse(text);
}

std::string QMROcReadFolderContentRequestv4_5_7::expectedBreadcrumbLink() const {
    return fmt::format("?app=files&dir={}\">{}</a>", lowercased(QMRUriUtil::encodeToPercentEscapeString(_folderPath)),
                       lowercased(QMROcPathUtil::extractFolderOrFileFromPath(_folderPath)));
}

QMROcReadFolderContentRequestv4_5_7::RowPatterns QMROcReadFolderContentRequestv4_5_7::rowPatterns() const {
    using enum QMRRegularExpressionOptions;
    static const QMRRegularExpression row("<tr data-id((?!</tr>).)+</tr>", CaseInsensitive | DotMatchesLineSeparators);
    // The whole line that holds "<tr": a 4.5.7 row opens on one line.
    static const QMRRegularExpression openingTag("^.*<tr.*$", CaseInsensitive | AnchorsMatchLines);
    static const QMRRegularExpression modifiedCell("<span class=\"modified\"((?!</span>).)+</span>",
                                                   CaseInsensitive | DotMatchesLineSeparators);
    return {row, openingTag, modifiedCell};
}

std::optional<QMRDate> QMROcReadFolderContentRequestv4_5_7::toModificationDate(std::string_view title) const {
    return QMRDateFormat::fromMonthDayYearTimeString(title, true);
}

std::optional<QMROcReadFolderContentResponsev4_5_7::MetadataList> QMROcReadFolderContentRequestv4_5_7::extractMetadatas(
    const QMRData& body, QMRErrorSlot& error) const {
    const std::string_view text = textOf(body);
    const RowPatterns patterns = rowPatterns();
    QMROcReadFolderContentResponsev4_5_7::MetadataList metadatas;
    RowScratch scratch;
    try {
        const QMRUtf8Text page = QMRUtf8Text::validated(text);
        patterns.row.enumerateMatchesInString(page, [&](const QMRRegularExpressionMatch& row, bool&) {
            metadatas.push_back(metadataFromRow(page, row.range(), patterns, scratch));
        });
    } catch (const QMRRegularExpressionMatchException&) {
        // A page too large for the patterns or not UTF-8: neither rows nor no rows.
        error = unrecognizedResponse(text);
        return std::nullopt;
    } catch (const QMRInvalidArgumentException&) {
        // A name that no id text can carry (a control character once decoded): not a page we know.
        error = unrecognizedResponse(text);
        return std::nullopt;
    }
    return metadatas;
}

QMRFileMetadataPtr QMROcReadFolderContentRequestv4_5_7::metadataFromRow(const QMRUtf8Text& page, QMRTextRange row,
                                                                        const RowPatterns& patterns,
                                                                        RowScratch& scratch) const {
    // A row without opening tag or modification cell reads as empty attributes, never a failure.
    readElementOfMatch(patterns.openingTag, page, row, "</tr>", scratch.markup, scratch.element);
    const RXMLAttributeReader& tag = scratch.element;
    const std::int32_t resourceType = equalsIgnoringAsciiCase(tag.attribute("data-type"), "file")
                                          ? QMRFileMetadata::resourceTypeFile
                                          : QMRFileMetadata::resourceTypeFolder;
    const std::string name = QMRUriUtil::decodeFromPercentEscapeString(tag.attribute("data-file"));
    std::string fullPath;
    fullPath.reserve(_folderPath.size() + 1 + name.size());
    fullPath.append(_folderPath);
    if (_folderPath != "/") fullPath += '/';
    fullPath.append(name);

    auto metadata = std::make_shared<QMRFileMetadata>();
    metadata->setResourceType(resourceType);
    // Listings hide the upload suffix; the id keeps it so that the server finds the file.
    const bool hiddenSuffix = resourceType == QMRFileMetadata::resourceTypeFile && containsGuidExtension(fullPath);
    metadata->setName(hiddenSuffix ? fullPath.substr(0, fullPath.size() - guidExtensionLength) : fullPath);
    metadata->setMimeContentType(std::string(tag.attribute("data-mime")));
    metadata->setSizeInBytes(leadingInteger(tag.attribute("data-size")));
    metadata->setFileId(
        QMROcFileOrFolderId(std::string(tag.attribute("data-id")), std::move(fullPath), resourceType).toString());

    readElementOfMatch(patterns.modifiedCell, page, row, "", scratch.markup, scratch.element);
    metadata->setServerSideModificationDateInLocalTime(toModificationDate(scratch.element.attribute("title")));
    return metadata;
}

bool QMROcReadFolderContentRequestv4_5_7::containsGuidExtension(std::string_view path) {
    if (path.size() < guidExtensionLength || path[path.size() - guidExtensionLength] != '.') return false;
    return QMRGuid::tryParse(path.substr(path.size() - guidExtensionLength + 1), true).has_value();
}
