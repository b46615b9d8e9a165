// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A stream over a file, and what holds for it and for one over a block of memory.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <memory>

#include "unit/support/StreamHelpers.h"

namespace hueweave::test {
namespace {

class IoFile : public testing::Test {
protected:
    /// A file of this content in the test's own folder; its path.
    std::string Made(const Bytes& content) const {
        WriteFile(Path(), content);
        return Path();
    }
    std::string Path() const { return folder_.File("bytes"); }

private:
    TempDir folder_;
};

bool IsOpen(int descriptor) { return fcntl(descriptor, F_GETFD) != -1; }

// --- opening

struct ModeRow {
    const char* mode;
    bool exists;  ///< the file is there before
    bool opens;
    const char* afterwards;  ///< what it holds after "XY" was written and the stream closed; null if there is none
    unsigned long read, written;
};
constexpr ModeRow kModes[] = {
    {"r", true, true, "abcd", 4, 0},     {"rb", true, true, "abcd", 4, 0},   {"r+", true, true, "abcdXY", 4, 2},
    {"w", true, true, "XY", 0, 2},       {"wb", true, true, "XY", 0, 2},     {"w+", true, true, "XY", 0, 2},
    {"a", true, true, "abcdXY", 0, 2},   {"a+", true, true, "abcdXY", 4, 2}, {"r", false, false, nullptr, 0, 0},
    {"r+", false, false, nullptr, 0, 0}, {"w", false, true, "XY", 0, 2},     {"a", false, true, "XY", 0, 2},
    {"wx", true, false, "abcd", 0, 0},   {"?", true, false, "abcd", 0, 0},   {"", true, false, "abcd", 0, 0},
};

TEST_F(IoFile, OpensReadsAndWritesAsItsModeSays) {
    for (const ModeRow& row : kModes) {
        SCOPED_TRACE(std::string(row.mode) + (row.exists ? ", there before" : ", not there before"));
        std::filesystem::remove(Path());
        if (row.exists) Made({'a', 'b', 'c', 'd'});
        {
            IO_File file(Path().c_str(), row.mode);
            ASSERT_EQ(file.stream != nullptr, row.opens);
            EXPECT_EQ(file.GetHandle(), file.stream);
            Bytes bytes(9);
            EXPECT_EQ(file.Read(bytes.data(), 1, 9), row.read);
            file.Seek(0, 2);
            Bytes text = {'X', 'Y'};
            EXPECT_EQ(file.Write(text.data(), 1, 2), row.written);
        }
        ASSERT_EQ(std::filesystem::exists(Path()), row.afterwards != nullptr);
        if (row.afterwards == nullptr) continue;
        EXPECT_EQ(ReadFile(Path()), ByteWriter().Text(row.afterwards).Done());
    }
}

TEST_F(IoFile, ThatCannotBeOpenedHasANullStreamAndMovesNothing) {
    for (const std::string& path : {Path(), Path() + "/below", std::string(), std::string(5000, 'x')}) {
        IO_File file(path.c_str(), "rb");
        EXPECT_EQ(file.stream, nullptr);
        EXPECT_EQ(file.GetHandle(), nullptr);
        Bytes bytes(4, kUntouched);
        EXPECT_EQ(file.Read(bytes.data(), 1, 4), 0U);
        EXPECT_EQ(bytes, Bytes(4, kUntouched));
        EXPECT_EQ(file.Write(bytes.data(), 1, 4), 0U);
        EXPECT_EQ(file.Seek(0, 0), -1);
        file.Close();
        EXPECT_EQ(file.stream, nullptr);
    }
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

// --- reading

struct ReadRow {
    int from;  ///< in a file of 10 bytes
    unsigned long size, count, items;
    unsigned long bytes;  ///< moved, and so the place afterwards
};
constexpr ReadRow kReads[] = {
    {0, 1, 0, 0, 0},  {0, 0, 5, 0, 0},  {0, 0, 0, 0, 0},    {0, 1, 1, 1, 1},   {0, 1, 4, 4, 4},    {0, 4, 1, 1, 4},
    {0, 2, 3, 3, 6},  {0, 3, 2, 2, 6},  {0, 1, 10, 10, 10}, {0, 10, 1, 1, 10}, {0, 1, 11, 10, 10}, {0, 11, 1, 0, 10},
    {0, 3, 5, 3, 10}, {0, 4, 3, 2, 10}, {6, 1, 10, 4, 4},   {6, 3, 2, 1, 4},   {10, 1, 1, 0, 0},
};

TEST_F(IoFile, AReadCountsWholeItems) {
    IO_File file(Made(Rising(10, 0x40)).c_str(), "rb");
    for (const ReadRow& row : kReads) {
        SCOPED_TRACE(std::to_string(row.size) + " x " + std::to_string(row.count) + " from " +
                     std::to_string(row.from));
        ASSERT_EQ(file.Seek(row.from, 0), 0);
        Bytes bytes(60, kUntouched);
        EXPECT_EQ(file.Read(bytes.data(), row.size, row.count), row.items);
        EXPECT_EQ(std::ftell(file.stream), row.from + static_cast<long>(row.bytes));
        // A part of an item may be there or not, but nothing behind it.
        const std::size_t whole = row.items * row.size;
        const Bytes expected = ReadInto(60, Rising(whole, 0x40 + static_cast<unsigned>(row.from)));
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(whole),
                  bytes.begin() + static_cast<std::ptrdiff_t>(row.bytes), kUntouched);
        EXPECT_THAT(bytes, EqualTo(expected));
    }
}

// --- writing

TEST_F(IoFile, AWriteCountsItemsAndPutsAllBytes) {
    IO_File file(Made(Rising(4, 0x40)).c_str(), "r+b");
    Bytes bytes = Rising(12, 1);
    EXPECT_EQ(file.Write(bytes.data(), 0, 3), 0U);
    EXPECT_EQ(file.Write(bytes.data(), 3, 0), 0U);
    EXPECT_EQ(std::ftell(file.stream), 0);
    EXPECT_EQ(file.Write(bytes.data(), 1, 3), 3U);
    EXPECT_EQ(file.Write(bytes.data() + 3, 3, 1), 1U);
    EXPECT_EQ(file.Write(bytes.data() + 6, 2, 3), 3U);
    file.Close();
    EXPECT_EQ(ReadFile(Path()), Rising(12, 1));
    EXPECT_EQ(bytes, Rising(12, 1));
}

// --- seeking

struct SeekRow {
    int offset, origin, result;
    long place;  ///< afterwards, in a file of 10 bytes, from place 3
};
constexpr SeekRow kSeeks[] = {
    {0, 0, 0, 0},    {7, 0, 0, 7},        {10, 0, 0, 10}, {25, 0, 0, 25}, {INT_MAX, 0, 0, INT_MAX},
    {-1, 0, -1, 3},  {INT_MIN, 0, -1, 3}, {0, 1, 0, 3},   {4, 1, 0, 7},   {20, 1, 0, 23},
    {-3, 1, 0, 0},   {-4, 1, -1, 3},      {0, 2, 0, 10},  {5, 2, 0, 15},  {-10, 2, 0, 0},
    {-11, 2, -1, 3}, {0, 3, -1, 3},       {1, -1, -1, 3},
};

TEST_F(IoFile, ASeekAnswersAsTheStreamDoes) {
    IO_File file(Made(Rising(10, 0x40)).c_str(), "rb");
    for (const SeekRow& row : kSeeks) {
        SCOPED_TRACE(std::to_string(row.offset) + " of origin " + std::to_string(row.origin));
        ASSERT_EQ(file.Seek(3, 0), 0);
        EXPECT_EQ(file.Seek(row.offset, row.origin), row.result);
        EXPECT_EQ(std::ftell(file.stream), row.place);
    }
}

// --- closing

TEST_F(IoFile, ClosingWritesOutAndForgetsTheStream) {
    IO_File file(Path().c_str(), "wb");
    const int descriptor = fileno(file.stream);
    Bytes bytes = Rising(5, 7);
    file.Write(bytes.data(), 5, 1);
    file.Close();
    EXPECT_EQ(file.stream, nullptr);
    EXPECT_EQ(file.GetHandle(), nullptr);
    EXPECT_FALSE(IsOpen(descriptor));
    EXPECT_EQ(ReadFile(Path()), Rising(5, 7));
    file.Close();
    EXPECT_EQ(file.stream, nullptr);
    EXPECT_EQ(file.Read(bytes.data(), 1, 5), 0U);
}

TEST_F(IoFile, ClosesAStreamThatTheCallerPutThere) {
    IO_File file(Path().c_str(), "rb");
    file.stream = std::fopen(Made(Rising(3, 0)).c_str(), "rb");
    const int descriptor = fileno(file.stream);
    file.Close();
    EXPECT_FALSE(IsOpen(descriptor));
}

/// Keeps its stream open when told to close.
struct UnwillingFile : IO_File {
    using IO_File::IO_File;
    void Close() override { ++closes; }
    int closes = 0;
};

TEST_F(IoFile, TheDestructorWritesOutAndClosesWithoutAskingClose) {
    auto unwilling = std::make_unique<UnwillingFile>(Path().c_str(), "wb");
    const int descriptor = fileno(unwilling->stream);
    Bytes bytes = Rising(5, 7);
    unwilling->Write(bytes.data(), 1, 5);
    static_cast<IO_Interface&>(*unwilling).Close();
    EXPECT_EQ(unwilling->closes, 1);
    EXPECT_TRUE(IsOpen(descriptor));
    std::unique_ptr<IO_Interface> file = std::move(unwilling);
    file.reset();
    EXPECT_FALSE(IsOpen(descriptor));
    EXPECT_EQ(ReadFile(Path()), Rising(5, 7));
}

TEST_F(IoFile, TheDestructorLeavesAClosedStreamAlone) {
    int reused = -1;
    {
        IO_File file(Made(Rising(3, 0)).c_str(), "rb");
        const int descriptor = fileno(file.stream);
        file.Close();
        reused = open(Path().c_str(), O_RDONLY);
        EXPECT_EQ(reused, descriptor) << "the number that was free again";
    }
    EXPECT_TRUE(IsOpen(reused));
    close(reused);
}

// --- what is no ordinary file

TEST_F(IoFile, WhatOpensAndCannotBeReadGivesNoItems) {
    // A folder, and the memory of this process, a regular file whose first bytes no one can read.
    for (const std::string& path :
         {std::filesystem::path(Path()).parent_path().string(), std::string("/proc/self/mem")}) {
        IO_File file(path.c_str(), "rb");
        ASSERT_NE(file.stream, nullptr);
        Bytes bytes(4, kUntouched);
        EXPECT_EQ(file.Read(bytes.data(), 1, 4), 0U);
        EXPECT_EQ(bytes, Bytes(4, kUntouched));
    }
}

TEST_F(IoFile, AFullDeviceTakesNoItemsAndIsClosedAllTheSame) {
    for (const bool buffered : {false, true}) {
        IO_File file("/dev/full", "wb");
        ASSERT_NE(file.stream, nullptr);
        const int descriptor = fileno(file.stream);
        if (!buffered) std::setvbuf(file.stream, nullptr, _IONBF, 0);
        Bytes bytes = Rising(6, 0);
        EXPECT_EQ(file.Write(bytes.data(), 2, 3), buffered ? 3U : 0U) << "the device refuses at the close";
        file.Close();
        EXPECT_EQ(file.stream, nullptr);
        EXPECT_FALSE(IsOpen(descriptor));
    }
}

TEST_F(IoFile, APipeReadsAndCannotSeek) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "abc", 3), 3);
    close(ends[1]);
    const std::string path = "/dev/fd/" + std::to_string(ends[0]);
    IO_File file(path.c_str(), "rb");
    ASSERT_NE(file.stream, nullptr);
    EXPECT_EQ(file.Seek(1, 0), -1);
    Bytes bytes(4);
    EXPECT_EQ(file.Read(bytes.data(), 2, 2), 1U) << "a whole item and a half";
    close(ends[0]);
}

