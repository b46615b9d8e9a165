// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "unit/engine/EngineFixture.h"
#include "units/InputTable33.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::InputTable33;

class InputStageTest : public EngineTest {
protected:
    /// Input curves of any shape, one for each channel.
    static MiniLut CurvyLut(std::size_t entries) {
        MiniLut lut = SmoothLut();
        for (std::size_t c = 0; c < 3; ++c) {
            lut.input[c].clear();
            for (std::size_t i = 0; i < entries; ++i) {
                lut.input[c].push_back(static_cast<std::uint16_t>((i * 2654435761U >> (3 * c)) & 0xffffU));
            }
        }
        return lut;
    }
};

TEST_F(InputStageTest, TwoEntriesCountAsTheIdentity) {
    MiniLut lut = SmoothLut();
    for (Curve& curve : lut.input) curve = {40000, 3};
    const std::string path = Put("two.icc", {{"A2B0", Mft2(lut)}});
    ASSERT_EQ(Bind(path, 0, 1, 9), 0);
    const Tables wide = InputOf(engine());
    for (unsigned v = 0; v < 65536; ++v) {
        ASSERT_EQ(wide[0][v], Packed(v));
        ASSERT_EQ(wide[1][v], Packed(v));
        ASSERT_EQ(wide[2][v], Packed(v));
    }
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    const Tables narrow = InputOf(engine());
    for (unsigned v = 0; v < 255; ++v) ASSERT_EQ(narrow[1][v], Packed(v * 256));
    EXPECT_EQ(narrow[1][255], Packed(65535));
}

TEST_F(InputStageTest, TheHighestValueIsOneStepBelowTheLastGridPoint) {
    MiniLut lut = SmoothLut();
    lut.input = {ConstantCurve(3, 0xffff), ConstantCurve(3, 0), ConstantCurve(3, 0x8fff)};
    ASSERT_EQ(Bind(Put("top.icc", {{"A2B0", Mft2(lut)}}), 0, 1, 9), 0);
    for (const std::size_t v : {std::size_t{0}, std::size_t{1000}, std::size_t{65535}}) {
        EXPECT_EQ(engine().Lut1DInR[v], 0x000f0fffU);
        EXPECT_EQ(engine().Lut1DInG[v], 0U);
        EXPECT_EQ(engine().Lut1DInB[v], 0x00080fffU);
    }
}

TEST_F(InputStageTest, TablesAreThoseOfTheUnitPacked) {
    for (const std::size_t entries : {std::size_t{3}, std::size_t{256}, std::size_t{4096}}) {
        const std::string path = Put(std::to_string(entries), {{"A2B0", Mft2(CurvyLut(entries))}});
        ASSERT_EQ(Bind(path, 0, 0, 8), 0);
        for (const int input : {0, 1, 2, 3, 5, 65535}) {
            engine().Unit.InputSpace = Space(input);
            engine().Set1DLutIn(&Table(TagName("A2B0")));

            const auto unit = std::make_unique<InputTable33>();
            unit->Initial(&Table(TagName("A2B0")), Space(input));
            if (input != 1) unit->Change_Lut16_To_Lut8();
            const std::size_t size = input == 1 ? 65536 : 256;
            Tables expected;
            for (std::size_t c = 0; c < 3; ++c) {
                for (std::size_t v = 0; v < size; ++v) {
                    expected[c].push_back(Packed(static_cast<unsigned>(unit->Lut16[c][v]) & 0xffffU));
                }
            }
            EXPECT_EQ(engine().InEntries, static_cast<int>(size));
            EXPECT_TRUE(InputOf(engine()) == expected) << entries << " entries, input " << input;
        }
    }
}

class GridStageTest : public EngineTest {
protected:
    std::int32_t Word(int i, int j, int k, int record, int channel, int place) {
        return engine().Lut3D[(i * 16 + j) * 16 + k][record][channel][place];
    }
};

TEST_F(GridStageTest, CellsAreThoseOfTheUnitForEveryGridSize) {
    for (const unsigned points : {2U, 3U, 9U, 16U, 17U, 33U}) {
        MiniLut lut = SmoothLut();
        lut.points = points;
        lut.grid = ScatteredGrid(points, points);
        ASSERT_EQ(Bind(Put(std::to_string(points), {{"A2B0", Mft2(lut)}}), 0, 0, 10), 0);
        EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 0, 0, 0, 10)) << points << " points";
    }
}

TEST_F(GridStageTest, PrimariesFollowTheOutputSpace) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    const CLut16Type& lut = Table(TagName("A2B0"));
    const Grid sRgb = ExpectedGrid(lut, 0, 0, 0, 8);
    EXPECT_TRUE(GridOf(engine()) == sRgb);
    for (const int space : {20, 24, 28}) {
        ASSERT_EQ(Rebind(0, 0, space), space);
        EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(lut, 0, 0, 0, space)) << space;
        EXPECT_FALSE(GridOf(engine()) == sRgb) << space;
    }
    ASSERT_EQ(Rebind(0, 0, 38), 38);
    EXPECT_TRUE(GridOf(engine()) == sRgb);
}

TEST_F(GridStageTest, SetLut3DAloneTouchesNoOtherStage) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    const Tables input = InputOf(engine());
    FillTables(engine(), 4);
    engine().Set3DLut(&Table(TagName("A2B0")), 3.5, 4.5, 5.5);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 3.5, 4.5, 5.5, 10));
    EXPECT_TRUE(InputOf(engine()) == input);
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(4));
    EXPECT_EQ(engine().Unit.Lightness, 0);
    EXPECT_EQ(Status(), "10/10");
}

TEST_F(GridStageTest, EveryRecordGoesFromTheOriginToTheFarCorner) {
    MiniLut lut = SmoothLut();
    lut.points = 17;
    lut.grid = ScatteredGrid(17, 17);
    ASSERT_EQ(Bind(Put("any.icc", {{"A2B0", Mft2(lut)}}), 0, 0, 10), 0);
    int distinct = 0;
    for (int cell = 0; cell < 4096; ++cell) {
        const int i = cell / 256, j = cell / 16 % 16, k = cell % 16;
        for (int channel = 0; channel < 3; ++channel) {
            const auto sum = [&](int record) {
                return Word(i, j, k, record, channel, 1) + Word(i, j, k, record, channel, 2) +
                       Word(i, j, k, record, channel, 3);
            };
            const std::int32_t constant = Word(i, j, k, 0, channel, 0);
            // The far corner is the next cell's origin along the diagonal.
            const bool inner = i < 15 && j < 15 && k < 15;
            const std::int32_t far = inner ? Word(i + 1, j + 1, k + 1, 0, channel, 0) / 4096 - constant / 4096 : sum(0);
            ASSERT_EQ(constant % 4096, 0);
            for (int record = 0; record < 6; ++record) {
                ASSERT_EQ(Word(i, j, k, record, channel, 0), constant);
                ASSERT_EQ(sum(record), far) << "cell " << cell << " record " << record << " channel " << channel;
            }
            distinct += far != 0 ? 1 : 0;
        }
    }
    EXPECT_GT(distinct, 4096);
}

TEST_F(GridStageTest, BlackStaysBlackInEverySpace) {
    MiniLut lut = SmoothLut(2);
    lut.grid = BlackGrid();
    for (const int space : {8, 20, 24, 28}) {
        FillTables(engine(), 4);
        ASSERT_EQ(Bind(Put("black.icc", {{"A2B0", Mft2(lut)}}), 0, 0, space), 0);
        EXPECT_TRUE(GridOf(engine()) == PatternGrid(0)) << space;
    }
}

}  // namespace
}  // namespace hueweave::test
