// SPDX-License-Identifier: MIT
// Every output space and intent, and random sequences of calls, from the profile to the pixels.
#include <functional>
#include <tuple>

#include "pipeline/EnginePair.h"

namespace hueweave::test {
namespace {

/// Three unrelated tables, and a white point other than the default.
Bytes ThreeTables() {
    LutShape perceptual;
    perceptual.inputEntries = 2;  // the identity: the fractions of a pixel are those in its cell
    LutShape colorimetric{3, 3, 9, 256, 2, CurveKind::Power, CurveKind::Ramp, GridKind::Falling, 2};
    LutShape saturation{3, 3, 17, 1024, 256, CurveKind::Random, CurveKind::Power, GridKind::Random, 3};
    ProfileBuilder profile;
    profile.Mft2("A2B0", MakeLut(perceptual)).Mft2("A2B1", MakeLut(colorimetric)).Mft2("A2B2", MakeLut(saturation));
    return profile.Xyz("wtpt", 0xc000, 0xd000, 0xb123).Build();
}

class ConversionTest : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(ConversionTest, EveryOutputSpaceGivesTheReferencePixels) {
    const auto [intent, input] = GetParam();
    EnginePair pair({{"three.icc", ThreeTables()}});
    for (int space = 8; space <= 39; ++space) {
        if ((space > 13 && space < 20) || space == 32 || space == 33) continue;
        SCOPED_TRACE("output space " + std::to_string(space));
        if (space == 8) {
            pair.SetProfile("three.icc", intent, input, space);
        } else {
            pair.SetIntent(intent, input, space);
        }
        pair.Convert();
        if (HasFailure()) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Every, ConversionTest,
                         testing::Combine(testing::Values(0, 1, 2, 3, 77), testing::Values(0, 1)));

std::map<std::string, Bytes> Profiles() {
    const LutContents curved = MakeLut({3, 3, 9, 17, 5, CurveKind::Power, CurveKind::Ramp, GridKind::Falling});
    const LutContents other = MakeLut({3, 3, 9, 2, 256, CurveKind::Ramp, CurveKind::Power, GridKind::Random});
    const ProfileBuilder first = ProfileBuilder()
                                     .Mft2("A2B0", MakeLut({3, 3, 5, 17, 17}))
                                     .MftAB("A2B1", Curved(curved, CurveLayout::Aligned))
                                     .Xyz("wtpt", 0xe000, 0xf000, 0xc000);
    return {{"first.icc", first.Build()},
            {"second.icc", ProfileBuilder().Mft2("A2B2", other).Build()},
            {"empty.icc", ProfileBuilder().Build()},
            {"unusable.icc", ProfileBuilder().Raw("A2B0", Bytes(400, 1)).Build()}};
}

class EngineSequenceTest : public testing::TestWithParam<std::uint32_t> {};

TEST_P(EngineSequenceTest, LeavesTheReferenceStateAfterEveryStep) {
    EnginePair pair(Profiles());
    Lcg random(GetParam());
    const char* const names[] = {"first.icc", "first.icc",    "first.icc",  "second.icc",
                                 "empty.icc", "unusable.icc", "missing.icc"};
    const int spaces[] = {8, 9, 13, 22, 31, 37, 14, 65535};
    const int intents[] = {0, 1, 2, 3, 9};
    const double shifts[] = {0, 0.75, -1.5, 2.2, 30, -300, 123456};
    const Bytes red(256, 40), green(256, 140), blue(256, 240);
    for (int step = 0; step < 16; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        const int intent = intents[random.Below(5)], space = spaces[random.Below(8)];
        const int input = random.Below(8) == 0 ? 5 : static_cast<int>(random.Below(2));
        const double dL = shifts[random.Below(7)], dC = shifts[random.Below(7)], dh = shifts[random.Below(7)];
        const std::function<void()> calls[] = {
            [&] { pair.SetProfile(names[random.Below(7)], intent, input, space, dL, dC, dh); },
            [&] { pair.SetIntent(intent, input, space); }, [&] { pair.AdjustLch(dL, dC, dh); },
            [&] { pair.Construct(&EnginePair::Engine::ConstructEngine, dL, dC, dh); },
            [&] { pair.AdjustOutput(red, green, blue, static_cast<int>(random.Below(257))); }};
        calls[random.Below(5)]();
        if (HasFailure()) return;
    }
    pair.Convert();
}

INSTANTIATE_TEST_SUITE_P(Seeds, EngineSequenceTest, testing::Range(1U, 25U), testing::PrintToStringParamName());

}  // namespace
}  // namespace hueweave::test
