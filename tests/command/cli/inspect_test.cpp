// SPDX-License-Identifier: MIT
// The output of inspect for incomplete files and for the parts of a table.
#include "command/support/DeviceProfiles.h"
#include "command/support/ProfileTest.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

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

TEST_F(InspectTest, TellsWhatHoldsWhereATagIsAbsent) {
    const json page = PageOf({TiffMaker::Long(256, 9)});
    const json wanted{{"width", 9},      {"height", 0},           {"samples", 1},      {"bits", 1},
                      {"planar", false}, {"compression", "none"}, {"rows a strip", 0}, {"orientation", 1}};
    for (const auto& [key, value] : wanted.items()) EXPECT_EQ(page[key], value) << key;
}

TEST_F(InspectTest, TellsTheSizeOfStripsAndTiles) {
    const Entries size{TiffMaker::Long(256, 9), TiffMaker::Long(257, 7)};
    EXPECT_EQ(PageOf(size)["rows a strip"], 7);
    EXPECT_EQ(PageOf(And(size, TiffMaker::Long(278, 3)))["rows a strip"], 3);
    EXPECT_EQ(PageOf(And(size, TiffMaker::Long(278, 70)))["rows a strip"], 7);
    PageOf({TiffMaker::Long(256, 9), TiffMaker::Long(322, 32), TiffMaker::Long(323, 16)});
    EXPECT_THAT(Hueweave({"inspect", file_}).out, HasSubstr(" tiles: [32,16]\n"));
}

TEST_F(InspectTest, TellsTheResolutionWithItsUnit) {
    const Entries size{TiffMaker::Long(256, 9), TiffMaker::Long(257, 7)};
    const TiffMaker::Entry across{282, 5, 1, 0, Little({1200, 4}, 4)}, down{283, 5, 1, 0, Little({145, 2}, 4)};
    const Entries both = And(And(size, across), down);
    for (const auto& [unit, name] : {std::pair{1U, "none"}, {2U, "inch"}, {3U, "cm"}}) {
        const json page = PageOf(And(both, TiffMaker::Short(296, unit)));
        EXPECT_EQ(page["resolution"], (json{300, 72.5}));
        EXPECT_EQ(page["resolution unit"], name);
    }
    EXPECT_EQ(PageOf(both)["resolution unit"], "inch");
    EXPECT_EQ(PageOf(And(both, {296, 2, 4, 0, "cm"}))["resolution unit"], "inch") << "not a number";
    EXPECT_EQ(PageOf(And(And(size, TiffMaker::Short(282, 300)), down))["resolution"][0], 300);
    EXPECT_FALSE(PageOf(And(size, across)).contains("resolution"));
    EXPECT_FALSE(PageOf(With(both, {283, 5, 1, 0, Little({1, 0}, 4)})).contains("resolution"));
    EXPECT_FALSE(PageOf(With(both, {283, 2, 4, 0, "300"})).contains("resolution"));
}

TEST_F(InspectTest, WhatCannotBeDescribedHasALineOfJsonToo) {
    WriteBytes(file_, FileBytes(Input("photo-8.tif")).substr(0, 1000));
    const Outcome run = Hueweave({"inspect", "--json", file_, Input("scanner.icc")});
    EXPECT_EQ(run.status, 1);
    const auto lines = Lines(run.out);
    ASSERT_EQ(lines.size(), 2U);
    const json told = json::parse(lines[0]);
    EXPECT_EQ(told["file"], file_);
    EXPECT_EQ("hueweave: " + told["reason"].get<std::string>() + "\n", run.err);
    EXPECT_EQ(json::parse(lines[1])["kind"], "profile");
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
    Shell("convert-im6 " + Quoted(in_) + " -profile " + Quoted(Input("scanner.icc")) + " -compress none tiff:- > " +
          Quoted(file_));
    std::string bytes = FileBytes(file_);
    bytes.replace(bytes.find("scnrRGB "), 8, "scnrGRAY");
    WriteBytes(file_, bytes);
    EXPECT_THAT(reasonOf(), HasSubstr("file: embeds a profile that "));
}

TEST_F(InspectTest, APlainProfileIsNotCalledEmbedded) {
    WriteGreyProfile(file_);
    const json told = ToldOf();
    EXPECT_THAT(told["intents"][0]["why"].get<std::string>(), testing::Not(HasSubstr("embeds")));
    EXPECT_EQ("hueweave: " + told["intents"][0]["why"].get<std::string>() + "\n",
              Hueweave({"convert", "--profile", file_, in_, "-o", out_}).err);
}

TEST_F(InspectTest, AWhitePointIsToldWhereThereIsOne) {
    WriteLinkProfile(file_);
    EXPECT_EQ(ToldOf()["class"], "link");
    EXPECT_FALSE(ToldOf().contains("white"));
    WriteDeviceProfile(file_, Form::MabCurves);
    // D50 in fixed point with 16 fractional bits: 0.9642, 1 and 0.8249, rounded to multiples of 1/65536.
    EXPECT_EQ(ToldOf()["white"], (json{63190 / 65536.0, 1.0, 54061 / 65536.0}));
}

TEST_F(InspectTest, TheShapeOfATableIsTold) {
    const auto table = [&] {
        const json told = ToldOf();
        for (const json& tag : told["tags"]) {
            if (tag["name"] == "A2B0") return tag["table"];
        }
        return json();
    };
    WriteDeviceProfile(file_, Form::MabCurves);
    EXPECT_EQ(table()["parts"], (json{"B", "grid", "A"}));
    EXPECT_EQ(table()["grid"], (json{33, 33, 33}));
    EXPECT_EQ(table()["bytes a value"], 2);
    WriteDeviceProfile(file_, Form::Mab8Bit);
    EXPECT_EQ(table()["bytes a value"], 1);
    WriteDeviceProfile(file_, Form::MabMatrix);
    EXPECT_EQ(table()["parts"], (json{"B", "matrix", "M"}));
    EXPECT_FALSE(table().contains("grid"));
    WriteDeviceProfile(file_, Form::Mft2OddGrid);
    const json wanted{{"inputs", 3}, {"outputs", 3}, {"grid", 21}, {"input entries", 256}, {"output entries", 256}};
    EXPECT_EQ(table(), wanted);
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

TEST_F(InspectTest, TellsOfProfilesAndFiles) {
    const json scanner = Told({"inspect", Input("scanner.icc")});
    EXPECT_EQ(scanner["description"], "scanner");
    EXPECT_EQ(scanner["class"], "scnr");
    EXPECT_EQ(scanner["intents"][0]["served"], "yes");
    EXPECT_EQ(scanner["intents"][1]["served"], "baked");
    EXPECT_EQ(scanner["intents"][1]["why"], "it has no table A2B1");
    const std::string tagged = folder_ / "tagged.tif";
    Embed(Input("scanner.icc"), file_);
    Shell("tiffcp -c lzw " + Quoted(file_) + " " + Quoted(tagged));
    const json told = Told({"inspect", tagged});
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
    WriteGreyProfile(file_);
    EXPECT_EQ(ToldOf()["intents"][0]["served"], "no");
}

}  // namespace
}  // namespace hueweave::test
