// SPDX-License-Identifier: MIT
// Palette pixels, and RGB of 10, 12 and 14 bits, become RGB of 8 or 16 bits: the pixels are those of the same picture
// with its colours written out.
#include <cmath>

#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

class PaletteTest : public KindTest {
protected:
    /// A colour map of entries of `bits` bits times `factor`, and pixels of all colours.
    struct Palette {
        unsigned indexBits, bits, factor;
        bool hasAlpha = false;
    };
    /// Writes the palette file and returns the same pixels as RGB.
    Samples Write(const Palette& palette, unsigned compression = 1) const {
        const std::size_t colours = std::size_t{1} << palette.indexBits;
        const std::vector<std::uint64_t> map = Varied(3 * colours, palette.bits);
        std::vector<std::uint64_t> entries = map;
        for (std::uint64_t& entry : entries) entry *= palette.factor;
        Samples indices{3, palette.hasAlpha ? 2U : 1U, palette.indexBits, {}, {}, compression};
        Samples rgb{2, palette.hasAlpha ? 4U : 3U, palette.bits, {}, {}, 1};
        for (std::size_t p = 0; p < kPixels; ++p) {
            const std::size_t index = p * 11 % colours;
            indices.values.push_back(index);
            for (std::size_t c = 0; c < 3; ++c) rgb.values.push_back(map[c * colours + index]);
            if (!palette.hasAlpha) continue;
            indices.values.push_back(p * 7 % 256);
            rgb.values.push_back(p * 7 % 256 * (palette.bits == 16 ? 257 : 1));
        }
        if (palette.hasAlpha) rgb.more = indices.more = {TiffMaker::Short(338, 2)};
        indices.more.push_back({320, 3, entries.size(), 0, Little(entries, 2)});
        WriteSamples(in_, indices);
        return rgb;
    }
};

TEST_F(PaletteTest, EveryIndexAndFormOfTheColourMap) {
    unsigned compression = 1;
    for (const Palette& palette :
         {Palette{1, 8, 257}, Palette{2, 8, 1}, Palette{4, 8, 256}, Palette{4, 16, 1}, Palette{8, 16, 1},
          // An alpha is scaled to the depth of the colours.
          Palette{8, 8, 1, true}, Palette{8, 16, 1, true}}) {
        SCOPED_TRACE(testing::Message() << palette.indexBits << " bits, map of " << palette.bits << " times "
                                        << palette.factor);
        ExpectLikeRgb(Write(palette, compression));
        compression = 9 - compression;  // 8 is Deflate
    }
}

TEST_F(PaletteTest, StripsTilesAndCodingsStay) {
    Make("convert-im6 $in -colors 200 -type Palette -compress none $out");
    Shell("cd " + Quoted(folder_.path()) + "; mv in.tif palette; convert-im6 palette -type TrueColor -depth 16 " +
          "-define tiff:preserve-compression=false tiff:rgb");
    for (const std::string scheme : {"-s -c none -r 16", "-B -t -w 64 -l 48 -c lzw:2", "-8 -s -c zip -r 238"}) {
        SCOPED_TRACE(scheme);
        Shell("tiffcp " + scheme + " " + Quoted(folder_ / "palette") + " " + Quoted(in_));
        ExpectLikeRgb(folder_ / "rgb", {"-j", "3"});
        for (const char* tag : {"Compression", "RowsPerStrip", "TileWidth", "TileLength", "Predictor"}) {
            EXPECT_EQ(Tag(out_, tag), Tag(in_, tag)) << tag;
        }
        EXPECT_EQ(Tag(out_, "ColorMap"), "");
    }
}

TEST_F(PaletteTest, TheLayoutIsNamedAndOnceConvertedNothingChanges) {
    Write({8, 8, 257});
    EXPECT_THAT(ConvertKind(), Says(0, "its palette pixels are written as RGB of 8 bits\n"));
    ExpectDone();
}

TEST_F(PaletteTest, WhatCannotBeConvertedIsRefused) {
    Write({8, 8, 257});
    EXPECT_THAT(ConvertKind({"--precision", "library"}),
                Refuses(4, "holds palette pixels, not RGB; leave --precision library out"));
    Samples indices{3, 1, 8, std::vector<std::uint64_t>(kPixels)};
    WriteSamples(in_, indices);
    EXPECT_THAT(ConvertKind(), Refuses(4, "has palette pixels and no colour map"));
    indices.more = {{320, 3, 48, 0, std::string(96, 'a')}};
    WriteSamples(in_, indices);
    EXPECT_THAT(ConvertKind(), Refuses(4, "has a colour map of 48 values"));
}

class DepthTest : public KindTest {
protected:
    /// Writes a file, and returns the same picture with 16 bits, interleaved.
    Samples Write(const Samples& packed) const {
        WriteSamples(in_, packed);
        Samples wide{2, packed.perPixel, 16, packed.values, packed.more};
        const double top = (1U << packed.bits) - 1;
        for (std::uint64_t& value : wide.values) {
            value = static_cast<std::uint64_t>(std::lround(static_cast<double>(value) * 65535.0 / top));
        }
        const std::vector<std::uint64_t> planes = wide.values;
        for (std::size_t i = 0; packed.planar == 2 && i < planes.size(); ++i) {
            wide.values[i % kPixels * 3 + i / kPixels] = planes[i];
        }
        return wide;
    }
};

TEST_F(DepthTest, SamplesAreScaledTo16Bits) {
    for (const Samples& packed : {Samples{2, 3, 10, Varied(3 * kPixels, 10), {}, 8},
                                  Samples{2, 4, 12, Varied(4 * kPixels, 12), {TiffMaker::Short(338, 2)}},
                                  Samples{2, 3, 14, Varied(3 * kPixels, 14)}}) {
        SCOPED_TRACE(packed.bits);
        ExpectLikeRgb(Write(packed));
    }
}

TEST_F(DepthTest, PlanesBecomeInterleaved) {
    for (const unsigned compression : {1U, 8U}) {
        ExpectLikeRgb(Write({2, 3, 12, Varied(3 * kPixels, 12), {}, compression, 2}));
        EXPECT_EQ(Tag(out_, "PlanarConfiguration"), "Chunky\n");
    }
}

TEST_F(DepthTest, TheDepthIsNamed) {
    Write({2, 3, 12, Varied(3 * kPixels, 12)});
    EXPECT_THAT(ConvertKind(), Says(0, "its samples of 12 bits are written with 16 bits\n"));
    EXPECT_THAT(ConvertKind({"--precision", "library"}),
                Refuses(4, "has 12 bits a sample; leave --precision library out"));
}

}  // namespace
}  // namespace hueweave::test
