// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TEST(WriteHeaderTest, IsEightFixedBytesWhereTheStreamStands) {
    Tiff tiff;
    tiff.ifdOffset = 1234;
    tiff.writeIfdOffset = 99;
    EXPECT_EQ(WrittenBy([&](std::FILE* f) {
                  std::fputc(7, f);
                  EXPECT_EQ(tiff.WriteHeader(f), 0);
              }),
              (Bytes{7, 0x49, 0x49, 0x2a, 0, 8, 0, 0, 0}));
}

TEST(WriteIfdTest, StandsAtEightAndEndsWithZero) {
    Tiff tiff;
    tiff.AddTags(Word(4, 256), 1, 0x01020304, nullptr);
    tiff.AddTags(Word(3, 257), 1, 9, nullptr);
    const Bytes file = WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.WriteIFD(f), 0); });
    ByteWriter expected;
    expected.Fill(8).Little16(2).Little16(256).Little16(4).Little32(1).Little32(0x01020304);
    expected.Little16(257).Little16(3).Little32(1).Little32(9).Little32(0);
    EXPECT_EQ(file, expected.Done());
}

TEST(WriteIfdTest, ValuesInTheEntryAreNotMasked) {
    Tiff tiff;
    tiff.AddTags(Word(3, 262), 1, 0xabcd0002U, nullptr);
    tiff.AddTags(Word(1, 254), 1, 0x12345678, nullptr);
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntryOf(file, 262).value, 0xabcd0002U);
    EXPECT_EQ(EntryOf(file, 254).value, 0x12345678U);
}

TEST(WriteIfdTest, DataFollowInListOrderWithoutPadding) {
    Tiff tiff;
    tiff.SetTag(Made(900, 2, 7, 1, CountingBytes(7)).release());
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    tiff.SetTag(Made(100, 3, 3, 2, CountingBytes(6, 50)).release());
    tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5, 100)).release());
    tiff.AddTags(Word(4, 279), 1, 5, nullptr);
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntriesOf(file),
              (std::vector<Fields>{{900, 2, 7, 74}, {256, 4, 1, 3}, {100, 3, 3, 81}, {273, 4, 1, 87}, {279, 4, 1, 5}}));
    EXPECT_EQ(Part(file, 74, 100), Joined({CountingBytes(7), CountingBytes(6, 50), CountingBytes(5, 100)}));
    EXPECT_EQ(tiff.GetTag(Sig(900))->value, 74U) << "settled in the tags, too";
}

TEST(WriteIfdTest, SavingTwiceGivesTheSameFile) {
    Tiff tiff;
    tiff.SetTag(Made(900, 2, 7, 1, CountingBytes(7)).release());
    tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5, 100)).release());
    tiff.AddTags(Word(4, 279), 1, 5, nullptr);
    const Bytes first = Saved(tiff);
    EXPECT_EQ(Saved(tiff), first);
}

TEST(WriteIfdTest, NumberOfEntriesHasSixteenBitsButTheLayoutAll) {
    Tiff tiff;
    constexpr unsigned kEntries = 65537;
    for (unsigned i = 0; i < kEntries; ++i) tiff.tags.push_back(std::make_unique<TiffTag>(Sig(1000)));
    tiff.tags.back() = Made(1001, 1, 5, 0, CountingBytes(5));
    const Bytes file = Saved(tiff);
    EXPECT_EQ(Part(file, 8, 2), (Bytes{1, 0}));
    ASSERT_EQ(file.size(), 14U + 12U * kEntries + 5U);
    EXPECT_EQ(tiff.tags.back()->value, 14U + 12U * kEntries);
    EXPECT_EQ(Part(file, 14 + 12 * kEntries, 5), CountingBytes(5));
}

class InlineTypeTest : public testing::TestWithParam<int> {};

TEST_P(InlineTypeTest, KeepsItsValueUnlessOfTypesSixToNine) {
    Tiff tiff;
    tiff.AddTags(Word(static_cast<unsigned>(GetParam()), 1000), 1, 77, nullptr);
    tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5)).release());
    tiff.AddTags(Word(4, 279), 1, 5, nullptr);
    const Bytes file = Saved(tiff);
    constexpr int kMoved[] = {1, 1, 2, 4};  // the widths of types 6 to 9
    const bool special = GetParam() >= 6 && GetParam() <= 9;
    EXPECT_EQ(EntryOf(file, 1000).value, special ? 50U : 77U);
    const std::uint32_t shift = special ? static_cast<std::uint32_t>(kMoved[GetParam() - 6]) : 0;
    EXPECT_EQ(EntryOf(file, 273).value, 50U + shift);
    ASSERT_EQ(file.size(), 55U);
    EXPECT_EQ(Part(file, 50, 5), CountingBytes(5)) << "the image itself is not moved";
}

INSTANTIATE_TEST_SUITE_P(Every, InlineTypeTest, testing::Values(0, 1, 2, 3, 4, 6, 7, 8, 9, 10, 13, 14, 65535));

