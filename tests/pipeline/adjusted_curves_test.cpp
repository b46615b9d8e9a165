// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tone curves over tables of every shape, in tables rather than pixels: all 65536 entries of each channel.
#include <limits>
#include <tuple>

#include "EnginePair.h"

namespace hueweave::test {
namespace {

constexpr int kLeast = std::numeric_limits<int>::min();

Bytes RisingCurve(std::size_t points, unsigned factor) {
    Bytes curve;
    for (std::size_t i = 0; i < points; ++i) curve.push_back(static_cast<unsigned char>(i * factor + 3 * factor));
    return curve;
}

/// Points of the profile's own output curves, and the input encoding.
class AdjustedCurveTest : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(AdjustedCurveTest, EveryCountOfPointsGivesTheReferenceTables) {
    const auto [entries, input] = GetParam();
    LutShape shape{3, 3, 3, 5, entries, CurveKind::Ramp, CurveKind::Random};
    EnginePair pair({{"own.icc", ProfileBuilder().Mft2("A2B0", MakeLut(shape))}});
    pair.SetProfile("own.icc", 0, input, 22 + input);
    const Bytes red = RisingCurve(4096, 1), green = RisingCurve(4096, 250), blue = RisingCurve(4096, 37);
    for (const int count : {1, 2, 16, 17, 128, 254, 255, 256, 257, 4096, 0, -1, kLeast}) {
        SCOPED_TRACE("count " + std::to_string(count));
        pair.AdjustOutput(red, green, blue, count);
    }
    pair.Convert(PixelRun(input));
}

std::string EntriesAndWidth(const testing::TestParamInfo<std::tuple<int, int>>& info) {
    return std::to_string(std::get<0>(info.param)) + (std::get<1>(info.param) == 1 ? "Words" : "Bytes");
}

// Without enough points the profile's own curves are the identity; up to 255 they end before the 256th point, and
// what lies behind their end is the place itself.
INSTANTIATE_TEST_SUITE_P(Entries, AdjustedCurveTest,
                         testing::Combine(testing::Values(0, 1, 2, 3, 17, 255, 256, 257, 4096), testing::Values(0, 1)),
                         EntriesAndWidth);

/// Output channels of the table, and the input encoding.
class AdjustedChannelTest : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(AdjustedChannelTest, ThreeCurvesAreLaidWhateverTheTableHas) {
    const auto [outputs, input] = GetParam();
    for (const int entries : {2, 17}) {
        LutShape shape{3, outputs, 3, 5, entries, CurveKind::Ramp, CurveKind::Random};
        EnginePair pair({{"some.icc", ProfileBuilder().Mft2("A2B0", MakeLut(shape))}});
        pair.SetProfile("some.icc", 0, input, 10 + input);
        for (const int count : {100, 256, -1}) {
            pair.AdjustOutput(RisingCurve(256, 1), RisingCurve(256, 250), RisingCurve(256, 37), count);
        }
        pair.Convert(PixelRun(input));
    }
}

INSTANTIATE_TEST_SUITE_P(Channels, AdjustedChannelTest,
                         testing::Combine(testing::Values(1, 2, 3, 4, 7), testing::Values(0, 1)), EntriesAndWidth);

/// The input encoding.
class AdjustedCurvedTableTest : public testing::TestWithParam<int> {};

TEST_P(AdjustedCurvedTableTest, GivesTheReferenceTables) {
    for (const int entries : {0, 3, 255, 1025}) {
        LutShape shape{3, 3, 3, 17, entries, CurveKind::Power, CurveKind::Random};
        const CurvedLutSpec lut = Curved(MakeLut(shape), CurveLayout::Aligned);
        EnginePair pair({{"curved.icc", ProfileBuilder().MftAB("A2B1", lut)}});
        pair.SetProfile("curved.icc", 0, GetParam(), 8 + GetParam());
        ASSERT_EQ(pair.Engine().Unit.OutputSpace, 8 + GetParam());
        const auto* tag = pair.Engine().GetMft2();
        for (const int count : {1, 128, 256, -1}) {
            pair.AdjustOutput(RisingCurve(256, 1), RisingCurve(256, 250), RisingCurve(256, 37), count);
        }
        EXPECT_EQ(pair.Engine().GetMft2(), tag) << "the tag stays, the temporary table goes";
        pair.Convert(PixelRun(GetParam()));
    }
}

INSTANTIATE_TEST_SUITE_P(Widths, AdjustedCurvedTableTest, testing::Values(0, 1), testing::PrintToStringParamName());

/// The intent: the curves come from the table that it selects.
class AdjustedIntentTest : public testing::TestWithParam<int> {};

TEST_P(AdjustedIntentTest, TakesTheSelectedTable) {
    ProfileBuilder profile;
    for (int name = 0; name < 3; ++name) {
        LutShape shape{3,
                       3,
                       3,
                       5,
                       300,
                       CurveKind::Ramp,
                       CurveKind::Random,
                       GridKind::Scanner,
                       static_cast<std::uint32_t>(10 + name)};
        profile.Mft2("A2B" + std::to_string(name), MakeLut(shape));
    }
    for (const int input : {0, 1}) {
        EnginePair pair({{"three.icc", profile.Xyz("wtpt", 0xe000, 0xf000, 0xc000)}});
        pair.SetProfile("three.icc", GetParam(), input, 8 + input);
        pair.AdjustOutput(RisingCurve(256, 1), RisingCurve(256, 250), RisingCurve(256, 37), 20);
        pair.SetIntent(GetParam() == 2 ? 0 : 2, input, 8 + input);
        pair.AdjustOutput(RisingCurve(256, 1), RisingCurve(256, 250), RisingCurve(256, 37), 20);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, AdjustedIntentTest, testing::Values(0, 1, 2, 3, 4), testing::PrintToStringParamName());

/// Every output space with every input encoding that can be bound or stored: the tables follow the encoding alone.
TEST(AdjustedSpacesTest, TablesFollowTheInputEncodingInEverySpace) {
    EnginePair pair({{"own.icc", ProfileBuilder().Mft2("A2B0", MakeLut({3, 3, 3, 5, 17}))}});
    const Bytes red = RisingCurve(256, 1), green = RisingCurve(256, 250), blue = RisingCurve(256, 37);
    pair.SetProfile("own.icc", 0, 0, 8);
    pair.AdjustOutput(red, green, blue, 256);
    const ReferenceTables bytes = pair.Reference().out;
    for (const int space : OutputSpaces()) {
        SCOPED_TRACE("output space " + std::to_string(space));
        pair.SetIntent(0, 0, space);
        pair.AdjustOutput(red, green, blue, 256);
        EXPECT_EQ(pair.Engine().Unit.BuildResult, space) << "the scale that was made goes by the space's own number";
        for (std::uint32_t v = 0; v < 65536; v += 257) ASSERT_EQ(pair.Engine().Lut1DOutB[v], bytes[2][v]);
        pair.SetIntent(0, 1, space);
        const int built = pair.Engine().Unit.BuildResult;
        pair.AdjustOutput(red, green, blue, 256);
        EXPECT_EQ(pair.Engine().Unit.BuildResult, built);
        for (std::uint32_t v = 0; v < 65535; v += 257) ASSERT_EQ(pair.Engine().Lut1DOutB[v] >> 8, bytes[2][v]);
        EXPECT_EQ(pair.Engine().Lut1DOutB[65535], 65535U);
        if (HasFailure()) return;
    }
}

}  // namespace
}  // namespace hueweave::test
