// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <tuple>

#include "pipeline/EnginePair.h"

namespace hueweave::test {
namespace {

/// Three tables that have nothing in common, and a white point other than the default.
ProfileBuilder ThreeTables() {
    LutShape perceptual;
    perceptual.inputEntries = 2;  // the identity: the pixels' fractions are the cells' fractions
    LutShape colorimetric{3, 3, 9, 256, 2, CurveKind::Power, CurveKind::Ramp, GridKind::Falling, 2};
    LutShape saturation{3, 3, 17, 1024, 256, CurveKind::Random, CurveKind::Power, GridKind::Random, 3};
    ProfileBuilder profile;
    profile.Mft2("A2B0", MakeLut(perceptual)).Mft2("A2B1", MakeLut(colorimetric)).Mft2("A2B2", MakeLut(saturation));
    return profile.Xyz("wtpt", 0xc000, 0xd000, 0xb123);
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

std::string IntentAndWidth(const testing::TestParamInfo<std::tuple<int, int>>& info) {
    const auto [intent, input] = info.param;
    const char* const names[] = {"Perceptual", "Relative", "Saturation", "Absolute"};
    return (intent >= 0 && intent < 4 ? names[intent] : "Unknown") + std::string(input == 1 ? "16Bit" : "8Bit");
}

INSTANTIATE_TEST_SUITE_P(Every, IntentAndWidthTest,
                         testing::Combine(testing::Values(0, 1, 2, 3, 77), testing::Values(0, 1)), IntentAndWidth);

/// The mean of the four nodes on the path through the cell, weighted by the steps between the sorted fractions.
int WeightedPath(const std::vector<ReferenceNode>& nodes, const int (&sample)[3], std::size_t channel) {
    int at[3];
    int fraction[3];
    for (int axis = 0; axis < 3; ++axis) {
        at[axis] = sample[axis] / 4096;
        fraction[axis] = sample[axis] % 4096;
    }
    int sum = 0;
    int before = 4096;
    for (int step = 0; step < 4; ++step) {
        int largest = -1;
        for (int axis = 0; axis < 3; ++axis) {
            if (fraction[axis] >= 0 && (largest < 0 || fraction[axis] > fraction[largest])) largest = axis;
        }
        const int next = largest < 0 ? 0 : fraction[largest];
        sum += (before - next) * nodes.at(static_cast<std::size_t>((at[0] * 17 + at[1]) * 17 + at[2]))[channel];
        if (largest < 0) break;
        before = next;
        fraction[largest] = -1;
        ++at[largest];
    }
    return sum / 4096;
}

TEST(TetrahedraTest, PixelsAreTheWeightedMeanOfFourNodes) {
    const LutContents lut = MakeLut({3, 3, 17, 2, 2, CurveKind::Ramp, CurveKind::Ramp, GridKind::Random, 5});
    EnginePair pair({{"random.icc", ProfileBuilder().Mft2("A2B0", lut)}});
    pair.SetProfile("random.icc", 0, 1, 21);  // linear, 16 bit: the output tables are the identity
    const auto nodes = GridStage(*DecodeLutTag(EncodeMft2(lut)), 0, 0, 0, 21, std::nullopt);
    const Bytes pixels = PixelRun(1);
    Bytes source = pixels;
    Bytes dest(pixels.size());
    pair.Engine().Conversion(source.data(), dest.data(), static_cast<int>(pixels.size() / 6));
    const auto word = [](const Bytes& bytes, std::size_t at) { return bytes[at] + 256 * bytes[at + 1]; };
    for (std::size_t at = 0; at < pixels.size(); at += 6) {
        const int sample[3] = {word(pixels, at), word(pixels, at + 2), word(pixels, at + 4)};
        for (std::size_t c = 0; c < 3; ++c) {
            ASSERT_EQ(word(dest, at + 2 * c), WeightedPath(nodes, sample, c))
                << "channel " << c << " of " << sample[0] << " " << sample[1] << " " << sample[2];
        }
    }
}

}  // namespace
}  // namespace hueweave::test
