// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Broken image files, each with the parts of the file that comes of it.
#include <functional>

#include "hostile/TiffRun.h"

namespace hueweave::test {
namespace {

constexpr std::uint32_t kRoom = 8 << 20;  // bytes that an image may have beyond twice its file

struct BadTiff {
    const char* name;
    Bytes file;
    // What must come out, in bytes; all 0: an empty file.
    std::size_t entries = 0;
    std::size_t tagData = 0;
    std::size_t image = 0;
    std::size_t exif = 0;
};
void PrintTo(const BadTiff& bad, std::ostream* out) { *out << bad.name; }

/// Four rows of four pixels without tag data; `change` does the harm. 12 entries.
TiffBuilder Sound() {
    TiffBuilder tiff;
    tiff.Long(256, 4).Long(257, 4).Short(258, 8).Short(259, 1).Short(262, 2).Short(277, 3).Long(278, 4);
    return tiff;
}
TiffBuilder OneStrip(std::uint32_t offset, std::uint32_t bytes) {
    return Sound().Long(273, offset).Long(279, bytes).Trailer(CountingBytes(48));
}
TiffBuilder WithImage() { return Sound().Strip(CountingBytes(48)).StripOffsets().StripByteCounts(); }

std::vector<BadTiff> Heads() {
    TiffBuilder many;
    for (unsigned tag = 0; tag < 29; ++tag) many.Long(1000 + tag, 1);
    TiffBuilder tooMany = many;
    tooMany.Long(2000, 1);
    Bytes swapped = WithImage().Build();
    std::reverse(swapped.begin(), swapped.begin() + 4);
    return {{"NoBytes", {}},
            {"OneByte", Bytes(1, 0x49)},
            {"HeadOnly", {0x49, 0x49, 42, 0}},
            {"HeadAndHalfAnOffset", {0x49, 0x49, 42, 0, 8, 0}},
            {"HeadAndOffset", {0x49, 0x49, 42, 0, 8, 0, 0, 0}},
            {"DirectoryIsTheHead", {0x49, 0x49, 42, 0, 0, 0, 0, 0}},
            {"DirectoryAtTheGreatestOffset", {0x49, 0x49, 42, 0, 0xff, 0xff, 0xff, 0xff}},
            {"OtherByteOrder", WithImage().Head({0x4d, 0x4d, 0, 42}).Build()},
            {"BigTiff", WithImage().Head({0x49, 0x49, 43, 0}).Build()},
            {"MagicBackwards", swapped},
            {"NoEntries", WithImage().EntryCount(0).Build()},
            {"TwentyNineEntries", many.Build(), 29, 0, 0, 0},
            {"ThirtyEntries", tooMany.Build()},
            {"ThirtyEntriesAnnounced", WithImage().EntryCount(30).Build()},
            {"GreatestNumberOfEntries", WithImage().EntryCount(65535).Build()}};
}

std::vector<BadTiff> Tags() {
    const auto with = [](unsigned tag, unsigned type, std::uint32_t count, std::uint32_t value) {
        return WithImage().Entry(tag, type, count, value).Build();
    };
    TiffBuilder few = WithImage();
    few.Data(700, 1, 5, CountingBytes(5));
    return {{"Sound", WithImage().Build(), 9, 0, 48, 0},
            {"TypeOfNoWidth", with(700, 14, 1000, 8), 10, 0, 48, 0},
            {"GreatestType", with(700, 65535, 0xffffffff, 8), 10, 0, 48, 0},
            {"TypeNegativeAsShort", with(700, 0x8000, 1000, 8), 10, 0, 48, 0},
            {"SizeWrapsTo8", with(700, 5, 0x20000001, 8), 10, 0, 48, 0},
            {"SizeWrapsTo0", with(700, 4, 0x40000000, 8), 10, 0, 48, 0},
            {"GreatestSizeOfAnInt", with(700, 1, 0x7fffffff, 8), 10, 0, 48, 0},
            {"SizeOverAnInt", with(700, 1, 0x80000000, 8), 10, 0, 48, 0},
            {"LargerThanTheFile", with(700, 1, 500, 8), 10, 0, 48, 0},
            {"DataBehindTheFile", with(700, 1, 20, 0x7ffffff0), 10, 20, 48, 0},
            {"DataAtTheGreatestOffset", with(700, 1, 20, 0xffffffff), 10, 20, 48, 0},
            {"FiveBytes", few.Build(), 10, 5, 48, 0},
            {"ResolutionWithoutData", with(282, 5, 1, 0xffffffff), 10, 8, 48, 0},
            {"ResolutionOfFourBytes", with(282, 4, 1, 300), 10, 0, 48, 0},
            {"ResolutionByZero", WithImage().Rational(282, 300, 0).Build(), 10, 8, 48, 0},
            {"ResolutionZeroByZero", WithImage().Rational(282, 0, 0).Build(), 10, 8, 48, 0},
            {"ExifBehindTheFile", with(34665, 4, 1, 0xffffffff), 10, 0, 48, 44},
            {"ExifOfTwentyLongs", with(34665, 4, 20, 8), 10, 80, 48, 44},
            {"ExifOfNothing", with(34665, 4, 0, 0), 10, 0, 48, 44}};
}

/// The tags 256, 257 and 278 alone.
TiffBuilder FourByFour(std::uint32_t rows) { return TiffBuilder().Long(256, 4).Long(257, 4).Long(278, rows); }

std::vector<BadTiff> Images() {
    const auto array = [&](unsigned tag, unsigned type, std::uint32_t count) {
        TiffBuilder tiff = FourByFour(2).Short(258, 8).Short(277, 3);
        tiff.Strip(CountingBytes(24)).Strip(CountingBytes(24, 100));
        tag == 273 ? tiff.Entry(273, type, count, 8) : tiff.StripOffsets();
        tag == 279 ? tiff.Entry(279, type, count, 8) : tiff.StripByteCounts();
        return tiff.Build();
    };
    const std::uint32_t file = static_cast<std::uint32_t>(OneStrip(122, 0).Build().size());
    return {
        {"NoOffsets", Sound().Long(279, 48).Build(), 8, 0, 0, 0},
        {"NoByteCounts", Sound().Long(273, 8).Build(), 8, 0, 0, 0},
        {"NeitherOfBoth", Sound().Build(), 7, 0, 0, 0},
        {"ImageBehindTheFile", OneStrip(0x7fffffff, 48).Build(), 9, 0, 48, 0},
        {"ImageAtTheGreatestOffset", OneStrip(0xffffffff, 48).Build(), 9, 0, 48, 0},
        {"LongerThanTheFile", OneStrip(122, 1000).Build(), 9, 0, 1000, 0},
        {"AtTheLimit", OneStrip(122, 2 * file + kRoom).Build(), 9, 0, 2 * file + kRoom, 0},
        {"BeyondTheLimit", OneStrip(122, 2 * file + kRoom + 1).Build(), 9, 0, 0, 0},
        {"GreatestLength", OneStrip(122, 0xffffffff).Build(), 9, 0, 0, 0},
        {"NoRowsPerStrip", WithImage().Long(278, 9).Build(), 10, 0, 48, 0},
        {"OneStripOfOtherRows",
         FourByFour(99).Short(277, 3).Strip(CountingBytes(48)).StripOffsets().StripByteCounts().Build(), 6, 0, 48, 0},
        {"OffsetsWithoutItems", array(273, 4, 0), 7, 0, 0, 0},
        {"MoreOffsetsThanTheFileHolds", array(273, 4, 0x10000000), 7, 0, 0, 0},
        {"MostOffsets", array(273, 4, 0xffffffff), 7, 0, 0, 0},
        {"MoreCountsThanTheFileHolds", array(279, 4, 0x10000000), 7, 0, 0, 0},
        {"OneCountForTwoOffsets", array(279, 3, 1), 7, 0, 8, 0},
        {"OffsetsOfUnknownType", array(273, 200, 2), 7, 0, 0, 0},
        {"SumOfStripsWraps", FourByFour(2).Longs(273, {8, 8, 8}).Longs(279, {0x80000000, 0x80000000, 16}).Build(), 5, 0,
         0, 0},
        {"StripsOverOneBlock", FourByFour(2).Longs(273, {8, 8, 8}).Longs(279, {20, 20, 20}).Build(), 5, 0, 60, 0},
        {"BitmapPlanesWrap",
         TiffBuilder()
             .Long(256, 0x7ffffff8)
             .Long(257, 0x1000)
             .Short(258, 1)
             .Short(277, 3)
             .Long(278, 0x1000)
             .Long(273, 8)
             .Long(279, 48)
             .Short(284, 2)
             .Build(),
         8, 0, 0, 0},
        {"ThreeStripsWhereOneIsAnnounced", Sound().Longs(273, {8, 8, 8}).Longs(279, {4, 5, 6}).Build(), 9, 24, 4, 0}};
}

class BadTiffTest : public TiffRun, public testing::WithParamInterface<BadTiff> {};

TEST_P(BadTiffTest, GivesJustTheseParts) {
    const BadTiff& bad = GetParam();
    const Bytes written = Check(bad.file, bad.name);
    const std::size_t directory = bad.entries == 0 ? 0 : 14 + 12 * bad.entries;
    EXPECT_EQ(written.size(), directory + bad.tagData + bad.image + bad.exif);
    // A sound file afterwards comes out as it should.
    const MiniTiff sound{4, 4, 3, 8, CountingBytes(48), {}};
    MiniTiff expected = sound;
    expected.pixels = Matched(sound.pixels);
    WriteFile(dir_.File("sound.tif"), sound.Build());
    EXPECT_EQ(Convert(dir_.File("sound.tif"), dest_), kProgress);
    EXPECT_EQ(ReadFile(dest_), expected.Build());
}

std::string NameOfTiff(const testing::TestParamInfo<BadTiff>& row) { return row.param.name; }
INSTANTIATE_TEST_SUITE_P(Heads, BadTiffTest, testing::ValuesIn(Heads()), NameOfTiff);
INSTANTIATE_TEST_SUITE_P(Tags, BadTiffTest, testing::ValuesIn(Tags()), NameOfTiff);
INSTANTIATE_TEST_SUITE_P(Images, BadTiffTest, testing::ValuesIn(Images()), NameOfTiff);

struct Size {
    std::uint32_t width, height;
    int pixels;  ///< of the five that the image holds, those that are converted
};
void PrintTo(const Size& size, std::ostream* out) { *out << size.width << " x " << size.height; }

class WrongSizeTest : public TiffRun, public testing::WithParamInterface<Size> {};

/// Width and height are numbers of a stranger: their product is taken in 64 bits, with its sign, and bounded by the
/// image that there is.
TEST_P(WrongSizeTest, ConvertsNoPixelOutsideTheImage) {
    const auto& [width, height, pixels] = GetParam();
    MiniTiff tiff{width, height, 3, 8, CountingBytes(17), {}};
    const std::string source = Put("source.tif", tiff.Build());
    EXPECT_EQ(Convert(source, dest_), kProgress);
    const Bytes matched = Matched(CountingBytes(static_cast<std::size_t>(3 * pixels)));
    std::copy(matched.begin(), matched.end(), tiff.pixels.begin());
    EXPECT_EQ(ReadFile(dest_), tiff.Build());
}

INSTANTIATE_TEST_SUITE_P(Every, WrongSizeTest,
                         testing::Values(Size{0, 0, 0}, Size{0, 0xffffffff, 0}, Size{5, 1, 5}, Size{6, 1, 5},
                                         Size{65536, 65536, 5}, Size{65535, 65537, 5}, Size{0x7fffffff, 0x7fffffff, 5},
                                         Size{0xffffffff, 0xffffffff, 1}, Size{0x80000000, 0x80000000, 5},
                                         Size{0xffffffff, 1, 0}, Size{0x80000000, 2, 0}, Size{0x80000004, 4, 0},
                                         Size{0xffff0000, 0xffff, 0}, Size{0xfffffffe, 0x7fffffff, 0}));

}  // namespace
}  // namespace hueweave::test
