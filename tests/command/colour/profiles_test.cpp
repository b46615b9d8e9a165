// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Which profiles are taken, baked and refused; what the output's profile says; inspect, bake, verify and spaces.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lcms2.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "command/support/Command.h"
#include "command/support/DeviceProfiles.h"
#include "command/support/ExifTool.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

class ProfilesTest : public testing::Test {
protected:
    Folder folder_;
    std::string in_ = Input("photo-16.tif"), out_ = folder_ / "out.tif", profile_ = folder_ / "device.icc";
};

struct FormRow {
    Form form;
    const char* name;
    const char* reason;
};
void PrintTo(const FormRow& row, std::ostream* out) { *out << row.name; }
class BakedTest : public ProfilesTest, public testing::WithParamInterface<FormRow> {};

TEST_P(BakedTest, IsConvertedByABakedProfileAndSaid) {
    WriteDeviceProfile(profile_, GetParam().form);
    for (const char* intent : {"perceptual", "relative", "saturation", "absolute"}) {
        const Outcome run =
            Hueweave({"convert", "--profile", profile_, "--intent", intent, in_, "-o", out_, "--force"});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(run.err, HasSubstr("the engine takes a profile baked from it"));
        if (std::string(intent) == "perceptual") {
            EXPECT_THAT(run.err, HasSubstr(GetParam().reason));
        }
        const int number = intent[0] == 'p' ? 0 : intent[0] == 'r' ? 1 : intent[0] == 's' ? 2 : 3;
        EXPECT_LT(MeanDifference(in_, profile_, number, out_), 0.6) << intent;
    }
}

TEST_P(BakedTest, BakeGivesTheSamePixelsAndEveryTable) {
    WriteDeviceProfile(profile_, GetParam().form);
    const std::string baked = folder_ / "baked.icc";
    ASSERT_EQ(Hueweave({"bake", profile_, "-o", baked}).status, 0);
    ASSERT_EQ(Hueweave({"convert", "--profile", profile_, in_, "-o", out_}).status, 0);
    EXPECT_EQ(ByEngine(ReadPictures(in_)[0], baked, 0, 9).values, ReadPictures(out_)[0].values);
    const json told = json::parse(Hueweave({"inspect", "--json", baked}).out);
    EXPECT_EQ(told["connection"], "Lab");
    std::vector<std::string> tables;
    for (const auto& tag : told["tags"]) {
        if (!tag.contains("table")) continue;
        tables.push_back(tag["name"]);
        EXPECT_EQ(tag["type"], "mft2");
        EXPECT_EQ(tag["table"]["grid"], 33);
    }
    EXPECT_EQ(tables, (std::vector<std::string>{"A2B0", "A2B1", "A2B2"}));
    for (const auto& intent : told["intents"]) EXPECT_EQ(intent["served"], "yes");
    // Little CMS reads the same colours from it as from the original.
    EXPECT_THAT(ExifTool({"-s3", "-ICC_Profile:MediaWhitePoint", baked}), Not(""));
    const json compared = json::parse(Hueweave({"verify", "--json", baked}).out);
    EXPECT_LT(compared["mean"], 0.6);
}

