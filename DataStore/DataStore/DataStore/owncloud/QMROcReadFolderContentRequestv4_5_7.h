#pragma once
// Lists a folder by reading the files application's page for it: checks that the page is the
// wanted folder's (by its breadcrumb link) and turns each row of the file table into a record.
// Each record's name is the entry's full path; its id holds the path with any upload suffix.
#include <optional>
#include <string>
#include <string_view>

#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/owncloud/QMROcReadFolderContentResponsev4_5_7.h"
#include "DataStore/owncloud/QMROcRequest.h"
#include "companion/util/QMRRegularExpression.h"
#include "companion/xml/RXMLAttributeReader.h"

class QMROcReadFolderContentRequestv4_5_7 : public QMROcRequest {
public:
    QMROcReadFolderContentRequestv4_5_7() = delete;
    // initWithBaseUrl: lists the root.
    QMROcReadFolderContentRequestv4_5_7(QMRUrlSession& session, std::string baseUrl);
    // initWithBaseUrl:folderId: lists the folder of the id. A malformed id raises "Invalid Resource
    // Type"; a path with a forbidden character raises; "Shared" may be listed.
    QMROcReadFolderContentRequestv4_5_7(QMRUrlSession& session, std::string baseUrl, std::string_view folderId);

    const std::string& folderPath() const noexcept { return _folderPath; }

    // On success the response's metadatas is set; otherwise the error.
    void send(QMROcReadFolderContentResponsev4_5_7& response, QMRErrorSlot& error);

    virtual std::string constructReadFolderContentReqUrl() const;
    // The page must hold the breadcrumb link of the folder (the root's page is always accepted).
    virtual void validateResponseBody(const QMRData& body, QMRErrorSlot& error) const;
    // One record per row, or none with the error set when the page cannot be read.
    virtual std::optional<QMROcReadFolderContentResponsev4_5_7::MetadataList> extractMetadatas(
        const QMRData& body, QMRErrorSlot& error) const;
    // Whether a path ends in "." and 32 hex digits: the suffix uploads add to stored names.
    static bool containsGuidExtension(std::string_view path);

protected:
    // The three patterns of extractMetadatas: a row, its opening tag, its modification cell.
    struct RowPatterns {
        const QMRRegularExpression& row;
        const QMRRegularExpression& openingTag;
        const QMRRegularExpression& modifiedCell;
    };
    virtual RowPatterns rowPatterns() const;
    // The breadcrumb link text searched for in the lower-cased page.
    virtual std::string expectedBreadcrumbLink() const;
    // The "title" of the modification cell as a date; none when it does not parse.
    virtual std::optional<QMRDate> toModificationDate(std::string_view title) const;
    // What reading a row needs, kept from row to row so that rows cost no fresh buffers.
    struct RowScratch {
        std::string markup;
        RXMLAttributeReader element;
    };
    // The record of one row of the page.
    QMRFileMetadataPtr metadataFromRow(const QMRUtf8Text& page, QMRTextRange row, const RowPatterns& patterns,
                                       RowScratch& scratch) const;

private:
    std::string _folderPath;
};
