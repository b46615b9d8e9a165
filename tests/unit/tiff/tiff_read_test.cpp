// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Header and directory of a file: what is refused, which entries are taken, how much they may ask for, and what becomes
// of those that ask for more.
#include "support/ReferenceTiff.h"
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

const std::string kNullName = " *** Tiff::ReadFile() --> FileName is NULL. *** ";
TiffBuilder SmallTiff() { return ChunkyTiff(2, 2, 3, 8, CountingBytes(12)); }

/// The string that an action throws.
std::string Thrown(const std::function<void()>& action) {
    try {
        action();
    } catch (const char* text) {
        return text;
    }
    return "nothing thrown";
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
    WriteFile(dir.File("a.tif"), TiffBuilder().Long(256, 9).Build());
    tiff.ReadFile(dir.File("a.tif").c_str());
    EXPECT_EQ(AllFields(tiff), (std::vector<Fields>{{256, 4, 1, 9}})) << "in place of the ones before";
}

TEST(TiffRead, ThrowsForANullNameAfterEmptyingTheList) {
    Tiff tiff;
    tiff.AddTags(Word(3, 262), 1, 2, nullptr);
    EXPECT_EQ(Thrown([&] { tiff.ReadFile(nullptr); }), kNullName);
    EXPECT_TRUE(tiff.tags.empty());
    const char* none = nullptr;
    EXPECT_EQ(Thrown([&] { const Tiff constructed(none); }), kNullName);
}

TEST(TiffRead, ThrowsThePathOfAMissingFileAfterEmptyingTheList) {
    const TempDir dir;
    const std::string missing = dir.File("no such file");
    Tiff tiff;
    tiff.AddTags(Word(3, 262), 1, 2, nullptr);
    try {
        tiff.ReadFile(missing.c_str());
        ADD_FAILURE() << "nothing thrown";
    } catch (const char* text) {
        EXPECT_EQ(text, missing.c_str()) << "the caller's own pointer";
    }
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(Thrown([&] { const Tiff constructed(missing.c_str()); }), missing);
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST(TiffRead, BeginsAtTheStartWhereverTheStreamStands) {
    const FileHandle stream = StreamOf(SmallTiff().Build());
    std::fseek(stream.get(), 0, SEEK_END);
    Tiff tiff;
    EXPECT_EQ(tiff.ReadTiff(stream.get()), 0);
    EXPECT_EQ(Image(tiff), CountingBytes(12));
}

TEST(TiffRead, AppendsToTheListThatIsThere) {
    Tiff tiff;
    tiff.AddTags(Word(4, 40000), 1, 7, nullptr);
    EXPECT_EQ(ReadFrom(tiff, TiffBuilder().Long(256, 1).Build()), 0);
    EXPECT_EQ(ReadFrom(tiff, TiffBuilder().Long(256, 2).Build()), 0);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{40000, 256, 256}));
}

// The header

