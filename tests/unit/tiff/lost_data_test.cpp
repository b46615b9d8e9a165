// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Entries that announce more than their file can hold, as a cut file leaves them: they stay in the directory, without
// items and pointing nowhere.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

/// Two rows of two grey pixels, with tag 305 behind whatever `lose` adds.
Bytes WithText(const std::function<void(TiffBuilder&)>& lose) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 1, 8).Long(278, 2);
    lose(tiff);
    return tiff.Text(305, "words").StripOffsets().StripByteCounts().Strip(CountingBytes(4, 70)).Build();
}

class LostEntryTest : public testing::TestWithParam<unsigned> {};

TEST_P(LostEntryTest, IsSavedWithoutItemsAndMovesNothing) {
    const unsigned type = GetParam();
    Tiff tiff;
    ReadFrom(tiff, WithText([&](TiffBuilder& file) { file.Entry(40000, type, 1000, 8); }));
    const Bytes saved = Saved(tiff);
    constexpr std::uint32_t kData = 14 + 12 * 11;
    EXPECT_EQ(EntryOf(saved, 40000), (Fields{40000, static_cast<int>(type), 0, 0}));
    EXPECT_EQ(EntryOf(saved, 305), (Fields{305, 2, 6, kData}));
    EXPECT_EQ(EntryOf(saved, 273), (Fields{273, 4, 1, kData + 6}));
    EXPECT_EQ(Part(saved, kData, 100), Joined({ByteWriter().Text("words").U8(0).Done(), CountingBytes(4, 70)}));
    EXPECT_EQ(EntriesOf(saved).size(), 11U) << "no entry is dropped";
}

TEST_P(LostEntryTest, KeepsItsCountInMemoryAndAnswersNothing) {
    Tiff tiff;
    ReadFrom(tiff, WithText([](TiffBuilder& file) { file.Entry(40000, GetParam(), 1000, 8); }));
    EXPECT_EQ(FieldsOf(tiff, 40000), (Fields{40000, static_cast<int>(GetParam()), 1000, 8}));
    EXPECT_EQ(tiff.GetTagValue(Sig(40000)), 0);
    const Bytes first = Saved(tiff);
    EXPECT_EQ(FieldsOf(tiff, 40000), (Fields{40000, static_cast<int>(GetParam()), 1000, 0}));
    EXPECT_EQ(tiff.GetTagValue(Sig(40000)), 0);
    EXPECT_EQ(Saved(tiff), first);
}

INSTANTIATE_TEST_SUITE_P(Every, LostEntryTest, testing::Range(0U, 14U));

TEST(LostEntry, IsAnEmptyOneWhenTheSavedFileIsRead) {
    Tiff tiff;
    ReadFrom(tiff, WithText([](TiffBuilder& file) { file.Entry(40000, 2, 1000, 8).Entry(283, 5, 100, 8); }));
    const Bytes saved = Saved(tiff);
    CTiff again;
    ReadFrom(again, saved);
    EXPECT_EQ(FieldsOf(again, 40000), (Fields{40000, 2, 0, 0}));
    EXPECT_EQ(again.GetTagValue(Sig(283)), 0);
    EXPECT_EQ(Saved(again), saved);
}

TEST(LostEntry, IsOneThatADirectoryMayNotTake) {
    // Five times 40,000 bytes of one place in a file of 50,000, which may take 165,536.
    TiffBuilder builder;
    for (unsigned i = 0; i < 5; ++i) builder.Entry(1000 + i, 1, 40000, 8);
    Bytes file = builder.Build();
    file.resize(50000, 7);
    Tiff tiff;
    ReadFrom(tiff, file);
    const Bytes saved = Saved(tiff);
    constexpr std::uint32_t kData = 14 + 12 * 5;
    EXPECT_EQ(EntryOf(saved, 1003), (Fields{1003, 1, 40000, kData + 120000}));
    EXPECT_EQ(EntryOf(saved, 1004), (Fields{1004, 1, 0, 0}));
    EXPECT_EQ(saved.size(), kData + 160000U);
}

