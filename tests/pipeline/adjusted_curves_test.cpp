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

/// The same three curves of a caller's for every test.
void Adjust(EnginePair& pair, int count) {
    static const Bytes red = RisingCurve(4096, 1), green = RisingCurve(4096, 250), blue = RisingCurve(4096, 37);
    pair.AdjustOutput(red, green, blue, count);
}

/// Points of the profile's own output curves, and the input encoding.
class AdjustedCurveTest : public testing::TestWithParam<std::tuple<int, int>> {
protected:
    LutShape Shape() const { return {3, 3, 3, 5, std::get<0>(GetParam()), CurveKind::Ramp, CurveKind::Random}; }
    int Input() const { return std::get<1>(GetParam()); }
};

TEST_P(AdjustedCurveTest, EveryCountOfPointsGivesTheReferenceTables) {
    EnginePair pair({{"own.icc", ProfileBuilder().Mft2("A2B0", MakeLut(Shape()))}});
    pair.SetProfile("own.icc", 0, Input(), 22 + Input());
    for (const int count : {1, 2, 16, 17, 128, 254, 255, 256, 257, 4096, 0, -1, kLeast}) {
        SCOPED_TRACE("count " + std::to_string(count));
        Adjust(pair, count);
    }
    pair.Convert(PixelRun(Input()));
}

TEST_P(AdjustedCurveTest, ACurvedTableIsTakenThroughATemporary) {
    const CurvedLutSpec lut = Curved(MakeLut(Shape()), CurveLayout::Stepped);
    EnginePair pair({{"curved.icc", ProfileBuilder().MftAB("A2B1", lut)}});
    pair.SetProfile("curved.icc", 0, Input(), 8 + Input());
    ASSERT_EQ(pair.Engine().Unit.OutputSpace, 8 + Input());
    const auto* tag = pair.Engine().GetMft2();
    for (const int count : {1, 128, 256, -1}) Adjust(pair, count);
    EXPECT_EQ(pair.Engine().GetMft2(), tag) << "the tag stays, the temporary table goes";
    pair.Convert(PixelRun(Input()));
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
        // A space of the other width: the tables follow the input encoding.
        pair.SetProfile("some.icc", 0, input, 11 - input);
        for (const int count : {100, 256, -1}) Adjust(pair, count);
        pair.Convert(PixelRun(input));
    }
}

INSTANTIATE_TEST_SUITE_P(Channels, AdjustedChannelTest,
                         testing::Combine(testing::Values(1, 2, 3, 4, 7), testing::Values(0, 1)), EntriesAndWidth);

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
        Adjust(pair, 20);
        // An alias: SetIntent leaves its original as the result of the build, curves of 8 bits the alias.
        pair.SetIntent(GetParam() == 2 ? 0 : 2, input, 12 + input);
        Adjust(pair, 20);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, AdjustedIntentTest, testing::Values(0, 1, 2, 3, 4), testing::PrintToStringParamName());

}  // namespace
}  // namespace hueweave::test
