// SPDX-License-Identifier: MIT
// The caller's adjustments: offsets in lightness, chroma and hue, and curves for the output stage.
#include <climits>
#include <cmath>
#include <functional>

#include "support/ProfileBuilder.h"
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class AdjustLch : public EngineTest {
protected:
    /// Adjusts an engine that is bound to `kA2B0` and linear sRGB. Returns whether the grid was rebuilt, and checks a
    /// rebuilt one.
    bool Rebuilds(const Offsets& by) {
        Fill(6);
        EXPECT_EQ(engine().Adjust_Lch(by[0], by[1], by[2]), 10);
        const Grid grid = GridOf(engine());
        if (grid == PatternGrid(6)) return false;
        EXPECT_THAT(grid, EqualTo(ExpectedGrid(kA2B0, 10, by)));
        return true;
    }
};

TEST_F(AdjustLch, RebuildsTheGridAloneFromTheFullValues) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    const Tables input = InputOf(engine());
    engine().Unit.BuildResult = 4711;
    EXPECT_TRUE(Rebuilds({6.75, -7.5, 33.25}));
    ExpectTables(InputOf(engine()), input);
    ExpectTables(OutputOf(engine()), PatternOutput(6));
    EXPECT_EQ(Status(), "10/4711");
    EXPECT_EQ(Lch(), (std::array{6, -7, 33}));
}

TEST_F(AdjustLch, ComparesTheWholePartOfEachOffset) {
    const double below1 = std::nextafter(1.0, 0.0), below2 = std::nextafter(2.0, 0.0);
    const struct {
        double offset;
        bool rebuilds;
        int stored;
    } rows[] = {{0.0, false, 0},  {-0.0, false, 0},     {0.5, false, 0},  {below1, false, 0}, {-below1, false, 0},
                {1.9, true, 1},   {1.2, false, 1},      {1.0, false, 1},  {below2, false, 1}, {2.0, true, 2},
                {-1.0, true, -1}, {-below2, false, -1}, {-2.0, true, -2}, {-below1, true, 0}, {0.4, false, 0},
                {5.0, true, 5},   {0.75, true, 0}};
    for (std::size_t place = 0; place < 3; ++place) {
        ASSERT_EQ(Bind(PutSmooth("place" + std::to_string(place)), 0, 0, 10), 0);
        for (const auto& row : rows) {
            SCOPED_TRACE(testing::Message() << row.offset << " as offset " << place);
            Offsets by{};
            by[place] = row.offset;
            EXPECT_EQ(Rebuilds(by), row.rebuilds);
            EXPECT_EQ(Lch()[place], row.stored);
        }
        // The other two offsets return to zero, which is a change as well.
        EXPECT_TRUE(Rebuilds({3.0, 4.0, 5.0}));
        Offsets one{};
        one[place] = 3.0 + static_cast<double>(place);
        EXPECT_TRUE(Rebuilds(one));
        EXPECT_FALSE(Rebuilds(one));
    }
}

TEST_F(AdjustLch, CountsOffsetsThatAreNotFiniteAsZero) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    for (const double odd : {kInfinity, -kInfinity, kNaN}) {
        EXPECT_FALSE(Rebuilds({odd, 0.0, 0.0})) << odd;
        EXPECT_FALSE(Rebuilds({0.0, odd, 0.0})) << odd;
        EXPECT_FALSE(Rebuilds({0.0, 0.0, odd})) << odd;
    }
    EXPECT_EQ(engine().Adjust_Lch(kNaN, 3.0, kInfinity), 10);
    ExpectGrid(ExpectedGrid(kA2B0, 10, {0, 3.0, 0}));
    EXPECT_EQ(Lch(), (std::array{0, 3, 0}));
}

TEST_F(AdjustLch, StoresHugeOffsetsAsTheLimitsOfAnInt) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    Fill(6);
    EXPECT_EQ(engine().Adjust_Lch(1e300, -1e300, 2147483647.5), 10);
    EXPECT_EQ(Lch(), (std::array{INT_MAX, INT_MIN, INT_MAX}));
    EXPECT_NE(GridOf(engine()), PatternGrid(6));
    EXPECT_FALSE(Rebuilds({1e200, -1e200, 1e100}));
}

TEST_F(AdjustLch, StoresOffsetsWithoutATable) {
    Fill(6);
    EXPECT_EQ(engine().Adjust_Lch(0.0, 0.0, 0.0), 65535) << "no change: the output space, which is unset";
    EXPECT_EQ(engine().Adjust_Lch(1.0, 2.0, 3.0), 65535);
    EXPECT_EQ(Lch(), (std::array{1, 2, 3}));
    ExpectFilled(6);

    ASSERT_EQ(Bind(Put("none.icc", {}), 0, 0, 8), 0);
    EXPECT_EQ(engine().Adjust_Lch(0.5, 0.0, 0.0), 8) << "no change";
    EXPECT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 65535);
    EXPECT_EQ(Lch()[0], 5);
    EXPECT_EQ(Status(), "8/65535");
    EXPECT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 8) << "no change any more";
}

