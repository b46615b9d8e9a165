// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <cmath>
#include <limits>

#include "EnginePair.h"

namespace hueweave::test {
namespace {

ProfileBuilder FirstProfile() {
    return ProfileBuilder()
        .Mft2("A2B0", MakeLut({3, 3, 5, 17, 17}))
        .MftAB("A2B1", Curved(MakeLut({3, 3, 9, 17, 5, CurveKind::Power, CurveKind::Ramp, GridKind::Falling}),
                              CurveLayout::Aligned))
        .Xyz("wtpt", 0xe000, 0xf000, 0xc000);
}

ProfileBuilder SecondProfile() {
    return ProfileBuilder().Mft2("A2B2",
                                 MakeLut({3, 3, 9, 2, 256, CurveKind::Ramp, CurveKind::Power, GridKind::Random}));
}

std::map<std::string, ProfileBuilder> Profiles() {
    Bytes unusable(400, 1);
    return {{"first.icc", FirstProfile()},
            {"second.icc", SecondProfile()},
            {"empty.icc", ProfileBuilder()},
            {"unusable.icc", ProfileBuilder().Raw("A2B0", unusable)}};
}

constexpr double kInfinite = std::numeric_limits<double>::infinity();

struct Shift {
    const char* name;
    double lightness, chroma, hue;
};

void PrintTo(const Shift& row, std::ostream* out) { *out << row.name; }

class ShiftTest : public testing::TestWithParam<Shift> {};

TEST_P(ShiftTest, GivesTheReferencePixels) {
    const auto& [name, lightness, chroma, hue] = GetParam();
    EnginePair pair(Profiles());
    pair.SetProfile("first.icc", 0, 0, 10);
    pair.AdjustLch(lightness, chroma, hue);
    pair.Convert(PixelRun(0));
    pair.SetProfile("first.icc", 3, 1, 29, lightness, chroma, hue);
    pair.Convert(PixelRun(1));
}

INSTANTIATE_TEST_SUITE_P(Some, ShiftTest,
                         testing::Values(Shift{"Lighter", 12.5, 0, 0}, Shift{"Darker", -30, 0, 0},
                                         Shift{"White", 200, 0, 0}, Shift{"Black", -200, 0, 0},
                                         Shift{"Vivid", 0, 25.25, 0}, Shift{"Grey", 0, -300, 0},
                                         Shift{"FullChroma", 0, 300, 0}, Shift{"Turned", 0, 0, 45},
                                         Shift{"TurnedBack", 0, 0, -170.5}, Shift{"TwoTurns", 0, 0, 720},
                                         Shift{"FarBack", 0, 0, -1000}, Shift{"ManyTurns", 0, 0, 123456},
                                         Shift{"ManyTurnsBack", 0, 0, -123456}, Shift{"AllThree", 3.3, -8.8, 359.9},
                                         Shift{"NoNumbers", std::nan(""), 2.0, kInfinite},
                                         Shift{"NoNumberButHue", kInfinite, -kInfinite, 25.0}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(SequenceTest, AFailedSetProfileDropsWhatWasThere) {
    EnginePair pair(Profiles());
    pair.SetProfile("first.icc", 0, 0, 8);
    pair.SetProfile("missing.icc", 0, 0, 8);
    EXPECT_EQ(pair.Engine().Lut1DInR, nullptr);
    EXPECT_EQ(pair.Engine().GetMft2(), nullptr);
    // Kept: no profile, and yet a space that says otherwise.
    pair.SetIntent(0, 0, 10);
    EXPECT_EQ(pair.Engine().Unit.OutputSpace, 10);
    pair.SetProfile("first.icc", 0, 2, 8);
    pair.SetProfile("first.icc", 0, -1, 8);
    pair.SetProfile("first.icc", 0, 0, 8);
    pair.Convert(PixelRun(0));
}

TEST(SequenceTest, TheWidthsOfTablesAndPixelsMayPart) {
    EnginePair pair({{"only0.icc", ProfileBuilder().Mft2("A2B0", MakeLut({}))}});
    pair.SetProfile("only0.icc", 0, 0, 8);
    pair.SetIntent(2, 1, 9);  // no table for this intent: the tables stay, the encoding does not
    EXPECT_EQ(pair.Engine().InEntries, 256);
    pair.Convert(PixelRun(1));
    pair.SetIntent(0, 1, 9);
    pair.SetIntent(1, 0, 8);
    EXPECT_EQ(pair.Engine().InEntries, 65536);
    pair.Convert(PixelRun(0));
}

// Built in but not stored, and with the build result of the tone curve.
TEST(SequenceTest, ConstructEngineBuildsForWhatIsBound) {
    EnginePair pair(Profiles());
    pair.ConstructEngine(0, 0, 0);
    EXPECT_EQ(pair.Engine().Unit.BuildResult, 65535);
    pair.SetProfile("first.icc", 0, 0, 12);
    EXPECT_EQ(pair.Engine().Unit.BuildResult, 12);
    pair.ConstructEngine(2.5, -3.5, 44.0);
    EXPECT_EQ(pair.Engine().Unit.BuildResult, 8);
    pair.SetProfile("empty.icc", 0, 0, 12);
    pair.ConstructEngine(2.5, -3.5, 44.0);
    pair.SetProfile("unusable.icc", 0, 0, 12);
    pair.ConstructEngine(2.5, -3.5, 44.0);
}

class RandomSequenceTest : public testing::TestWithParam<std::uint32_t> {};

TEST_P(RandomSequenceTest, LeavesTheReferenceStateAfterEveryStep) {
    EnginePair pair(Profiles());
    Lcg random(GetParam());
    const char* const names[] = {"first.icc", "first.icc",    "first.icc",  "second.icc",
                                 "empty.icc", "unusable.icc", "missing.icc"};
    const int spaces[] = {8, 9, 13, 22, 31, 37, 14, 65535};
    const int intents[] = {0, 1, 2, 3, 9};
    const double shifts[] = {0, 0, 0.75, -1.5, 2.2, 2.9, 30};
    for (int step = 0; step < 16; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        const int intent = intents[random.Below(5)];
        const int input = static_cast<int>(random.Below(2));
        const int space = spaces[random.Below(8)];
        const double dL = shifts[random.Below(7)], dC = shifts[random.Below(7)], dh = shifts[random.Below(7)];
        switch (random.Below(4)) {
            case 0:
                pair.SetProfile(names[random.Below(7)], intent, input, space, dL, dC, dh);
                break;
            case 1:
                pair.SetIntent(intent, random.Below(8) == 0 ? 5 : input, space);
                break;
            case 2:
                pair.AdjustLch(dL, dC, dh);
                break;
            default:
                pair.AdjustOutput(Bytes(256, 40), Bytes(256, 140), Bytes(256, 240),
                                  static_cast<int>(random.Below(257)));
        }
        if (HasFailure()) return;
    }
    if (!pair.Reference().cells.empty()) pair.Convert(PixelRun(pair.Reference().inputSpace));
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomSequenceTest, testing::Range(1U, 25U), testing::PrintToStringParamName());

}  // namespace
}  // namespace hueweave::test
