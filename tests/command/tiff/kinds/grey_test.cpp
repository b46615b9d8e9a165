// SPDX-License-Identifier: MIT
// Grey pixels with a grey profile stay grey, with the tone curve of the output, or become RGB: the samples are those of
// Little CMS in floating point.
#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;

class GreyTest : public KindTest {
protected:
    GreyTest() { WriteGreyProfile(profile_); }

    Outcome ConvertGrey(const Words& more = {}) const {
        return Hueweave(Words{"convert", "--force", "--profile", profile_, in_, "-o", out_} + more);
    }
    /// The colours of the output at the place of each pixel, by Little CMS.
    std::vector<std::uint16_t> Wanted(const Samples& grey, cmsUInt32Number format) const {
        const float top = grey.bits == 8 ? 255.0F : 65535.0F;
        std::vector<float> colours;
        for (std::size_t i = 0; i < grey.values.size(); i += grey.perPixel) {
            const auto value = static_cast<float>(grey.values[i]);
            colours.push_back((grey.photometric == 0 ? top - value : value) / top);
        }
        return Judged(OpenProfile(profile_), TYPE_GRAY_FLT, ReadPictures(out_)[0].icc, format, colours, grey.bits);
    }
    const std::string profile_ = folder_ / "grey.icc";
};

TEST_F(GreyTest, SamplesAreThoseOfLittleCms) {
    unsigned compression = 1;
    for (const bool isRgb : {false, true}) {
        for (const unsigned bits : {8U, 16U}) {
            for (const unsigned photometric : {0U, 1U}) {
                for (const unsigned samples : {1 + (photometric + bits / 16) % 2}) {
                    SCOPED_TRACE(testing::Message() << (isRgb ? "to RGB, " : "") << bits << " bits, photometric "
                                                    << photometric << ", " << samples << " samples");
                    Samples grey{photometric, samples, bits, Varied(samples * kPixels, bits), {}, compression};
                    compression = 9 - compression;  // 8 is Deflate
                    if (samples == 2) grey.more = {TiffMaker::Short(338, 2)};
                    WriteSamples(in_, grey);
                    ASSERT_THAT(ConvertGrey(isRgb ? Words{"--grey-to-rgb"} : Words{}), Succeeds());
                    const Picture page = ReadPictures(out_)[0];
                    const unsigned channels = isRgb ? 3 : 1;
                    const auto wanted = Wanted(grey, isRgb ? TYPE_RGB_FLT : TYPE_GRAY_FLT);
                    ASSERT_EQ(page.samples, channels + samples - 1);
                    ASSERT_EQ(page.bits, bits);
                    for (std::size_t p = 0; p < kPixels; ++p) {
                        for (std::size_t c = 0; c < channels; ++c) {
                            ASSERT_EQ(page.values[p * page.samples + c], wanted[p * channels + c]) << p;
                        }
                        if (samples == 2) {
                            ASSERT_EQ(page.values[p * page.samples + channels], grey.values[2 * p + 1]);
                        }
                    }
                }
            }
        }
    }
}

TEST_F(GreyTest, AnAssociatedAlphaIsDividedOutAndMultipliedIn) {
    // 64 of an alpha of 128 is 128 by itself; sRGB of a light of (128/255)^2.2 is 129.0, times 128/255 is 64.8.
    Samples grey{1, 2, 8, {}, {TiffMaker::Short(338, 1)}, 1};
    for (std::size_t p = 0; p < kPixels; ++p)
        grey.values.insert(grey.values.end(), {p == 0 ? 0U : 64U, p == 0 ? 0U : 128U});
    WriteSamples(in_, grey);
    ASSERT_THAT(ConvertGrey(), Succeeds());
    const Picture page = ReadPictures(out_)[0];
    EXPECT_EQ((std::vector<std::uint16_t>(page.values.begin(), page.values.begin() + 4)),
              (std::vector<std::uint16_t>{0, 0, 65, 128}));
}

TEST_F(GreyTest, TheEmbeddedProfileHasTheToneOfTheOutputAndNothingChangesTheSecondTime) {
    WriteSamples(in_, {1, 1, 16, Varied(kPixels, 16), {}, 1});
    for (const std::string space : {"srgb", "prophoto"}) {
        ASSERT_THAT(ConvertGrey({"--to", space}), Succeeds());
        const Profile grey = ProfileOf(ReadPictures(out_)[0].icc);
        EXPECT_EQ(cmsGetColorSpace(grey.get()), cmsSigGrayData);
        const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(grey.get(), cmsSigGrayTRCTag));
        ASSERT_NE(curve, nullptr);
        // IEC 61966-2-1, and a gamma of 1.8.
        const double wanted = space == "srgb" ? std::pow((0.5 + 0.055) / 1.055, 2.4) : std::pow(0.5, 1.8);
        EXPECT_NEAR(cmsEvalToneCurveFloat(curve, 0.5F), wanted, 1e-4);
    }
    const std::string before = FileBytes(out_);
    EXPECT_THAT(Hueweave({"convert", "--to", "prophoto", "--in-place", out_}), Says(0, "is in prophoto already"));
    EXPECT_THAT(Hueweave({"convert", "--to", "prophoto", "--in-place", "--profile", profile_, out_}),
                Says(0, "is in prophoto already"));
    EXPECT_EQ(FileBytes(out_), before);
}

TEST_F(GreyTest, EachPageUsesTheProfileForItsColours) {
    WriteSamples(in_, {1, 1, 8, Varied(kPixels, 8), {}, 1});
    Shell("cd " + Quoted(folder_.path()) + "; convert-im6 " + Quoted(Input("photo-8.tif")) + " -profile " +
          Quoted(Input("scanner.icc")) + " -compress none tiff:rgb; cp in.tif grey; tiffcp rgb grey in.tif");
    ASSERT_THAT(Hueweave({"convert", in_, "-o", out_}), Says(0, "page 2 is grey and stays unchanged"));
    EXPECT_EQ(ReadPictures(out_)[1], ReadPictures(in_)[1]);
    ASSERT_THAT(ConvertGrey(), Succeeds());
    EXPECT_NE(ReadPictures(out_)[1], ReadPictures(in_)[1]);
    ASSERT_THAT(ConvertFileOf(folder_ / "rgb", folder_ / "wanted.tif"), Succeeds());
    EXPECT_EQ(ReadPictures(out_)[0], ReadPictures(folder_ / "wanted.tif")[0]);
}

TEST_F(GreyTest, RefusalsTellTheRemedy) {
    WriteSamples(in_, {1, 1, 8, Varied(kPixels, 8), {}, 1});
    EXPECT_THAT(ConvertKind(), Refuses(4,
                                       "holds grey pixels without a profile for them; give a profile for grey with "
                                       "--profile"));
    EXPECT_THAT(ConvertKind({"--others", "copy"}), Says(0, "(copied, grey)"));
    EXPECT_THAT(ConvertGrey({"--precision", "library"}), Refuses(3, "describes GRAY colours, not RGB"));
    EXPECT_THAT(ConvertGrey({"--to", Input("scanner.icc")}),
                Refuses(3, "has no single tone curve, which grey images need; convert them to RGB with --grey-to-rgb"));
    EXPECT_THAT(ConvertGrey({"--to", Input("scanner.icc"), "--grey-to-rgb"}), Succeeds());
}

}  // namespace
}  // namespace hueweave::test