TEST(LostEntry, IsNoneThatTheFileHeldInPartOrCouldHold) {
    // Ten bytes of which three are there, and ten of which none is: they are filled up with zeros.
    Bytes file = TiffBuilder().Entry(1000, 1, 10, 50).Entry(1001, 1, 10, 5000).Entry(1002, 1, 4, 0x04030201).Build();
    ASSERT_EQ(file.size(), 50U);
    file.insert(file.end(), {7, 8, 9});
    Tiff tiff;
    ReadFrom(tiff, file);
    const Bytes saved = Saved(tiff);
    EXPECT_EQ(EntriesOf(saved), (std::vector<Fields>{{1000, 1, 10, 50}, {1001, 1, 10, 60}, {1002, 1, 4, 0x04030201}}));
    EXPECT_EQ(Part(saved, 50, 100), Joined({{7, 8, 9}, Bytes(17, 0)}));
}

TEST(LostEntry, IsNoneAfterACallerGaveItData) {
    CTiff tiff;
    ReadFrom(tiff, WithText([](TiffBuilder& file) { file.Entry(34675, 7, 1000, 8).Entry(40000, 2, 1000, 8); }));
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

TEST(LostStrips, OffsetsBecomeOneLongWithAndWithoutAnImage) {
    // 4 bytes of image from the place 0; and more than any image of so small a file may have.
    for (const auto& [bytes, image] : {std::pair{4U, Bytes{0x49, 0x49, 0x2a, 0x00}}, {0xf0000000U, Bytes()}}) {
        Tiff tiff;
        ReadFrom(tiff, TiffBuilder().Shape(2, 2, 1, 8).Long(278, 2).Entry(273, 3, 1000, 8).Long(279, bytes).Build());
        const Bytes saved = Saved(tiff);
        constexpr std::uint32_t kData = 14 + 12 * 9;
        EXPECT_EQ(EntryOf(saved, 273), (Fields{273, 4, 1, kData})) << bytes;
        EXPECT_EQ(tiff.GetTagValue(Sig(273)), static_cast<int>(kData));
        EXPECT_EQ(Part(saved, kData, 100), image) << bytes;
    }
}

TEST(LostStrips, ByteCountsOfOneStripAreNone) {
    TiffBuilder builder;
    builder.Shape(2, 2, 1, 8).Long(278, 2).StripOffsets().Entry(279, 4, 1000, 8).Exif(CountingBytes(44));
    builder.Strip(CountingBytes(4));
    CTiff tiff;
    ReadFrom(tiff, builder.Build());
    const Bytes saved = Saved(tiff);
    constexpr std::uint32_t kData = 14 + 12 * 10;
    EXPECT_EQ(EntryOf(saved, 279), (Fields{279, 4, 0, 0}));
    EXPECT_EQ(EntryOf(saved, 273), (Fields{273, 4, 1, kData}));
    EXPECT_EQ(EntryOf(saved, 34665), (Fields{34665, 4, 1, kData}));
    EXPECT_EQ(Part(saved, kData, 100), CountingBytes(44));
}

TEST(LostStrips, CountsOfManyStripsAreOneEmptyStrip) {
    TiffBuilder builder;
    builder.Shape(2, 2, 1, 8).Long(278, 1).StripOffsets().Entry(279, 4, 1000, 8);
    Tiff tiff;
    ReadFrom(tiff, builder.Strip(CountingBytes(2)).Strip(CountingBytes(2)).Build());
    const Bytes saved = Saved(tiff);
    EXPECT_EQ(EntryOf(saved, 279), (Fields{279, 3, 1, 0}));
    EXPECT_EQ(EntryOf(saved, 273), (Fields{273, 4, 1, static_cast<std::uint32_t>(saved.size())}));
}

}  // namespace
}  // namespace hueweave::test
