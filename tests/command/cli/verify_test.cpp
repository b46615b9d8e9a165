// SPDX-License-Identifier: MIT
// The colour differences between a profile and the engine's conversion by it.
#include <algorithm>
#include <numeric>

#include "command/support/DeviceProfiles.h"
#include "command/support/ProfileTest.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

class VerifyTest : public ProfileTest {};

TEST_F(VerifyTest, PicturesOfEveryFormatGiveTheirColours) {
    for (const auto& [name, recipe] : {std::pair{"a.png", "-depth 8"},
                                       {"b.png", "-depth 16 -resize 300x200! -interlace PNG"},
                                       {"c.png", "-colors 30 -type Palette"},
                                       {"d.jpg", "-sampling-factor 2x2 -quality 80"},
                                       {"e.jpg", "-interlace JPEG"}}) {
        SCOPED_TRACE(name);
        const std::string image = folder_ / name, tiff = folder_ / "same.tif";
        Shell("convert-im6 " + Quoted(Input("photo-16.tif")) + " -strip " + recipe + " " + Quoted(image) +
              "; convert-im6 " + Quoted(image) + " -type TrueColor -compress none " + Quoted(tiff));
        const json told = Told({"verify", Input("scanner.icc"), "--image", image});
        EXPECT_GT(told["colours"], name[0] == 'c' ? 10 : 1000);
        EXPECT_EQ(told, Told({"verify", Input("scanner.icc"), "--image", tiff}));
    }
    const std::string grey = folder_ / "grey.png", profile = Input("scanner.icc");
    Shell("convert-im6 -size 4x4 gradient: -colorspace Gray " + Quoted(grey));
    EXPECT_THAT(Hueweave({"verify", profile, "--image", grey}), Refuses(4, "holds no RGB pixels of 8 or 16 bits"));
    EXPECT_THAT(Hueweave({"verify", profile, "--image", profile}), Refuses(4, "not a TIFF, PNG or JPEG file"));
}

TEST_F(VerifyTest, ReportsTheColourOfEachSampleAndTheDifference) {
    WriteDeviceProfile(profile_, Form::Matrix4);
    Bake(profile_);
    constexpr Matrix kSrgb{{{0.4361, 0.3851, 0.1431}, {0.2225, 0.7169, 0.0606}, {0.0139, 0.0971, 0.7141}}};
    // Five colours, because verify reports five.
    const std::vector<std::uint16_t> bytes{255, 255, 255, 0, 0, 0, 51, 102, 153, 204, 153, 20, 180, 240, 200};
    const std::string image = folder_ / "five.tif";
    OneStrip(std::string(bytes.begin(), bytes.end()), {.width = 5, .height = 1}).Save(image);
    for (const unsigned bits : {8U, 16U}) {
        Picture picture{5, 1, 3, bits, bytes, ""};
        const double top = bits == 8 ? 255.0 : 65535.0;
        for (auto& value : picture.values) value = static_cast<std::uint16_t>(value * (bits == 8 ? 1 : 257));
        const Picture converted = ToSrgb(picture, baked_);
        const json both = Told({"verify", "--bits", std::to_string(bits), "--image", image, profile_});
        const json& told = both["library"];
        ASSERT_EQ(told["worst"].size(), 5U);
        std::vector<double> differences;
        for (std::size_t p = 0; p < 5; ++p) {
            Vector device, output;
            for (std::size_t c = 0; c < 3; ++c) {
                device[c] = std::pow(bytes[3 * p + c] / 255.0, 1.8);
                output[c] = SrgbLight(converted.values[3 * p + c] / top);
            }
            const cmsCIELab wanted = LabOf(kSwappedSrgb, device), reached = LabOf(kSrgb, output);
            differences.push_back(cmsCIE2000DeltaE(&wanted, &reached, 1, 1, 1));
            const json colour{bytes[3 * p] * 257, bytes[3 * p + 1] * 257, bytes[3 * p + 2] * 257};
            const auto worst = std::find_if(told["worst"].begin(), told["worst"].end(),
                                            [&](const json& one) { return one["device"] == colour; });
            ASSERT_NE(worst, told["worst"].end());
            EXPECT_NEAR((*worst)["lab"][0], wanted.L, 0.01) << p << " of " << bits;
            EXPECT_NEAR((*worst)["lab"][1], wanted.a, 0.01) << p << " of " << bits;
            EXPECT_NEAR((*worst)["lab"][2], wanted.b, 0.01) << p << " of " << bits;
            EXPECT_NEAR((*worst)["difference"], differences.back(), 0.01) << p << " of " << bits;
        }
        std::sort(differences.begin(), differences.end());
        EXPECT_NEAR(told["mean"], std::accumulate(differences.begin(), differences.end(), 0.0) / 5, 0.01);
        EXPECT_NEAR(told["median"], differences[2], 0.01);
        for (const char* key : {"p95", "p99", "maximum"}) EXPECT_NEAR(told[key], differences[4], 0.01) << key;
        EXPECT_EQ(both["clipped"], 0);
    }
}

TEST_F(VerifyTest, ReportsBothPrecisionsAndSetsTheStatusByItsLimit) {
    const Words words{"verify", Input("scanner.icc")};
    for (const auto& [limit, exact, library] : {std::tuple{"0.01", 0, 1}, {"0.001", 1, 1}, {"2.0", 0, 0}}) {
        const Words limited = words + Words{"--limit", limit};
        EXPECT_THAT(Hueweave(limited), AllOf(Prints(exact, "mean", "median", "95 %", "99 %", "maximum", "\n  exact ",
                                                    "\n  library ", "The worst", "Outside the space"),
                                             Not(Prints(exact, "bake alone"))));
        EXPECT_EQ(Hueweave(limited + Words{"--precision", "library"}).status, library) << limit;
    }
    // Of the corners of AdobeRGB, only black and white are inside sRGB.
    EXPECT_THAT(Hueweave({"verify", Input("wide.icc"), "--points", "2"}),
                Prints(0, "Outside the space and clipped to it: 6 of 8 (75.0 %)"));
    const json both = Told(words + Words{"--points", "9"});
    EXPECT_EQ(both["colours"], 729);
    const json& told = both["library"];
    EXPECT_LE(told["median"], told["p95"]);
    EXPECT_LE(told["p95"], told["p99"]);
    EXPECT_LE(told["p99"], told["maximum"]);
    EXPECT_EQ(told["worst"][0]["difference"], told["maximum"]);
    const json wide = Told(words + Words{"--points", "9", "--to", "rec2020"});
    EXPECT_TRUE(wide["library"].is_null());
    for (const json& exact : {both["exact"], wide["exact"]}) {
        EXPECT_LE(exact["maximum"], 0.1);
        EXPECT_EQ(exact["way"], "direct");
    }
    EXPECT_GT(Told(words + Words{"--image", in_, "--bits", "8"})["colours"], 1000);
}

}  // namespace
}  // namespace hueweave::test
