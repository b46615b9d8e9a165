// SPDX-License-Identifier: MIT
// Bytes of a file in memory and of a stream, read in order and at any offset.
#include "base/ByteSource.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "base/FileHandle.h"
#include "support/ByteWriter.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

constexpr std::size_t kAhead = 4194304;

/// The bytes 0, 1, 2 ... 250, 0, 1 ...
Bytes Numbered(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i % 251);
    return bytes;
}
Bytes Next(ByteSource& source, std::size_t size, std::size_t held) {
    Bytes bytes(size, 0xee);
    EXPECT_EQ(source.Read(bytes), held);
    return bytes;
}
Bytes BlockOf(ByteSource& source, std::uint64_t start, std::uint64_t size) {
    const auto block = source.Block(start, size);
    return Bytes(block.begin(), block.end());
}

/// The rules for a file of the bytes 0 to 9, in memory or as a stream.
void ExpectTenBytes(ByteSource& source) {
    EXPECT_EQ(source.Size(), 10U);
    EXPECT_EQ(Next(source, 3, 3), (Bytes{0, 1, 2}));
    EXPECT_EQ(Next(source, 0, 0), Bytes());
    EXPECT_EQ(Next(source, 2, 2), (Bytes{3, 4}));
    EXPECT_EQ(Next(source, 7, 5), (Bytes{5, 6, 7, 8, 9, 0, 0}));
    EXPECT_EQ(Next(source, 2, 0), (Bytes{0, 0}));
    EXPECT_TRUE(source.Seek(8));
    EXPECT_EQ(Next(source, 1, 1), (Bytes{8}));
    EXPECT_TRUE(source.Seek(11));
    EXPECT_EQ(Next(source, 2, 0), (Bytes{0, 0}));
    EXPECT_TRUE(source.Seek(0));
    EXPECT_EQ(Next(source, 1, 1), (Bytes{0}));

    EXPECT_EQ(BlockOf(source, 0, 10), Numbered(10));
    EXPECT_EQ(BlockOf(source, 4, 3), (Bytes{4, 5, 6}));
    EXPECT_EQ(BlockOf(source, 8, 4), (Bytes{8, 9, 0, 0}));
    EXPECT_EQ(BlockOf(source, 9, 1), (Bytes{9}));
    EXPECT_EQ(BlockOf(source, 10, 0), Bytes());
    EXPECT_EQ(BlockOf(source, 4000000000U, 3), (Bytes{0, 0, 0}));
    EXPECT_EQ(BlockOf(source, 7, 3), (Bytes{7, 8, 9}));
    Bytes some(4, 0xee);
    source.ReadAt(7, some);
    EXPECT_EQ(some, (Bytes{7, 8, 9, 0}));
}

class ByteSourceStream : public testing::Test {
protected:
    FileHandle Open(const Bytes& bytes) {
        WriteFile(path_, bytes);
        return FileHandle(std::fopen(path_.c_str(), "rb"));
    }
    TempDir dir_;
    std::string path_ = dir_.File("some");
};

TEST(ByteSourceMemory, ReadsFromAnyOffset) {
    const Bytes bytes = Numbered(10);
    ByteSource source{bytes};
    ExpectTenBytes(source);
    source.ReadAhead();
    source.Seek(0);
    ExpectTenBytes(source);
}

TEST(ByteSourceMemory, TreatsAnEmptySpanAsAnEmptyFile) {
    for (const Bytes& bytes : {Bytes(), Bytes(1)}) {
        ByteSource source{std::span(bytes.data(), 0)};
        EXPECT_EQ(source.Size(), 0U);
        EXPECT_EQ(Next(source, 2, 0), (Bytes{0, 0}));
        EXPECT_EQ(BlockOf(source, 0, 2), (Bytes{0, 0}));
        EXPECT_EQ(BlockOf(source, 0, 0), Bytes());
    }
}

TEST(ByteSourceMemory, ReturnsABlockWithoutCopying) {
    const Bytes bytes = Numbered(10);
    ByteSource source{bytes};
    EXPECT_EQ(source.Block(3, 7).data(), &bytes[3]);
    EXPECT_NE(source.Block(3, 8).data(), &bytes[3]) << "one byte more than there are";
}

TEST_F(ByteSourceStream, ReadsFromAnyOffset) {
    for (const bool ahead : {false, true}) {
        const FileHandle stream = Open(Numbered(10));
        ByteSource source(stream.get());
        if (ahead) source.ReadAhead();
        ExpectTenBytes(source);
    }
}

TEST_F(ByteSourceStream, StartsAtTheStreamPosition) {
    for (const bool ahead : {false, true}) {
        const FileHandle stream = Open(Numbered(10));
        std::fseek(stream.get(), 4, SEEK_SET);
        ByteSource source(stream.get());
        if (ahead) source.ReadAhead();
        EXPECT_EQ(source.Size(), 10U);
        EXPECT_EQ(Next(source, 3, 3), (Bytes{4, 5, 6})) << ahead;
    }
}

TEST_F(ByteSourceStream, ReadsASmallFileOnceWithReadAhead) {
    const FileHandle stream = Open(Numbered(kAhead));
    ByteSource source(stream.get());
    source.ReadAhead();
    WriteFile(path_, Bytes(kAhead, 0xff));
    EXPECT_EQ(BlockOf(source, kAhead - 4, 5), (Bytes{90, 91, 92, 93, 0}));  // 4194300 = 251 x 16710 + 90
}

TEST_F(ByteSourceStream, BuffersTheFirstBytesOfALargeFile) {
    const FileHandle stream = Open(Numbered(kAhead + 8));
    std::setvbuf(stream.get(), nullptr, _IONBF, 0);
    std::fseek(stream.get(), 5, SEEK_SET);
    ByteSource source(stream.get());
    source.ReadAhead();
    EXPECT_EQ(Next(source, 2, 2), (Bytes{5, 6})) << "the place stays";
    WriteFile(path_, Bytes(kAhead + 8, 0xff));
    EXPECT_EQ(BlockOf(source, 1, 2), (Bytes{1, 2})) << "held";
    EXPECT_EQ(BlockOf(source, kAhead - 2, 4), Bytes(4, 0xff)) << "one that reaches further is read";
    EXPECT_EQ(BlockOf(source, kAhead + 6, 4), (Bytes{0xff, 0xff, 0, 0}));
}

TEST_F(ByteSourceStream, KeepsThePositionOfAStreamThatCannotSeek) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "abcdef", 6), 6);
    close(ends[1]);
    const FileHandle stream(fdopen(ends[0], "rb"));
    ByteSource source(stream.get());
    EXPECT_EQ(source.Size(), 0U);
    source.ReadAhead();
    EXPECT_EQ(Next(source, 2, 2), (Bytes{'a', 'b'}));
    EXPECT_FALSE(source.Seek(5));
    EXPECT_EQ(Next(source, 2, 2), (Bytes{'c', 'd'}));
    Bytes some(2, 0xee);
    source.ReadAt(0, some);
    EXPECT_EQ(some, Bytes(2, 0));
    EXPECT_EQ(BlockOf(source, 0, 3), Bytes(3, 0));
    EXPECT_EQ(Next(source, 3, 2), (Bytes{'e', 'f', 0}));
}

}  // namespace
}  // namespace hueweave::test
