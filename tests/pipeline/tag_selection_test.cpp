// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <tuple>

#include "EnginePair.h"

namespace hueweave::test {
namespace {

/// A table for each of the three names, all different.
LutContents TableOf(int name) {
    return MakeLut(
        {3, 3, 5, 17, 3, CurveKind::Power, CurveKind::Ramp, GridKind::Random, static_cast<std::uint32_t>(100 + name)});
}

/// Which of the three tables are there (a bit each), and the intent.
using SelectionCase = std::tuple<int, int>;

class TagSelectionTest : public testing::TestWithParam<SelectionCase> {};

TEST_P(TagSelectionTest, TakesTheIntentsTableOrA2B1) {
    const auto [subset, intent] = GetParam();
    ProfileBuilder profile;
    // Last name first: the order in the file does not count.
    for (int name = 2; name >= 0; --name) {
        if ((subset >> name & 1) != 0) profile.Mft2("A2B" + std::to_string(name), TableOf(name));
    }
    EnginePair pair({{"some.icc", profile}});
    pair.SetProfile("some.icc", intent, 0, 8);

    const int asked = intent == 2 ? 2 : intent == 1 || intent == 3 ? 1 : 0;
    const bool found = (subset >> asked & 1) != 0 || (subset & 2) != 0;
    // Kept: without a table the space that was asked for stays, and only the build result tells.
    EXPECT_EQ(pair.Engine().Unit.OutputSpace, 8);
    EXPECT_EQ(pair.Engine().Unit.BuildResult, found ? 8 : 65535);
    EXPECT_EQ(pair.Engine().Lut1DInR != nullptr, found);
    EXPECT_EQ(pair.Engine().GetMft2() != nullptr, found);
    pair.Convert(PixelRun(0));

    // From there to every other intent, and back through an adjustment.
    for (const int next : {0, 1, 2, 3, -1}) {
        SCOPED_TRACE("then intent " + std::to_string(next));
        pair.SetIntent(next, 0, 10);
        pair.AdjustLch(next + 2, 0, 0);
    }
    pair.Convert(PixelRun(0));
}

std::string SelectionName(const testing::TestParamInfo<SelectionCase>& info) {
    const auto [subset, intent] = info.param;
    std::string name = "Tables";
    for (int i = 0; i < 3; ++i) {
        if ((subset >> i & 1) != 0) name += std::to_string(i);
    }
    return name + "Intent" + (intent < 0 ? "Negative" : std::to_string(intent));
}

INSTANTIATE_TEST_SUITE_P(Every, TagSelectionTest,
                         testing::Combine(testing::Range(0, 8), testing::Values(0, 1, 2, 3, 4, -5)), SelectionName);

TEST(TagSelectionTest, TheEarlierOfTwoTablesOfOneNameWins) {
    const ProfileBuilder profile = ProfileBuilder().Mft2("A2B0", TableOf(0)).Mft2("A2B0", TableOf(1));
    EnginePair pair({{"two.icc", profile}, {"one.icc", ProfileBuilder().Mft2("A2B0", TableOf(0))}});
    pair.SetProfile("two.icc", 0, 1, 9);
    const std::uint32_t first = pair.Engine().Lut1DInR[12345];
    pair.SetProfile("one.icc", 0, 1, 9);
    EXPECT_EQ(pair.Engine().Lut1DInR[12345], first);
}

struct WhiteCase {
    const char* name;
    std::uint32_t x, y, z;
};

void PrintTo(const WhiteCase& row, std::ostream* out) { *out << row.name; }

class WhitePointTest : public testing::TestWithParam<WhiteCase> {};

TEST_P(WhitePointTest, CountsForTheAbsoluteIntentAlone) {
    const auto& [name, x, y, z] = GetParam();
    const LutContents lut = MakeLut({});
    const ProfileBuilder profile = ProfileBuilder().Mft2("A2B1", lut).Xyz("wtpt", x, y, z);
    EnginePair pair({{"white.icc", profile}, {"none.icc", ProfileBuilder().Mft2("A2B1", lut)}});
    for (const int intent : {0, 1, 2, 3}) {
        SCOPED_TRACE("intent " + std::to_string(intent));
        pair.SetProfile("white.icc", intent, 0, 10);
        pair.Convert(PixelRun(0));
        const auto cells = pair.Reference().cells;
        pair.SetProfile("none.icc", intent, 0, 10);
        EXPECT_EQ(pair.Reference().cells == cells, intent != 3);
    }
    pair.SetProfile("white.icc", 3, 0, 10);
    pair.AdjustLch(3, -2, 10);
    pair.SetIntent(3, 1, 31);
    pair.Convert(PixelRun(1));
}

INSTANTIATE_TEST_SUITE_P(Some, WhitePointTest,
                         testing::Values(WhiteCase{"D65", 0xf351, 0x10000, 0x116cc},
                                         WhiteCase{"Paper", 0xd000, 0xd800, 0xb000}, WhiteCase{"Zero", 0, 0, 0},
                                         WhiteCase{"NegativeX", 0xffff0000, 0x10000, 0xd32d},
                                         WhiteCase{"NegativeZ", 0xf6d6, 0x10000, 0xffffffff},
                                         WhiteCase{"AllNegative", 0x80000000, 0xfffffffe, 0xffff8000}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(WhitePointTest, AShortBlockCountsAsAbsent) {
    const LutContents lut = MakeLut({});
    const Bytes shortBlock = ByteWriter().Text("XYZ ").Big32(0).Big32(0xd000).Big32(0xd000).Done();
    EnginePair pair({{"short.icc", ProfileBuilder().Mft2("A2B1", lut).Raw("wtpt", shortBlock)},
                     {"none.icc", ProfileBuilder().Mft2("A2B1", lut)}});
    pair.SetProfile("none.icc", 3, 0, 10);
    const auto cells = pair.Reference().cells;
    pair.SetProfile("short.icc", 3, 0, 10);
    EXPECT_TRUE(pair.Reference().cells == cells);
}

// The class goes by the tag's name, so a white point of another type is read all the same.
TEST(WhitePointTest, TheTypeIsNotLookedAt) {
    const Bytes block = ByteWriter().Text("junk").Big32(7).Big32(0xc000).Big32(0xc100).Big32(0xc200).Done();
    EnginePair pair({{"junk.icc", ProfileBuilder().Mft2("A2B1", MakeLut({})).Raw("wtpt", block)}});
    pair.SetProfile("junk.icc", 3, 0, 10);
    pair.Convert(PixelRun(0));
}

}  // namespace
}  // namespace hueweave::test
