// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The exact precision, compared with Little CMS in floating point.
#include <algorithm>
#include <cmath>

#include "command/support/DeviceProfiles.h"
#include "command/support/ExifTool.h"
#include "command/support/FileTest.h"
#include "command/support/Picture.h"
#include "command/support/ProfileTest.h"

namespace hueweave::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

class ExactTest : public ProfileTest {
protected:
    Outcome Convert(const Words& more) const {
        return Hueweave(Words{"convert", "--profile", Input("scanner.icc"), "-o", out_, "--force"} + more);
    }
    /// The samples of an image converted by Little CMS in floating point and rounded.
    static Picture Truth(Picture picture, const std::string& from, const std::string& to, int intent = 0,
                         unsigned flags = 0) {
        const Profile source = OpenProfile(from), target = ProfileOf(to);
        const Transform transform(cmsCreateTransform(source.get(), TYPE_RGB_DBL, target.get(), TYPE_RGB_DBL,
                                                     static_cast<unsigned>(intent),
                                                     cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE | flags));
        const double top = picture.bits == 8 ? 255.0 : 65535.0;
        for (std::size_t p = 0; p + 2 < picture.values.size(); p += 3) {
            double rgb[3];
            for (std::size_t c = 0; c < 3; ++c) rgb[c] = picture.values[p + c] / top;
            cmsDoTransform(transform.get(), rgb, rgb, 1);
            for (std::size_t c = 0; c < 3; ++c) {
                picture.values[p + c] = static_cast<std::uint16_t>(std::lround(std::clamp(rgb[c], 0.0, 1.0) * top));
            }
        }
        return picture;
    }
    /// `most` is the largest difference of any sample; at least 99 % of 8-bit samples are equal.
    static void ExpectNear(const Picture& got, const Picture& wanted, int most) {
        ASSERT_EQ(got.values.size(), wanted.values.size());
        std::size_t other = 0;
        int largest = 0;
        for (std::size_t i = 0; i < got.values.size(); ++i) {
            const int difference = std::abs(got.values[i] - wanted.values[i]);
            other += difference != 0;
            largest = std::max(largest, difference);
        }
        EXPECT_LE(largest, most);
        if (got.bits == 8) {
            EXPECT_LE(other * 100, got.values.size());
        }
    }
};

TEST_F(ExactTest, IsTheDefaultAndGivesWhatTheProfilesDescribe) {
    for (const char* photo : {"photo-8.tif", "photo-16.tif"}) {
        for (const char* profile : {"scanner.icc", "matrix.icc", "xyz.icc", "screen.icc", "wide.icc"}) {
            for (const auto& [name, intent] : {std::pair{"perceptual", 0}, std::pair{"relative", 1}}) {
                SCOPED_TRACE(std::string(photo) + " " + profile + " " + name);
                ASSERT_THAT(Hueweave({"convert", "--profile", Input(profile), "--intent", name, Input(photo), "-o",
                                      out_, "--force"}),
                            Succeeds());
                const Picture got = ReadPictures(out_)[0];
                ExpectNear(got, Truth(ReadPictures(Input(photo))[0], Input(profile), got.icc, intent),
                           got.bits == 8 ? 1 : 48);
            }
        }
    }
}

TEST_F(ExactTest, ConvertsToAnyRgbProfile) {
    for (const char* target : {"wide.icc", "matrix.icc", "screen.icc"}) {
        SCOPED_TRACE(target);
        ASSERT_THAT(Convert({"--to", Input(target), "--intent", "relative", in_}), Succeeds());
        const Picture got = ReadPictures(out_)[0];
        EXPECT_EQ(got.icc, FileBytes(Input(target)));
        ExpectNear(got, Truth(ReadPictures(in_)[0], Input("scanner.icc"), got.icc, 1), 100);
    }
    WriteDeviceProfile(profile_, Form::Mft1);  // has no table from PCS to device
    EXPECT_THAT(Convert({"--to", profile_, in_}), Refuses(3, "has no table from colours to its device"));
    EXPECT_THAT(Convert({"--to", "./missing.icc", in_}), Refuses(3, "cannot be read"));
}