// --- either stream

TEST(IoInterface, AFileCountsItemsAndABlockTellsItsPosition) {
    const TempDir folder;
    const std::string path = folder.File("bytes");
    WriteFile(path, Rising(9, 'a'));
    const std::unique_ptr<IO_Interface> file = std::make_unique<IO_File>(path.c_str(), "r+b");
    Bytes memory = Rising(9, 'a');
    const std::unique_ptr<IO_Interface> block = std::make_unique<IO_Buf>(memory.data(), 9);
    // One way of use serves both; only what they answer differs.
    Bytes bytes(4);
    for (const bool inMemory : {false, true}) {
        IO_Interface& stream = inMemory ? *block : *file;
        EXPECT_EQ(stream.Seek(2, 0), inMemory ? 2 : 0);
        EXPECT_EQ(stream.Read(bytes.data(), 2, 2), inMemory ? Address(memory.data() + 6) : 2U);
        EXPECT_EQ(stream.Seek(-4, 2), inMemory ? -4 : 0);
        EXPECT_EQ(stream.Write(bytes.data(), 1, 4), inMemory ? Address(memory.data() + 9) : 4U);
        EXPECT_EQ(stream.Seek(0, 0), 0);
        stream.Read(bytes.data(), 4, 1);
        EXPECT_EQ(bytes, Rising(4, 'a'));
        stream.Close();
    }
    const Bytes expected = {'a', 'b', 'c', 'd', 'e', 'c', 'd', 'e', 'f'};
    EXPECT_EQ(ReadFile(path), expected);
    EXPECT_EQ(memory, expected);
}

}  // namespace
}  // namespace hueweave::test