TEST(InlineTypeTest, CountOfZeroOnlyTakesTheCursor) {
    for (const int type : {6, 7, 8, 9}) {
        Tiff tiff;
        tiff.AddTags(Word(static_cast<unsigned>(type), 1000), 0, 77, nullptr);
        tiff.AddTags(Word(4, 279), 1, 5, nullptr);
        tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5)).release());
        const Bytes file = Saved(tiff);
        EXPECT_EQ(EntryOf(file, 1000).value, 50U);
        EXPECT_EQ(EntryOf(file, 273).value, 50U);
    }
}

TEST(InlineTypeTest, ByteCountOfTypeNineBecomesTheCursor) {
    // Its value is the image's length afterwards: 38, of which 5 bytes are there.
    Tiff tiff;
    tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5)).release());
    tiff.AddTags(Word(9, 279), 1, 5, nullptr);
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntryOf(file, 279).value, 38U);
    EXPECT_EQ(EntryOf(file, 273).value, 42U);
    Bytes image = CountingBytes(5);
    image.resize(38, 0);
    EXPECT_EQ(Part(file, 38, 100), image);
}

TEST(LostDataTest, AreNotWrittenAndMoveNothing) {
    Tiff tiff;
    tiff.AddTags(Word(2, 1000), 9, 77, nullptr);
    tiff.AddTags(Word(7, 1001), 9, 78, nullptr);
    tiff.AddTags(Word(4, 1002), 0x20000000, 79, nullptr);
    tiff.AddTags(Word(9, 1003), 0x20000000, 80, nullptr);
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntriesOf(file),
              (std::vector<Fields>{
                  {1000, 2, 9, 77}, {1001, 7, 9, 62}, {1002, 4, 0x20000000, 79}, {1003, 9, 0x20000000, 62}}));
    EXPECT_EQ(file.size(), 62U);
}

TEST(ImageDataTest, LengthIsThatOfTagTwoSevenNine) {
    for (const std::uint32_t n : {0U, 1U, 5U, 6U, 20U}) {
        Tiff tiff;
        tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5)).release());
        tiff.AddTags(Word(4, 279), 1, n, nullptr);
        Bytes image = CountingBytes(5);
        image.resize(n, 0);
        EXPECT_EQ(Part(Saved(tiff), 38, 100), image);
    }
}

TEST(ImageDataTest, WithoutByteCountsNothingIsWritten) {
    Tiff tiff;
    tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5)).release());
    const Bytes file = Saved(tiff);
    EXPECT_EQ(file.size(), 26U);
    EXPECT_EQ(EntryOf(file, 273).value, 26U);
}

TEST(ImageDataTest, ZerosAreBoundedByTwiceTheImageAndEightMiB) {
    constexpr std::uint32_t kLimit = 10 + (8U << 20);
    for (const auto& [n, written] : {std::pair{kLimit, kLimit}, {kLimit + 1, 5U}, {0xffffffffU, 5U}}) {
        Tiff tiff;
        tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5)).release());
        tiff.AddTags(Word(4, 279), 1, n, nullptr);
        const Bytes file = Saved(tiff);
        EXPECT_EQ(file.size(), 38U + written);
        EXPECT_EQ(Part(file, 38, 5), CountingBytes(5));
    }
}

TEST(ImageDataTest, NullImageOrNoTagIsNoImage) {
    Tiff null;
    null.AddTags(Word(4, 273), 1, 3, nullptr);
    null.AddTags(Word(4, 279), 1, 5, nullptr);
    EXPECT_EQ(Saved(null).size(), 38U);
    EXPECT_EQ(EntryOf(Saved(null), 273).value, 38U);
    Tiff absent;
    absent.AddTags(Word(4, 279), 1, 5, nullptr);
    EXPECT_EQ(Saved(absent).size(), 26U);
}

TEST(ExifDataTest, FollowTheImage) {
    const FileHandle stream = StreamOf(CountingBytes(80));
    Tiff tiff;
    tiff.AddTags(Word(4, 34665), 1, 20, stream.get());
    tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5)).release());
    tiff.AddTags(Word(4, 279), 1, 5, nullptr);
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntryOf(file, 34665), (Fields{34665, 4, 1, 55}));
    EXPECT_EQ(Part(file, 50, 100), Joined({CountingBytes(5), CountingBytes(44, 21)}));
}

TEST(ExifDataTest, PlaceIsTheImagesPlusTagTwoSevenNine) {
    // Also where no image is written there.
    const FileHandle stream = StreamOf(CountingBytes(80));
    Tiff tiff;
    tiff.AddTags(Word(4, 34665), 1, 20, stream.get());
    tiff.AddTags(Word(4, 279), 1, 1000, nullptr);
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntryOf(file, 34665).value, 1038U);
    EXPECT_EQ(Part(file, 38, 100), CountingBytes(44, 21));
}

