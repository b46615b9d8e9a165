// SPDX-License-Identifier: MIT
// Output tables: how curves of a profile and of a caller are expanded, and how samples and runs are converted.
#include <gtest/gtest.h>

#include <climits>
#include <new>

#include "support/Matchers.h"
#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

/// Kept: two entries are the identity with a span of 15, where 16 is expected; the span of longer curves is not the
/// step either, so that values overshoot both ends; channels that the profile lacks use the plain identity curve and
/// end in its point of the last entry. Each table is loaded over the previous ones.
TEST(OutputTable, ExpandsTheCurvesOfAProfileOnAllSevenChannels) {
    const struct {
        int outputs, entries;
    } sizes[] = {{0, 16}, {0, 2}, {3, 0},  {3, 1},   {3, 2},   {2, 2},   {7, 300},  {7, 2},   {3, 3},
                 {1, 4},  {4, 5}, {6, 17}, {3, 255}, {3, 256}, {7, 257}, {3, 4095}, {7, 4096}};
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceOutputs plain;
    for (const auto& [outputs, entries] : sizes) {
        SCOPED_TRACE(testing::Message() << outputs << " channels, " << entries << " entries");
        TestLut lut = RandomLut({.outputs = outputs, .points = 2, .outputEntries = entries});
        lut.tag.inputTable.reset();
        lut.tag.clutTable.reset();
        if (entries < 3) lut.tag.outputTable.reset();  // not read either
        unit->OutputMode = 5;
        EXPECT_EQ(unit->Initial(&lut.tag), 0);
        plain.Load(lut.plain);
        ExpectTables(*unit, plain);
        EXPECT_EQ(FieldsOf(*unit), std::tuple(plain.step, plain.span, outputs, entries < 3 ? 4096 : entries, 5));
    }
}

ReferenceNode Interpolated(OutputTable33& unit, ReferenceNode s) {
    EXPECT_EQ(unit.Interpolation(s[0], s[1], s[2], s[3], s[4], s[5], s[6]), 0);
    return s;
}

TEST(OutputTable, InterpolatesWithAnyStepAndSpan) {
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceOutputs plain;
    Scatter(unit->Curve, plain.curve);
    Lcg random(63);
    const struct {
        double step, span;
    } rows[] = {{16.25, 15.0}, {16.25, 16.25}, {100.0, 37.5}, {257.0, 256.0}, {65536.0, 40000.0}, {30000.5, -20000.0}};
    for (const auto& [step, span] : rows) {
        plain.step = unit->Step = step;
        plain.span = unit->Span = span;
        for (int n = 0; n < 3000; ++n) {
            ReferenceNode s{};
            for (int& value : s) value = n < 2 ? 65535 * n : random.Sample();
            ASSERT_EQ(Interpolated(*unit, s), plain.Points(s)) << step << " " << span;
        }
    }
}

TEST(OutputTable, InterpolatesNothingOutsideTheCurve) {
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceNode curves;
    for (int c = 0; c < 7; ++c) {
        curves[AsIndex(c)] = 1600 * (c + 1);
        std::ranges::fill(unit->Curve[c], 1600 * (c + 1));
    }
    unit->Step = 257.0;
    unit->Span = 256.0;
    for (const int value : {INT_MIN, -1000000, -65536, -257, -1, 0, 65534, 65535, 257 * 4095 - 1}) {
        ReferenceNode s;
        s.fill(value);
        EXPECT_EQ(Interpolated(*unit, s), curves) << value;
    }
    // The value after the last entry is 0: at 15 of 16 steps a sixteenth remains.
    unit->Step = unit->Span = 16.0;
    EXPECT_EQ(Interpolated(*unit, {65535, 65535, 65535, 65535, 65535, 65535, 65535}),
              (ReferenceNode{100, 200, 300, 400, 500, 600, 700}));
}

/// Replaces the interpolation and records its arguments.
class SpiedOutput : public OutputTable33 {
public:
    int Interpolation(int& a, int& b, int& c, int& d, int& e, int& f, int& g) override {
        given.push_back({a, b, c, d, e, f, g});
        int value = a;
        for (int* sample : {&a, &b, &c, &d, &e, &f, &g}) *sample = ++value;
        return 99;
    }
    std::vector<ReferenceNode> given;
};

void ExpectSpied(const SpiedOutput& unit, bool allSeven) {
    ASSERT_EQ(unit.given.size(), 65535U);
    for (int v = 0; v < 65535; ++v) {
        const int rest = allSeven ? v : 0;
        ASSERT_EQ(unit.given[AsIndex(v)], (ReferenceNode{v, v, v, rest, rest, rest, rest}));
        for (int c = 0; c < 7; ++c) ASSERT_EQ(unit.Lut16[c][v], v + 1 + c);
    }
}

TEST(OutputTable, ExpandsThroughTheVirtualInterpolation) {
    const auto profile = std::make_unique<SpiedOutput>(), bytes = std::make_unique<SpiedOutput>();
    const TestLut lut = RandomLut({.points = 2, .outputEntries = 16});
    EXPECT_EQ(profile->Initial(&lut.tag), 0);
    ExpectSpied(*profile, true);
    const Bytes points(256, 7);
    EXPECT_EQ(bytes->Initial(points.data(), points.data(), points.data(), 256), 0);
    ExpectSpied(*bytes, false);
}

