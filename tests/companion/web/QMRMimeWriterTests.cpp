#include "companion/web/QMRMimeWriter.h"

#include <gtest/gtest.h>

#include <set>
#include <type_traits>

#include "companion/io/ComQuillmereIO_MemoryStream.h"
#include "companion/util/QMRExceptions.h"
#include "companion/web/QMRBinaryMimeComponent.h"
#include "companion/web/QMRTextualMimeComponent.h"
#include "tests/companion/web/FormParsingServer.h"

namespace {

std::string asText(const QMRData& data) {
    return {data.begin(), data.end()};
}

// An upload body cut as a streaming upload sends it: the bytes before the file's content, and the bytes after.
struct UploadFraming {
    std::string boundary;
    std::string prefix;
    std::string suffix;
};

UploadFraming frameUpload(const std::string& fileName) {
    UploadFraming framing{QMRMimeWriter::generateBoundary(), {}, {}};
    ComQuillmereIO_MemoryStream stream;
    QMRMimeWriter writer(stream, framing.boundary);
    writer.writeMimeComponent(QMRTextualMimeComponent("form-data; name=\"MAX_FILE_SIZE\"", "2147483648"));
    writer.writeMimeComponent(QMRTextualMimeComponent("form-data; name=\"requesttoken\"", "tok+/="));
    writer.writeMimeComponent(QMRTextualMimeComponent("form-data; name=\"dir\"", "/Docs/\xC3\xA9t\xC3\xA9"));
    writer.writeMimeComponent(QMRBinaryMimeComponent("form-data; name=\"files[]\"; filename=\"" + fileName + "\"",
                                                     "application/octet-stream", {}));
    framing.prefix = asText(stream.readDataFromStartToEnd());
    auto position = stream.position();
    writer.close();
    stream.seekToOffset(position);
    framing.suffix = asText(stream.readDataFromCurrentToEnd());
    return framing;
}

FormParsingServerRequest postMultipart(FormParsingServer& server, const std::string& boundary,
                                       const std::string& body) {
    return server.post(server.baseUrl() + "/upload", "multipart/form-data; boundary=" + boundary, body);
}

std::string allByteValuesRepeated(std::size_t times) {
    std::string bytes;
    for (std::size_t i = 0; i < times; ++i)
        for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    return bytes;
}

TEST(QMRMimeWriterUpload, PrefixContentAndSuffixParseAsAFormWithTheExactFileWhateverItsBytes) {
    const std::string fileName = "report.pdf.0123456789abcdef0123456789abcdef";
    const std::pair<const char*, std::string> contents[] = {
        {"empty", ""},
        {"one byte", "x"},
        {"only CRLF", "\r\n"},
        {"dashes and line breaks", "--\r\n--\r\n\r\n--x--\r\n"},
        {"a line like a delimiter", "line one\r\n--not the boundary\r\n\r\n"},
        {"every byte value", allByteValuesRepeated(1)},
        {"larger than the parser's buffer", allByteValuesRepeated(400)}};
    FormParsingServer server;
    for (const auto& [name, content] : contents) {
        SCOPED_TRACE(name);
        const UploadFraming framing = frameUpload(fileName);
        const FormParsingServerRequest request =
            postMultipart(server, framing.boundary, framing.prefix + content + framing.suffix);
        ASSERT_TRUE(request.bodyFullyParsed);
        EXPECT_EQ(request.fields,
                  (std::vector<FormParsingServerField>{{"MAX_FILE_SIZE", "", "", "2147483648"},
                                                       {"requesttoken", "", "", "tok+/="},
                                                       {"dir", "", "", "/Docs/\xC3\xA9t\xC3\xA9"},
                                                       {"files[]", fileName, "application/octet-stream", content}}));
    }
}

TEST(QMRMimeWriterFraming, EmptyFileStillEndsItsHeadersAndTheSuffixOnlyClosesTheBody) {
    UploadFraming framing = frameUpload("empty.txt");
    // A strict reading of the wire: the file part's headers are complete in the prefix, and the suffix is the
    // CRLF that ends the streamed content followed by the closing delimiter.
    std::string headers = "--" + framing.boundary +
                          "\r\nContent-Disposition: form-data; name=\"files[]\"; filename=\"empty.txt\"\r\n"
                          "Content-Type: application/octet-stream\r\n\r\n";
    ASSERT_GE(framing.prefix.size(), headers.size());
    EXPECT_EQ(framing.prefix.substr(framing.prefix.size() - headers.size()), headers);
    EXPECT_EQ(framing.suffix, "\r\n--" + framing.boundary + "--\r\n");
    EXPECT_EQ(framing.prefix.rfind("--" + framing.boundary, 0), 0U) << "nothing may precede the first delimiter";
}

TEST(QMRMimeWriterFraming, PartsWithContentParseBack) {
    ComQuillmereIO_MemoryStream stream;
    QMRMimeWriter writer(stream, "simple-boundary");
    writer.writeMimeComponent(QMRTextualMimeComponent("form-data; name=\"note\"", "multi\r\nline"));
    writer.writeMimeComponent(QMRBinaryMimeComponent("form-data; name=\"blob\"; filename=\"b.bin\"", "image/png",
                                                     QMRData{0x89, 'P', 'N', 'G', 0x00}));
    writer.close();

    FormParsingServer server;
    FormParsingServerRequest request = postMultipart(server, "simple-boundary", asText(stream.data()));
    ASSERT_TRUE(request.bodyFullyParsed);
    EXPECT_EQ(request.fields, (std::vector<FormParsingServerField>{{"note", "", "", "multi\r\nline"},
                                                                   {"blob", "b.bin", "image/png", {"\x89PNG\0", 5}}}));
}

TEST(QMRMimeWriterLifecycle, CloseLeavesTheStreamOpenAndRefusesFurtherUse) {
    ComQuillmereIO_MemoryStream stream;
    QMRMimeWriter writer(stream, "b");
    writer.close();
    EXPECT_FALSE(stream.isClosed());
    EXPECT_EQ(asText(stream.data()), "--b--\r\n");
    EXPECT_THROW(writer.writeMimeComponent(QMRTextualMimeComponent("form-data; name=\"x\"", "y")),
                 QMRInvalidOperationException);
    EXPECT_THROW(writer.close(), QMRInvalidOperationException);
    EXPECT_EQ(asText(stream.data()), "--b--\r\n");
}

TEST(QMRMimeWriterBoundary, GeneratedBoundariesAreValidAndDistinct) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        std::string boundary = QMRMimeWriter::generateBoundary();
        EXPECT_GE(boundary.size(), 40U);
        EXPECT_LE(boundary.size(), 70U);
        EXPECT_EQ(boundary.find_first_not_of("-ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
                  std::string::npos);
        seen.insert(boundary);
    }
    EXPECT_EQ(seen.size(), 100U);
}

TEST(QMRMimeWriterBoundary, RefusesBoundariesThatBreakTheFraming) {
    ComQuillmereIO_MemoryStream stream;
    for (const std::string& boundary : {std::string(), std::string(71, 'a'), std::string("ends with space "),
                                        std::string("semi;colon"), std::string("cr\r\nlf"), std::string("quote\"")}) {
        EXPECT_THROW(QMRMimeWriter(stream, boundary), QMRInvalidArgumentException) << boundary;
    }
    EXPECT_NO_THROW(QMRMimeWriter(stream, std::string(70, 'a')));
    EXPECT_NO_THROW(QMRMimeWriter(stream, "'()+_,-./:=? x"));
}

TEST(QMRMimeComponent, RefusesHeaderValuesThatWouldInjectHeaders) {
    EXPECT_THROW(QMRTextualMimeComponent("form-data; name=\"a\"\r\nX-Evil: 1", "v"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRTextualMimeComponent("", "v"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRBinaryMimeComponent("form-data; name=\"f\"", "text/plain\nX: y", {}), QMRInvalidArgumentException);
    EXPECT_FALSE(std::is_default_constructible_v<QMRBinaryMimeComponent>);
}

}  // namespace
