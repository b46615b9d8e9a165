// SPDX-License-Identifier: MIT
// The exact precision, compared with Little CMS in floating point.
#include "command/support/DeviceProfiles.h"
#include "command/support/ProfileTest.h"

namespace hueweave::test {
namespace {

class ExactTest : public ProfileTest {
protected:
    Outcome Convert(const Words& more) const {
        return Hueweave(Words{"convert", "--profile", source_, "-o", out_, "--force"} + more);
    }
    /// Expects a photograph to be converted to the embedded profile as by Little CMS and rounded. `most` is the largest
    /// difference of any sample; at least 99 % of 8-bit samples are equal.
    void ExpectTruth(const std::string& photo, const Words& more, int most, int intent, bool compensates = false) {
        ASSERT_THAT(Convert(more + Words{Input(photo)}), Succeeds());
        const Picture before = ReadPictures(Input(photo))[0], after = ReadPictures(out_)[0];
        ASSERT_EQ(after.values.size(), before.values.size());
        const Bytes target(after.icc.begin(), after.icc.end());
        const judge::Truth truth(ReadFile(source_), target, intent, compensates);
        const judge::Rounding rounding =
            truth.CompareRounded(PixelsOf(before), PixelsOf(after), before.bits == 8 ? 255 : 65535);
        EXPECT_LE(rounding.most, most);
        EXPECT_TRUE(before.bits == 16 || rounding.equal >= 0.99) << rounding.equal;
    }
    std::string source_ = Input("scanner.icc");
};

TEST_F(ExactTest, IsTheDefaultAndGivesWhatTheProfilesDescribe) {
    const Words relative{"--intent", "relative"};
    ExpectTruth("photo-8.tif", {}, 1, 0);
    ExpectTruth("photo-16.tif", {}, 48, 0);
    ExpectTruth("photo-16.tif", relative + Words{"--bpc"}, 24, 1, true);
    ExpectTruth("photo-16.tif", relative + Words{"--to", Input("wide.icc")}, 100, 1);
    EXPECT_EQ(ReadPictures(out_)[0].icc, FileBytes(Input("wide.icc")));
    // The black of this device is 1 % of its white.
    source_ = folder_ / "grey-black.icc";
    WriteFile(source_, TableProfile({}));
    ExpectTruth("photo-16.tif", relative, 100, 1);
    ExpectTruth("photo-16.tif", relative + Words{"--bpc"}, 100, 1, true);
    WriteDeviceProfile(profile_, Form::Mft1);  // has no table from PCS to device
    EXPECT_THAT(Convert({"--to", profile_, in_}), Refuses(3, "has no table from colours to its device"));
    EXPECT_THAT(Convert({"--to", "./missing.icc", in_}), Refuses(3, "cannot be read"));
}

TEST_F(ExactTest, ReportsItsMethodAndItsError) {
    const json told = json::parse(Convert({"--json", in_}).out), error = told["delta_e"];
    EXPECT_THAT(told, Has({{"precision", "exact"}, {"way", "direct"}}));
    EXPECT_LE(error["mean"], 0.005);
    EXPECT_LE(error["p999"], error["largest"]);
    EXPECT_LE(error["largest"], 0.1);
    EXPECT_THAT(Convert({"--verbose", in_}).err, HasSubstr("(direct, CIEDE2000 mean 0.00"));
    EXPECT_THAT(Convert({in_}).err, Not(HasSubstr("CIEDE2000")));
    const json library = json::parse(Convert({"--json", "--precision", "library", "--to", "AdobeRGB1998", in_}).out);
    EXPECT_THAT(library, Has({{"precision", "library"}, {"way", "library"}, {"space", "adobe-rgb"}}));
    EXPECT_GT(library["delta_e"]["mean"], 0.1);
}

TEST_F(ExactTest, LeavesColoursThatAreInTheSpaceAlready) {
    const std::string again = folder_ / "again.tif";
    ASSERT_EQ(Convert({in_}).status, 0);
    const std::string before = FileBytes(out_);
    EXPECT_THAT(Hueweave({"convert", out_, "-o", again}), Says(0, "again.tif (is in srgb already)\n"));
    EXPECT_EQ(FileBytes(again), before);
    EXPECT_EQ(Told({"convert", out_, "-o", folder_ / "other.tif"})["status"], "copied");
    EXPECT_THAT(Hueweave({"convert", out_, "--in-place", "--force"}).err, HasSubstr("is in srgb already\n"));
    EXPECT_EQ(FileBytes(out_), before);
    // The library's output is in sRGB as well.
    ASSERT_EQ(Convert({"--precision", "library", in_}).status, 0);
    EXPECT_THAT(Hueweave({"convert", out_, "-o", again, "--force"}).err, HasSubstr("is in srgb already"));
}

TEST_F(ExactTest, TagsACopyThatHadNoProfile) {
    ASSERT_EQ(Convert({in_}).status, 0);
    const std::string srgb = folder_ / "srgb.icc";
    const Picture converted = ReadPictures(out_)[0];
    WriteBytes(srgb, converted.icc);
    const std::string copy = folder_ / "copy.tif", bare = folder_ / "bare.tif";
    ASSERT_THAT(Hueweave({"convert", out_, "-o", bare, "--no-tag"}), Succeeds());
    EXPECT_EQ(ReadPictures(bare)[0].icc, "");
    EXPECT_EQ(ReadPictures(bare)[0].values, converted.values);
    ASSERT_THAT(Hueweave({"convert", "--profile", srgb, bare, "-o", copy}), Succeeds());
    EXPECT_EQ(ReadPictures(copy)[0], converted);
}

TEST_F(ExactTest, ShiftsColours) {
    const json told = json::parse(
        Convert({"--json", "--lightness", "100", "--chroma", "-4", "--hue", "20", "--to", "rec2020", in_}).out);
    EXPECT_EQ(told["way"], "direct");
    EXPECT_LE(told["delta_e"]["largest"], 1.0);
    EXPECT_THAT(ReadPictures(out_)[0].values, testing::Contains(65535));
}

TEST_F(ExactTest, EmbedsAProfileOfTheVersionAskedFor) {
    for (const auto& [version, text] : {std::pair{"2", "\2\x40"}, {"4", "\4\x30"}}) {
        ASSERT_THAT(Convert({"--icc-version", version, in_}), Succeeds());
        EXPECT_EQ(ReadPictures(out_)[0].icc.substr(8, 2), text);
        const Words again{"convert", "--icc-version", version, out_, "-o", folder_ / "again.tif", "--force"};
        EXPECT_THAT(Hueweave(again), Says(0, "is in srgb already"));
    }
}

TEST_F(ExactTest, LibraryRefusesProfilesThatItConvertsWrongly) {
    // Colours far outside the range of the Lab encoding.
    const Gamut wide{kDaylight50, {0.98, 0.01}, {0.01, 0.98}, {0.01, 0.01}};
    WriteFile(profile_, MatrixProfile(wide, GammaBlock(1), 4, cmsSigDisplayClass));
    const Words words{"convert", "--profile", profile_, "--precision", "library", in_, "-o", out_, "--force"};
    EXPECT_THAT(Hueweave(words), Refuses(3, "is converted wrongly by the library: CIEDE2000 is above"));
    EXPECT_THAT(Hueweave(words + Words{"--accept-error", "100"}), Succeeds());
    EXPECT_THAT(Hueweave({"convert", "--profile", profile_, in_, "-o", out_, "--force"}), Succeeds());
    // Gamuts between that of sRGB and this one: 95 % of the colours are just within the limit of 2, or just beyond it.
    for (const auto& [part, p95, status] : {std::tuple{0.545, 1.95, 0}, {0.55, 2.05, 3}}) {
        const auto between = [&, part = part](const Vector& from, const Vector& to) {
            return Vector{from[0] + part * (to[0] - from[0]), from[1] + part * (to[1] - from[1])};
        };
        const Gamut gamut{kDaylight50, between(kGamutSrgb.red, wide.red), between(kGamutSrgb.green, wide.green),
                          between(kGamutSrgb.blue, wide.blue)};
        WriteFile(profile_, MatrixProfile(gamut, GammaBlock(1), 4, cmsSigDisplayClass));
        const auto told = Told({"verify", "--bits", "16", "--points", "10", profile_});
        EXPECT_NEAR(told["library"]["p95"], p95, 0.05);
        EXPECT_EQ(Hueweave(words).status, status);
    }
}

}  // namespace
}  // namespace hueweave::test
