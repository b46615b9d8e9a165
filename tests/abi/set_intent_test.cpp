// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "abi/CheckedEngines.h"

namespace hueweave::test {
namespace {

using ExportedSetIntent = ExportTest;

TEST_F(ExportedSetIntent, StoresAnySpaceOnAnEmptyEngine) {
    for (const int space : {0, 1, 7, 8, 14, 33, 40, 65534, 65536, -1, -5, kLeast, kMost}) {
        EXPECT_EQ(engines_.SetIntent(0, 0, space), space) << "nothing looks at it";
        engines_.Convert();
        engines_.ConvertFile();
        EXPECT_EQ(engines_.SetIntent(0, 0, 65535), 65535);
        engines_.Convert();
        engines_.ConvertFile();
    }
}

TEST_F(ExportedSetIntent, StoresTheWidthOfTheNextFileAndRun) {
    // Without tables nothing is touched in either width.
    for (const int input : {1, 65535}) {
        engines_.SetIntent(0, input, 9);
        EXPECT_EQ(engines_.Reference().inputSpace, input == 1 ? 1 : 0);
        engines_.Convert();
        engines_.ConvertFile();
    }
}

TEST_F(ExportedSetIntent, TakesAnUnsetInputEncodingForBytes) {
    engines_.SetProfile("plain.icc", 1, 0, 22);
    const Bytes expected = engines_.Convert();
    engines_.SetProfile("plain.icc", 0, 1, 22);
    EXPECT_EQ(engines_.SetIntent(1, 65535, 22), 22);
    EXPECT_THAT(engines_.Convert(), EqualsBytes(expected));
    // Stored as 0: the same job with 0 counts as unchanged, so the curves laid over it stay.
    engines_.Adjust(0, 0, 0, SomeCurves(256));
    const Bytes curved = engines_.Convert();
    EXPECT_EQ(engines_.SetIntent(1, 0, 22), 22);
    EXPECT_EQ(engines_.SetIntent(1, 65535, 22), 22);
    EXPECT_EQ(engines_.SetProfile("plain.icc", 1, 0, 22), 22);
    EXPECT_THAT(engines_.Convert(), EqualsBytes(curved));
}

TEST_F(ExportedSetIntent, TakesAnyInputEncodingButOneForBytes) {
    engines_.SetProfile("plain.icc", 0, 0, 22);
    const Bytes bytes = engines_.Convert();
    engines_.SetIntent(0, 1, 22);
    EXPECT_NE(engines_.Convert(), bytes);
    for (const int input : {4, 5, 8, 9, 65534, -1, kLeast, kMost}) {
        engines_.SetIntent(0, input, 22);
        EXPECT_EQ(engines_.Reference().inputSpace, input);
        EXPECT_THAT(engines_.Convert(), EqualsBytes(bytes)) << input;
    }
}

TEST_F(ExportedSetIntent, TakesAnyIntentButTheFourForPerceptualAsSetProfileDoes) {
    engines_.SetProfile("plain.icc", 0, 0, 22);
    const Bytes perceptual = engines_.Convert();
    for (const int intent : {4, 5, -1, 65535, kMost, kLeast}) {
        engines_.SetProfile("plain.icc", 1, 0, 22);
        EXPECT_NE(engines_.Convert(), perceptual);
        engines_.SetIntent(intent, 0, 22);
        EXPECT_THAT(engines_.Convert(), EqualsBytes(perceptual)) << intent;
        engines_.SetProfile("plain.icc", 1, 0, 22);
        engines_.SetProfile("plain.icc", intent, 0, 22);
        EXPECT_THAT(engines_.Convert(), EqualsBytes(perceptual)) << intent;
    }
}

TEST_F(ExportedSetIntent, LeavesARefusedSpaceAgain) {
    EXPECT_EQ(engines_.SetProfile("plain.icc", 0, 0, 14), 65535);
    EXPECT_EQ(engines_.SetIntent(0, 0, 8), 8);
    engines_.Convert();
    EXPECT_EQ(engines_.SetIntent(0, 0, 40), 65535);
    engines_.Convert();
}

}  // namespace
}  // namespace hueweave::test
