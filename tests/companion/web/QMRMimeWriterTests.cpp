#include "companion/web/QMRMimeWriter.h"

#include <gtest/gtest.h>

#include <ostream>
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

// A file's content for the upload test, named so that a failure does not print the bytes.
struct UploadContent {
    std::string name;
    std::string bytes;
};

void PrintTo(const UploadContent& content, std::ostream* out) {
    *out << content.name;
}

std::string allByteValuesRepeated(std::size_t times) {
    std::string bytes;
    for (std::size_t i = 0; i < times; ++i)
        for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    return bytes;
}

class QMRMimeWriterUpload : public ::testing::TestWithParam<UploadContent> {};

TEST_P(QMRMimeWriterUpload, PrefixContentAndSuffixParseAsAFormWithTheExactFile) {
    const std::string& content = GetParam().bytes;
    UploadFraming framing = frameUpload("report.pdf.0123456789abcdef0123456789abcdef");

    FormParsingServer server;
    FormParsingServerRequest request =
        postMultipart(server, framing.boundary, framing.prefix + content + framing.suffix);

    ASSERT_TRUE(request.bodyFullyParsed);
    ASSERT_EQ(request.fields.size(), 4U);
    EXPECT_EQ(request.fields[0].name, "MAX_FILE_SIZE");
    EXPECT_EQ(request.fields[0].value, "2147483648");
    EXPECT_EQ(request.fields[1].name, "requesttoken");
    EXPECT_EQ(request.fields[1].value, "tok+/=");
    EXPECT_EQ(request.fields[2].name, "dir");
    EXPECT_EQ(request.fields[2].value, "/Docs/\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(request.fields[2].contentType, "");
    EXPECT_EQ(request.fields[3].name, "files[]");
    EXPECT_EQ(request.fields[3].filename, "report.pdf.0123456789abcdef0123456789abcdef");
    EXPECT_EQ(request.fields[3].contentType, "application/octet-stream");
    EXPECT_EQ(request.fields[3].value.size(), content.size());
    EXPECT_TRUE(request.fields[3].value == content) << "the file's bytes differ";
}

INSTANTIATE_TEST_SUITE_P(Contents, QMRMimeWriterUpload,
                         ::testing::Values(UploadContent{"Empty", ""}, UploadContent{"OneByte", "x"},
                                           UploadContent{"OnlyCrLf", "\r\n"},
                                           UploadContent{"DashesAndLineBreaks", "--\r\n--\r\n\r\n--x--\r\n"},
                                           UploadContent{"DelimiterLikeLine", "line one\r\n--not the boundary\r\n\r\n"},
                                           UploadContent{"EveryByteValue", allByteValuesRepeated(1)},
                                           UploadContent{"LargerThanTheParserBuffer", allByteValuesRepeated(400)}),
                         [](const ::testing::TestParamInfo<UploadContent>& info) { return info.param.name; });

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
    ASSERT_EQ(request.fields.size(), 2U);
    EXPECT_EQ(request.fields[0].value, "multi\r\nline");
    EXPECT_EQ(request.fields[1].filename, "b.bin");
    EXPECT_EQ(request.fields[1].contentType, "image/png");
    EXPECT_EQ(request.fields[1].value, std::string("\x89PNG\0", 5));
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
