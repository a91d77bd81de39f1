#include <gtest/gtest.h>

#include <array>
#include <string>

#include "companion/io/ComQuillmereIO_MemoryStream.h"
#include "companion/util/QMRExceptions.h"

namespace {

std::string text(const QMRData& data) { return std::string(data.begin(), data.end()); }

TEST(ComQuillmereIO_MemoryStream, WritingAtAPositionOverwritesThenExtends) {
    ComQuillmereIO_MemoryStream stream;
    stream.write("hello world");
    EXPECT_EQ(stream.position(), 11u);
    stream.seekToOffset(6);
    stream.write("there, friend");
    EXPECT_EQ(text(stream.readDataFromStartToEnd()), "hello there, friend");
    EXPECT_EQ(stream.position(), stream.length());
}

TEST(ComQuillmereIO_MemoryStream, ReadsFromCurrentPositionAndFromStart) {
    ComQuillmereIO_MemoryStream stream(QMRData{'a', 'b', 'c', 'd'});
    std::array<std::uint8_t, 3> buffer{};
    EXPECT_EQ(stream.read(buffer), 3u);
    EXPECT_EQ(text(stream.readDataFromCurrentToEnd()), "d");
    EXPECT_EQ(stream.read(buffer), 0u);
    EXPECT_EQ(text(stream.readDataFromStartToEnd()), "abcd");
}

TEST(ComQuillmereIO_MemoryStream, SeekPastTheEndAndUseAfterCloseAreRefused) {
    ComQuillmereIO_MemoryStream stream(QMRData{'x'});
    EXPECT_THROW(stream.seekToOffset(2), QMRRangeException);
    stream.seekToOffset(1);
    stream.close();
    EXPECT_TRUE(stream.isClosed());
    EXPECT_THROW(stream.write("y"), QMRInvalidOperationException);
    EXPECT_THROW(stream.readDataFromStartToEnd(), QMRInvalidOperationException);
}

}  // namespace
