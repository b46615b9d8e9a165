// SPDX-License-Identifier: MIT
// Pixels of other colours than RGB with a profile for them: CMYK and Lab become RGB; grey stays grey, with the tone
// curve of the output, or becomes RGB. The samples are those of Little CMS in floating point.
#include <cmath>

#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

class DeviceTest : public KindTest {
protected:
    void ExpectJudged(const Samples& samples, const Profile& source, unsigned perPixel = 3) const {
        const Picture page = ReadPictures(out_)[0];
        EXPECT_EQ(page.samples, perPixel);
        EXPECT_EQ(page.bits, samples.bits);
        EXPECT_EQ(page.values, Judged(samples, source, page.icc));
        EXPECT_EQ(Tag(out_, "PhotometricInterpretation") == "RGB\n", perPixel > 2);
    }
};

TEST_F(DeviceTest, CmykPixelsAreThoseOfLittleCms) {
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

TEST_F(DeviceTest, LabPixelsAreThoseOfLittleCms) {
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

class GreyTest : public DeviceTest {
protected:
    Outcome ConvertGrey(const Words& more = {}) const { return ConvertBy(grey_, more); }
};

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
                ASSERT_THAT(ConvertGrey(isRgb ? Words{"--grey-to-rgb"} : Words{}), Succeeds());
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
    ASSERT_THAT(ConvertGrey(), Succeeds());
    const Picture page = ReadPictures(out_)[0];
    EXPECT_EQ((std::vector<std::uint16_t>(page.values.begin(), page.values.begin() + 4)),
              (std::vector<std::uint16_t>{0, 0, 65, 128}));
}

TEST_F(GreyTest, TheEmbeddedProfileHasTheToneOfTheOutputAndNothingChangesTheSecondTime) {
    WriteSamples(in_, {1, 1, 16, Varied(kPixels, 16)});
    // IEC 61966-2-1, and a gamma of 1.8.
    for (const auto& [space, light] : {std::pair{"srgb", std::pow((0.5 + 0.055) / 1.055, 2.4)},  //
                                       std::pair{"prophoto", std::pow(0.5, 1.8)}}) {
        ASSERT_THAT(ConvertGrey({"--to", space}), Succeeds());
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
    ASSERT_THAT(ConvertGrey(), Succeeds());
    EXPECT_NE(ReadPictures(out_)[1], ReadPictures(in_)[1]);
    EXPECT_EQ(ReadPictures(out_)[0], ReadPictures(wanted)[0]);
}

TEST_F(GreyTest, RefusalsTellTheRemedy) {
    WriteSamples(in_, {1, 1, 8, Varied(kPixels, 8)});
    EXPECT_THAT(ConvertKind(),
                Refuses(4, "holds grey pixels without a profile for them; give a profile for grey with --profile"));
    EXPECT_THAT(ConvertKind({"--others", "copy"}), Says(0, "(copied, grey)"));
    EXPECT_THAT(ConvertGrey({"--precision", "library"}), Refuses(3, "describes GRAY colours, not RGB"));
    EXPECT_THAT(ConvertGrey({"--to", Input("scanner.icc")}),
                Refuses(3, "has no single tone curve, which grey images need; convert them to RGB with --grey-to-rgb"));
    EXPECT_THAT(ConvertGrey({"--to", Input("scanner.icc"), "--grey-to-rgb"}), Succeeds());
}

}  // namespace
}  // namespace hueweave::test