TEST(ExifDataTest, WithoutDataAreZeros) {
    Tiff tiff;
    tiff.SetTag(new TiffTag(Sig(34665), Type(4), 1, 7, nullptr));
    const Bytes file = Saved(tiff);
    EXPECT_EQ(file.size(), 26U + 44U);
    EXPECT_EQ(Part(file, 26, 44), Bytes(44, 0));
    EXPECT_EQ(EntryOf(file, 34665).value, 26U);
}

TEST(SaveStepsTest, CanBeTakenOneByOne) {
    const FileHandle stream = StreamOf(CountingBytes(80));
    Tiff tiff;
    tiff.AddTags(Word(4, 34665), 1, 20, stream.get());
    tiff.SetTag(Made(900, 2, 7, 1, CountingBytes(7, 90)).release());
    tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5)).release());
    tiff.AddTags(Word(4, 279), 1, 4, nullptr);
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.WriteTagData(f), 0); }), CountingBytes(7, 90));
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.WriteImageData(f), 0); }), CountingBytes(4));
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.WriteData_Exif_IFD_Tag(f), 0); }), CountingBytes(44, 21));
    EXPECT_EQ(Saved(tiff), WrittenBy([&](std::FILE* f) {
                  tiff.WriteHeader(f);
                  tiff.WriteIFD(f);
                  tiff.WriteTagData(f);
                  tiff.WriteImageData(f);
                  tiff.WriteData_Exif_IFD_Tag(f);
              }));
}

TEST(SaveStepsTest, OfAnEmptyListWriteHeaderAndDirectoryOnly) {
    Tiff tiff;
    const Bytes expected = ByteWriter().Text("II").Little16(42).Little32(8).Little16(0).Little32(0).Done();
    EXPECT_EQ(Saved(tiff), expected);
}

class SaveFileTest : public testing::Test {
protected:
    TempDir dir_;
    std::string path_ = dir_.File("out.tif");
};

TEST_F(SaveFileTest, EmptyListPrintsALineAndLeavesAnEmptyFile) {
    WriteFile(path_, CountingBytes(30));
    Tiff tiff;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.SaveFile(path_.c_str()), 0); }), kEmptyList);
    EXPECT_EQ(ReadFile(path_), Bytes());
}

TEST_F(SaveFileTest, TruncatesALongerFile) {
    WriteFile(path_, Bytes(100000, 7));
    Tiff tiff;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.SaveFile(path_.c_str()), 0); }), "");
    EXPECT_EQ(ReadFile(path_), Saved(tiff));
}

TEST_F(SaveFileTest, PathThatCannotBeOpenedIsPassedOver) {
    const std::string nowhere = dir_.File("no folder/out.tif");
    Tiff tiff;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.SaveFile(nowhere.c_str()), 0); }), "");
    Tiff empty;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(empty.SaveFile(nowhere.c_str()), 0); }), kEmptyList);
    EXPECT_FALSE(std::filesystem::exists(nowhere));
}

TEST_F(SaveFileTest, ClosesItsStreamEveryTime) {
    Tiff empty;
    Tiff tiff;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    const auto open = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const auto before = open();
    Printed([&] {
        empty.SaveFile(path_.c_str());
        tiff.SaveFile(path_.c_str());
    });
    EXPECT_EQ(open(), before);
}

/// A list whose header throws something.
class Thrower : public Tiff {
public:
    explicit Thrower(const char* text) : text_(text) { AddTags(Word(4, 256), 1, 3, nullptr); }
    int WriteHeader(std::FILE*) override { throw text_; }

private:
    const char* text_;
};

TEST_F(SaveFileTest, StringThrownInsideIsPrinted) {
    Thrower tiff("some words");
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.SaveFile(path_.c_str()), 0); }), "some words\n");
    EXPECT_EQ(ReadFile(path_), Bytes());
}

TEST_F(SaveFileTest, NullStringOnlyFailsTheStandardOutput) {
    Thrower tiff(nullptr);
    bool failed = false;
    EXPECT_EQ(Printed([&] {
                  EXPECT_EQ(tiff.SaveFile(path_.c_str()), 0);
                  failed = !std::cout;
                  std::cout.clear();
              }),
              "");
    EXPECT_TRUE(failed);
}

TEST_F(SaveFileTest, OtherExceptionsPassThrough) {
    class Other : public Tiff {
    public:
        int SaveTiff(std::FILE*) override { throw std::runtime_error("other"); }
    };
    Other tiff;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    EXPECT_THROW(tiff.SaveFile(path_.c_str()), std::runtime_error);
}

TEST_F(SaveFileTest, ReturnsWhatSavingReturned) {
    class Status : public Tiff {
    public:
        int SaveTiff(std::FILE*) override { return 17; }
    };
    Status tiff;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    EXPECT_EQ(tiff.SaveFile(path_.c_str()), 17);
}

}  // namespace
}  // namespace hueweave::test
