// SPDX-License-Identifier: MIT
// The caller's adjustments: offsets in lightness, chroma and hue, and curves for the output stage.
#include <climits>
#include <cmath>
#include <functional>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class AdjustLch : public EngineTest {};

TEST_F(AdjustLch, ComparesTheIntegerPartOfEachOffset) {
    const double below1 = std::nextafter(1.0, 0.0), below2 = std::nextafter(2.0, 0.0);
    for (std::size_t place = 0; place < 3; ++place) {
        pair_.SetProfile("smooth.icc", 0, 0, place == 0 ? 12 : 10);
        for (const double offset : {0.0, -0.0, 0.5, below1, -below1, 1.9, 1.2, 1.0, below2, 2.0, -1.0, -below2, -2.0,
                                    -below1, 0.4, 5.0, 0.75}) {
            SCOPED_TRACE(testing::Message() << offset << " as offset " << place);
            std::array<double, 3> by{};
            by[place] = offset;
            pair_.AdjustLch(by[0], by[1], by[2]);
        }
        // The other two offsets return to zero, which is a change as well.
        pair_.AdjustLch(3.75, 4.75, 5.75);
        std::array<double, 3> one{};
        one[place] = 3.0 + static_cast<double>(place);
        pair_.AdjustLch(one[0], one[1], one[2]);
    }
}

TEST_F(AdjustLch, CountsOffsetsThatAreNotFiniteAsZero) {
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    for (const double odd : {kInfinity, -kInfinity, kNaN}) {
        pair_.AdjustLch(odd, 0.0, 0.0);
        pair_.AdjustLch(0.0, odd, 0.0);
        pair_.AdjustLch(0.0, 0.0, odd);
    }
    pair_.AdjustLch(kNaN, 3.0, kInfinity);
}

TEST_F(AdjustLch, StoresHugeOffsetsAsTheLimitsOfAnInt) {
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    FillTables(engine(), 6);
    EXPECT_EQ(engine().Adjust_Lch(1e300, -1e300, 2147483647.5), 10);
    EXPECT_EQ((std::array{engine().Unit.Lightness, engine().Unit.Chroma, engine().Unit.Hue}),
              (std::array{INT_MAX, INT_MIN, INT_MAX}));
    EXPECT_NE(engine().Lut3D[0][0][0][0], 0x06060606);
    FillTables(engine(), 6);
    EXPECT_EQ(engine().Adjust_Lch(1e200, -1e200, 1e100), 10);
    EXPECT_EQ(engine().Lut3D[0][0][0][0], 0x06060606) << "no change";
}

TEST_F(AdjustLch, StoresOffsetsWithoutATableOrSpace) {
    EXPECT_EQ(pair_.AdjustLch(0.0, 0.0, 0.0), 65535) << "no change: the output space, which is unset";
    EXPECT_EQ(pair_.AdjustLch(1.0, 2.0, 3.0), 65535);
    pair_.SetProfile("none.icc", 0, 0, 8);
    EXPECT_EQ(pair_.AdjustLch(0.5, 0.0, 0.0), 8) << "no change";
    EXPECT_EQ(pair_.AdjustLch(5.0, 0.0, 0.0), 65535);
    EXPECT_EQ(pair_.AdjustLch(5.0, 0.0, 0.0), 8) << "no change any more";
    pair_.SetProfile("smooth.icc", 0, 0, 14);
    EXPECT_EQ(pair_.AdjustLch(5.0, 0.0, 0.0), 65535) << "a refused engine gets its grid";
}

/// The input encoding: 1 gives 16-bit entries, 0 the same entries shifted right by 8.
class AdjustOutput : public EngineTest, public testing::WithParamInterface<int> {
protected:
    AdjustOutput() {
        for (std::size_t i = 0; i < 4097; ++i) {
            curves_[0][i] = static_cast<unsigned char>(200 - i % 200);
            curves_[1][i] = static_cast<unsigned char>(i * 37 + 11);
            curves_[2][i] = static_cast<unsigned char>(i);
        }
    }
    int Lay(int count) { return pair_.AdjustOutput(curves_[0], curves_[1], curves_[2], count); }

    const int input_ = GetParam(), space_ = 8 + input_;
    std::array<Bytes, 3> curves_{Bytes(4097), Bytes(4097), Bytes(4097)};
};

TEST_P(AdjustOutput, FillsMissingPointsFromTheProfile) {
    // Points beyond the first 256 are ignored, and a negative count sets none. The counts fall to show that each call
    // starts from the profile, not from the previous curves.
    for (const char* name : {"mark.icc", "curved.icc"}) {
        pair_.SetProfile(name, 0, input_, space_);
        for (const int count :
             {4097, 4096, 4095, 300, 258, 257, 256, 255, 254, 129, 128, 127, 10, 2, 1, -1, -2, -256, -4096, INT_MIN}) {
            SCOPED_TRACE(count);
            EXPECT_EQ(Lay(count), space_);
            EXPECT_EQ(engine().Lut1DOutG[65535], input_ == 1 ? 65535U : 255U) << "white";
        }
        EXPECT_EQ(engine().File.tagList.size(), 1U);
    }
}