/// Caller's curves over those of a profile, as an engine uses them. Kept: the curves end in 65535 whatever they hold.
TEST(OutputTable, ReplacesItsCurvesByThoseOfACaller) {
    const TestLut lut = RandomLut({.points = 2, .outputEntries = 40});
    for (const int count : {-5, 0, 1, 2, 128, 255, 256, 257, 4096, 5000}) {
        SCOPED_TRACE(count);
        auto points = RandomPoints(AsIndex(std::max(count, 0)));
        const auto unit = std::make_unique<OutputTable33>();
        ReferenceOutputs plain;
        unit->Initial(&lut.tag);
        plain.Load(lut.plain);
        unit->OutputMode = 3;
        EXPECT_EQ(unit->Initial(points[0].data(), points[1].data(), points[2].data(), count), 0);
        for (Bytes& curve : points) curve.resize(std::min<std::size_t>(curve.size(), 4096));
        plain.Load(points[0], points[1], points[2]);
        ExpectTables(*unit, plain);
        EXPECT_EQ(FieldsOf(*unit), std::tuple(257.0, 256.0, 3, 40, 3));
        for (int c = 0; c < 7; ++c) EXPECT_EQ(unit->Lut16[c][65535], c < 3 ? 65535 : 0) << c;
    }
}

/// Kept: unscaled, to the first 256 entries only; nothing else changes.
TEST(OutputTable, CopiesByteTablesOfAnyShape) {
    const struct {
        int channels, entries;
    } shapes[] = {{0, 256}, {1, 256}, {2, 256}, {3, 256}, {6, 256}, {7, 256},
                  {7, 257}, {8, 300}, {8, 100}, {2, 0},   {2, 1},   {255, 256}};
    for (const auto& [channels, entries] : shapes) {
        SCOPED_TRACE(testing::Message() << channels << " channels, " << entries << " entries");
        CLut8Type lut;
        lut.outputChan = static_cast<std::uint8_t>(channels);
        lut.outputEnt = static_cast<std::uint16_t>(entries);
        lut.outputTable = std::make_unique<std::uint8_t[]>(AsIndex(channels * entries));
        Lcg random(13);
        ReferenceOutputs plain;
        for (int n = 0; n < channels * entries; ++n) {
            const int value = static_cast<int>(random.Below(256)), c = n / entries, i = n % entries;
            lut.outputTable[AsIndex(n)] = static_cast<std::uint8_t>(value);
            if (c < 7 && i < 256) plain.table[AsIndex(c)][AsIndex(i)] = value;
        }
        // The bytes past the unit's last table do not belong to it.
        constexpr std::size_t kBehind = 4096;
        Bytes memory(sizeof(OutputTable33) + kBehind, 0x5a);
        auto* const unit = ::new (memory.data()) OutputTable33();
        FieldsOf(*unit) = kOddFields;
        EXPECT_EQ(unit->Initial(&lut), 0);
        ExpectTables(*unit, plain);
        EXPECT_EQ(FieldsOf(*unit), kOddFields);
        unit->~OutputTable33();
        EXPECT_THAT(Bytes(memory.end() - kBehind, memory.end()), EqualsBytes(Bytes(kBehind, 0x5a)));
    }
}

TEST(OutputTable, ResetsToTheIdentityAndTakesNothingFromAByteTableWithoutCurves) {
    const TestLut lut = RandomLut({.outputs = 7, .points = 2, .outputEntries = 16});
    const auto unit = std::make_unique<OutputTable33>();
    unit->Initial(&lut.tag);
    unit->OutputCLR7_8();
    FieldsOf(*unit) = kOddFields;
    unit->ResetTable();
    CLut8Type empty;
    empty.outputChan = 3;
    empty.outputEnt = 256;
    EXPECT_EQ(unit->Initial(&empty), 0);
    ExpectTables(*unit, ReferenceOutputs());
    EXPECT_EQ(FieldsOf(*unit), kOddFields);
}

/// Tables that differ between channels, with entries below 0 and above 65535.
class OutputTableRun : public testing::Test {
protected:
    OutputTableRun() { Scatter(unit_->Lut16, plain_.table); }
    std::unique_ptr<OutputTable33> unit_ = std::make_unique<OutputTable33>();
    ReferenceOutputs plain_;
    Lcg random_{15};
};

TEST_F(OutputTableRun, ConvertsOneColorThroughThreeTables) {
    for (int round = 0; round < 3000; ++round) {
        Seven s = RandomSeven(random_);
        if (round < 2) s.fill(static_cast<unsigned short>(65535 * round));
        Seven expected = s;
        for (std::size_t c = 0; c < 3; ++c) expected[c] = static_cast<unsigned short>(plain_.table[c][s[c]] & 0xffff);
        ASSERT_EQ(Through(*unit_, s), expected);
    }
}

/// Kept: the seven-channel codes write nothing, nor does a value that is not a code. The mode is ignored.
TEST_F(OutputTableRun, WritesTheLowPartOfEachEntry) {
    constexpr int kPixels = 40;
    for (const int code : FormatCodes()) {
        SCOPED_TRACE(code);
        Job job(code, kPixels);
        Words work = job.Work();
        for (auto& sample : work) sample = random_.Sample();
        work[0] = 0;
        work[1] = 65535;
        job.SetWork(work);
        Bytes expected = job.dest;
        const Bytes source = job.source;
        plain_.Run(code, work, kPixels, expected);
        unit_->OutputMode = code % 9;
        EXPECT_EQ(unit_->Conversion(&job.info), 0);
        EXPECT_EQ(unit_->OutputMode, code % 9);
        EXPECT_THAT(job.dest, EqualsBytes(expected));
        EXPECT_THAT(job.Work(), EqualTo(work));
        EXPECT_THAT(job.source, EqualsBytes(source));
        const bool writes = (code >= 257 && code <= 262) || (code >= 513 && code <= 518);
        EXPECT_EQ(job.dest != Bytes(job.dest.size(), Job::kMark), writes);
    }
}

}  // namespace
}  // namespace hueweave::test