TEST(TiffRead, RefusesEveryHeaderButThatOfALittleEndianTiff) {
    const TempDir dir;
    for (const Bytes& head : {Bytes{0x4d, 0x4d, 0x00, 0x2a},  // big-endian
                              {0x4d, 0x4d, 0x2a, 0x00},       // its letters alone
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
    // So the directory stands at 0, where 0x4949 entries are announced.
    for (const Bytes& head : {Bytes{0x49, 0x49, 0x2a}, {0x49, 0x49, 0x2a, 0x00}}) {
        Tiff tiff;
        EXPECT_EQ(ReadFrom(tiff, head), -3);
        EXPECT_TRUE(tiff.tags.empty());
    }
}

TEST(TiffRead, LeavesTheStreamOpenWhenItRefusesAFile) {
    const FileHandle stream = StreamOf(CountingBytes(20));
    Tiff tiff;
    EXPECT_EQ(tiff.ReadTiff(stream.get()), -2);
    std::rewind(stream.get());
    EXPECT_EQ(std::fgetc(stream.get()), 1);
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

TEST(TiffRead, ClearsTheOffsetOfWritingInTheConstructorAlone) {
    const TempDir dir;
    const std::string path = dir.File("a.tif");
    WriteFile(path, SmallTiff().GapBeforeDirectory(1001).Build());
    Tiff constructed(path.c_str());
    EXPECT_EQ(constructed.tags.size(), 11U);
    EXPECT_EQ(constructed.writeIfdOffset, 0);
    EXPECT_EQ(CTiff(path.c_str()).writeIfdOffset, 8);
    Printed([&] { EXPECT_EQ(CTiff(dir.File("none").c_str()).writeIfdOffset, 8); });
    EXPECT_EQ(Saved(constructed), SmallTiff().Build());
    constructed.writeIfdOffset = 1000;
    constructed.ifdOffset = 2000;
    EXPECT_EQ(Saved(constructed), SmallTiff().Build()) << "no save looks at either";
    ReadFrom(constructed, SmallTiff().Build());
    constructed.Reset();
    EXPECT_EQ(constructed.writeIfdOffset, 1000);
}

TEST(TiffRead, TakesTwentyNineEntries) {
    const TiffOf tiff(ManyEntries(29));
    ASSERT_EQ(tiff.tags.size(), 29U);
    for (unsigned i = 0; i < 29; ++i) EXPECT_EQ(FieldsOf(*tiff.tags[i]), (Fields{1000 + i, 4, 1, i}));
}

TEST(TiffRead, RefusesThirtyEntries) {
    for (const Bytes& file : {ManyEntries(30).Build(), ManyEntries(1).EntryCount(65535).Build(),
                              ManyEntries(5).DirectoryAt(0).Build()}) {  // 0x4949 announced
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

TEST(TiffRead, IgnoresASecondDirectoryWhichASaveLoses) {
    TiffBuilder file = SmallTiff();
    const Bytes second = ByteWriter().Little16(1).Little16(256).Little16(4).Little32(1).Little32(99).Little32(0).Done();
    file.NextDirectory(static_cast<std::uint32_t>(file.Build().size())).Trailer(second);
    TiffOf tiff(file);
    EXPECT_EQ(tiff.tags.size(), 11U);
    EXPECT_EQ(tiff.GetTagValue(Sig(256)), 2);
    EXPECT_EQ(Saved(tiff), SmallTiff().Build());
}

TEST(TiffRead, KeepsRepeatedTagsOfWhichTheFirstAnswers) {
    TiffBuilder file = SmallTiff();
    file.Text(40000, "first").Text(40000, "second").Long(256, 77);
    file.Undefined(34675, CountingBytes(11)).Undefined(34675, CountingBytes(9, 70));
    TiffOf tiff(file);
    ASSERT_EQ(tiff.tags.size(), 16U);
    EXPECT_EQ(tiff.GetTagValue(Sig(256)), 2);
    EXPECT_EQ(DataOf(tiff, 40000), ByteWriter().Text("first").U8(0).Done());
    EXPECT_EQ(DataOf(*tiff.tags[14]), CountingBytes(11));
    EXPECT_EQ(DataOf(*tiff.tags[15]), CountingBytes(9, 70));
    EXPECT_EQ(Saved(tiff), file.Build());
}

// What the data of one directory may take

TEST(TiffRead, TakesTwiceTheFileAnd64KiBForTheDataOfADirectory) {
    struct Row {
        std::size_t file;     ///< bytes
        std::uint32_t entry;  ///< bytes that each entry asks for, all from the same place
        std::size_t before;   ///< bytes of an entry before them
        std::size_t taken;    ///< entries
    };
    for (const auto& [size, entry, before, taken] : {Row{50000, 40000, 0, 4},     // of 165,536 bytes
                                                     Row{65536, 65536, 0, 3},     // just so many
                                                     Row{65536, 65536, 5, 2}}) {  // five too many
        SCOPED_TRACE(testing::Message() << before << " + " << entry << " of " << size);
        TiffBuilder builder;
        if (before > 0) builder.Entry(999, 1, static_cast<std::uint32_t>(before), 8);
        for (unsigned i = 0; i < 6; ++i) builder.Entry(1000 + i, 1, entry, 8);
        Bytes file = builder.Build();
        file.resize(size, 7);
        TiffOf tiff(file);
        const Bytes saved = Saved(tiff);
        for (unsigned i = 0; i < 6; ++i) {
            const TiffTag* tag = tiff.GetTag(Sig(1000 + i));
            ASSERT_NE(tag, nullptr) << "the entries stay";
            EXPECT_EQ(tag->dataSize, i < taken ? entry : 0U) << i;
            EXPECT_EQ(tag->GetData() == nullptr, i >= taken) << i;
            EXPECT_EQ(EntryOf(saved, 1000 + i).count, i < taken ? entry : 0U) << "the others are lost";
        }
    }
}

// Entries that announce more than their file can hold, as a cut file leaves them: they stay in the directory, without
// items and pointing nowhere.

/// Two rows of two grey pixels, with tag 305 behind what is lost.
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

TEST(LostEntry, IsAnEmptyOneWhenTheSavedFileIsRead) {
    TiffOf tiff(WithText(TiffBuilder().Entry(40000, 2, 1000, 8).Entry(283, 5, 100, 8)));
    const Bytes saved = Saved(tiff);
    TiffOf again(saved);
    EXPECT_EQ(FieldsOf(again, 40000), (Fields{40000, 2, 0, 0}));
    EXPECT_EQ(again.GetTagValue(Sig(283)), 0);
    EXPECT_EQ(Saved(again), saved);
}

TEST(LostEntry, IsNoneThatTheFileHeldInPartOrCouldHold) {
    // Ten bytes of which three are there, and ten of which none is: they are filled up with zeros.
    TiffBuilder file;
    file.Entry(1000, 1, 10, 50).Entry(1001, 1, 10, 5000).Entry(1002, 1, 4, 0x04030201).Trailer({7, 8, 9});
    TiffOf tiff(file);
    const Bytes saved = Saved(tiff);
    EXPECT_EQ(EntriesOf(saved), (std::vector<Fields>{{1000, 1, 10, 50}, {1001, 1, 10, 60}, {1002, 1, 4, 0x04030201}}));
    EXPECT_EQ(Part(saved, 50, 100), Padded({7, 8, 9}, 20));
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

TEST(LostEntry, OfStripOffsetsBecomesOneLongWithAndWithoutAnImage) {
    // 4 bytes of image from the place 0; and more than any image of so small a file may have.
    for (const auto& [bytes, image] : {std::pair{4U, Bytes{0x49, 0x49, 0x2a, 0x00}}, {0xf0000000U, Bytes()}}) {
        TiffOf tiff(TiffBuilder().Shape(2, 2, 1, 8).Long(278, 2).Entry(273, 3, 1000, 8).Long(279, bytes));
        EXPECT_EQ(FieldsOf(tiff, 273), (Fields{273, 4, 1, 8}));
        const Bytes saved = Saved(tiff);
        constexpr std::uint32_t kData = 14 + 12 * 9;
        EXPECT_EQ(EntryOf(saved, 273), (Fields{273, 4, 1, kData})) << bytes;
        EXPECT_EQ(tiff.GetTagValue(Sig(273)), static_cast<int>(kData));
        EXPECT_EQ(Part(saved, kData, 100), image) << bytes;
    }
}

TEST(LostEntry, OfByteCountsIsNoneForOneStripAndOneEmptyStripForMore) {
    TiffBuilder one;
    one.Shape(2, 2, 1, 8).Long(278, 2).StripOffsets().Entry(279, 4, 1000, 8).Exif(CountingBytes(44));
    TiffOf tiff(one.Strip(CountingBytes(4)));
    EXPECT_EQ(FieldsOf(tiff, 279), (Fields{279, 4, 1000, 8})) << "the count stays in memory";
    EXPECT_EQ(Image(tiff), Bytes());
    const Bytes saved = Saved(tiff);
    constexpr std::uint32_t kData = 14 + 12 * 10;
    EXPECT_EQ(EntryOf(saved, 279), (Fields{279, 4, 0, 0}));
    EXPECT_EQ(EntryOf(saved, 273), (Fields{273, 4, 1, kData}));
    EXPECT_EQ(EntryOf(saved, 34665), (Fields{34665, 4, 1, kData}));
    EXPECT_EQ(Part(saved, kData, 100), CountingBytes(44));
    TiffBuilder two;
    two.Shape(2, 2, 1, 8).Long(278, 1).StripOffsets().Entry(279, 4, 1000, 8);
    TiffOf joined(two.Strip(CountingBytes(2)).Strip(CountingBytes(2)));
    const Bytes empty = Saved(joined);
    EXPECT_EQ(EntryOf(empty, 279), (Fields{279, 3, 1, 0}));
    EXPECT_EQ(EntryOf(empty, 273), (Fields{273, 4, 1, static_cast<std::uint32_t>(empty.size())}));
}

// Sound files of each of the four kinds of image, cut after every byte: what is there, and zeros for the rest.

void ExpectAsReference(const Bytes& file) {
    Tiff tiff;
    ReferenceTiff reference;
    ASSERT_EQ(ReadFrom(tiff, file), reference.Read(file));
    ASSERT_EQ(tiff.tags.size(), reference.tags.size());
    for (std::size_t i = 0; i < tiff.tags.size(); ++i) {
        const ReferenceTag& expected = reference.tags[i];
        ASSERT_EQ(FieldsOf(*tiff.tags[i]),
                  (Fields{expected.tag, static_cast<int>(expected.type), expected.count, expected.value}));
        ASSERT_THAT(DataOf(*tiff.tags[i]), EqualsBytes(expected.data.value_or(Bytes()))) << "tag " << expected.tag;
    }
    ASSERT_THAT(Saved(tiff), EqualsBytes(reference.Save()));
}

TEST(TiffRead, GivesWhatACutFileHoldsAndZerosForTheRest) {
    TiffBuilder strips;
    strips.Shape(2, 3, 3, 8).Long(278, 1).StripOffsets().StripByteCounts(3);
    strips.Strip(CountingBytes(6)).Strip(CountingBytes(6, 7)).Strip(CountingBytes(6, 13));
    const std::vector<std::pair<std::string, TiffBuilder>> kinds{
        {"chunky", ChunkyTiff(3, 2, 3, 8, CountingBytes(18))},
        {"strips", strips},
        {"planes", PlanarTiff(3, 2, 3, 8, 2, {CountingBytes(6), CountingBytes(6, 50), CountingBytes(6, 90)})},
        {"bitmap", PlanarTiff(16, 2, 3, 1, 2, {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}})}};
    for (auto [name, file] : kinds) {
        file.Undefined(34675, CountingBytes(33)).Exif(CountingBytes(50, 100)).Entry(40000, 7, 3, 0x030201);
        const Bytes whole = file.Build();
        for (std::size_t size = 0; size <= whole.size(); ++size) {
            SCOPED_TRACE(name + " cut to " + std::to_string(size));
            ExpectAsReference(Part(whole, 0, size));
            if (HasFatalFailure()) return;
        }
    }
}

}  // namespace
}  // namespace hueweave::test
