// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <cmath>
#include <limits>

#include "pipeline/EnginePair.h"

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
    pair.Convert();
    pair.SetProfile("first.icc", 3, 1, 29, lightness, chroma, hue);
    pair.Convert();
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
        const int intent = intents[random.Below(5)], space = spaces[random.Below(8)];
        const int input = random.Below(8) == 0 ? 5 : static_cast<int>(random.Below(2));
        const double dL = shifts[random.Below(7)], dC = shifts[random.Below(7)], dh = shifts[random.Below(7)];
        switch (random.Below(5)) {
            case 0:
                pair.SetProfile(names[random.Below(7)], intent, input, space, dL, dC, dh);
                break;
            case 1:
                pair.SetIntent(intent, input, space);
                break;
            case 2:
                pair.AdjustLch(dL, dC, dh);
                break;
            case 3:
                pair.ConstructEngine(dL, dC, dh);
                break;
            default:
                pair.AdjustOutput(Bytes(256, 40), Bytes(256, 140), Bytes(256, 240),
                                  static_cast<int>(random.Below(257)));
        }
        if (HasFailure()) return;
    }
    pair.Convert();
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomSequenceTest, testing::Range(1U, 25U), testing::PrintToStringParamName());

}  // namespace
}  // namespace hueweave::test
