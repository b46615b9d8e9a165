// SPDX-License-Identifier: MIT
// Pixels of other colours than RGB of 8 or 16 bits. With a profile for them, CMYK and Lab become RGB, and grey stays
// grey, with the tone curve of the output, or becomes RGB: the samples are those of Little CMS in floating point.
// Palette pixels, and RGB of 10, 12 and 14 bits, become what the same picture with its colours written out becomes.
#include <cmath>

#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

class DeviceColoursTest : public KindTest {
protected:
    void ExpectJudged(const Samples& samples, const Profile& source, unsigned perPixel = 3) const {
        const Picture page = ReadPictures(out_)[0];
        EXPECT_EQ(page.samples, perPixel);
        EXPECT_EQ(page.bits, samples.bits);
        EXPECT_EQ(page.values, Judged(samples, source, page.icc));
        EXPECT_EQ(Tag(out_, "PhotometricInterpretation") == "RGB\n", perPixel > 2);
    }
};

TEST_F(DeviceColoursTest, CmykPixelsAreThoseOfLittleCms) {
    for (const unsigned bits : {8U, 16U}) {
        SCOPED_TRACE(bits);
        Samples ink{5, 4, bits, Varied(4 * kPixels, bits), {TiffMaker::Short(332, 1), TiffMaker::Short(334, 4)}, 8};
        std::copy_n(ink.values.begin() + 8, 4, ink.values.begin() + 40);  // a colour that comes again
        WriteSamples(in_, ink);
        ASSERT_THAT(ConvertBy(ink_), Succeeds());
        ExpectJudged(ink, OpenProfile(ink_));
        EXPECT_EQ(Tag(out_, "InkSet") + Tag(out_, "NumberofInks"), "");
    }
    EXPECT_THAT(ConvertKind(),
                Refuses(4, "holds CMYK pixels without a profile for them; give a profile for CMYK with "));
}

TEST_F(DeviceColoursTest, LabPixelsAreThoseOfLittleCms) {
    const Profile lab(cmsCreateLab4Profile(nullptr));
    for (const unsigned photometric : {8U, 9U}) {
        for (const unsigned bits : {8U, 16U}) {
            SCOPED_TRACE(testing::Message() << photometric << ", " << bits);
            Samples pixels{photometric, 3, bits, Varied(3 * kPixels, bits)};
            if (photometric == 9 && bits == 16) {
                for (std::size_t i = 0; i < pixels.values.size(); i += 3) pixels.values[i] %= 0xff01;
            }
            WriteSamples(in_, pixels);
            ASSERT_THAT(ConvertByEmbedded(), Succeeds());
            ExpectJudged(pixels, lab);
        }
    }
}

using GreyTest = DeviceColoursTest;

TEST_F(GreyTest, SamplesAreThoseOfLittleCms) {
    unsigned compression = 1;
    for (const bool isRgb : {false, true}) {
        for (const unsigned bits : {8U, 16U}) {
            for (const unsigned photometric : {0U, 1U}) {
                const unsigned samples = 1 + (photometric + bits / 16) % 2;
                SCOPED_TRACE(testing::Message() << (isRgb ? "to RGB, " : "") << bits << " bits, photometric "
                                                << photometric << ", " << samples << " samples");
                Samples grey{photometric, samples, bits, Varied(samples * kPixels, bits), {}, compression};
                compression = 9 - compression;  // 8 is Deflate
                if (samples == 2) grey.more = {TiffMaker::Short(338, 2)};
                WriteSamples(in_, grey);
                ASSERT_THAT(ConvertBy(grey_, isRgb ? Words{"--grey-to-rgb"} : Words{}), Succeeds());
                ExpectJudged(grey, OpenProfile(grey_), (isRgb ? 3U : 1U) + samples - 1);
            }
        }
    }
}

TEST_F(GreyTest, AnAssociatedAlphaIsDividedOutAndMultipliedIn) {
    // 64 of an alpha of 128 is 128 by itself; sRGB of a light of (128/255)^2.2 is 129.0, times 128/255 is 64.8.
    Samples grey{1, 2, 8, {0, 0}, {TiffMaker::Short(338, 1)}};
    while (grey.values.size() < 2 * kPixels) grey.values.insert(grey.values.end(), {64, 128});
    WriteSamples(in_, grey);
    ASSERT_THAT(ConvertBy(grey_), Succeeds());
    Picture page = ReadPictures(out_)[0];
    page.values.resize(4);
    EXPECT_THAT(page.values, testing::ElementsAre(0, 0, 65, 128));
}

