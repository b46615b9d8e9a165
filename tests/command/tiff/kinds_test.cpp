// SPDX-License-Identifier: MIT
// Every kind of TIFF file keeps its kind: its pixels are converted by the engine, everything else is unchanged.
#include "command/support/FileTest.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

constexpr Kind kKinds[] = {
    {"Strips", "tiffcp -s -c none -r 16 $in $out"},
    {"OneRowAStrip", "tiffcp -s -c none -r 1 $in $out"},
    {"OneStrip", "tiffcp -s -c none -r 238 $in $out"},
    {"OneStripOfSeveralBlocks", "convert-im6 $in -scale 200% -compress none -define tiff:rows-per-strip=476 $out"},
    {"BigEndian", "tiffcp -B -s -c none -r 7 $in $out"},
    {"Tiles", "tiffcp -t -w 64 -l 48 -c none $in $out"},
    {"BigEndianTiles", "tiffcp -B -t -w 64 -l 48 -c lzw:2 $in $out"},
    {"Lzw", "tiffcp -s -c lzw -r 16 $in $out"},
    {"LzwWithPredictor", "tiffcp -s -c lzw:2 -r 16 $in $out"},
    {"LzwInOneStrip", "tiffcp -s -c lzw:2 -r 238 $in $out"},
    {"Deflate", "tiffcp -s -c zip:2 -r 16 $in $out"},
    {"DeflateInTiles", "tiffcp -t -w 64 -l 48 -c zip $in $out"},
    {"PackBits", "tiffcp -s -c packbits -r 16 $in $out"},
    {"Zstandard", "tiffcp -s -c zstd -r 16 $in $out"},
    {"Lzma", "tiffcp -s -c lzma -r 16 $in $out"},
    {"Planar", "convert-im6 $in -interlace plane -define tiff:rows-per-strip=20 -compress none $out"},
    {"PlanarDeflate", "convert-im6 $in -interlace plane -define tiff:rows-per-strip=20 -compress zip $out"},
    {"BigTiff", "tiffcp -8 -s -c none -r 16 $in $out"},
    {"BigEndianBigTiff", "tiffcp -8 -B -s -c zip:2 -r 16 $in $out"},
    {"TurnedBits", "tiffcp -f lsb2msb -s -c none -r 16 $in $out"},
    {"TurnedBitsDeflate", "tiffcp -f lsb2msb -s -c zip -r 16 $in $out"},
    {"ThreePages", "tiffcp -s -c zip:2 -r 32 $in,0 $in,0 $in,0 $out"},
    {"Rotated", "tiffcp -s -c none -r 16 $in $out; tiffset -s 274 6 $out"},
};

class TiffLayoutsTest : public FileTest, public testing::WithParamInterface<std::tuple<Kind, int>> {};

TEST_P(TiffLayoutsTest, PixelsMatchTheEngineAndAllElseIsKeptForAnyNumberOfThreads) {
    const auto& [kind, bits] = GetParam();
    for (const std::string photo : {"photo-", "alpha-"}) {
        SCOPED_TRACE(photo);
        Make(kind.recipe, Input(photo + std::to_string(bits) + ".tif"));
        ASSERT_EQ(ReadPictures(in_)[0].samples, photo == "alpha-" ? 4U : 3U);
        ASSERT_THAT(Convert({"-j", "1", "--force"}), Succeeds());
        ExpectSrgb(out_, in_);
        for (const Picture& page : ReadPictures(out_)) EXPECT_FALSE(page.icc.empty());
        EXPECT_EQ(TagsOf(in_), TagsOf(out_));
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif", "out.tif"}));
        const std::string bytes = FileBytes(out_);
        EXPECT_EQ(Convert({"-j", "7", "--force"}).status, 0);
        EXPECT_EQ(FileBytes(out_) == bytes, true) << "the bytes depend on the number of threads";
    }
}

class StripsTest : public FileTest {};

TEST_F(StripsTest, MayBeInAnyOrderWithGapsAndShared) {
    TiffMaker tiff;
    const auto put = [&](std::size_t row) { return tiff.Put(SmallPixels().substr(12 * row, 12)); };
    const std::uint64_t fourth = put(3), first = put(0), second = put(1);
    tiff.Put("a gap");
    const std::uint64_t third = put(2);
    tiff.Page(
        TiffMaker::Rgb({4, 6, {first, second, third, fourth, third, third}, {12, 12, 12, 12, 12, 12}, 1, 3, 1, 1}));
    tiff.Save(in_);
    ASSERT_THAT(Convert(), Succeeds());
    ExpectSrgb(out_, in_);
}

INSTANTIATE_TEST_SUITE_P(Every, TiffLayoutsTest, testing::Combine(testing::ValuesIn(kKinds), testing::Values(8, 16)),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) + std::to_string(std::get<1>(row.param));
                         });

}  // namespace
}  // namespace hueweave::test
