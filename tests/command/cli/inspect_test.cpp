// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// What inspect tells of files that lack something, and of the parts of a table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "command/support/Command.h"
#include "command/support/DeviceProfiles.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

using nlohmann::json;

class InspectTest : public testing::Test {
protected:
    json Told() const {
        const Outcome run = Hueweave({"inspect", "--json", file_});
        EXPECT_EQ(run.status, 0) << run.err;
        return json::parse(run.out);
    }
    Folder folder_;
    std::string file_ = folder_ / "file";
};

TEST_F(InspectTest, TellsWhatHoldsWhereATagIsAbsent) {
    TiffMaker tiff;
    tiff.Page({TiffMaker::Long(256, 9)});
    tiff.Save(file_);
    const json page = Told()["pages"][0];
    EXPECT_EQ(page["width"], 9);
    EXPECT_EQ(page["height"], 0);
    EXPECT_EQ(page["samples"], 1);
    EXPECT_EQ(page["bits"], 1);
    EXPECT_EQ(page["planar"], false);
    EXPECT_EQ(page["compression"], "none");
    EXPECT_EQ(page["rows a strip"], 0);
    EXPECT_EQ(page["orientation"], 1);
}

TEST_F(InspectTest, OneStripHoldsAllRowsUnlessATagTellsOtherwise) {
    for (const auto& [tag, wanted] : {std::pair{0, 7}, std::pair{3, 3}, std::pair{70, 7}}) {
        TiffMaker tiff;
        std::vector<TiffMaker::Entry> entries{TiffMaker::Long(256, 9), TiffMaker::Long(257, 7)};
        if (tag != 0) entries.push_back(TiffMaker::Long(278, static_cast<std::uint64_t>(tag)));
        tiff.Page(entries);
        tiff.Save(file_);
        EXPECT_EQ(Told()["pages"][0]["rows a strip"], wanted);
    }
}

TEST_F(InspectTest, ListsStandOnOneLine) {
    TiffMaker tiff;
    tiff.Page({TiffMaker::Long(256, 9), TiffMaker::Long(322, 32), TiffMaker::Long(323, 16)});
    tiff.Save(file_);
    EXPECT_THAT(Hueweave({"inspect", file_}).out, testing::HasSubstr(" tiles: [32,16]\n"));
}

TEST_F(InspectTest, AWhitePointIsToldWhereThereIsOne) {
    WriteLinkProfile(file_);
    EXPECT_EQ(Told()["class"], "link");
    EXPECT_FALSE(Told().contains("white"));
    WriteDeviceProfile(file_, Form::MabCurves);
    // D50 with 16 bits behind the point: 0.9642, 1 and 0.8249, rounded to 65536ths.
    EXPECT_EQ(Told()["white"], (json{63190 / 65536.0, 1.0, 54061 / 65536.0}));
}

TEST_F(InspectTest, TheShapeOfATableIsTold) {
    const auto table = [&] {
        const json told = Told();
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

}  // namespace
}  // namespace hueweave::test