TEST_F(GreyTest, TheEmbeddedProfileHasTheToneOfTheOutputAndNothingChangesTheSecondTime) {
    WriteSamples(in_, {1, 1, 16, Varied(kPixels, 16)});
    // IEC 61966-2-1, and a gamma of 1.8.
    for (const auto& [space, light] : {std::pair{"srgb", std::pow((0.5 + 0.055) / 1.055, 2.4)},  //
                                       std::pair{"prophoto", std::pow(0.5, 1.8)}}) {
        ASSERT_THAT(ConvertBy(grey_, {"--to", space}), Succeeds());
        const Profile grey = ProfileOf(ReadPictures(out_)[0].icc);
        EXPECT_EQ(cmsGetColorSpace(grey.get()), cmsSigGrayData);
        const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(grey.get(), cmsSigGrayTRCTag));
        ASSERT_NE(curve, nullptr);
        EXPECT_NEAR(cmsEvalToneCurveFloat(curve, 0.5F), light, 1e-4);
    }
    ExpectDone("prophoto");
    ExpectDone("prophoto", {"--profile", grey_});
}

TEST_F(GreyTest, EachPageUsesTheProfileForItsColours) {
    WriteSamples(in_, {1, 1, 8, Varied(kPixels, 8)});
    Shell("cd " + Quoted(folder_.path()) + "; convert-im6 " + Quoted(Input("photo-8.tif")) + " -profile " +
          Quoted(Input("scanner.icc")) + " -compress none tiff:rgb; cp in.tif grey; tiffcp rgb grey in.tif");
    const std::string wanted = folder_ / "wanted.tif";
    ASSERT_THAT(Hueweave({"convert", folder_ / "rgb", "-o", wanted}), Succeeds());
    ASSERT_THAT(ConvertByEmbedded(), Says(0, "page 2 is grey and stays unchanged"));
    EXPECT_EQ(ReadPictures(out_)[1], ReadPictures(in_)[1]);
    ASSERT_THAT(ConvertBy(grey_), Succeeds());
    EXPECT_NE(ReadPictures(out_)[1], ReadPictures(in_)[1]);
    EXPECT_EQ(ReadPictures(out_)[0], ReadPictures(wanted)[0]);
}

TEST_F(GreyTest, RefusalsNameTheRemedy) {
    WriteSamples(in_, {1, 1, 8, Varied(kPixels, 8)});
    EXPECT_THAT(ConvertKind(),
                Refuses(4, "holds grey pixels without a profile for them; give a profile for grey with --profile"));
    EXPECT_THAT(ConvertKind({"--others", "copy"}), Says(0, "(copied, grey)"));
    EXPECT_THAT(ConvertBy(grey_, {"--precision", "library"}), Refuses(3, "describes GRAY colours, not RGB"));
    EXPECT_THAT(ConvertBy(grey_, {"--to", Input("scanner.icc")}),
                Refuses(3, "has no single tone curve, which grey images need; convert them to RGB with --grey-to-rgb"));
    EXPECT_THAT(ConvertBy(grey_, {"--to", Input("scanner.icc"), "--grey-to-rgb"}), Succeeds());
}

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

TEST_F(PaletteTest, TheLayoutIsNamedAndWhatCannotBeConvertedIsRefused) {
    Write({8, 8, 257});
    EXPECT_THAT(ConvertKind(), Says(0, "its palette pixels are written as RGB of 8 bits\n"));
    ExpectDone();
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

TEST_F(DepthTest, SamplesAreScaledTo16BitsAndInterleaved) {
    for (const Samples& packed :
         {Samples{2, 3, 10, Varied(3 * kPixels, 10), {}, 8},
          Samples{2, 4, 12, Varied(4 * kPixels, 12), {TiffMaker::Short(338, 2)}},
          Samples{2, 3, 14, Varied(3 * kPixels, 14)}, Samples{2, 3, 12, Varied(3 * kPixels, 12), {}, 1, 2},
          Samples{2, 3, 12, Varied(3 * kPixels, 12), {}, 8, 2}}) {
        SCOPED_TRACE(testing::Message() << packed.bits << " bits, planes " << packed.planar);
        ExpectLikeRgb(Write(packed));
        EXPECT_EQ(Tag(out_, "PlanarConfiguration"), "Chunky\n");
    }
    EXPECT_THAT(ConvertKind(), Says(0, "its samples of 12 bits are written with 16 bits\n"));
    EXPECT_THAT(ConvertKind({"--precision", "library"}),
                Refuses(4, "has 12 bits per sample; leave --precision library out"));
}

}  // namespace
}  // namespace hueweave::test
