// SPDX-License-Identifier: MIT
// The three building stages: what each makes of a table and an output space, and what it leaves unchanged.
#include <climits>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class Set1DLutIn : public EngineTest {
protected:
    const CLut16Type& Table() { return dynamic_cast<const CLut16Type&>(*engine().File.GetTag(TagName("A2B0"))); }
};

TEST_F(Set1DLutIn, EvaluatesTheInputCurvesAtEverySample) {
    for (const std::size_t entries : {2U, 3U, 256U, 4096U}) {
        LutContents lut = StraightLut(5, LabGrid(5), static_cast<int>(entries), 257);
        for (std::size_t i = 0; i < 3 * entries; ++i) {
            lut.input[i] = static_cast<std::uint16_t>((i % entries * 2654435761U >> (i / entries * 3)) & 0xffffU);
        }
        EnginePair pair({{"curves.icc", MiniProfile({{"A2B0", Mft2(lut)}})}});
        pair.SetProfile("curves.icc", 0, 0, 8);
        // Lab encodings, and others that count as bytes; each build replaces the previous tables.
        for (const int input : {1, 0, 1, 2, 3, 5, 65535, 0}) {
            SCOPED_TRACE(testing::Message() << entries << " entries, input " << input);
            pair.SetIntent(0, input, 8);
        }
    }
}

TEST_F(Set1DLutIn, TouchesNoOtherStage) {
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    FillTables(engine(), 4);
    engine().Unit.InputSpace = Space(1);
    engine().Unit.BuildResult = 4711;
    engine().Set1DLutIn(&Table());
    ExpectStages(StagesOf(engine()), {InputStage(DecodeLutTag(kA2B0).value(), 1), PatternGrid(4), PatternOutput(4)});
    EXPECT_EQ(Status(), "10/4711");
}

TEST_F(Set1DLutIn, PacksByShiftUnderAFixedMask) {
    for (const int shift : {12, 11, 8, 4, 0}) {
        for (const int input : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "shift " << shift << ", input " << input);
            pair_.SetProfile("smooth.icc", 0, input, 8 + input);
            // Packed with 12 bits, an entry gives back its original value.
            Tables expected = InputOf(engine());
            for (auto& table : expected) {
                for (std::uint32_t& entry : table) {
                    const std::uint32_t value = entry / 65536 * 4096 + entry % 65536;
                    entry = (value >> shift) << 16 | (value & 0xfffU);
                }
            }
            engine().Shift = shift;
            engine().Set1DLutIn(&Table());
            engine().Shift = 12;
            ExpectTables(InputOf(engine()), expected);
        }
    }
}

class Set3DLut : public Set1DLutIn {};

TEST_F(Set3DLut, TouchesNoOtherStageAndStoresNoOffset) {
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    const Tables input = InputOf(engine());
    FillTables(engine(), 4);
    engine().Set3DLut(&Table(), 3.5, 4.5, 5.5);
    ExpectStages(StagesOf(engine()), {input, ExpectedGrid(kA2B0, 10, {3.5, 4.5, 5.5}), PatternOutput(4)});
    EXPECT_EQ(engine().Unit.Lightness + engine().Unit.Chroma + engine().Unit.Hue, 0);
    EXPECT_EQ(Status(), "10/10");
}

// The nodes stay unchanged, and their chroma is not cut; a shift of any size other than zero would cut it.
TEST_F(Set3DLut, TakesAShiftByNothingForNone) {
    LutContents lut = SmoothLut(3);
    lut.grid = ScatteredGrid(3, 99);
    EnginePair pair({{"wide.icc", MiniProfile({{"A2B0", Mft2(lut)}})}});
    pair.SetProfile("wide.icc", 0, 0, 10);
    const double tiny = std::numeric_limits<double>::denorm_min();
    for (const Offsets& by : {Offsets{-0.0, 0.0, -0.0},
                              {kNaN, kNaN, kNaN},
                              {kInfinity, -kInfinity, kInfinity},
                              {tiny, 0.0, 0.0},
                              {0.0, -tiny, 0.0},
                              {0.0, 0.0, tiny}}) {
        SCOPED_TRACE(testing::PrintToString(by));
        FillTables(pair.Real(), 4);
        pair.Construct(&CIccEngineS::ConstructEngine, by[0], by[1], by[2]);
    }
}

TEST_F(Set3DLut, ShiftsConstantsByShiftAndDifferencesByNothing) {
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    const Grid usual = GridOf(engine());
    for (const int shift : {12, 11, 8, 4, 0}) {
        SCOPED_TRACE(shift);
        Grid expected = usual;
        for (std::size_t word = 0; word < expected.size(); word += 4) expected[word] = (expected[word] >> 12) << shift;
        engine().Shift = shift;
        engine().Set3DLut(&Table(), 0.0, 0.0, 0.0);
        ExpectGrid(expected);
    }
}

/// An output space.
class Set1DLutOut : public EngineTest, public testing::WithParamInterface<int> {
protected:
    const int space_ = GetParam();
    /// The encoding that is built, of which 12 and 13 are aliases, and the space that the engine then has.
    const int made_ = OutputStage(space_).result;
    const int status_ = made_ == 65535 ? 65535 : space_;
};

TEST_P(Set1DLutOut, FillsTheTablesAndSettlesTheStatus) {
    // The input encoding has no effect on it.
    for (const int input : {0, 1, 5, 65535}) {
        SCOPED_TRACE(input);
        FillTables(engine(), 0xdeadbeef);
        engine().Unit.InputSpace = Space(input);
        engine().Unit.OutputSpace = Space(space_);
        engine().Set1DLutOut(nullptr);
        EXPECT_EQ(engine().Unit.InputSpace, input);
        EXPECT_EQ(engine().Unit.OutputSpace, status_);
        EXPECT_EQ(engine().Unit.BuildResult, made_);
        ExpectStages(StagesOf(engine()), {{}, PatternGrid(0xdeadbeef), OutputStage(space_).tables});
    }
}

// The input tables and the grid are built in either case. Kept: SetProfile names the space as the result, also for the
// aliases 12 and 13, SetIntent the encoding that was made.
TEST_P(Set1DLutOut, SettlesWhatSetProfileAndSetIntentAnswer) {
    EnginePair pair(EngineTest::Profiles());
    EXPECT_EQ(pair.SetProfile("smooth.icc", 0, 0, space_), 0);
    EXPECT_EQ(pair.Real().InEntries, 256);
    EXPECT_EQ(pair.Real().Unit.BuildResult, status_);
    pair.SetProfile("smooth.icc", 1, 1, 9);
    EXPECT_EQ(pair.SetIntent(0, 1, space_), status_);
    EXPECT_EQ(pair.Real().Unit.BuildResult, made_);
}

std::vector<int> EverySpace() {
    std::vector<int> spaces{-1, 256, 65534, 65535, 65536 + 8, INT_MIN};
    for (int space = 0; space <= 41; ++space) spaces.push_back(space);
    return spaces;
}
INSTANTIATE_TEST_SUITE_P(Every, Set1DLutOut, testing::ValuesIn(EverySpace()));

}  // namespace
}  // namespace hueweave::test