TEST_F(ExactTest, CompensatesTheBlackPointWhereAsked) {
    ASSERT_THAT(Convert({"--intent", "relative", "--bpc", in_}), Succeeds());
    const Picture got = ReadPictures(out_)[0];
    ExpectNear(got, Truth(ReadPictures(in_)[0], Input("scanner.icc"), got.icc, 1, cmsFLAGS_BLACKPOINTCOMPENSATION), 24);
}

TEST_F(ExactTest, TellsItsWayAndItsError) {
    const json told = json::parse(Convert({"--json", in_}).out);
    EXPECT_EQ(told["precision"], "exact");
    EXPECT_EQ(told["way"], "direct");
    EXPECT_LE(told["delta_e"]["mean"], 0.005);
    EXPECT_LE(told["delta_e"]["p999"], told["delta_e"]["largest"]);
    EXPECT_LE(told["delta_e"]["largest"], 0.1);
    EXPECT_THAT(Convert({"--verbose", in_}).err, HasSubstr("(direct, CIEDE2000 mean 0.00"));
    EXPECT_THAT(Convert({in_}).err, Not(HasSubstr("CIEDE2000")));
    const json library = json::parse(Convert({"--json", "--precision", "library", in_}).out);
    EXPECT_EQ(library["precision"], "library");
    EXPECT_EQ(library["way"], "library");
    EXPECT_GT(library["delta_e"]["mean"], 0.1);
}

TEST_F(ExactTest, LeavesColoursThatAreInTheSpaceAlready) {
    const std::string again = folder_ / "again.tif", other = folder_ / "other.tif";
    ASSERT_EQ(Convert({in_}).status, 0);
    const std::string before = FileBytes(out_);
    const Outcome copied = Hueweave({"convert", out_, "-o", again});
    EXPECT_THAT(copied, Succeeds());
    EXPECT_THAT(copied.err, HasSubstr("again.tif (is in srgb already)\n"));
    EXPECT_EQ(FileBytes(again), before);
    EXPECT_EQ(json::parse(Hueweave({"convert", out_, "-o", other, "--json"}).out)["status"], "copied");
    const Outcome inPlace = Hueweave({"convert", out_, "--in-place", "--force"});
    EXPECT_THAT(inPlace.err, HasSubstr("is in srgb already\n"));
    EXPECT_EQ(FileBytes(out_), before);
    // The library's output is in sRGB as well.
    ASSERT_EQ(Convert({"--precision", "library", in_}).status, 0);
    EXPECT_THAT(Hueweave({"convert", out_, "-o", again, "--force"}).err, HasSubstr("is in srgb already"));
    // Another target space is a conversion.
    EXPECT_THAT(Hueweave({"convert", out_, "-o", again, "--force", "--to", "adobe-rgb"}).err,
                Not(HasSubstr("already")));
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
    // Offsets apply in CIE LCh between the profiles: half the hue circle negates a* and b*, and lightness alone keeps
    // them.
    const json told = json::parse(
        Convert({"--json", "--lightness", "5", "--chroma", "-4", "--hue", "20", "--to", "rec2020", in_}).out);
    EXPECT_EQ(told["way"], "direct");
    EXPECT_LE(told["delta_e"]["largest"], 1.0);
    ASSERT_THAT(Convert({"--lightness", "100", in_}), Succeeds());
    const Picture white = ReadPictures(out_)[0];
    EXPECT_TRUE(std::any_of(white.values.begin(), white.values.end(), [](auto v) { return v == 65535; }));
}

TEST_F(ExactTest, EmbedsAProfileOfTheVersionAskedFor) {
    for (const auto& [version, text] : {std::pair{"2", "2.4.0"}, std::pair{"4", "4.3.0"}}) {
        ASSERT_THAT(Convert({"--icc-version", version, in_}), Succeeds());
        EXPECT_EQ(ExifTool({"-s3", "-ICC-header:ProfileVersion", out_}), std::string(text) + "\n");
        const std::string again = folder_ / "again.tif";
        EXPECT_THAT(Hueweave({"convert", "--icc-version", version, out_, "-o", again, "--force"}).err,
                    HasSubstr("is in srgb already"));
    }
}

