// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The building stages read the number of fraction bits from `Shift`; the mask of the fraction is fixed.
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class FractionBitsTest : public EngineTest, public testing::WithParamInterface<int> {};

TEST_P(FractionBitsTest, PackedEntriesFollowThemAndTheirMaskDoesNot) {
    const int shift = GetParam();
    for (const int input : {0, 1}) {
        ASSERT_EQ(Bind(PutSmooth(), 0, input, 8 + input), 0);
        // Packed with 12 bits, an entry tells the value that it was made of.
        const Tables usual = InputOf(engine());
        engine().Shift = shift;
        engine().Set1DLutIn(&Table(TagName("A2B0")));
        engine().Shift = 12;
        Tables expected;
        for (std::size_t c = 0; c < 3; ++c) {
            for (const std::uint32_t entry : usual[c]) {
                const std::uint32_t value = entry / 65536 * 4096 + entry % 65536;
                expected[c].push_back((value >> shift) << 16 | (value & 0xfffU));
            }
        }
        EXPECT_TRUE(InputOf(engine()) == expected);
    }
}

TEST_P(FractionBitsTest, ConstantsFollowThemAndDifferencesDoNot) {
    const int shift = GetParam();
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    Grid expected = GridOf(engine());
    for (std::size_t word = 0; word < expected.size(); word += 4) expected[word] = (expected[word] >> 12) << shift;
    engine().Shift = shift;
    engine().Set3DLut(&Table(TagName("A2B0")), 0.0, 0.0, 0.0);
    EXPECT_TRUE(GridOf(engine()) == expected);
}

INSTANTIATE_TEST_SUITE_P(Some, FractionBitsTest, testing::Values(12, 11, 8, 4, 0), testing::PrintToStringParamName());

class FractionBitsFieldTest : public EngineTest {};

TEST_F(FractionBitsFieldTest, IsChangedByNoOperation) {
    const std::string path = PutSmooth();
    unsigned char curve[256] = {};
    Bind(path, 0, 1, 9);
    Rebind(1, 0, 8);
    engine().Adjust_Lch(1.0, 2.0, 3.0);
    engine().Adjust_Output(curve, curve, curve, 256);
    Bind(path, 0, 2, 8);
    EXPECT_EQ(engine().Shift, 12);
    engine().Reset();
    EXPECT_EQ(engine().Shift, 12);
}

}  // namespace
}  // namespace hueweave::test
