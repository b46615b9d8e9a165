// SPDX-License-Identifier: MIT
// A stream over a file, and the rules that it shares with a stream over a block of memory.
#include <fcntl.h>

#include <climits>
#include <filesystem>
#include <memory>

#include "unit/support/StreamHelpers.h"

namespace hueweave::test {
namespace {

class IoFile : public testing::Test {
protected:
    /// Creates a file of this content in the test's own folder and returns its path.
    std::string Made(const Bytes& content) const {
        WriteFile(Path(), content);
        return Path();
    }
    std::string Path() const { return folder_.File("bytes"); }

private:
    TempDir folder_;
};

bool IsOpen(int descriptor) { return fcntl(descriptor, F_GETFD) != -1; }

struct ModeRow {
    const char* mode;
    bool exists;  ///< whether the file exists before
    bool opens;
    const char* afterwards;  ///< content after "XY" is written and the stream closed; null if there is no file
    unsigned long read, written;
};
constexpr ModeRow kModes[] = {
    {"rb", true, true, "abcd", 4, 0},   {"r+", true, true, "abcdXY", 4, 2}, {"wb", true, true, "XY", 0, 2},
    {"a+", true, true, "abcdXY", 4, 2}, {"r", false, false, nullptr, 0, 0}, {"w", false, true, "XY", 0, 2},
    {"wx", true, false, "abcd", 0, 0},
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

TEST_F(IoFile, HasANullStreamIfItCannotBeOpened) {
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

TEST_F(IoFile, CountsWholeItems) {
    IO_File file(Made(CountingBytes(10, 0x40)).c_str(), "r+b");
    Bytes bytes(12, kUntouched);
    EXPECT_EQ(file.Read(bytes.data(), 0, 5), 0U);
    EXPECT_EQ(file.Read(bytes.data(), 1, 4), 4U);
    EXPECT_EQ(bytes, ReadInto(12, CountingBytes(4, 0x40)));
    EXPECT_EQ(file.Read(bytes.data(), 2, 2), 2U);
    EXPECT_EQ(file.Read(bytes.data(), 4, 3), 0U) << "half an item is left";
    EXPECT_EQ(std::ftell(file.stream), 10);
    bytes = CountingBytes(10, 1);
    EXPECT_EQ(file.Seek(0, 0), 0);
    EXPECT_EQ(file.Write(bytes.data(), 3, 0), 0U);
    EXPECT_EQ(file.Write(bytes.data(), 5, 2), 2U);
    file.Close();
    EXPECT_EQ(ReadFile(Path()), CountingBytes(10, 1));
}

struct SeekRow {
    int offset, origin, result;
    long place;  ///< position afterwards, in a file of 10 bytes, starting from position 3
};
constexpr SeekRow kSeeks[] = {{7, 0, 0, 7},  {INT_MAX, 0, 0, INT_MAX}, {-1, 0, -1, 3}, {4, 1, 0, 7}, {-4, 1, -1, 3},
                              {5, 2, 0, 15}, {-10, 2, 0, 0},           {0, 3, -1, 3}};

TEST_F(IoFile, ASeekReturnsTheResultOfTheStream) {
    IO_File file(Made(CountingBytes(10, 0x40)).c_str(), "rb");
    for (const SeekRow& row : kSeeks) {
        SCOPED_TRACE(std::to_string(row.offset) + " of origin " + std::to_string(row.origin));
        ASSERT_EQ(file.Seek(3, 0), 0);
        EXPECT_EQ(file.Seek(row.offset, row.origin), row.result);
        EXPECT_EQ(std::ftell(file.stream), row.place);
    }
}

TEST_F(IoFile, CloseAndTheDestructorWriteOutAndClose) {
    for (const bool closes : {true, false}) {
        auto file = std::make_unique<IO_File>(Path().c_str(), "wb");
        const int descriptor = fileno(file->stream);
        Bytes bytes = CountingBytes(5, 7);
        EXPECT_EQ(file->Write(bytes.data(), 5, 1), 1U);
        for (int time = 0; closes && time < 2; ++time) {
            file->Close();
            EXPECT_EQ(file->stream, nullptr);
            EXPECT_EQ(file->GetHandle(), nullptr);
            EXPECT_FALSE(IsOpen(descriptor));
            EXPECT_EQ(file->Read(bytes.data(), 1, 5), 0U);
        }
        std::unique_ptr<IO_Interface>(std::move(file)).reset();
        EXPECT_FALSE(IsOpen(descriptor));
        EXPECT_EQ(ReadFile(Path()), CountingBytes(5, 7));
    }
}

TEST(IoInterface, AFileReturnsItemsAndABlockItsPosition) {
    const TempDir folder;
    const std::string path = folder.File("bytes");
    WriteFile(path, CountingBytes(9, 'a'));
    const std::unique_ptr<IO_Interface> file = std::make_unique<IO_File>(path.c_str(), "r+b");
    Bytes memory = CountingBytes(9, 'a');
    const std::unique_ptr<IO_Interface> block = std::make_unique<IO_Buf>(memory.data(), 9);
    // Both are used in the same way; only their results differ.
    Bytes bytes(4);
    for (const bool inMemory : {false, true}) {
        IO_Interface& stream = inMemory ? *block : *file;
        EXPECT_EQ(stream.Seek(2, 0), inMemory ? 2 : 0);
        EXPECT_EQ(stream.Read(bytes.data(), 2, 2), inMemory ? Address(memory.data() + 6) : 2U);
        EXPECT_EQ(stream.Seek(-4, 2), inMemory ? -4 : 0);
        EXPECT_EQ(stream.Write(bytes.data(), 1, 4), inMemory ? Address(memory.data() + 9) : 4U);
        EXPECT_EQ(stream.Seek(0, 0), 0);
        stream.Read(bytes.data(), 4, 1);
        EXPECT_EQ(bytes, CountingBytes(4, 'a'));
        stream.Close();
    }
    const Bytes expected = {'a', 'b', 'c', 'd', 'e', 'c', 'd', 'e', 'f'};
    EXPECT_EQ(ReadFile(path), expected);
    EXPECT_EQ(memory, expected);
}

}  // namespace
}  // namespace hueweave::test
