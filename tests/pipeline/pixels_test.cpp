// SPDX-License-Identifier: MIT
// Every output space and intent, and random sequences of calls, from the profile to the pixels.
#include <algorithm>
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

class IntentAndWidthTest : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(IntentAndWidthTest, EveryOutputSpaceGivesTheReferencePixels) {
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

INSTANTIATE_TEST_SUITE_P(Every, IntentAndWidthTest,
                         testing::Combine(testing::Values(0, 1, 2, 3, 77), testing::Values(0, 1)));

/// The mean of the four nodes on the path through the cell, weighted by the steps between the sorted fractions.
int WeightedPath(const std::vector<ReferenceNode>& nodes, const int (&sample)[3], std::size_t channel) {
    std::array<std::pair<int, std::size_t>, 3> steps;  // fraction on each axis, and the index step to the next node
    std::size_t node = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t way = axis == 0 ? 17 * 17 : axis == 1 ? 17 : 1;
        steps[axis] = {sample[axis] % 4096, way};
        node += static_cast<std::size_t>(sample[axis] / 4096) * way;
    }
    std::ranges::sort(steps, std::greater<>());
    int sum = 0, before = 4096;
    for (const auto& [fraction, way] : steps) {
        sum += (before - fraction) * nodes.at(node)[channel];
        before = fraction;
        node += way;
    }
    return (sum + before * nodes.at(node)[channel]) / 4096;
}

TEST(TetrahedraTest, PixelsAreTheWeightedMeanOfFourNodes) {
    const LutContents lut = MakeLut({3, 3, 17, 2, 2, CurveKind::Ramp, CurveKind::Ramp, GridKind::Random, 5});
    EnginePair pair({{"random.icc", ProfileBuilder().Mft2("A2B0", lut).Build()}});
    pair.SetProfile("random.icc", 0, 1, 21);  // linear, 16 bit: the output tables are the identity
    const auto nodes = GridStage(*DecodeLutTag(Mft2(lut)), 0, 0, 0, 21, std::nullopt);
    const Bytes pixels = PixelRun(1);
    Bytes source = pixels;
    Bytes dest(pixels.size());
    pair.Real().Conversion(source.data(), dest.data(), static_cast<int>(pixels.size() / 6));
    const auto word = [](const Bytes& bytes, std::size_t at) { return bytes[at] + 256 * bytes[at + 1]; };
    for (std::size_t at = 0; at < pixels.size(); at += 6) {
        const int sample[3] = {word(pixels, at), word(pixels, at + 2), word(pixels, at + 4)};
        for (std::size_t c = 0; c < 3; ++c) {
            ASSERT_EQ(word(dest, at + 2 * c), WeightedPath(nodes, sample, c))
                << "channel " << c << " of " << sample[0] << " " << sample[1] << " " << sample[2];
        }
    }
}

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

class RandomSequenceTest : public testing::TestWithParam<std::uint32_t> {};

TEST_P(RandomSequenceTest, LeavesTheReferenceStateAfterEveryStep) {
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

INSTANTIATE_TEST_SUITE_P(Seeds, RandomSequenceTest, testing::Range(1U, 25U), testing::PrintToStringParamName());

}  // namespace
}  // namespace hueweave::test
