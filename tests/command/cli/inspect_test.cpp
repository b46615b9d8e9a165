// SPDX-License-Identifier: MIT
// The output of inspect for incomplete files and for the parts of a table.
#include "command/support/DeviceProfiles.h"
#include "command/support/ProfileTest.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

class InspectTest : public ProfileTest {
protected:
    json ToldOf() const { return Told({"inspect", file_}); }
    json PageOf(const Entries& entries) const {
        TiffMaker tiff;
        tiff.Page(entries);
        tiff.Save(file_);
        return ToldOf()["pages"][0];
    }
    std::string file_ = folder_ / "file";
};

TEST_F(InspectTest, ReportsTheSizesAndTheDefaultsOfMissingTags) {
    const json wanted{{"width", 9},      {"height", 0},           {"samples", 1},      {"bits", 1},
                      {"planar", false}, {"compression", "none"}, {"rows a strip", 0}, {"orientation", 1}};
    EXPECT_THAT(PageOf({TiffMaker::Long(256, 9)}), Has(wanted));
    const Entries size{TiffMaker::Long(256, 9), TiffMaker::Long(257, 7)};
    EXPECT_EQ(PageOf(size)["rows a strip"], 7);
    EXPECT_EQ(PageOf(And(size, TiffMaker::Long(278, 3)))["rows a strip"], 3);
    EXPECT_EQ(PageOf(And(size, TiffMaker::Long(278, 70)))["rows a strip"], 7);
    PageOf({TiffMaker::Long(256, 9), TiffMaker::Long(322, 32), TiffMaker::Long(323, 16)});
    EXPECT_THAT(Hueweave({"inspect", file_}).out, HasSubstr(" tiles: [32,16]\n"));
}

TEST_F(InspectTest, ReportsTheResolutionWithItsUnit) {
    const Entries size{TiffMaker::Long(256, 9), TiffMaker::Long(257, 7)};
    const TiffMaker::Entry across{282, 5, 1, 0, Little({1200, 4}, 4)}, down{283, 5, 1, 0, Little({145, 2}, 4)};
    const Entries both = And(And(size, across), down);
    for (const auto& [unit, name] : {std::pair{1U, "none"}, {2U, "inch"}, {3U, "cm"}}) {
        EXPECT_THAT(PageOf(And(both, TiffMaker::Short(296, unit))),
                    Has({{"resolution", {300, 72.5}}, {"resolution unit", name}}));
    }
    EXPECT_EQ(PageOf(both)["resolution unit"], "inch");
    EXPECT_EQ(PageOf(And(both, {296, 2, 4, 0, "cm"}))["resolution unit"], "inch") << "not a number";
    EXPECT_EQ(PageOf(And(And(size, TiffMaker::Short(282, 300)), down))["resolution"][0], 300);
    EXPECT_FALSE(PageOf(And(size, across)).contains("resolution"));
    EXPECT_FALSE(PageOf(With(both, {283, 5, 1, 0, Little({1, 0}, 4)})).contains("resolution"));
    EXPECT_FALSE(PageOf(With(both, {283, 2, 4, 0, "300"})).contains("resolution"));
}

TEST_F(InspectTest, WhatCannotBeDescribedHasALineOfJsonToo) {
    Shell("convert-im6 " + Quoted(in_) + " gif:" + Quoted(file_));
    EXPECT_THAT(Hueweave({"inspect", file_}),
                SaysOnly(4, file_ + ": is a GIF file, not a profile or a TIFF, PNG or JPEG file; give one of them"));
    WriteBytes(file_, FileBytes(Input("photo-8.tif")).substr(0, 1000));
    const Outcome run = Hueweave({"inspect", "--json", file_, Input("scanner.icc")});
    const auto told = JsonLines(run.out);
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0]["file"], file_);
    EXPECT_THAT(run, SaysOnly(1, told[0]["reason"].get<std::string>()));
    EXPECT_EQ(told[1]["kind"], "profile");
}

TEST_F(InspectTest, AFileIsConvertibleIfConvertTakesItAsItIs) {
    const auto reasonOf = [&] {
        const json told = ToldOf();
        const Outcome run = Hueweave({"convert", file_, "-o", out_, "--dry-run"});
        EXPECT_EQ(told["convertible"], run.status == 0);
        const std::string reason = told.value("why", "");
        EXPECT_TRUE(run.status == 0 || run.err == "hueweave: " + reason + "\n") << run.err << reason;
        return reason;
    };
    Embed(Input("scanner.icc"), file_);
    EXPECT_EQ(reasonOf(), "");
    WriteBytes(file_, FileBytes(in_));
    EXPECT_THAT(reasonOf(), HasSubstr("embeds no profile; give the device's profile with --profile"));
    Embed(Input("scanner.icc"), file_);
    std::string bytes = FileBytes(file_);
    bytes.replace(bytes.find("scnrRGB "), 8, "scnrGRAY");
    WriteBytes(file_, bytes);
    EXPECT_THAT(reasonOf(), HasSubstr("file: embeds a profile that "));
}