INSTANTIATE_TEST_SUITE_P(Every, BakedTest,
                         testing::Values(FormRow{Form::Mft1, "TableOfBytes", "its table is of type mft1"},
                                         FormRow{Form::Mft2OddGrid, "OddGrid", "its grid has 21 points"},
                                         FormRow{Form::Mft2Xyz, "XyzTable", "its connection space is XYZ"},
                                         FormRow{Form::MabCurves, "MabCurves", "its table is of type mAB"},
                                         FormRow{Form::MabMatrix, "MabMatrix", "its connection space is XYZ"},
                                         FormRow{Form::Mab8Bit, "MabOfBytes", "its table is of type mAB"},
                                         FormRow{Form::Matrix4, "Matrix", "its connection space is XYZ"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ProfilesTest, ATableThatTheEngineTakesIsPassedOn) {
    const Outcome run = Hueweave({"convert", "--profile", Input("scanner.icc"), in_, "-o", out_});
    EXPECT_THAT(run.err, Not(HasSubstr("baked")));
    // "A2B0" alone serves no other intent.
    const Outcome other =
        Hueweave({"convert", "--profile", Input("scanner.icc"), "--intent", "relative", in_, "-o", out_, "--force"});
    EXPECT_THAT(other.err, HasSubstr("it has no table A2B1; the engine takes a profile baked from it"));
    EXPECT_LT(MeanDifference(in_, Input("scanner.icc"), 1, out_), 0.6);
}

TEST_F(ProfilesTest, ProfilesByArgyll) {
    for (const char* name : {"scanner.icc", "xyz.icc", "matrix.icc", "wide.icc", "screen.icc"}) {
        for (const char* space : {"srgb", "adobe-rgb"}) {
            const Outcome run =
                Hueweave({"convert", "--profile", Input(name), "--to", space, in_, "-o", out_, "--force"});
            ASSERT_EQ(run.status, 0) << run.err;
            EXPECT_LT(MeanDifference(in_, Input(name), 0, out_), 0.6) << name << " " << space;
        }
        // The white of a screen is no colour of its pictures, that of a sheet of paper is one.
        ASSERT_EQ(
            Hueweave({"convert", "--profile", Input(name), "--intent", "absolute", in_, "-o", out_, "--force"}).status,
            0);
        EXPECT_LT(MeanDifference(in_, Input(name), 3, out_), 0.6) << name;
    }
}

TEST_F(ProfilesTest, OtherClassesAndColoursAreRefused) {
    const auto refused = [&](const std::string& reason) {
        for (const char* command : {"convert", "bake", "verify"}) {
            Outcome run;
            if (std::string(command) == "convert") run = Hueweave({"convert", "--profile", profile_, in_, "-o", out_});
            if (std::string(command) == "bake") run = Hueweave({"bake", profile_, "-o", out_});
            if (std::string(command) == "verify") run = Hueweave({"verify", profile_});
            EXPECT_EQ(run.status, 3) << command;
            EXPECT_THAT(run.err, HasSubstr(reason));
            EXPECT_EQ(Lines(run.err).size(), 1U);
            EXPECT_EQ(run.out, "");
            EXPECT_FALSE(Exists(out_));
        }
    };
    WriteGreyProfile(profile_);
    refused("describes GRAY colours, not RGB");
    WriteCmykProfile(profile_);
    refused("describes CMYK colours, not RGB");
    WriteAbstractProfile(profile_);
    refused("is of class 'abst', not of a device");
    WriteLinkProfile(profile_);
    refused("is of class 'link', not of a device");
    WriteEmptyProfile(profile_);
    refused("does not tell the colours of its device");
}

TEST_F(ProfilesTest, TheEmbeddedProfileIsTheDefaultAndTheGivenOneWins) {
    const std::string tagged = folder_ / "tagged.tif", other = folder_ / "other.tif";
    Shell("convert-im6 " + Quoted(in_) + " -profile " + Quoted(Input("scanner.icc")) + " -compress none " +
          Quoted(tagged));
    ASSERT_EQ(Hueweave({"convert", tagged, "-o", out_}).status, 0);
    const Picture before = ReadPictures(tagged)[0];
    EXPECT_EQ(ByEngine(before, Input("scanner.icc"), 0, 9).values, ReadPictures(out_)[0].values);
    const std::string baked = folder_ / "baked.icc";
    ASSERT_EQ(Hueweave({"bake", Input("matrix.icc"), "-o", baked}).status, 0);
    struct Row {
        const char* rule;
        std::string by;
        const char* said;
    };
    for (const Row& row : {Row{"given", baked, "embeds another profile (scanner); "},
                           Row{"embedded", Input("scanner.icc"), "its embedded profile (scanner) is used, not "}}) {
        const Outcome run =
            Hueweave({"convert", "--profile", baked, "--source", row.rule, tagged, "-o", other, "--force"});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(run.err, HasSubstr(row.said));
        EXPECT_EQ(ByEngine(before, row.by, 0, 9).values, ReadPictures(other)[0].values);
    }
    EXPECT_EQ(Hueweave({"convert", "--profile", Input("scanner.icc"), "--source", "require-match", tagged, "-o", other,
                        "--force"})
                  .status,
              0);
    EXPECT_EQ(
        Hueweave({"convert", "--profile", baked, "--source", "require-match", tagged, "-o", other, "--force"}).status,
        3);
    EXPECT_EQ(
        Hueweave({"convert", "--profile", baked, "--source", "require-match", in_, "-o", other, "--force"}).status, 0);
}

TEST_F(ProfilesTest, EachPageIsConvertedByItsOwnProfile) {
    const std::string baked = folder_ / "baked.icc", pages = folder_ / "pages.tif";
    ASSERT_EQ(Hueweave({"bake", Input("matrix.icc"), "-o", baked}).status, 0);
    const std::string profiles[] = {Input("scanner.icc"), baked, Input("scanner.icc")};
    std::string all;
    for (int i = 0; i < 3; ++i) {
        const std::string page = Quoted(folder_ / ("page" + std::to_string(i) + ".tif"));
        Shell("convert-im6 " + Quoted(in_) + " -profile " + Quoted(profiles[i]) + " -compress none " + page);
        all += page + " ";
    }
    Shell("tiffcp " + all + Quoted(pages));
    ASSERT_EQ(Hueweave({"convert", pages, "-o", out_}).status, 0);
    const std::vector<Picture> before = ReadPictures(pages), after = ReadPictures(out_);
    ASSERT_EQ(after.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(ByEngine(before[i], profiles[i], 0, 9).values, after[i].values) << i;
    }
}

struct SpaceRow {
    const char* name;
    int code8;  ///< of the public header; the 16-bit one follows it; 0 for the one that a table makes
};
void PrintTo(const SpaceRow& row, std::ostream* out) { *out << row.name; }
constexpr SpaceRow kSpaces[] = {{"srgb", 8},
                                {"srgb-linear", 10},
                                {"adobe-rgb", 0},
                                {"adobe-rgb-g18", 22},
                                {"adobe-rgb-linear", 20},
                                {"apple-rgb-g18", 26},
                                {"apple-rgb-linear", 24},
                                {"colormatch-g18", 30},
                                {"colormatch-linear", 28},
                                {"kodak-photo", 34},
                                {"kodak-mix", 36},
                                {"kodak-text", 38}};
class SpaceTest : public ProfilesTest, public testing::WithParamInterface<SpaceRow> {};

TEST_P(SpaceTest, PixelsAreTheEngines) {
    for (const int bits : {8, 16}) {
        const std::string in = Input("photo-" + std::to_string(bits) + ".tif");
        ASSERT_EQ(
            Hueweave({"convert", "--profile", Input("scanner.icc"), "--to", GetParam().name, in, "-o", out_, "--force"})
                .status,
            0);
        const Picture before = ReadPictures(in)[0];
        Picture wanted;
        if (GetParam().code8 != 0) {
            wanted = ByEngine(before, Input("scanner.icc"), 0, GetParam().code8 + (bits == 16));
            // This curve has 256 steps at both depths.
            if (bits == 16 && GetParam().code8 == 36) {
                for (auto& value : wanted.values) value = static_cast<std::uint16_t>(value * 257);
            }
        } else {
            // Gamma 1.8 at 16 bits, taken back to light and forth to a gamma of 563/256.
            Picture wide = before;
            wide.bits = 16;
            if (bits == 8) {
                for (auto& value : wide.values) value = static_cast<std::uint16_t>(value * 257);
            }
            wanted = ByEngine(wide, Input("scanner.icc"), 0, 23);
            for (auto& value : wanted.values) {
                const double sample = std::pow(std::pow(value / 65535.0, 1 / 0.5556), 256.0 / 563.0);
                const long full = std::lround(65535.0 * sample);
                value = static_cast<std::uint16_t>(bits == 16 ? full : (full * 255 + 32767) / 65535);
            }
        }
        EXPECT_EQ(wanted.values, ReadPictures(out_)[0].values) << bits;
    }
}

TEST_P(SpaceTest, TheEmbeddedProfileDescribesThem) {
    ASSERT_EQ(Hueweave({"convert", "--profile", Input("scanner.icc"), "--to", GetParam().name, in_, "-o", out_}).status,
              0);
    const bool look = std::string(GetParam().name).starts_with("kodak");
    // The darkest tones of the looks are cut to black, and the paper of one to white.
    EXPECT_LT(MeanDifference(in_, Input("scanner.icc"), 0, out_), look ? 4.5 : 0.6);
    const std::string told = ExifTool({"-s3", "-ICC_Profile:ProfileDescription", "-ICC_Profile:ProfileClass", out_});
    EXPECT_THAT(told, HasSubstr("Display Device Profile"));
    EXPECT_NE(Lines(told)[0], "");
    EXPECT_THAT(Shell(std::string(HUEWEAVE_COMMAND) + " spaces"), HasSubstr(std::string(GetParam().name) + " "));
}

INSTANTIATE_TEST_SUITE_P(Every, SpaceTest, testing::ValuesIn(kSpaces), [](const auto& row) {
    std::string name = row.param.name;
    std::erase(name, '-');
    return name;
});

TEST_F(ProfilesTest, TheProfilesOfKnownSpacesAgreeWithThoseOfOthers) {
    // White, black and primaries of sRGB, and of AdobeRGB, through Little CMS against ArgyllCMS's profiles.
    for (const auto& [space, file] : {std::pair{"srgb", "screen.icc"}, std::pair{"adobe-rgb", "wide.icc"}}) {
        ASSERT_EQ(
            Hueweave({"convert", "--profile", Input("scanner.icc"), "--to", space, in_, "-o", out_, "--force"}).status,
            0);
        Shell("exiftool -q -b -ICC_Profile " + Quoted(out_) + " > " + Quoted(profile_));
        const cmsHPROFILE mine = cmsOpenProfileFromFile(profile_.c_str(), "r");
        const cmsHPROFILE theirs = cmsOpenProfileFromFile(Input(file).c_str(), "r");
        const cmsHPROFILE lab = cmsCreateLab2Profile(nullptr);
        const auto to = [&](cmsHPROFILE profile) {
            return cmsCreateTransform(profile, TYPE_RGB_DBL, lab, TYPE_Lab_DBL, 1, cmsFLAGS_NOOPTIMIZE);
        };
        const cmsHTRANSFORM one = to(mine), other = to(theirs);
        for (int i = 0; i < 27; ++i) {
            const double rgb[3] = {i / 9 / 2.0, i / 3 % 3 / 2.0, i % 3 / 2.0};
            cmsCIELab a, b;
            cmsDoTransform(one, rgb, &a, 1);
            cmsDoTransform(other, rgb, &b, 1);
            EXPECT_LT(cmsCIE2000DeltaE(&a, &b, 1, 1, 1), 0.1) << space << " " << i;
        }
        cmsDeleteTransform(one);
        cmsDeleteTransform(other);
        cmsCloseProfile(mine);
        cmsCloseProfile(theirs);
        cmsCloseProfile(lab);
    }
}

TEST_F(ProfilesTest, OwnCurvesGoToTheEngineAndIntoTheProfile) {
    std::string rows;
    for (int i = 0; i < 256; ++i) {
        const auto value = std::to_string(std::lround(255 * std::pow(i / 255.0, 0.45)));
        rows += value + "," + value + "; " + value + "\n";
    }
    WriteBytes(folder_ / "curve.csv", rows);
    const Outcome run =
        Hueweave({"convert", "--profile", Input("scanner.icc"), "--curve", folder_ / "curve.csv", in_, "-o", out_});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_LT(MeanDifference(in_, Input("scanner.icc"), 0, out_), 0.8);
    // A curve that falls has no profile.
    std::string falling;
    for (int i = 0; i < 256; ++i) falling += std::to_string(i < 100 ? i : 200 - i / 2) + ",0,0\n";
    WriteBytes(folder_ / "curve.csv", falling);
    std::vector<std::string> words{
        "convert", "--profile", Input("scanner.icc"), "--curve", folder_ / "curve.csv", in_, "-o", out_, "--force"};
    const Outcome refused = Hueweave(words);
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, HasSubstr("leave the profile out with --no-tag"));
    words.push_back("--no-tag");
    EXPECT_EQ(Hueweave(words).status, 0);
}

TEST_F(ProfilesTest, ShiftsGoToTheEngineWithTheirFractions) {
    const auto lightness = [&](std::vector<std::string> more) {
        std::vector<std::string> words{"convert", "-q", "--profile", Input("scanner.icc"), in_, "-o", out_, "--force"};
        words.insert(words.end(), more.begin(), more.end());
        EXPECT_EQ(Hueweave(words).status, 0);
        return std::stod(Shell("convert-im6 " + Quoted(out_) + " -colorspace Gray -format '%[fx:mean]' info:"));
    };
    const double plain = lightness({});
    EXPECT_GT(lightness({"--lightness", "5"}), plain + 0.01);
    EXPECT_GT(lightness({"--lightness", "0.9"}), plain + 0.001);
    EXPECT_LT(lightness({"--lightness", "-5"}), plain - 0.01);
    const auto saturation = [&](const char* chroma) {
        lightness({"--chroma", chroma});
        return std::stod(
            Shell("convert-im6 " + Quoted(out_) + " -colorspace HSL -channel G -separate -format '%[fx:mean]' info:"));
    };
    EXPECT_LT(saturation("-20"), saturation("5") - 0.05);
}

TEST_F(ProfilesTest, VerifySetsTheStatusByItsLimit) {
    const Outcome run = Hueweave({"verify", Input("scanner.icc"), "--limit", "2.0"});
    EXPECT_EQ(run.status, 0) << run.out;
    for (const char* word : {"mean", "median", "95 %", "99 %", "maximum", "The worst", "Outside the space"}) {
        EXPECT_THAT(run.out, HasSubstr(word));
    }
    EXPECT_EQ(Hueweave({"verify", Input("scanner.icc"), "--limit", "0.01"}).status, 1);
    const json told = json::parse(Hueweave({"verify", Input("scanner.icc"), "--json", "--points", "9"}).out);
    EXPECT_EQ(told["colours"], 729);
    EXPECT_LE(told["median"], told["p95"]);
    EXPECT_LE(told["p95"], told["p99"]);
    EXPECT_LE(told["p99"], told["maximum"]);
    EXPECT_EQ(told["worst"][0]["difference"], told["maximum"]);
    const json image =
        json::parse(Hueweave({"verify", Input("scanner.icc"), "--json", "--image", in_, "--bits", "8"}).out);
    EXPECT_GT(image["colours"], 1000);
}

TEST_F(ProfilesTest, VerifyFindsTheSameFiguresAsAnIndependentMeasurement) {
    ASSERT_EQ(Hueweave({"convert", "-q", "--profile", Input("matrix.icc"), in_, "-o", out_}).status, 0);
    const json image = json::parse(Hueweave({"verify", Input("matrix.icc"), "--json", "--image", in_}).out);
    // One counts every colour once, the other every seventh pixel.
    EXPECT_NEAR(image["mean"], MeanDifference(in_, Input("matrix.icc"), 0, out_), 0.2);
}

TEST_F(ProfilesTest, InspectTakesTheTypeOfATagFromItsOwnBytes) {
    std::string bytes = FileBytes(Input("scanner.icc"));
    const std::size_t entry = bytes.find("cprt");
    ASSERT_LT(entry, 500U) << "in the table of tags";
    bytes.replace(entry + 8, 4, std::string{0, 0, 0, 2});
    WriteBytes(profile_, bytes);
    const json told = json::parse(Hueweave({"inspect", "--json", profile_}).out);
    for (const auto& tag : told["tags"]) {
        EXPECT_EQ(tag["type"] == "te??", tag["name"] == "cprt") << tag["name"];
    }
}

TEST_F(ProfilesTest, InspectTellsOfProfilesAndFiles) {
    const json scanner = json::parse(Hueweave({"inspect", "--json", Input("scanner.icc")}).out);
    EXPECT_EQ(scanner["description"], "scanner");
    EXPECT_EQ(scanner["class"], "scnr");
    EXPECT_EQ(scanner["intents"][0]["served"], "yes");
    EXPECT_EQ(scanner["intents"][1]["served"], "baked");
    EXPECT_EQ(scanner["intents"][1]["why"], "it has no table A2B1");
    const std::string tagged = folder_ / "tagged.tif";
    Shell("convert-im6 " + Quoted(in_) + " -profile " + Quoted(Input("scanner.icc")) + " -compress lzw " +
          Quoted(tagged));
    const json told = json::parse(Hueweave({"inspect", "--json", tagged}).out);
    EXPECT_EQ(told["convertible"], true);
    EXPECT_EQ(told["pages"][0]["width"], 210);
    EXPECT_EQ(told["pages"][0]["bits"], 16);
    EXPECT_EQ(told["pages"][0]["compression"], "LZW");
    EXPECT_EQ(told["pages"][0]["profile"]["description"], "scanner");
    const Outcome text = Hueweave({"inspect", tagged, Input("scanner.icc"), folder_ / "missing"});
    EXPECT_EQ(text.status, 1);
    EXPECT_THAT(text.out, HasSubstr("A2B0, mft2, bytes"));
    EXPECT_THAT(text.out, HasSubstr("relative, baked, it has no table A2B1"));
    EXPECT_THAT(text.err, HasSubstr("missing: cannot be read"));
    WriteGreyProfile(profile_);
    const json grey = json::parse(Hueweave({"inspect", "--json", profile_}).out);
    EXPECT_EQ(grey["intents"][0]["served"], "no");
}

TEST_F(ProfilesTest, BakeNeverWritesOverAFile) {
    EXPECT_EQ(Hueweave({"bake", Input("matrix.icc"), "-o", profile_}).status, 0);
    const std::string before = FileBytes(profile_);
    EXPECT_EQ(Hueweave({"bake", Input("wide.icc"), "-o", profile_}).status, 5);
    EXPECT_EQ(FileBytes(profile_), before);
    EXPECT_EQ(Hueweave({"bake", profile_, "-o", profile_, "--force"}).status, 5);
    EXPECT_EQ(Hueweave({"bake", Input("wide.icc"), "-o", profile_, "--force"}).status, 0);
    EXPECT_NE(FileBytes(profile_), before);
    // The same profile always becomes the same bytes.
    EXPECT_EQ(Hueweave({"bake", Input("matrix.icc"), "-o", profile_, "--force"}).status, 0);
    EXPECT_EQ(FileBytes(profile_), before);
}

TEST_F(ProfilesTest, AMatrixProfileIsBakedInStepsOfLight) {
    // Its device is additive: between nodes at steps of light, interpolation follows it, and not at steps of samples.
    const Outcome run = Hueweave({"bake", Input("matrix.icc"), "-o", out_});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, testing::AnyOf(HasSubstr("in steps of linear light;"), HasSubstr("in steps of light to the")));
}

}  // namespace
}  // namespace hueweave::test
