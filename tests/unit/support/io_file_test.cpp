// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <memory>

#include "unit/support/StreamHelpers.h"

namespace hueweave::test {
namespace {

class IoFileTest : public testing::Test {
protected:
    /// A file of this content in the test's own folder; its path.
    std::string Made(const ByteList& content) const {
        PutFile(Path(), content);
        return Path();
    }
    std::string Path() const { return folder_.File("bytes"); }

private:
    TempDir folder_;
};

bool IsOpen(int descriptor) { return fcntl(descriptor, F_GETFD) != -1; }

// ---- opening

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

class IoFileModeTest : public IoFileTest, public testing::WithParamInterface<ModeRow> {};

TEST_P(IoFileModeTest, OpensReadsAndWritesAsTheModeSays) {
    const ModeRow& row = GetParam();
    if (row.exists) Made({'a', 'b', 'c', 'd'});
    {
        IO_File file(Path().c_str(), row.mode);
        ASSERT_EQ(file.stream != nullptr, row.opens);
        EXPECT_EQ(file.GetHandle(), file.stream);
        ByteList bytes(9);
        EXPECT_EQ(file.Read(bytes.data(), 1, 9), row.read);
        file.Seek(0, 2);
        ByteList text = {'X', 'Y'};
        EXPECT_EQ(file.Write(text.data(), 1, 2), row.written);
    }
    ASSERT_EQ(std::filesystem::exists(Path()), row.afterwards != nullptr);
    if (row.afterwards == nullptr) return;
    const std::string expected = row.afterwards;
    EXPECT_EQ(FileBytes(Path()), ByteList(expected.begin(), expected.end()));
}
INSTANTIATE_TEST_SUITE_P(Every, IoFileModeTest, testing::ValuesIn(kModes));

TEST_F(IoFileTest, AFailedOpenLeavesANullStreamThatTheHandleShows) {
    for (const std::string& path : {Path(), Path() + "/below", std::string(), std::string(5000, 'x')}) {
        IO_File file(path.c_str(), "rb");
        EXPECT_EQ(file.stream, nullptr);
        EXPECT_EQ(file.GetHandle(), nullptr);
    }
}

TEST_F(IoFileTest, AStreamThatIsNullMovesNothing) {
    IO_File file(Path().c_str(), "rb");
    ASSERT_EQ(file.stream, nullptr);
    ByteList bytes(4, kUntouched);
    EXPECT_EQ(file.Read(bytes.data(), 1, 4), 0U);
    EXPECT_EQ(bytes, ByteList(4, kUntouched));
    EXPECT_EQ(file.Write(bytes.data(), 1, 4), 0U);
    EXPECT_EQ(file.Seek(0, 0), -1);
    file.Close();
    EXPECT_EQ(file.stream, nullptr);
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

// ---- reading

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

class IoFileReadTest : public IoFileTest, public testing::WithParamInterface<ReadRow> {};

TEST_P(IoFileReadTest, CountsWholeItems) {
    const ReadRow& row = GetParam();
    IO_File file(Made(Rising(10, 0x40)).c_str(), "rb");
    ASSERT_EQ(file.Seek(row.from, 0), 0);
    ByteList bytes(60, kUntouched);
    EXPECT_EQ(file.Read(bytes.data(), row.size, row.count), row.items);
    const std::size_t whole = row.items * row.size;
    EXPECT_EQ(ByteList(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(whole)),
              Rising(whole, 0x40 + static_cast<unsigned>(row.from)));
    for (std::size_t i = row.bytes; i < bytes.size(); ++i) EXPECT_EQ(bytes[i], kUntouched) << i;
    EXPECT_EQ(std::ftell(file.stream), row.from + static_cast<long>(row.bytes));
}
INSTANTIATE_TEST_SUITE_P(Every, IoFileReadTest, testing::ValuesIn(kReads));

TEST_F(IoFileTest, NoLengthMovesNothing) {
    IO_File file(Made(Rising(4, 0)).c_str(), "r+b");
    ByteList bytes(2, kUntouched);
    EXPECT_EQ(file.Write(bytes.data(), 0, 3), 0U);
    EXPECT_EQ(file.Write(bytes.data(), 3, 0), 0U);
    EXPECT_EQ(std::ftell(file.stream), 0);
    file.Close();
    EXPECT_EQ(FileBytes(Path()), Rising(4, 0));
}

// ---- writing

TEST_F(IoFileTest, AWriteCountsItemsAndPutsAllBytes) {
    IO_File file(Path().c_str(), "wb");
    ByteList bytes = Rising(12, 1);
    EXPECT_EQ(file.Write(bytes.data(), 1, 3), 3U);
    EXPECT_EQ(file.Write(bytes.data() + 3, 3, 1), 1U);
    EXPECT_EQ(file.Write(bytes.data() + 6, 2, 3), 3U);
    file.Close();
    EXPECT_EQ(FileBytes(Path()), Rising(12, 1));
    EXPECT_EQ(bytes, Rising(12, 1));
}

TEST_F(IoFileTest, AWritePastTheEndMakesTheFileLonger) {
    IO_File file(Made(Rising(4, 0)).c_str(), "r+b");
    EXPECT_EQ(file.Seek(2, 2), 0);
    ByteList byte = {9};
    EXPECT_EQ(file.Write(byte.data(), 1, 1), 1U);
    file.Close();
    EXPECT_EQ(FileBytes(Path()), (ByteList{0, 1, 2, 3, 0, 0, 9}));
}

// ---- seeking

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

class IoFileSeekTest : public IoFileTest, public testing::WithParamInterface<SeekRow> {};

TEST_P(IoFileSeekTest, AnswersAsTheStreamDoes) {
    const SeekRow& row = GetParam();
    IO_File file(Made(Rising(10, 0x40)).c_str(), "rb");
    ASSERT_EQ(file.Seek(3, 0), 0);
    EXPECT_EQ(file.Seek(row.offset, row.origin), row.result) << row.offset << " from " << row.origin;
    EXPECT_EQ(std::ftell(file.stream), row.place) << row.offset << " from " << row.origin;
}
INSTANTIATE_TEST_SUITE_P(Every, IoFileSeekTest, testing::ValuesIn(kSeeks));

TEST_F(IoFileTest, ReadsWhereItWasSought) {
    IO_File file(Made(Rising(10, 0x40)).c_str(), "rb");
    ByteList bytes(2);
    file.Seek(-3, 2);
    EXPECT_EQ(file.Read(bytes.data(), 1, 2), 2U);
    EXPECT_EQ(bytes, Rising(2, 0x47));
    file.Seek(-4, 1);
    EXPECT_EQ(file.Read(bytes.data(), 2, 1), 1U);
    EXPECT_EQ(bytes, Rising(2, 0x45));
    file.Seek(3, 2);
    EXPECT_EQ(file.Read(bytes.data(), 1, 2), 0U) << "beyond the end";
}

// ---- closing

TEST_F(IoFileTest, ClosingWritesOutAndForgetsTheStream) {
    IO_File file(Path().c_str(), "wb");
    const int descriptor = fileno(file.stream);
    ByteList bytes = Rising(5, 7);
    file.Write(bytes.data(), 5, 1);
    file.Close();
    EXPECT_EQ(file.stream, nullptr);
    EXPECT_EQ(file.GetHandle(), nullptr);
    EXPECT_FALSE(IsOpen(descriptor));
    EXPECT_EQ(FileBytes(Path()), Rising(5, 7));
    file.Close();
    EXPECT_EQ(file.stream, nullptr);
    EXPECT_EQ(file.Read(bytes.data(), 1, 5), 0U);
}

TEST_F(IoFileTest, ClosesAStreamThatTheCallerPutThere) {
    IO_File file(Path().c_str(), "rb");
    file.stream = std::fopen(Made(Rising(3, 0)).c_str(), "rb");
    const int descriptor = fileno(file.stream);
    ByteList bytes(3);
    EXPECT_EQ(file.Read(bytes.data(), 1, 3), 3U);
    file.Close();
    EXPECT_FALSE(IsOpen(descriptor));
}

TEST_F(IoFileTest, TheDestructorClosesAndWritesOut) {
    std::unique_ptr<IO_Interface> file = std::make_unique<IO_File>(Path().c_str(), "wb");
    const int descriptor = fileno(static_cast<std::FILE*>(file->GetHandle()));
    ByteList bytes = Rising(5, 7);
    file->Write(bytes.data(), 1, 5);
    EXPECT_TRUE(IsOpen(descriptor));
    file.reset();
    EXPECT_FALSE(IsOpen(descriptor));
    EXPECT_EQ(FileBytes(Path()), Rising(5, 7));
}

/// Keeps its stream open when told to close.
struct UnwillingFile : IO_File {
    using IO_File::IO_File;
    void Close() override { ++closes; }
    int closes = 0;
};

TEST_F(IoFileTest, TheDestructorClosesWithoutAskingClose) {
    int descriptor = -1;
    {
        UnwillingFile file(Made(Rising(3, 0)).c_str(), "rb");
        descriptor = fileno(file.stream);
        static_cast<IO_Interface&>(file).Close();
        EXPECT_EQ(file.closes, 1);
        EXPECT_TRUE(IsOpen(descriptor));
    }
    EXPECT_FALSE(IsOpen(descriptor));
}

TEST_F(IoFileTest, TheDestructorLeavesAClosedStreamAlone) {
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

// ---- what is no ordinary file

TEST_F(IoFileTest, AFolderOpensAndReadsNothing) {
    const TempDir folder;
    IO_File file(folder.Path().c_str(), "rb");
    ASSERT_NE(file.stream, nullptr);
    ByteList bytes(4, kUntouched);
    EXPECT_EQ(file.Read(bytes.data(), 1, 4), 0U);
    EXPECT_EQ(bytes, ByteList(4, kUntouched));
    IO_File written(folder.Path().c_str(), "wb");
    EXPECT_EQ(written.stream, nullptr);
}

TEST_F(IoFileTest, AnEndlessFileGivesWhatIsAskedFor) {
    IO_File file("/dev/zero", "rb");
    ByteList bytes(100000, kUntouched);
    EXPECT_EQ(file.Read(bytes.data(), 1000, 100), 100U);
    EXPECT_EQ(bytes, ByteList(100000, 0));
}

TEST_F(IoFileTest, AFullDeviceTakesNoItems) {
    IO_File file("/dev/full", "wb");
    ASSERT_NE(file.stream, nullptr);
    ASSERT_EQ(std::setvbuf(file.stream, nullptr, _IONBF, 0), 0);
    ByteList bytes = Rising(6, 0);
    EXPECT_EQ(file.Write(bytes.data(), 2, 3), 0U);
    file.Close();
    EXPECT_EQ(file.stream, nullptr);
}

TEST_F(IoFileTest, AFullDeviceThatIsToldAtTheCloseIsClosedAllTheSame) {
    IO_File file("/dev/full", "wb");
    const int descriptor = fileno(file.stream);
    ByteList bytes = Rising(6, 0);
    EXPECT_EQ(file.Write(bytes.data(), 1, 6), 6U) << "the stream's buffer took them";
    file.Close();
    EXPECT_EQ(file.stream, nullptr);
    EXPECT_FALSE(IsOpen(descriptor));
}

TEST_F(IoFileTest, APipeReadsAndCannotSeek) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "abc", 3), 3);
    close(ends[1]);
    const std::string path = "/dev/fd/" + std::to_string(ends[0]);
    IO_File file(path.c_str(), "rb");
    ASSERT_NE(file.stream, nullptr);
    EXPECT_EQ(file.Seek(1, 0), -1);
    ByteList bytes(4);
    EXPECT_EQ(file.Read(bytes.data(), 2, 2), 1U) << "a whole item and a half";
    close(ends[0]);
}

}  // namespace
}  // namespace hueweave::test
