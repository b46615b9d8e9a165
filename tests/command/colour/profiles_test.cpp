// SPDX-License-Identifier: MIT
// Which profiles are accepted, which of several converts a page, and what is passed to the engine with it.
#include "command/support/DeviceProfiles.h"
#include "command/support/ProfileTest.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

class ProfilesTest : public ProfileTest {};

TEST_F(ProfilesTest, ATableThatTheEngineTakesIsPassedOn) {
    EXPECT_THAT(ConvertScan({in_, "-o", out_, "--verbose"}).err, Not(HasSubstr("baked")));
    // "A2B0" alone does not serve other intents.
    const Words relative{"--intent", "relative", in_, "-o", out_, "--force"};
    EXPECT_THAT(ConvertScan(relative).err, Not(HasSubstr("baked")));
    EXPECT_THAT(ConvertScan(relative + Words{"--verbose"}),
                Says(0, "it has no table A2B1; the library uses a profile baked from it"));
    EXPECT_LT(MeanDifference(in_, Input("scanner.icc"), 1, out_), 0.6);
}

TEST_F(ProfilesTest, ProfilesByArgyll) {
    for (const char* name : {"scanner.icc", "xyz.icc", "matrix.icc", "wide.icc", "screen.icc"}) {
        for (const char* space : {"srgb", "adobe-rgb"}) {
            ASSERT_THAT(ConvertBy(Input(name), {"--to", space}), Succeeds());
            EXPECT_LT(MeanDifference(in_, Input(name), 0, out_), 0.6) << name << " " << space;
        }
        // The white point of a display is not reproduced as a colour; that of paper is.
        ASSERT_EQ(ConvertBy(Input(name), {"--intent", "absolute"}).status, 0);
        EXPECT_LT(MeanDifference(in_, Input(name), 3, out_), 0.6) << name;
    }
}

TEST_F(ProfilesTest, OtherClassesAndColoursAreRefused) {
    const std::pair<void (*)(const std::string&), const char*> rows[] = {
        {WriteGreyProfile, "describes GRAY colours, not RGB"},
        {WriteCmykProfile, "describes CMYK colours, not RGB"},
        {WriteLinkProfile, "is of class 'link', not of a device"},
        {[](const std::string& path) {
             WriteFile(path, Saved(BlankProfile(2.4, cmsSigRgbData, cmsSigLabData, cmsSigInputClass)));
         },
         "does not define the colours of its device"}};
    for (const auto& [write, reason] : rows) {
        write(profile_);
        for (const Words& words : {Words{"convert", "--profile", profile_, in_, "-o", out_},
                                   Words{"bake", profile_, "-o", out_}, Words{"verify", profile_}}) {
            EXPECT_THAT(Hueweave(words), Refuses(3, reason)) << words[0];
            EXPECT_FALSE(Exists(out_));
        }
    }
}

const Words kLibrary{"convert", "--precision", "library"};

TEST_F(ProfilesTest, TheEmbeddedProfileIsTheDefaultAndTheGivenOneWins) {
    const std::string tagged = folder_ / "tagged.tif", scanner = Input("scanner.icc");
    Embed(scanner, tagged);
    Bake(Input("matrix.icc"));
    ASSERT_EQ(Hueweave(kLibrary + Words{tagged, "-o", out_}).status, 0);
    ExpectSrgb(out_, tagged, scanner);
    const auto convert = [&](const char* rule, const std::string& source, const std::string& profile) {
        return Hueweave(kLibrary + Words{"--profile", profile, "--source", rule, source, "-o", out_, "--force"});
    };
    EXPECT_THAT(convert("given", tagged, baked_), Says(0, "embeds another profile (scanner); "));
    ExpectSrgb(out_, tagged, baked_);
    EXPECT_THAT(convert("embedded", tagged, baked_), Says(0, "its embedded profile (scanner) is used, not "));
    ExpectSrgb(out_, tagged, scanner);
    EXPECT_EQ(convert("require-match", tagged, scanner).status, 0);
    EXPECT_THAT(convert("require-match", tagged, baked_), Refuses(3, "embeds another profile (scanner) than"));
    EXPECT_EQ(convert("require-match", in_, baked_).status, 0);
}

TEST_F(ProfilesTest, EachPageIsConvertedByItsOwnProfile) {
    // The second page has another bit depth and a profile that must be baked.
    const std::string pages = folder_ / "pages.tif", scanner = Input("scanner.icc"), matrix = Input("matrix.icc");
    Bake(matrix);
    Embed(scanner, folder_ / "0.tif");
    Embed(matrix, folder_ / "1.tif", "photo-8.tif");
    Shell("cd " + Quoted(folder_.path()) + "; tiffcp 0.tif 1.tif 0.tif pages.tif");
    ASSERT_THAT(Hueweave(kLibrary + Words{pages, "-o", out_}), Succeeds());
    const std::vector<Picture> before = ReadPictures(pages), after = ReadPictures(out_);
    ASSERT_EQ(after.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_THAT(after[i].values, EqualTo(ToSrgb(before[i], i == 1 ? baked_ : scanner).values)) << i;
        EXPECT_NE(after[i].icc, before[i].icc);
    }
    Shell("cd " + Quoted(folder_.path()) + "; tiffcp 0.tif " + Quoted(Input("photo-8.tif")) + " pages.tif");
    EXPECT_THAT(Hueweave({"convert", pages, "-o", out_, "--force"}), Refuses(3, "pages.tif: embeds no profile"));
}

TEST_F(ProfilesTest, OwnCurvesGoToTheEngineAndIntoTheProfile) {
    const std::string curve = folder_ / "curve.csv";
    std::string gamma, falling;
    for (int i = 0; i < 256; ++i) {
        const auto value = std::to_string(std::lround(255 * std::pow(i / 255.0, 0.45)));
        gamma += value + "," + value + "; " + value + "\n";
        falling += std::to_string(i < 100 ? i : 200 - i / 2) + ",0,0\n";
    }
    WriteBytes(curve, gamma);
    ASSERT_THAT(ConvertBy(Input("scanner.icc"), {"--curve", curve}), Succeeds());
    EXPECT_LT(MeanDifference(in_, Input("scanner.icc"), 0, out_), 0.8);
    // A falling curve cannot be described by a profile.
    WriteBytes(curve, falling);
    EXPECT_THAT(ConvertBy(Input("scanner.icc"), {"--curve", curve}), Says(2, "leave the profile out with --no-tag"));
    EXPECT_EQ(ConvertBy(Input("scanner.icc"), {"--curve", curve, "--no-tag"}).status, 0);
}

TEST_F(ProfilesTest, ShiftsGoToTheEngineWithTheirFractions) {
    const auto mean = [&](const std::string& channel, const char* option, const char* shift) {
        EXPECT_EQ(ConvertBy(Input("scanner.icc"), {option, shift}).status, 0);
        return std::stod(
            Shell("convert-im6 " + Quoted(out_) + " -colorspace " + channel + " -format '%[fx:mean]' info:"));
    };
    const double plain = mean("Gray", "--lightness", "0");
    EXPECT_GT(mean("Gray", "--lightness", "5"), plain + 0.01);
    EXPECT_GT(mean("Gray", "--lightness", "0.9"), plain + 0.001);
    EXPECT_LT(mean("Gray", "--lightness", "-5"), plain - 0.01);
    const std::string saturation = "HSL -channel G -separate";
    EXPECT_LT(mean(saturation, "--chroma", "-20"), mean(saturation, "--chroma", "5") - 0.05);
}

}  // namespace
}  // namespace hueweave::test