TEST_F(AdjustLch, RebuildsTheGridOfARefusedEngine) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 14), 0);
    EXPECT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 65535);
    ExpectGrid(ExpectedGrid(kA2B0, 65535, {5.0, 0, 0}));
    EXPECT_EQ(Status(), "65535/65535");
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
    void BindMarked() { ASSERT_EQ(Bind(Put("mark.icc", {{"A2B0", marked_}}), 0, GetParam(), space_), 0); }
    int Lay(int count) {
        return engine().Adjust_Output(curves_[0].data(), curves_[1].data(), curves_[2].data(), count);
    }
    Tables Expected(const Bytes& block, int count, bool bytes) const {
        return AdjustedOutputStage(DecodeLutTag(block).value(), curves_[0], curves_[1], curves_[2], count, bytes);
    }
    void ExpectOutput(int count) const { ExpectTables(OutputOf(*engine_), Expected(marked_, count, GetParam() == 0)); }

    /// A 16-bit entry in the width of the table.
    std::uint32_t Scaled(std::uint32_t entry) const { return GetParam() == 1 ? entry : entry / 256; }
    std::uint32_t Scale8(std::uint32_t byte) const { return Scaled(byte * 256); }

    static constexpr unsigned kMark = 0x4000;
    const Bytes marked_ = Mft2(MarkedLut(kMark));
    const int space_ = 8 + GetParam();
    std::array<Bytes, 3> curves_{Bytes(4097), Bytes(4097), Bytes(4097)};
};

TEST_P(AdjustOutput, ReplacesTheOutputStageAlone) {
    for (const Bytes& table : {marked_, MftAB(MarkedLut(kMark))}) {
        ASSERT_EQ(Bind(Put("table" + std::to_string(table.size()), {{"A2B0", table}}), 0, GetParam(), space_), 0);
        Stages expected = StagesOf(engine());
        const auto* const tag = engine().File.GetTag(TagName("A2B0"));
        EXPECT_EQ(Lay(256), space_);
        expected.output = Expected(marked_, 256, GetParam() == 0);
        ExpectStages(StagesOf(engine()), expected);
        EXPECT_EQ(Lay(100), space_);
        ExpectOutput(100);
        EXPECT_EQ(engine().File.GetTag(TagName("A2B0")), tag);
        EXPECT_EQ(engine().File.tagList.size(), 1U);
    }
}

// Worked out by hand: a point at every 257th entry, 256 steps from one to the next, and white at the end whatever the
// last point is.
TEST_P(AdjustOutput, LaysPoints257EntriesApartAndEndsInWhite) {
    BindMarked();
    ASSERT_EQ(Lay(256), space_);
    const Tables output = OutputOf(engine());
    for (std::size_t c = 0; c < 3; ++c) {
        const auto point = [&](std::size_t at) { return std::uint32_t{curves_[c][at]}; };
        for (std::size_t at = 0; at < 255; ++at) {
            ASSERT_EQ(output[c][257 * at], Scale8(point(at))) << at;
            // The entry before the next point already has that point's value.
            ASSERT_EQ(output[c][257 * at + 256], Scale8(point(at + 1))) << at;
        }
        EXPECT_EQ(output[c][128], Scaled((point(0) + point(1)) * 128)) << "half way";
        EXPECT_EQ(output[c][65534], Scale8(point(255)));
        EXPECT_EQ(output[c][65535], GetParam() == 1 ? 65535U : 255U);
    }
    EXPECT_EQ(output[0][1], Scaled(200 * 256 - 1));
    for (std::uint32_t v = 0; v < 65535; ++v) ASSERT_EQ(output[2][v], Scaled(v / 257 * 256 + v % 257)) << v;
}

TEST_P(AdjustOutput, CompletesFewerPointsFromTheProfile) {
    BindMarked();
    // Points beyond the first 256 are ignored, and a negative count sets none. The counts fall to show that each call
    // starts from the profile, not from the previous curves.
    for (const int count :
         {4097, 4096, 4095, 300, 258, 257, 256, 255, 254, 129, 128, 127, 2, 1, -1, -2, -256, -4096, INT_MIN}) {
        SCOPED_TRACE(count);
        Fill(3);
        ASSERT_EQ(Lay(count), space_);
        ExpectOutput(std::clamp(count, 0, 256));
    }
    // By hand: ten points of the caller, the rest from the profile.
    ASSERT_EQ(Lay(10), space_);
    EXPECT_EQ(engine().Lut1DOutG[257 * 9], Scale8(curves_[1][9]));
    EXPECT_EQ(engine().Lut1DOutG[257 * 10 - 1], Scaled(100 * 10 + kMark + 4));
    EXPECT_EQ(engine().Lut1DOutG[65534], Scaled(100 * 255 + kMark + 4));
}

