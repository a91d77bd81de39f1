// The fake servers' incremental multipart reader: the parts come out the same however the body is
// cut into pieces on the way in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "MultipartReader.h"

using fake_server::MultipartReader;
using ::testing::ElementsAre;
using ::testing::Optional;

namespace {

// Content that looks like delimiters without being one, so that a reader matching too early shows.
const std::string trickyContent = "line\r\n--bound\r\n--boundar\r\r\n-- boundary\r\n";
const std::string body =
    "preamble to skip\r\n"
    "--boundary\r\n"
    "Content-Disposition: form-data; name=\"dir\"\r\n\r\n"
    "/My Docs\r\n"
    "--boundary  \r\n"
    "Content-Disposition: form-data; name=\"files[]\"; filename=\"a;b \\\"c\\\".txt\"\r\n"
    "Content-Type: application/octet-stream\r\n\r\n" +
    trickyContent +
    "\r\n--boundary\r\n"
    "content-disposition: form-data; name=\"empty\"; filename=\"\"\r\n\r\n"
    "\r\n--boundary--\r\n"
    "epilogue";

// What a reader reports, one line per event.
struct Recorder {
    std::vector<std::string> events;
    MultipartReader reader{
        "boundary",
        {[this](const MultipartReader::PartHeaders& part) {
             events.push_back("begin " + part.name + (part.hasFilename ? " file " + part.filename : "") +
                              (part.contentType.empty() ? "" : " " + part.contentType));
             events.push_back("");
         },
         [this](std::string_view content) { events.back() += content; }, [this] { events.push_back("end"); }}};
};

const std::vector<std::string> expectedEvents{"begin dir",
                                              "/My Docs",
                                              "end",
                                              "begin files[] file a;b \"c\".txt application/octet-stream",
                                              trickyContent,
                                              "end",
                                              "begin empty file ",
                                              "",
                                              "end"};

TEST(MultipartReader, ReadsTheSamePartsWhereverTheBodyIsCut) {
    for (std::size_t cut = 0; cut <= body.size(); ++cut) {
        Recorder recorder;
        EXPECT_TRUE(recorder.reader.feed(body.substr(0, cut)));
        EXPECT_TRUE(recorder.reader.feed(body.substr(cut)));
        EXPECT_TRUE(recorder.reader.complete());
        EXPECT_EQ(recorder.events, expectedEvents) << "cut at " << cut;
    }
    Recorder byteByByte;
    for (char c : body) ASSERT_TRUE(byteByByte.reader.feed(std::string(1, c)));
    EXPECT_TRUE(byteByByte.reader.complete());
    EXPECT_EQ(byteByByte.events, expectedEvents);
}

TEST(MultipartReader, AnUnfinishedOrBrokenBodyIsNotComplete) {
    Recorder cutShort;
    EXPECT_TRUE(cutShort.reader.feed(body.substr(0, body.find("--boundary--"))));
    EXPECT_FALSE(cutShort.reader.complete());

    Recorder garbage;
    EXPECT_FALSE(
        garbage.reader.feed("--boundary\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\nx\r\n--boundaryX\r\n"));
    EXPECT_FALSE(garbage.reader.complete());
    EXPECT_THAT(garbage.events, ElementsAre("begin a", "x", "end"));
}

TEST(MultipartReader, FindsTheBoundaryOfAFormDataContentTypeOnly) {
    EXPECT_THAT(MultipartReader::boundaryOf("multipart/form-data; boundary=----QMRBoundary0a1b"),
                Optional(std::string("----QMRBoundary0a1b")));
    EXPECT_THAT(MultipartReader::boundaryOf("Multipart/Form-Data; charset=UTF-8; boundary=\"a b;c\""),
                Optional(std::string("a b;c")));
    EXPECT_EQ(MultipartReader::boundaryOf("multipart/mixed; boundary=x"), std::nullopt);
    EXPECT_EQ(MultipartReader::boundaryOf("multipart/form-data"), std::nullopt);
    EXPECT_EQ(MultipartReader::boundaryOf("application/x-www-form-urlencoded"), std::nullopt);
}

}  // namespace
