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
    for (const int entries : {2, 3, 256, 4096}) {
        const LutShape shape{.points = 5, .inputEntries = entries, .inputKind = CurveKind::Random};
        EnginePair pair({{"curves.icc", MiniProfile({{"A2B0", Mft2(MakeLut(shape))}})}});
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
    FillTables(pair_, 4);
    engine().Unit.InputSpace = Space(1);
    reference().inputSpace = 1;
    engine().Unit.BuildResult = reference().buildResult = 4711;
    engine().Set1DLutIn(&Table());
    reference().in = InputStage(DecodeLutTag(kA2B0).value(), 1);
    pair_.ExpectSame();
}

TEST_F(Set1DLutIn, PacksByShiftUnderAFixedMask) {
    for (const int shift : {12, 11, 8, 4, 0}) {
        for (const int input : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "shift " << shift << ", input " << input);
            pair_.SetProfile("smooth.icc", 0, input, 8 + input);
            // Packed with 12 bits, an entry gives back its original value.
            for (auto& table : reference().in) {
                for (std::uint32_t& entry : table) {
                    const std::uint32_t value = entry / 65536 * 4096 + entry % 65536;
                    entry = (value >> shift) << 16 | (value & 0xfffU);
                }
            }
            engine().Shift = shift;
            engine().Set1DLutIn(&Table());
            engine().Shift = 12;
            pair_.ExpectSame();
        }
    }
}

class Set3DLut : public Set1DLutIn {};

TEST_F(Set3DLut, TouchesNoOtherStageAndStoresNoOffset) {
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    FillTables(pair_, 4);
    engine().Set3DLut(&Table(), 3.5, 4.5, 5.5);
    reference().cells = CellStage(GridStage(DecodeLutTag(kA2B0).value(), 3.5, 4.5, 5.5, 10, std::nullopt));
    pair_.ExpectSame();
}

// The nodes stay unchanged, and their chroma is not cut; a shift of any size other than zero would cut it.
TEST_F(Set3DLut, TreatsAShiftByZeroAsNone) {
    LutContents lut = SmoothLut(3);
    lut.grid = ScatteredGrid(3, 99);
    EnginePair pair({{"wide.icc", MiniProfile({{"A2B0", Mft2(lut)}})}});
    pair.SetProfile("wide.icc", 0, 0, 10);
    const double tiny = std::numeric_limits<double>::denorm_min();
    for (const auto& by : {std::array{-0.0, 0.0, -0.0},
                           {kNaN, kNaN, kNaN},
                           {kInfinity, -kInfinity, kInfinity},
                           {tiny, 0.0, 0.0},
                           {0.0, -tiny, 0.0},
                           {0.0, 0.0, tiny}}) {
        SCOPED_TRACE(testing::PrintToString(by));
        FillTables(pair, 4);
        pair.Construct(&CIccEngineS::ConstructEngine, by[0], by[1], by[2]);
    }
}

TEST_F(Set3DLut, ShiftsConstantsButNotDifferences) {
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    const auto usual = reference().cells;
    for (const int shift : {12, 11, 8, 4, 0}) {
        SCOPED_TRACE(shift);
        reference().cells = usual;
        for (auto& cell : reference().cells) {
            for (auto& record : cell) {
                for (auto& words : record) words[0] = (words[0] >> 12) << shift;
            }
        }
        engine().Shift = shift;
        engine().Set3DLut(&Table(), 0.0, 0.0, 0.0);
        pair_.ExpectSame();
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

TEST_P(Set1DLutOut, FillsTheTablesAndSetsTheStatus) {
    // The input encoding has no effect on it.
    for (const int input : {0, 1, 5, 65535}) {
        SCOPED_TRACE(input);
        FillTables(pair_, 0xde);
        engine().Unit.InputSpace = Space(input);
        engine().Unit.OutputSpace = Space(space_);
        engine().Set1DLutOut(nullptr);
        reference().inputSpace = input;
        reference().outputSpace = status_;
        reference().buildResult = made_;
        reference().out = OutputStage(space_).tables;
        pair_.ExpectSame();
    }
}

// The input tables and the grid are built in either case. Kept: SetProfile names the space as the result, also for the
// aliases 12 and 13, SetIntent the encoding that was made.
TEST_P(Set1DLutOut, DeterminesTheResultsOfSetProfileAndSetIntent) {
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
