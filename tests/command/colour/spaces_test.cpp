// SPDX-License-Identifier: MIT
// Output encodings: their pixels, the profiles that describe them, and the memory for building these.
#include <malloc.h>

#include <cmath>

#include "colour/profile/Lcms.h"
#include "colour/profile/OutputProfile.h"
#include "colour/profile/Spaces.h"
#include "command/support/DeviceProfiles.h"
#include "command/support/ExifTool.h"
#include "command/support/ProfileTest.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

using colour::Bytes;
using colour::FindSpace;
using colour::LcmsWork;
using colour::MakeOutputProfile;

class SpacesTest : public ProfileTest {};

TEST_F(SpacesTest, PixelsMatchTheEngineAndTheEmbeddedProfileDescribesThem) {
    // The codes are from the public header; the 16-bit code is one higher; 0 for an encoding made by a table.
    using Row = std::pair<std::string, int>;
    for (const auto& [name, code8] :
         {Row{"srgb", 8}, Row{"srgb-linear", 10}, Row{"adobe-rgb", 0}, Row{"adobe-rgb-g18", 22},
          Row{"adobe-rgb-linear", 20}, Row{"apple-rgb-g18", 26}, Row{"apple-rgb-linear", 24}, Row{"colormatch-g18", 30},
          Row{"colormatch-linear", 28}, Row{"kodak-photo", 34}, Row{"kodak-mix", 36}, Row{"kodak-text", 38}}) {
        SCOPED_TRACE(name);
        for (const unsigned bits : {8U, 16U}) {
            const std::string in = Input("photo-" + std::to_string(bits) + ".tif");
            ASSERT_EQ(ConvertScan({"--to", name, in, "-o", out_, "--force"}).status, 0);
            Picture wanted = ReadPictures(in)[0];
            const auto widen = [&] {
                for (auto& value : wanted.values) value = static_cast<std::uint16_t>(value * 257);
            };
            if (code8 != 0) {
                wanted = ByEngine(wanted, Input("scanner.icc"), 0, code8 + (bits == 16));
                if (bits == 16 && code8 == 36) widen();  // this curve has 256 steps at either depth
            } else {
                // Gamma 1.8 at 16 bits, decoded to light and encoded with a gamma of 563/256.
                if (bits == 8) widen();
                wanted.bits = 16;
                wanted = ByEngine(wanted, Input("scanner.icc"), 0, 23);
                for (auto& value : wanted.values) {
                    const double sample = std::pow(std::pow(value / 65535.0, 1 / 0.5556), 256.0 / 563.0);
                    const long full = std::lround(65535.0 * sample);
                    value = static_cast<std::uint16_t>(bits == 16 ? full : (full * 255 + 32767) / 65535);
                }
            }
            EXPECT_THAT(ReadPictures(out_)[0].values, EqualTo(wanted.values)) << bits;
        }
        const bool look = name.starts_with("kodak");
        // The looks clip their darkest tones to black, and one of them clips paper to white.
        EXPECT_LT(MeanDifference(in_, Input("scanner.icc"), 0, out_), look ? 4.5 : 0.6);
        EXPECT_THAT(Lines(ExifTool({"-s3", "-ICC_Profile:ProfileDescription", "-ICC_Profile:ProfileClass", out_})),
                    testing::ElementsAre(Not(""), "Display Device Profile"));
        EXPECT_THAT(Hueweave({"spaces"}).out, HasSubstr(name + " "));
    }
}

TEST_F(SpacesTest, TheProfilesOfKnownSpacesAgreeWithThoseOfOthers) {
    // The same colours in sRGB and AdobeRGB by Little CMS, compared with ArgyllCMS's profiles.
    std::vector<judge::Rgb> colours;
    for (int i = 0; i < 27; ++i) colours.push_back({i / 9 / 2.0, i / 3 % 3 / 2.0, i % 3 / 2.0});
    for (const auto& [space, file] : {std::pair{"srgb", "screen.icc"}, std::pair{"adobe-rgb", "wide.icc"}}) {
        ASSERT_EQ(ConvertScan({"--to", space, in_, "-o", out_, "--force"}).status, 0);
        const std::string icc = ReadPictures(out_)[0].icc;
        const judge::Truth truth({icc.begin(), icc.end()}, ReadFile(Input(file)), 1, false);
        EXPECT_LT(truth.Compare(colours, colours).largest, 0.1) << space;
    }
}

TEST_F(SpacesTest, TheCurvesOfALookHaveAnEntryASampleOrEnough) {
    // One entry per sample value of the encoding, 8 or 16 bits; the mix has 256 steps at either depth.
    for (const auto& [space, in, entries] : {std::tuple{"kodak-photo", "photo-8.tif", 256U},
                                             {"kodak-photo", "photo-16.tif", 4096U},
                                             {"kodak-mix", "photo-8.tif", 256U},
                                             {"kodak-mix", "photo-16.tif", 256U}}) {
        ASSERT_EQ(ConvertScan({"--to", space, Input(in), "-o", out_, "--force"}).status, 0);
        const Profile profile = ProfileOf(ReadPictures(out_)[0].icc);
        const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(profile.get(), cmsSigGreenTRCTag));
        EXPECT_EQ(cmsGetToneCurveEstimatedTableEntries(curve), entries) << space << " " << in;
    }
}

TEST(OutputProfileTest, StoresTheBradfordAdaptationFromTheWhiteOfItsSpace) {
    // From the white point xy 0.3127, 0.3290 to XYZ 0.9642, 1, 0.8249, computed in fractions and then rounded to
    // multiples of 1/65536; and the identity.
    constexpr int kFromD65[] = {68674, 1502, -3291, 1939, 64912, -1119, -606, 988, 49262};
    constexpr int kFromD50[] = {65536, 0, 0, 0, 65536, 0, 0, 0, 65536};
    for (const auto& [name, wanted] : {std::pair{"srgb", kFromD65}, std::pair{"colormatch-g18", kFromD50}}) {
        const Bytes data = MakeOutputProfile(*FindSpace(name), colour::Colorants::Engine, {}, "title");
        const Profile profile = ProfileOf({data.begin(), data.end()});
        const auto* told = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile.get(), cmsSigChromaticAdaptationTag));
        ASSERT_NE(told, nullptr);
        for (int i = 0; i < 9; ++i) {
            const cmsCIEXYZ& row = told[i / 3];
            const double value = i % 3 == 0 ? row.X : i % 3 == 1 ? row.Y : row.Z;
            EXPECT_EQ(std::lround(65536.0 * value), wanted[i]) << name << i;
        }
    }
}

TEST(LcmsWorkTest, AllItsMemoryIsFreedWithIt) {
    const auto work = [] {
        LcmsWork lcms;
        lcms.Write(lcms.NewProfile(4.3, cmsSigDisplayClass, cmsSigXYZData), cmsSigRedTRCTag, lcms.Gamma(2.2));
    };
    for (int i = 0; i < 10; ++i) work();  // fills the caches
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < 100; ++i) work();
    EXPECT_EQ(mallinfo2().uordblks, before);
}

}  // namespace
}  // namespace hueweave::test
