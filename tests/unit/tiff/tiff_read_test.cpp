// SPDX-License-Identifier: MIT
// Header and directory of a file: what is refused, and which IFD entries are taken with how much data.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TiffBuilder SmallTiff() { return ChunkyTiff(2, 2, 3, 8, CountingBytes(12)); }

TiffBuilder ManyEntries(unsigned count) {
    TiffBuilder tiff;
    for (unsigned i = 0; i < count; ++i) tiff.Long(1000 + i, i);
    return tiff;
}

TEST(TiffRead, FillsTheListAnew) {
    const TempDir dir;
    WriteFile(dir.File("a.tif"), SmallTiff().Build());
    Tiff tiff;
    EXPECT_EQ(tiff.writeIfdOffset, 8);
    EXPECT_EQ(tiff.ReadFile(dir.File("a.tif").c_str()), 0);
    EXPECT_EQ(Image(tiff), CountingBytes(12));
    EXPECT_EQ(Tiff(dir.File("a.tif").c_str()).writeIfdOffset, 0) << "Kept: of a file that the constructor read";
    WriteFile(dir.File("a.tif"), TiffBuilder().Long(256, 9).Build());
    tiff.ReadFile(dir.File("a.tif").c_str());
    EXPECT_EQ(AllFields(tiff), (std::vector<Fields>{{256, 4, 1, 9}})) << "in place of the ones before";
    WriteFile(dir.File("a.tif"), ManyEntries(30).Build());
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(dir.File("a.tif").c_str()), 0); }), "") << "a silent success";
    EXPECT_TRUE(tiff.tags.empty());
}

TEST(TiffRead, ThrowsForANullNameAndThePathOfAMissingFileAfterEmptyingTheList) {
    const TempDir dir;
    const std::string missing = dir.File("no such file");
    for (const char* name : {static_cast<const char*>(nullptr), missing.c_str()}) {
        Tiff tiff;
        tiff.AddTags(Word(3, 262), 1, 2, nullptr);
        const char* const text = Thrown([&] { tiff.ReadFile(name); });
        EXPECT_STREQ(text, name == nullptr ? " *** Tiff::ReadFile() --> FileName is NULL. *** " : name);
        EXPECT_EQ(text == name, name != nullptr) << "the caller's own pointer";
        EXPECT_TRUE(tiff.tags.empty());
        EXPECT_STREQ(Thrown([&] { const Tiff constructed(name); }), text);
    }
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST(TiffRead, StartsAtTheBeginningOfTheStreamAndAppendsToTheList) {
    const FileHandle stream = StreamOf(TiffBuilder().Long(256, 1).Build());
    Tiff tiff;
    tiff.AddTags(Word(4, 40000), 1, 7, nullptr);
    for (int i = 0; i < 2; ++i) {
        std::fseek(stream.get(), 0, SEEK_END);
        EXPECT_EQ(tiff.ReadTiff(stream.get()), 0);
    }
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{40000, 256, 256}));
}

TEST(TiffRead, KeepsTheDirectoryOffsetOfTheLastValidHeader) {
    Tiff tiff;
    ReadFrom(tiff, SmallTiff().GapBeforeDirectory(1001).Build());
    tiff.Reset();
    EXPECT_EQ(tiff.ifdOffset, 1009U) << "the list alone is emptied";
    EXPECT_EQ(ReadFrom(tiff, Bytes{0x4d, 0x4d, 0, 42, 77, 0, 0, 0}), -2);
    EXPECT_EQ(tiff.ifdOffset, 1009U);
    EXPECT_EQ(ReadFrom(tiff, ManyEntries(30).GapBeforeDirectory(500).Build()), -3);
    EXPECT_EQ(tiff.ifdOffset, 508U);
    ReadFrom(tiff, ManyEntries(5).DirectoryAt(0xffffffffU).Build());
    EXPECT_EQ(tiff.ifdOffset, 0xffffffffU);
}

// Every other file is read as the reference reads it.

TEST(TiffRead, AcceptsOnlyTheHeaderOfALittleEndianTiff) {
    for (const Bytes& head : {Bytes{0x49, 0x49, 0x2a, 0x00},
                              {0x4d, 0x4d, 0x00, 0x2a},     // big-endian
                              {0x4d, 0x4d, 0x2a, 0x00},     // only the letters big-endian
                              {0x49, 0x4d, 0x2a, 0x00},     // mixed letters
                              {0x49, 0x49, 0x2b, 0x00},     // version 43
                              {0x49, 0x49, 0x00, 0x2a},     // swapped
                              {0x49, 0x49, 0x2a, 0x01}}) {  // high byte
        ExpectRead(testing::PrintToString(head), SmallTiff().Head(head));
    }
    for (std::size_t size = 0; size < 10; ++size) {
        ExpectRead(std::to_string(size) + " bytes", Part(SmallTiff().Build(), 0, size));
    }
}

