// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Every kind of TIFF file comes out as the kind that it was: pixels as the engine makes them, all else as it stood.
#include <gtest/gtest.h>

#include "command/support/Command.h"
#include "command/support/Kind.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

constexpr Kind kKinds[] = {
    {"Strips", "tiffcp -s -c none -r 16 $in $out"},
    {"OneRowAStrip", "tiffcp -s -c none -r 1 $in $out"},
    {"OneStrip", "tiffcp -s -c none -r 238 $in $out"},
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

class KindsTest : public testing::TestWithParam<std::tuple<Kind, int>> {
protected:
    int bits() const { return std::get<1>(GetParam()); }
    /// The file of this kind, made from the photograph.
    std::string Make(const std::string& photo) {
        const std::string out = folder_ / "in.tif";
        Shell("in=" + Quoted(Input(photo + "-" + std::to_string(bits()) + ".tif")) + "; out=" + Quoted(out) + "; " +
              std::get<0>(GetParam()).recipe);
        return out;
    }
    Folder folder_;
};

TEST_P(KindsTest, PixelsAreTheEnginesAndAllElseIsAsItStood) {
    const std::string in = Make("photo"), out = folder_ / "out.tif";
    const Outcome run = Hueweave({"convert", "--profile", Input("scanner.icc"), in, "-o", out});
    ASSERT_EQ(run.status, 0) << run.err;
    const auto before = ReadPictures(in), after = ReadPictures(out);
    ASSERT_EQ(before.size(), after.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
        const Picture wanted = ByEngine(before[i], Input("scanner.icc"), 0, bits() == 8 ? 8 : 9);
        EXPECT_EQ(wanted.values, after[i].values) << "page " << i;
        EXPECT_FALSE(after[i].icc.empty());
    }
    EXPECT_EQ(TagsOf(in), TagsOf(out));
    EXPECT_EQ(NamesIn(folder_.path()), (std::vector<std::string>{"in.tif", "out.tif"}));
}

TEST_P(KindsTest, AlphaIsUntouched) {
    const std::string in = Make("alpha"), out = folder_ / "out.tif";
    const Outcome run = Hueweave({"convert", "--profile", Input("scanner.icc"), in, "-o", out});
    ASSERT_EQ(run.status, 0) << run.err;
    const Picture before = ReadPictures(in)[0], after = ReadPictures(out)[0];
    ASSERT_EQ(before.samples, 4U);
    EXPECT_EQ(ByEngine(before, Input("scanner.icc"), 0, bits() == 8 ? 8 : 9).values, after.values);
    EXPECT_EQ(TagsOf(in), TagsOf(out));
}

TEST_P(KindsTest, TheBytesDoNotDependOnTheNumberOfThreads) {
    const std::string in = Make("photo");
    const auto convert = [&](const char* threads) {
        const std::string out = folder_ / (std::string("out-") + threads + ".tif");
        EXPECT_EQ(Hueweave({"convert", "-j", threads, "--profile", Input("scanner.icc"), in, "-o", out}).status, 0);
        return FileBytes(out);
    };
    EXPECT_EQ(convert("1"), convert("7"));
}

INSTANTIATE_TEST_SUITE_P(Every, KindsTest, testing::Combine(testing::ValuesIn(kKinds), testing::Values(8, 16)),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) + std::to_string(std::get<1>(row.param));
                         });

}  // namespace
}  // namespace hueweave::test
