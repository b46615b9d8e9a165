// SPDX-License-Identifier: MIT
// Header and directory of a file: what is refused, which IFD entries are taken, how much data they may request, and
// what happens to those that request more.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TiffBuilder SmallTiff() { return ChunkyTiff(2, 2, 3, 8, CountingBytes(12)); }

/// The text of the exception that `action` throws; null if it throws none.
const char* Thrown(const std::function<void()>& action) {
    try {
        action();
    } catch (const char* text) {
        return text;
    }
    return nullptr;
}

TiffBuilder ManyEntries(unsigned count) {
    TiffBuilder tiff;
    for (unsigned i = 0; i < count; ++i) tiff.Long(1000 + i, i);
    return tiff;
}

TEST(TiffRead, TakesEveryEntryInFileOrder) {
    const TempDir dir;
    WriteFile(dir.File("a.tif"), SmallTiff().Build());
    Tiff tiff;
    EXPECT_EQ(tiff.ReadFile(dir.File("a.tif").c_str()), 0);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{256, 257, 258, 259, 262, 277, 278, 273, 279, 282, 305}));
    EXPECT_EQ(Image(tiff), CountingBytes(12));
    EXPECT_EQ(tiff.ifdOffset, 8U);
    EXPECT_EQ(tiff.writeIfdOffset, 8);
    EXPECT_EQ(Tiff(dir.File("a.tif").c_str()).writeIfdOffset, 0) << "Kept: of a file that the constructor read";
    WriteFile(dir.File("a.tif"), TiffBuilder().Long(256, 9).Build());
    tiff.ReadFile(dir.File("a.tif").c_str());
    EXPECT_EQ(AllFields(tiff), (std::vector<Fields>{{256, 4, 1, 9}})) << "in place of the ones before";
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

TEST(TiffRead, BeginsAtTheStartOfTheStreamAndAppendsToTheListThatIsThere) {
    const FileHandle stream = StreamOf(TiffBuilder().Long(256, 1).Build());
    Tiff tiff;
    tiff.AddTags(Word(4, 40000), 1, 7, nullptr);
    for (int i = 0; i < 2; ++i) {
        std::fseek(stream.get(), 0, SEEK_END);
        EXPECT_EQ(tiff.ReadTiff(stream.get()), 0);
    }
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{40000, 256, 256}));
}

// The header

TEST(TiffRead, RefusesEveryHeaderButThatOfALittleEndianTiff) {
    const TempDir dir;
    for (const Bytes& head : {Bytes{0x4d, 0x4d, 0x00, 0x2a},  // big-endian
                              {0x4d, 0x4d, 0x2a, 0x00},       // only the letters big-endian
                              {0x49, 0x4d, 0x2a, 0x00},       // mixed letters
                              {0x49, 0x49, 0x2b, 0x00},       // version 43
                              {0x49, 0x49, 0x00, 0x2a},       // swapped
                              {0x49, 0x49, 0x2a, 0x01},       // high byte
                              {},
                              {0x49},
                              {0x49, 0x49}}) {  // too short
        SCOPED_TRACE(testing::PrintToString(head));
        const Bytes file = head.size() < 4 ? head : SmallTiff().Head(head).Build();
        Tiff tiff;
        EXPECT_EQ(ReadFrom(tiff, file), -2);
        EXPECT_TRUE(tiff.tags.empty());
        WriteFile(dir.File("a.tif"), file);
        tiff.AddTags(Word(3, 262), 1, 2, nullptr);
        EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(dir.File("a.tif").c_str()), 0); }), "");
        EXPECT_TRUE(tiff.tags.empty());
    }
}

TEST(TiffRead, TakesMissingBytesOfTheHeaderForZeros) {
    // So the directory is at 0, where 0x4949 entries are declared.
    for (const Bytes& head : {Bytes{0x49, 0x49, 0x2a}, {0x49, 0x49, 0x2a, 0x00}}) {
        Tiff tiff;
        EXPECT_EQ(ReadFrom(tiff, head), -3);
        EXPECT_TRUE(tiff.tags.empty());
    }
}

// The directory

TEST(TiffRead, TakesTheDirectorysPlaceFromTheHeader) {
    const TiffOf tiff(SmallTiff().GapBeforeDirectory(1001));
    EXPECT_EQ(tiff.ifdOffset, 1009U);
    EXPECT_EQ(tiff.tags.size(), 11U);
    EXPECT_EQ(Image(tiff), CountingBytes(12));
}