TEST_F(ExactTest, KnowsSpacesByOtherNames) {
    const auto spaceOf = [&](const char* name) {
        return json::parse(Convert({"--json", "--to", name, in_}).out)["space"];
    };
    EXPECT_EQ(spaceOf("AdobeRGB1998"), "adobe-rgb");
    EXPECT_EQ(spaceOf("sRGB"), "srgb");
    EXPECT_EQ(spaceOf("Display-P3"), "display-p3");
    EXPECT_EQ(spaceOf("REC2020"), "rec2020");
    EXPECT_THAT(Convert({"--to", "srbg", in_}), Refuses(2, "srbg is not a colour space (did you mean srgb?)"));
    EXPECT_THAT(Convert({"--to", "nonsense", in_}), Refuses(2, "nonsense is not a colour space"));
}

TEST_F(ExactTest, LibraryRefusesProfilesThatItConvertsWrongly) {
    // Colours far outside the range of the Lab encoding.
    const cmsCIExyYTRIPLE primaries{{0.98, 0.01, 1}, {0.01, 0.98, 1}, {0.01, 0.01, 1}};
    cmsToneCurve* const line = cmsBuildGamma(nullptr, 1.0);
    cmsToneCurve* const curves[] = {line, line, line};
    const Profile made(cmsCreateRGBProfile(cmsD50_xyY(), &primaries, curves));
    cmsFreeToneCurve(line);
    ASSERT_TRUE(cmsSaveProfileToFile(made.get(), profile_.c_str()));
    const Words words{"convert", "--profile", profile_, "--precision", "library", in_, "-o", out_, "--force"};
    EXPECT_THAT(Hueweave(words), Refuses(3, "is converted wrongly by the library: CIEDE2000 is above"));
    EXPECT_THAT(Hueweave(words + Words{"--accept-error", "100"}), Succeeds());
    EXPECT_THAT(Hueweave({"convert", "--profile", profile_, in_, "-o", out_, "--force"}), Succeeds());
}

TEST_F(ExactTest, OptionsOfOnePrecisionAreRefusedWithTheOther) {
    const Words library{"--precision", "library", in_};
    EXPECT_THAT(Convert(library + Words{"--to", "display-p3"}), Refuses(2, "which the library does not have"));
    EXPECT_THAT(Convert(library + Words{"--to", Input("wide.icc")}), Refuses(2, "which the library does not have"));
    EXPECT_THAT(Convert(library + Words{"--bpc"}), Refuses(2, "--bpc does not go with --precision library"));
    EXPECT_THAT(Convert(library + Words{"--icc-version", "2"}), Refuses(2, "--icc-version does not go with"));
    EXPECT_THAT(Convert({"--accept-error", "3", in_}), Refuses(2, "--accept-error is for --precision library"));
    EXPECT_THAT(Convert({"--to", Input("wide.icc"), "--icc-version", "2", in_}), Refuses(2, "--icc-version does not"));
    EXPECT_THAT(Convert({"--to", Input("wide.icc"), "--curve", "curves.csv", in_}), Refuses(2, "--curve does not go"));
    EXPECT_THAT(Hueweave({"verify", Input("scanner.icc"), "--to", "rec2020", "--precision", "library"}),
                Refuses(2, "which the library does not have"));
}

TEST_F(ExactTest, VerifyTellsBothPrecisions) {
    const Outcome run = Hueweave({"verify", Input("scanner.icc"), "--points", "9"});
    EXPECT_THAT(run.out, HasSubstr("\n  exact "));
    EXPECT_THAT(run.out, HasSubstr("\n  library "));
    EXPECT_THAT(run.out, Not(HasSubstr("bake alone")));
    const json told = Told({"verify", Input("scanner.icc"), "--points", "9", "--to", "rec2020"});
    EXPECT_LE(told["exact"]["maximum"], 0.1);
    EXPECT_EQ(told["exact"]["way"], "direct");
    EXPECT_TRUE(told["library"].is_null());
}

TEST_F(ExactTest, ResumeTellsThePrecisionsApart) {
    const std::string folder = folder_ / "out";
    const Words words{"convert", "--profile", Input("scanner.icc"), in_, "-o", folder + "/", "--resume", "--force"};
    EXPECT_THAT(Hueweave(words), Succeeds());
    EXPECT_THAT(Hueweave(words).err, HasSubstr("is done already"));
    EXPECT_THAT(Hueweave(words + Words{"--precision", "library"}).err, Not(HasSubstr("done already")));
    EXPECT_THAT(Hueweave(words + Words{"--precision", "library", "--to", "adobe-rgb"}).err,
                Not(HasSubstr("done already")));
}

}  // namespace
}  // namespace hueweave::test
