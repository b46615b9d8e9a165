// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The exported call makes both adjustments of an engine and answers its output space.
#include "abi/CheckedEngines.h"

namespace hueweave::test {
namespace {

using ExportedAdjust = ExportTest;

TEST_F(ExportedAdjust, ShiftsColoursAndLaysCurvesInOneCall) {
    const ToneCurves curves = SomeCurves(4096), other = SomeCurves(4096, 9);
    for (const int input : {0, 1}) {
        engines_.SetProfile("plain.icc", 3, input, 22 + input);
        const Bytes plain = engines_.Convert();
        // Three offsets and three curves that have nothing in common, so that each must be in its place.
        for (const int count : {256, 255, 1, 4096, -1, kLeast}) {
            SCOPED_TRACE(count);
            EXPECT_EQ(engines_.Adjust(-12.5, 8.25, 30.0, curves, count), 22 + input);
            EXPECT_NE(engines_.Convert(), plain);
        }
        engines_.Adjust(-12.5, 8.25, 30.0, curves);
        const Bytes both = engines_.Convert();
        for (const ToneCurves& row : {ToneCurves{{}, other.green, other.blue}, ToneCurves{other.red, {}, other.blue},
                                      ToneCurves{other.red, other.green, {}}, ToneCurves{}}) {
            for (const int count : {256, -1, kMost}) engines_.Adjust(-12.5, 8.25, 30.0, row, count);
            EXPECT_THAT(engines_.Convert(), EqualsBytes(both)) << "a null array changes nothing";
        }
        engines_.Adjust(0, 0, 0, other, 0);
        EXPECT_NE(engines_.Convert(), both) << "without points the shift alone is made";
    }
}

TEST_F(ExportedAdjust, GivesEveryPixelTheValueOfLevelCurves) {
    engines_.SetProfile("black.icc", 0, 0, 10);
    engines_.Adjust(0, 0, 0, {Bytes(256, 9), Bytes(256, 8), Bytes(256, 7)});
    Bytes expected;
    for (int pixel = 0; pixel < 600; ++pixel) expected.insert(expected.end(), {9, 8, 7});
    EXPECT_THAT(engines_.Convert(), EqualsBytes(expected));
}

TEST_F(ExportedAdjust, AnswersTheOutputSpaceAndNotTheResult) {
    const ToneCurves curves = SomeCurves(256);
    EXPECT_EQ(engines_.Adjust(1, 2, 3, curves), 65535) << "no profile";
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    for (const EngineApi& api : engines_.Apis()) {
        EXPECT_EQ(api.Adjust(nan, inf, -1e300, nullptr, nullptr, nullptr, -1), 65535);
    }
    engines_.Convert();
    engines_.SetProfile("plain.icc", 0, 0, 22);
    engines_.Convert();  // forgets the offsets before
    engines_.SetProfile("absent.icc", 0, 0, 22);
    EXPECT_EQ(engines_.Adjust(1, 2, 3, curves), 65535);
    EXPECT_EQ(engines_.SetIntent(0, 0, 22), 22);
    EXPECT_EQ(engines_.Adjust(4, 2, 3, curves), 22) << "the engine itself fails";
    engines_.Convert();
    engines_.SetProfile("plain.icc", 0, 0, 14);
    EXPECT_EQ(engines_.Adjust(4, 0, 0, curves), 65535);
    EXPECT_EQ(engines_.SetIntent(0, 0, 22), 22);
    engines_.Convert();
    engines_.SetProfile("bytes.icc", 0, 0, 8);
    EXPECT_EQ(engines_.Adjust(5, 0, 0), 65535);
}

}  // namespace
}  // namespace hueweave::test