TEST(TiffRead, FindsNoTagsInADirectoryBehindTheFile) {
    for (const std::uint32_t place : {1000U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        const TiffOf tiff(ManyEntries(5).DirectoryAt(place));
        EXPECT_TRUE(tiff.tags.empty());
        EXPECT_EQ(tiff.ifdOffset, place);
    }
    EXPECT_TRUE(TiffOf(TiffBuilder()).tags.empty()) << "nor in an empty one";
}

TEST(TiffRead, KeepsTheDirectorysPlaceOfTheLastSoundHeader) {
    Tiff tiff;
    ReadFrom(tiff, SmallTiff().GapBeforeDirectory(1001).Build());
    tiff.Reset();
    EXPECT_EQ(tiff.ifdOffset, 1009U) << "the list alone is emptied";
    EXPECT_EQ(ReadFrom(tiff, Bytes{0x4d, 0x4d, 0, 42, 77, 0, 0, 0}), -2);
    EXPECT_EQ(tiff.ifdOffset, 1009U);
    EXPECT_EQ(ReadFrom(tiff, ManyEntries(30).GapBeforeDirectory(500).Build()), -3);
    EXPECT_EQ(tiff.ifdOffset, 508U);
}

TEST(TiffRead, TakesTwentyNineEntries) {
    const TiffOf tiff(ManyEntries(29));
    ASSERT_EQ(tiff.tags.size(), 29U);
    for (unsigned i = 0; i < 29; ++i) EXPECT_EQ(FieldsOf(*tiff.tags[i]), (Fields{1000 + i, 4, 1, i}));
}

TEST(TiffRead, RefusesThirtyEntries) {
    for (const Bytes& file : {ManyEntries(30).Build(), ManyEntries(1).EntryCount(65535).Build(),
                              ManyEntries(5).DirectoryAt(0).Build()}) {  // 0x4949 entries declared
        Tiff tiff;
        EXPECT_EQ(ReadFrom(tiff, file), -3);
        EXPECT_TRUE(tiff.tags.empty());
    }
    const TempDir dir;
    WriteFile(dir.File("a.tif"), ManyEntries(30).Build());
    Tiff tiff;
    tiff.AddTags(Word(3, 262), 1, 2, nullptr);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(dir.File("a.tif").c_str()), 0); }), "") << "a silent success";
    EXPECT_TRUE(tiff.tags.empty());
}

TEST(TiffRead, CountsOnlyWholeEntriesOfAShortDirectory) {
    const Bytes file = ManyEntries(5).Build();
    for (std::size_t size = 10; size <= 10 + 60; ++size) {
        EXPECT_EQ(TiffOf(Part(file, 0, size)).tags.size(), (size - 10) / 12) << size;
    }
    EXPECT_EQ(TiffOf(ManyEntries(2).EntryCount(20)).tags.size(), 2U) << "four bytes of the rest are no entry";
}

TEST(TiffRead, IsThatOfTheReference) {
    const auto second = static_cast<std::uint32_t>(SmallTiff().Build().size());
    std::vector<NamedFile> files{
        {"a second directory", SmallTiff().NextDirectory(second).Trailer(ManyEntries(1).Build())},
        {"repeated tags", SmallTiff().Text(40000, "first").Text(40000, "second").Long(256, 77).Exif({1}).Exif({2})}};
    struct Row {
        std::size_t file;      ///< bytes
        std::uint32_t entry;   ///< bytes that each of six entries requests, all from the same offset
        std::uint32_t before;  ///< bytes of an entry that precedes them
    };
    // The data of one directory may reach twice the file size plus 64 KiB: four of the six, three to the last byte, and
    // two.
    for (const auto& [size, entry, before] : {Row{50000, 40000, 0}, Row{65536, 65536, 0}, Row{65536, 65536, 5}}) {
        TiffBuilder file;
        if (before > 0) file.Entry(999, 1, before, 8);
        for (unsigned i = 0; i < 6; ++i) file.Entry(1000 + i, 1, entry, 8);
        file.Trailer(Bytes(size - file.Build().size(), 7));
        files.push_back({std::to_string(before) + " and six times " + std::to_string(entry), file});
    }
    ExpectAsReference(files);
}

// Entries that declare more than their file can hold, as in a truncated file: they stay in the directory, with no items
// and no offset.

