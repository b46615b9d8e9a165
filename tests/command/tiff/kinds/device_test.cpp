// SPDX-License-Identifier: MIT
// CMYK and Lab pixels become RGB: the samples are those of Little CMS in floating point.
#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

class DeviceTest : public KindTest {
protected:
    void ExpectPixels(const std::vector<std::uint16_t>& wanted, unsigned bits) const {
        const Picture page = ReadPictures(out_)[0];
        EXPECT_EQ(page.samples, 3U);
        EXPECT_EQ(page.bits, bits);
        EXPECT_EQ(page.values, wanted);
        EXPECT_EQ(Tag(out_, "PhotometricInterpretation"), "RGB\n");
    }
};

TEST_F(DeviceTest, CmykPixelsAreThoseOfLittleCms) {
    const std::string profile = folder_ / "ink.icc";
    WriteCmykProfile(profile);
    for (const unsigned bits : {8U, 16U}) {
        SCOPED_TRACE(bits);
        Samples ink{5, 4, bits, Varied(4 * kPixels, bits), {TiffMaker::Short(332, 1), TiffMaker::Short(334, 4)}, 8};
        std::copy_n(ink.values.begin() + 8, 4, ink.values.begin() + 40);  // a colour that comes again
        WriteSamples(in_, ink);
        ASSERT_THAT(Hueweave({"convert", "--force", "--profile", profile, in_, "-o", out_}), Succeeds());
        std::vector<float> percent;
        for (const std::uint64_t value : ink.values) {
            percent.push_back(static_cast<float>(value) / (bits == 8 ? 255.0F : 65535.0F) * 100.0F);
        }
        ExpectPixels(
            Judged(OpenProfile(profile), TYPE_CMYK_FLT, ReadPictures(out_)[0].icc, TYPE_RGB_FLT, percent, bits), bits);
        EXPECT_EQ(Tag(out_, "InkSet") + Tag(out_, "NumberofInks"), "");
    }
    EXPECT_THAT(ConvertKind(),
                Refuses(4, "holds CMYK pixels without a profile for them; give a profile for CMYK with "));
    EXPECT_THAT(Hueweave({"convert", "--profile", profile, Input("photo-8.tif"), "-o", out_, "--force"}),
                Refuses(3, "ink.icc: describes CMYK colours, not RGB"));
}

TEST_F(DeviceTest, LabPixelsAreThoseOfLittleCms) {
    for (const unsigned photometric : {8U, 9U}) {
        for (const unsigned bits : {8U, 16U}) {
            SCOPED_TRACE(testing::Message() << photometric << ", " << bits);
            Samples pixels{photometric, 3, bits, Varied(3 * kPixels, bits), {}, 1};
            if (photometric == 9 && bits == 16) {
                for (std::size_t i = 0; i < pixels.values.size(); i += 3) pixels.values[i] %= 0xff01;
            }
            WriteSamples(in_, pixels);
            ASSERT_THAT(Hueweave({"convert", "--force", in_, "-o", out_}), Succeeds());
            std::vector<float> lab;
            for (std::size_t i = 0; i < pixels.values.size(); ++i) {
                const auto value = static_cast<float>(pixels.values[i]);
                const float steps = bits == 8 ? 1 : 256, half = 128 * steps;
                const float white = photometric == 9 ? 255 * steps : 2 * half - 1;
                const float signedValue = photometric == 9 ? value - half : value < half ? value : value - 2 * half;
                lab.push_back(i % 3 == 0 ? value * 100 / white : signedValue / steps);
            }
            const Profile source(cmsCreateLab4Profile(nullptr));
            const auto wanted = Judged(source, TYPE_Lab_FLT, ReadPictures(out_)[0].icc, TYPE_RGB_FLT, lab, bits);
            ExpectPixels(wanted, bits);
        }
    }
}

}  // namespace
}  // namespace hueweave::test