TEST_F(InspectTest, APlainProfileIsNotCalledEmbedded) {
    WriteGreyProfile(file_);
    const json intent = ToldOf()["intents"][0];
    EXPECT_EQ(intent["served"], "no");
    EXPECT_THAT(Hueweave({"convert", "--profile", file_, in_, "-o", out_}),
                AllOf(SaysOnly(3, intent["why"].get<std::string>()), Not(Says(3, "embeds"))));
}

TEST_F(InspectTest, AWhitePointIsReportedIfPresent) {
    WriteLinkProfile(file_);
    EXPECT_EQ(ToldOf()["class"], "link");
    EXPECT_FALSE(ToldOf().contains("white"));
    WriteDeviceProfile(file_, Form::MabCurves);
    // D50 in fixed point with 16 fractional bits: 0.9642, 1 and 0.8249, rounded to multiples of 1/65536.
    EXPECT_EQ(ToldOf()["white"], (json{63190 / 65536.0, 1.0, 54061 / 65536.0}));
}

TEST_F(InspectTest, TheShapeOfATableIsReported) {
    const auto tableOf = [&](Form form) {
        WriteDeviceProfile(file_, form);
        const json told = ToldOf();
        for (const json& tag : told["tags"]) {
            if (tag["name"] == "A2B0") return tag["table"];
        }
        return json();
    };
    EXPECT_THAT(tableOf(Form::MabCurves),
                Has({{"parts", {"B", "grid", "A"}}, {"grid", {33, 33, 33}}, {"bytes a value", 2}}));
    EXPECT_EQ(tableOf(Form::Mab8Bit)["bytes a value"], 1);
    EXPECT_EQ(tableOf(Form::MabMatrix)["parts"], (json{"B", "matrix", "M"}));
    EXPECT_FALSE(tableOf(Form::MabMatrix).contains("grid"));
    const json wanted{{"inputs", 3}, {"outputs", 3}, {"grid", 21}, {"input entries", 256}, {"output entries", 256}};
    EXPECT_EQ(tableOf(Form::Mft2OddGrid), wanted);
}

TEST_F(InspectTest, TakesTheTypeOfATagFromItsOwnBytes) {
    std::string bytes = FileBytes(Input("scanner.icc"));
    const std::size_t entry = bytes.find("cprt");
    ASSERT_LT(entry, 500U) << "in the table of tags";
    bytes.replace(entry + 8, 4, std::string{0, 0, 0, 2});
    WriteBytes(file_, bytes);
    const json told = ToldOf();
    for (const auto& tag : told["tags"]) {
        EXPECT_EQ(tag["type"] == "te??", tag["name"] == "cprt") << tag["name"];
    }
}

TEST_F(InspectTest, ReportsProfilesAndFiles) {
    const json scanner = Told({"inspect", Input("scanner.icc")});
    EXPECT_THAT(scanner, Has({{"description", "scanner"}, {"class", "scnr"}}));
    EXPECT_EQ(scanner["intents"][0]["served"], "yes");
    EXPECT_THAT(scanner["intents"][1], Has({{"served", "baked"}, {"why", "it has no table A2B1"}}));
    const std::string tagged = folder_ / "tagged.tif";
    Embed(Input("scanner.icc"), file_);
    Shell("tiffcp -c lzw " + Quoted(file_) + " " + Quoted(tagged));
    const json told = Told({"inspect", tagged}), page{{"width", 210}, {"bits", 16}, {"compression", "LZW"}};
    EXPECT_EQ(told["convertible"], true);
    EXPECT_THAT(told["pages"][0], Has(page));
    EXPECT_EQ(told["pages"][0]["profile"]["description"], "scanner");
    EXPECT_THAT(Hueweave({"inspect", tagged, Input("scanner.icc"), folder_ / "missing"}),
                AllOf(Prints(1, "A2B0, mft2, bytes", "relative, baked, it has no table A2B1"),
                      Says(1, "missing: cannot be read")));
}

}  // namespace
}  // namespace hueweave::test
