// SPDX-License-Identifier: MIT
// The profile that replaces one that the engine does not accept.
#include <fmt/format.h>

#include <algorithm>

#include "command/support/DeviceProfiles.h"
#include "command/support/ExifTool.h"
#include "command/support/ProfileTest.h"

namespace hueweave::test {
namespace {

struct FormRow {
    Form form;
    const char* name;
    const char* reason;
};
void PrintTo(const FormRow& row, std::ostream* out) { *out << row.name; }
class BakedProfileTest : public ProfileTest, public testing::WithParamInterface<FormRow> {};

TEST_P(BakedProfileTest, IsConvertedByABakedProfileThatHasEveryTable) {
    WriteDeviceProfile(profile_, GetParam().form);
    int number = 0;
    for (const char* intent : {"perceptual", "relative", "saturation", "absolute"}) {
        const Outcome run = ConvertBy(profile_, {"--intent", intent, "--verbose"});
        ASSERT_THAT(run, Says(0, "the library uses a profile baked from it", number == 0 ? GetParam().reason : ""));
        EXPECT_LT(MeanDifference(in_, profile_, number++, out_), 0.6) << intent;
    }
    // The subcommand makes the same one.
    Bake(profile_);
    ASSERT_EQ(ConvertBy(profile_).status, 0);
    ExpectSrgb(out_, in_, baked_);
    const json told = Told({"inspect", baked_});
    EXPECT_EQ(told["connection"], "Lab");
    Words tables;
    for (const auto& tag : told["tags"]) {
        if (!tag.contains("table")) continue;
        tables.push_back(tag["name"]);
        EXPECT_THAT(tag, Has({{"type", "mft2"}, {"table", {{"grid", 33}}}}));
    }
    EXPECT_EQ(tables, (Words{"A2B0", "A2B1", "A2B2"}));
    for (const auto& intent : told["intents"]) EXPECT_EQ(intent["served"], "yes");
    // In Little CMS it gives the same colours as the original.
    EXPECT_THAT(ExifTool({"-s3", "-ICC_Profile:MediaWhitePoint", baked_}), testing::Not(""));
    const json compared = Told({"verify", baked_});
    EXPECT_LT(compared["library"]["mean"], 0.6);
    EXPECT_TRUE(compared["is_bake"]);
    EXPECT_THAT(Hueweave({"verify", baked_}).out, testing::HasSubstr("the figures are those of the bake alone"));
}

INSTANTIATE_TEST_SUITE_P(Every, BakedProfileTest,
                         testing::Values(FormRow{Form::Mft1, "TableOfBytes", "its table is of type mft1"},
                                         FormRow{Form::Mft2OddGrid, "OddGrid", "its grid has 21 points"},
                                         FormRow{Form::Mft2Xyz, "XyzTable", "its connection space is XYZ"},
                                         FormRow{Form::MabCurves, "MabCurves", "its table is of type mAB"},
                                         FormRow{Form::MabMatrix, "MabMatrix", "its connection space is XYZ"},
                                         FormRow{Form::Mab8Bit, "MabOfBytes", "its table is of type mAB"},
                                         FormRow{Form::Matrix4, "Matrix", "its connection space is XYZ"}),
                         NameOfRow);

class BakeTest : public ProfileTest {};

TEST_F(BakeTest, TableNodesAreInStepsOfLightToAPower) {
    // A profile with AdobeRGB's primaries and a different gamma for each channel; and steps of light to the power 2/3.
    constexpr Vector kGamma{2.203125, 2.1875, 2.25};
    Matrix toXyz = ToXyz(kGamutAdobe);
    for (std::size_t i = 0; i < 9; ++i) toXyz[i / 3][i % 3] = std::round(toXyz[i / 3][i % 3] * 65536) / 65536;
    WriteFile(profile_, MatrixProfile(toXyz, {GammaBlock(kGamma[0]), GammaBlock(kGamma[1]), GammaBlock(kGamma[2])}));
    const std::string spacing = "light to the power 2/3";
    const Outcome run = Hueweave({"bake", profile_, "-o", baked_, "--json"});
    const json told = json::parse(run.out);
    EXPECT_THAT(told, Has({{"profile", profile_}, {"output", baked_}, {"points", 33}, {"spacing", spacing}}));
    ASSERT_THAT(run, Says(0, "in steps of " + spacing + ";",
                          fmt::format("CIEDE2000 {:.2f} on average, 95 % within {:.2f})", told["mean"].get<double>(),
                                      told["p95"].get<double>())));
    const Profile baked = OpenProfile(baked_);
    std::vector<unsigned char> table(cmsReadRawTag(baked.get(), cmsSigAToB0Tag, nullptr, 0));
    cmsReadRawTag(baked.get(), cmsSigAToB0Tag, table.data(), static_cast<cmsUInt32Number>(table.size()));
    // Three curves of 4096 entries, the grid, and three curves of two entries.
    std::vector<double> wanted;
    for (std::size_t i = 0; i < std::size_t{3} * 4096; ++i) {
        wanted.push_back(65535.0 * std::pow(static_cast<double>(i % 4096) / 4095.0, kGamma[i / 4096] * 2.0 / 3.0));
    }
    const auto light = [](int n) { return std::pow(n / 32.0, 1.5); };
    for (int i = 0; i < 33 * 33 * 33; ++i) {
        const cmsCIELab lab = LabOf(toXyz, {light(i / 1089), light(i / 33 % 33), light(i % 33)});
        wanted.insert(wanted.end(), {lab.L * 652.8, lab.a * 256.0 + 32768.0, lab.b * 256.0 + 32768.0});
    }
    for (int c = 0; c < 3; ++c) wanted.insert(wanted.end(), {0.0, 65535.0});
    constexpr std::size_t kHeader = 52;  // with the numbers of entries
    ASSERT_EQ(table.size(), kHeader + 2 * wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const double value = table[kHeader + 2 * i] * 256 + table[kHeader + 2 * i + 1];
        ASSERT_NEAR(value, std::clamp(wanted[i], 0.0, 65535.0), 0.51) << "entry " << i;  // rounded
    }
    // Any matrix profile gets such steps: its device is additive, so interpolation between them is exact.
    EXPECT_THAT(Hueweave({"bake", Input("matrix.icc"), "-o", out_}).err,
                testing::ContainsRegex("in steps of (linear light;|light to the)"));
}

TEST_F(BakeTest, NeverWritesOverAFile) {
    EXPECT_EQ(Hueweave({"bake", Input("matrix.icc"), "-o", profile_}).status, 0);
    const std::string before = FileBytes(profile_);
    EXPECT_EQ(Hueweave({"bake", Input("wide.icc"), "-o", profile_}).status, 5);
    EXPECT_EQ(FileBytes(profile_), before);
    EXPECT_EQ(Hueweave({"bake", profile_, "-o", profile_, "--force"}).status, 5);
    EXPECT_EQ(Hueweave({"bake", Input("wide.icc"), "-o", profile_, "--force"}).status, 0);
    EXPECT_NE(FileBytes(profile_), before);
    // The same profile always gives the same bytes.
    EXPECT_EQ(Hueweave({"bake", Input("matrix.icc"), "-o", profile_, "--force"}).status, 0);
    EXPECT_EQ(FileBytes(profile_), before);
}

}  // namespace
}  // namespace hueweave::test
