// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "abi/CheckedEngines.h"

namespace hueweave::test {
namespace {

using ExportedSetIntent = ExportTest;

TEST_F(ExportedSetIntent, StoresAnySpaceOnAnEmptyEngine) {
    for (const int space : {0, 8, 14, 65534, 65536, -1, kLeast, kMost}) {
        // The width of the next run and file is stored as well; without tables nothing is touched in either.
        const int input = space % 2 == 0 ? 1 : 65535;
        EXPECT_EQ(engines_.SetIntent(0, input, space), space) << "nothing looks at it";
        engines_.Convert();
        engines_.ConvertFile();
        EXPECT_EQ(engines_.SetIntent(0, 0, 65535), 65535);
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

}  // namespace
}  // namespace hueweave::test