TEST_P(AdjustOutput, ChangesNothingForACountOfZeroOrANullArray) {
    // Also on an engine that could not build: the call returns the space and looks nothing up.
    unsigned char* const point = curves_[0].data();
    const auto expectNothing = [&](int space, bool table) {
        Fill(3);
        const std::string status = Status();
        for (const int count : {0, 1, 256, -1}) {
            EXPECT_EQ(engine().Adjust_Output(nullptr, point, point, count), space);
            EXPECT_EQ(engine().Adjust_Output(point, nullptr, point, count), space);
            EXPECT_EQ(engine().Adjust_Output(point, point, nullptr, count), space);
            if (count == 0 || !table) {
                EXPECT_EQ(Lay(count), count == 0 ? space : 65535) << "without a table";
            }
        }
        ExpectFilled(3);
        EXPECT_EQ(Status(), status);
    };
    expectNothing(65535, false);
    Rebind(0, GetParam(), 8);
    expectNothing(8, false);
    Bind(Put("none.icc", {}), 0, GetParam(), 9);
    expectNothing(9, false);
    Bind(Put("bytes.icc", {{"A2B0", Mft1()}}), 0, GetParam(), 8);
    expectNothing(65535, true);
    BindMarked();
    expectNothing(space_, true);
}

// A curve of two entries or fewer is the identity; one of up to 255 entries ends before the 256th point, and a point
// past its end is the index itself.
TEST_P(AdjustOutput, TakesThePlaceItselfForThePointsThatTheProfileLacks) {
    for (const auto& [entries, outputs] :
         {std::pair{0, 3}, {1, 3}, {2, 7}, {3, 1}, {17, 7}, {255, 3}, {256, 1}, {4096, 3}}) {
        const Bytes block = EncodeMft2(
            MakeLut({.outputs = outputs, .points = 2, .outputEntries = entries, .outputKind = CurveKind::Random}));
        engine().Reset();
        ASSERT_EQ(Bind(Put("own.icc", {{"A2B0", block}}), 0, GetParam(), space_), 0);
        for (const int count : {1, 17, 254, 256, -1}) {
            SCOPED_TRACE(testing::Message() << entries << " entries, " << outputs << " channels, " << count);
            ASSERT_EQ(Lay(count), space_);
            ExpectTables(OutputOf(engine()), Expected(block, std::max(count, 0), GetParam() == 0));
        }
    }
}

TEST_P(AdjustOutput, LastsUntilTheOutputStageIsRebuilt) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, GetParam(), 8), 0);
    const Tables own = OutputOf(engine());
    const std::function<void()> rebuilds[] = {[&] { Rebind(1, GetParam(), 8); }, [&] { Rebind(0, 1 - GetParam(), 8); },
                                              [&] { Rebind(0, GetParam(), 22); },
                                              [&] { Bind(path, 1, GetParam(), 8); }};
    for (const auto& rebuild : rebuilds) {
        ASSERT_EQ(Lay(256), 8);
        const Tables adjusted = OutputOf(engine());
        ASSERT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 8);
        EXPECT_EQ(Rebind(0, GetParam(), 8), 8) << "no change";
        EXPECT_EQ(Bind(path, 0, GetParam(), 8), 0) << "no change";
        ExpectTables(OutputOf(engine()), adjusted);
        rebuild();
        ASSERT_EQ(Rebind(0, GetParam(), 8), 8);
        ExpectTables(OutputOf(engine()), own);
    }
}

TEST_P(AdjustOutput, TakesTheCurvesOnARefusedEngineAndLeavesThemBehind) {
    ASSERT_EQ(Bind(Put("mark.icc", {{"A2B0", marked_}}), 0, GetParam(), 14), 0);
    EXPECT_EQ(Lay(256), 65535);
    ExpectOutput(256);
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(Rebind(0, GetParam(), 22), 22);
    ExpectTables(OutputOf(engine()), OutputStage(22).tables);
}

INSTANTIATE_TEST_SUITE_P(Widths, AdjustOutput, testing::Values(0, 1),
                         [](const auto& param) { return std::string(param.param == 1 ? "Words" : "Bytes"); });

class AdjustOutputScale : public EngineTest {};

TEST_F(AdjustOutputScale, FollowsTheInputEncodingAndNotTheOutputSpace) {
    Bytes curve(256);
    for (std::size_t i = 0; i < 256; ++i) curve[i] = static_cast<unsigned char>(255 - i);
    // Input encoding, output space, and whether the tables hold bytes.
    const struct {
        int input, output;
        bool bytes;
    } rows[] = {{0, 8, true},  {0, 9, true},  {0, 12, true},     {1, 8, false},
                {1, 9, false}, {5, 8, false}, {65535, 10, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.input << " " << row.output);
        ASSERT_EQ(Bind(PutSmooth(), 0, 0, 20), 0);
        ASSERT_EQ(Rebind(0, row.input, row.output), row.output);
        engine().Unit.BuildResult = 4711;
        EXPECT_EQ(engine().Adjust_Output(curve.data(), curve.data(), curve.data(), 256), row.output);
        ExpectTables(OutputOf(engine()),
                     AdjustedOutputStage(DecodeLutTag(kA2B0).value(), curve, curve, curve, 256, row.bytes));
        EXPECT_EQ(engine().Unit.BuildResult, row.bytes ? row.output : 4711);
    }
}

}  // namespace
}  // namespace hueweave::test