/// Two rows of two grey pixels, with tag 305 after the lost entry.
TiffBuilder WithText(TiffBuilder lost) {
    lost.Shape(2, 2, 1, 8).Long(278, 2).Text(305, "words");
    return lost.StripOffsets().StripByteCounts().Strip(CountingBytes(4, 70));
}

TEST(LostEntry, IsSavedWithoutItemsAndMovesNothing) {
    for (int type = 0; type < 14; ++type) {
        SCOPED_TRACE(type);
        TiffOf tiff(WithText(TiffBuilder().Entry(40000, static_cast<unsigned>(type), 1000, 8)));
        EXPECT_EQ(FieldsOf(tiff, 40000), (Fields{40000, type, 1000, 8}));
        EXPECT_EQ(tiff.GetTagValue(Sig(40000)), 0);
        const Bytes saved = Saved(tiff);
        EXPECT_EQ(FieldsOf(tiff, 40000), (Fields{40000, type, 1000, 0})) << "the count stays in memory";
        EXPECT_EQ(tiff.GetTagValue(Sig(40000)), 0);
        constexpr std::uint32_t kData = 14 + 12 * 11;
        EXPECT_EQ(EntriesOf(saved).size(), 11U) << "no entry is dropped";
        EXPECT_EQ(EntryOf(saved, 40000), (Fields{40000, type, 0, 0}));
        EXPECT_EQ(EntryOf(saved, 305), (Fields{305, 2, 6, kData}));
        EXPECT_EQ(EntryOf(saved, 273), (Fields{273, 4, 1, kData + 6}));
        EXPECT_EQ(Part(saved, kData, 100), Joined({ByteWriter().Text("words").U8(0).Done(), CountingBytes(4, 70)}));
        EXPECT_EQ(Saved(tiff), saved) << "saved once more";
    }
}

TEST(LostEntry, IsNoneThatTheFileHeldInPartOrCouldHold) {
    // Ten bytes of which the file holds three, and ten of which it holds none: they are padded with zeros.
    TiffBuilder file;
    file.Entry(1000, 1, 10, 50).Entry(1001, 1, 10, 5000).Entry(1002, 1, 4, 0x04030201).Trailer({7, 8, 9});
    TiffOf tiff(file);
    const Bytes saved = Saved(tiff);
    EXPECT_EQ(EntriesOf(saved), (std::vector<Fields>{{1000, 1, 10, 50}, {1001, 1, 10, 60}, {1002, 1, 4, 0x04030201}}));
    EXPECT_EQ(Part(saved, 50, 100), Padded({7, 8, 9}, 20));
}

TEST(LostEntry, OfAnImageLeavesTheImageAlone) {
    const auto shape = [](std::uint32_t rows) { return TiffBuilder().Shape(2, 2, 1, 8).Long(278, rows); };
    ExpectAsReference({{"offsets, from the place 0", shape(2).Entry(273, 3, 1000, 8).Long(279, 4)},
                       {"offsets of more than any image", shape(2).Entry(273, 3, 1000, 8).Long(279, 0xf0000000U)},
                       {"the count of one strip",
                        shape(2).StripOffsets().Entry(279, 4, 1000, 8).Exif(CountingBytes(44)).Strip(CountingBytes(4))},
                       {"the counts of two strips",
                        shape(1).StripOffsets().Entry(279, 4, 1000, 8).Strip(CountingBytes(2)).Strip({3, 4})},
                       {"a resolution", WithText(TiffBuilder().Entry(283, 5, 100, 8))}});
}

TEST(LostEntry, IsNoneAfterACallerGaveItData) {
    TiffOf tiff(WithText(TiffBuilder().Entry(34675, 7, 1000, 8).Entry(40000, 2, 1000, 8)));
    const TempDir dir;
    const Bytes profile = ByteWriter().Big32(20).Append(CountingBytes(16)).Done();
    WriteFile(dir.File("a.icc"), profile);
    tiff.SetIccProfile(dir.File("a.icc").c_str());
    TiffTag& text = *tiff.GetTag(Sig(40000));
    text.count = 4;  // fits in the entry
    text.value = 0x00636261;
    const Bytes saved = Saved(tiff);
    constexpr std::uint32_t kData = 14 + 12 * 12;
    EXPECT_EQ(EntryOf(saved, 34675), (Fields{34675, 7, 20, kData}));
    EXPECT_EQ(Part(saved, kData, 20), profile);
    EXPECT_EQ(EntryOf(saved, 40000), (Fields{40000, 2, 4, 0x00636261}));
}

}  // namespace
}  // namespace hueweave::test