TEST(TiffRead, ReadsTheDirectoryOffsetFromTheHeader) {
    ExpectRead("a gap", SmallTiff().GapBeforeDirectory(1001));
    for (const std::uint32_t place : {0U, 1000U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {  // 0: 0x4949 entries
        ExpectRead("at " + std::to_string(place), ManyEntries(5).DirectoryAt(place));
    }
}

TEST(TiffRead, RefusesThirtyEntries) {
    ExpectRead("65535", ManyEntries(1).EntryCount(65535));
    ExpectRead("more than the file has", ManyEntries(2).EntryCount(20));
    for (const unsigned count : {0U, 1U, 28U, 29U, 30U}) ExpectRead(std::to_string(count), ManyEntries(count));
    for (std::size_t size = 10; size <= 10 + 60; ++size) {
        ExpectRead("five in " + std::to_string(size), Part(ManyEntries(5).Build(), 0, size));
    }
}

TEST(TiffRead, ReadsOnlyTheFirstDirectoryAndRepeatedTags) {
    const auto second = static_cast<std::uint32_t>(SmallTiff().Build().size());
    ExpectRead("a second directory", SmallTiff().NextDirectory(second).Trailer(ManyEntries(1).Build()));
    ExpectRead("repeated tags",
               SmallTiff().Text(40000, "first").Text(40000, "second").Long(256, 77).Exif({1}).Exif({2}));
}

TEST(TiffRead, ReadsTwiceTheFileAnd64KiBOfDataAtMost) {
    struct Row {
        std::size_t file;      ///< bytes
        std::uint32_t entry;   ///< bytes that each of six entries requests, all from the same offset
        std::uint32_t before;  ///< bytes of an entry that precedes them
    };
    // Four of the six, three to the last byte, and two.
    for (const auto& [size, entry, before] : {Row{50000, 40000, 0}, Row{65536, 65536, 0}, Row{65536, 65536, 5}}) {
        TiffBuilder file;
        if (before > 0) file.Entry(999, 1, before, 8);
        for (unsigned i = 0; i < 6; ++i) file.Entry(1000 + i, 1, entry, 8);
        ExpectRead(std::to_string(before) + " and six times " + std::to_string(entry),
                   file.Trailer(Bytes(size - file.Build().size(), 7)));
    }
}

// Entries that declare more than their file can hold, as in a truncated file: they stay in the directory, with no items
// and no offset.

/// Two rows of two grey pixels, with tag 305 after the lost entry.
TiffBuilder WithText(TiffBuilder lost) {
    lost.Shape(2, 2, 1, 8).Long(278, 2).Text(305, "words");
    return lost.StripOffsets().StripByteCounts().Strip(CountingBytes(4, 70));
}

TEST(TiffTagWithoutData, IsSavedWithoutItemsOrData) {
    for (unsigned type = 0; type < 14; ++type) {
        ExpectRead("type " + std::to_string(type), WithText(TiffBuilder().Entry(40000, type, 1000, 8)));
    }
}

TEST(TiffTagWithoutData, ExcludesDataThatCouldFitInTheFile) {
    // Ten bytes of which the file holds three, and ten of which it holds none: they are padded with zeros.
    TiffBuilder file;
    file.Entry(1000, 1, 10, 50).Entry(1001, 1, 10, 5000).Entry(1002, 1, 4, 0x04030201);
    ExpectRead("ten bytes", file.Trailer({7, 8, 9}));
}

TEST(TiffTagWithoutData, KeepsTheImage) {
    const auto shape = [](std::uint32_t rows) { return TiffBuilder().Shape(2, 2, 1, 8).Long(278, rows); };
    const auto lostCount = [&](std::uint32_t rows) { return shape(rows).StripOffsets().Entry(279, 4, 1000, 8); };
    ExpectRead("offsets, from the place 0", shape(2).Entry(273, 3, 1000, 8).Long(279, 4));
    ExpectRead("offsets of more than any image", shape(2).Entry(273, 3, 1000, 8).Long(279, 0xf0000000U));
    ExpectRead("the count of one strip", lostCount(2).Exif(CountingBytes(44)).Strip(CountingBytes(4)));
    ExpectRead("the counts of two strips", lostCount(1).Strip(CountingBytes(2)).Strip({3, 4}));
    ExpectRead("a resolution", WithText(TiffBuilder().Entry(283, 5, 100, 8)));
}

TEST(TiffTagWithoutData, IsSavedWithDataOfACaller) {
    TiffOf tiff(TiffBuilder().Entry(34675, 7, 1000, 8).Entry(40000, 2, 1000, 8));
    const TempDir dir;
    const Bytes profile = ByteWriter().Big32(20).Append(CountingBytes(16)).Done();
    WriteFile(dir.File("a.icc"), profile);
    tiff.SetIccProfile(dir.File("a.icc").c_str());
    TiffTag& text = *tiff.GetTag(Sig(40000));
    text.count = 4;  // fits in the entry
    text.value = 0x00636261;
    EXPECT_EQ(Saved(tiff), TiffBuilder().Undefined(34675, profile).Entry(40000, 2, 4, 0x00636261).Build());
}

}  // namespace
}  // namespace hueweave::test