TEST_P(AdjustOutput, ChangesNothingForACountOfZeroOrANullArray) {
    // Also on an engine that could not build: the call returns the space and looks nothing up.
    const auto expectNothing = [&](int space, bool hasTable) {
        for (const int count : {0, 1, 256, -1}) {
            EXPECT_EQ(pair_.AdjustOutput({}, curves_[1], curves_[2], count), space);
            EXPECT_EQ(pair_.AdjustOutput(curves_[0], {}, curves_[2], count), space);
            EXPECT_EQ(pair_.AdjustOutput(curves_[0], curves_[1], {}, count), space);
            if (count != 0 && !hasTable) {
                EXPECT_EQ(Lay(count), 65535) << "without a table";
            }
        }
        EXPECT_EQ(Lay(0), space);
    };
    expectNothing(65535, false);
    pair_.SetIntent(0, input_, 8);
    expectNothing(8, false);
    pair_.SetProfile("none.icc", 0, input_, 9);
    expectNothing(9, false);
    pair_.SetProfile("bytes.icc", 0, input_, 8);
    expectNothing(65535, true);
    pair_.SetProfile("mark.icc", 0, input_, space_);
    expectNothing(space_, true);
}

// A curve of two entries or fewer is the identity; one of up to 255 entries ends before the 256th point, and a point
// past its end is the index itself.
TEST_P(AdjustOutput, UsesTheIndexForPointsThatTheProfileLacks) {
    for (const auto& [entries, outputs] :
         {std::pair{0, 3}, {1, 3}, {2, 7}, {3, 1}, {17, 7}, {255, 3}, {256, 1}, {4096, 3}}) {
        const LutShape shape{
            .outputs = outputs, .points = 2, .outputEntries = entries, .outputKind = CurveKind::Random};
        EnginePair pair({{"own.icc", MiniProfile({{"A2B0", Mft2(MakeLut(shape))}})}});
        pair.SetProfile("own.icc", 0, input_, space_);
        for (const int count : {1, 17, 254, 256, -1}) {
            SCOPED_TRACE(testing::Message() << entries << " entries, " << outputs << " channels, " << count);
            EXPECT_EQ(pair.AdjustOutput(curves_[0], curves_[1], curves_[2], count), space_);
        }
    }
}

TEST_P(AdjustOutput, LastsUntilTheOutputStageIsRebuilt) {
    pair_.SetProfile("smooth.icc", 0, input_, 8);
    const std::function<void()> rebuilds[] = {
        [&] { pair_.SetIntent(1, input_, 8); }, [&] { pair_.SetIntent(0, 1 - input_, 8); },
        [&] { pair_.SetIntent(0, input_, 22); }, [&] { pair_.SetProfile("smooth.icc", 1, input_, 8); }};
    for (const auto& rebuild : rebuilds) {
        Lay(256);
        pair_.AdjustLch(5.0, 0.0, 0.0);
        pair_.SetIntent(0, input_, 8);                 // no change
        pair_.SetProfile("smooth.icc", 0, input_, 8);  // no change
        rebuild();
        pair_.SetIntent(0, input_, 8);
    }
}

TEST_P(AdjustOutput, AcceptsCurvesForARefusedSpaceAndDropsThemWithTheNext) {
    pair_.SetProfile("mark.icc", 0, input_, 14);
    EXPECT_EQ(Lay(256), 65535);
    EXPECT_EQ(pair_.SetIntent(0, input_, 22), 22);
}

INSTANTIATE_TEST_SUITE_P(Widths, AdjustOutput, testing::Values(0, 1),
                         [](const auto& param) { return std::string(param.param == 1 ? "Words" : "Bytes"); });

class AdjustOutputEncoding : public EngineTest {};

TEST_F(AdjustOutputEncoding, FollowsTheInputEncodingAndNotTheOutputSpace) {
    for (const auto& [input, output] :
         {std::pair{0, 8}, {0, 9}, {0, 12}, {1, 8}, {1, 9}, {1, 13}, {5, 8}, {65535, 10}}) {
        SCOPED_TRACE(testing::Message() << input << " " << output);
        pair_.SetProfile("smooth.icc", 0, 0, 20);
        pair_.SetIntent(0, input, output);
        EXPECT_EQ(pair_.AdjustOutput(Bytes(256, 40), Bytes(256, 140), Bytes(256, 240), 256), output);
        EXPECT_EQ(engine().Lut1DOutR[0], input == 0 ? 40U : 40U * 256);
        pair_.Convert();
    }
}

}  // namespace
}  // namespace hueweave::test
