// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Integer interpolation in a grid of 9, 17 or 33 points, compared with the six rows of differences.
#include <gtest/gtest.h>

#include <climits>

#include "unit/units/UnitHelpers.h"

namespace hueweave::test {
namespace {

using Pixel = std::array<unsigned short, 3>;

/// The sum of the table's row, cut by an arithmetic shift, low 16 bits.
Pixel NaivePixel(const Nodes& nodes, int points, const std::array<int, 3>& at) {
    const int shift = ShiftOf(points);
    std::array<int, 3> cell{}, f{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        cell[axis] = at[axis] >> shift;
        f[axis] = at[axis] & ((1 << shift) - 1);
    }
    const NaiveCase& row = CaseOf(f[0], f[1], f[2]);
    Pixel result{};
    for (std::size_t c = 0; c < 3; ++c) {
        const auto difference = [&](int to, int from) {
            return std::int64_t{Corner(nodes, points, cell, to, c)} - Corner(nodes, points, cell, from, c);
        };
        const std::int64_t sum = std::int64_t{Corner(nodes, points, cell, 0, c)} * (1 << shift) +
                                 difference(row.xTo, row.xFrom) * f[0] + difference(row.yTo, row.yFrom) * f[1] +
                                 difference(row.zTo, row.zFrom) * f[2];
        result[c] = static_cast<unsigned short>((sum >> shift) & 0xffff);
    }
    return result;
}

/// Interpolates, and sees that the four other samples stay.
Pixel InterpolatePixel(ColorTable33& table, const std::array<int, 3>& at) {
    auto a = static_cast<unsigned short>(at[0]), b = static_cast<unsigned short>(at[1]),
         c = static_cast<unsigned short>(at[2]);
    unsigned short d = 11, e = 12, f = 13, g = 14;
    table.Conversion(a, b, c, d, e, f, g);
    EXPECT_EQ((std::array{d, e, f, g}), (std::array<unsigned short, 4>{11, 12, 13, 14}));
    return {a, b, c};
}

class IntegerGrid : public testing::TestWithParam<int> {
protected:
    int points_ = GetParam();
    int width_ = 1 << ShiftOf(points_);  // of a cell
    Nodes nodes_ = ScatteredNodes(points_, 17);
    std::unique_ptr<ColorTable33> table_ = MakeGrid(points_, nodes_);
};

TEST_P(IntegerGrid, FollowsTheRowOfEveryOrderOfFractions) {
    Scatter scatter(1);
    // All orders of three levels, ties among them: 27 patterns, in cells all over the cube.
    for (int round = 0; round < 40; ++round) {
        std::array<int, 3> level = {scatter.Between(0, width_ - 1), scatter.Between(0, width_ - 1),
                                    scatter.Between(0, width_ - 1)};
        if (round < 4) level = {0, round, width_ - 1 - round};
        for (int pattern = 0; pattern < 27; ++pattern) {
            std::array<int, 3> at{};
            int rest = pattern;
            for (int& value : at) {
                value = scatter.Between(0, points_ - 2) * width_ + level[static_cast<std::size_t>(rest % 3)];
                rest /= 3;
            }
            ASSERT_EQ(InterpolatePixel(*table_, at), NaivePixel(nodes_, points_, at)) << testing::PrintToString(at);
        }
    }
}

TEST_P(IntegerGrid, AgreesAllOverTheCube) {
    Scatter scatter(2);
    for (int n = 0; n < 30000; ++n) {
        const std::array<int, 3> at = {scatter.Next(), scatter.Next(), scatter.Next()};
        ASSERT_EQ(InterpolatePixel(*table_, at), NaivePixel(nodes_, points_, at)) << testing::PrintToString(at);
    }
}

TEST_P(IntegerGrid, TakesNegativeAndLargeNodesInThe32BitsTheyHave) {
    const Nodes nodes = ScatteredNodes(points_, 4, -100000, 100000);
    PutNodes(*table_, points_, nodes);
    Scatter scatter(3);
    for (int n = 0; n < 10000; ++n) {
        const std::array<int, 3> at = {scatter.Next(), scatter.Next(), scatter.Next()};
        ASSERT_EQ(InterpolatePixel(*table_, at), NaivePixel(nodes, points_, at)) << testing::PrintToString(at);
    }
}

TEST_P(IntegerGrid, AtTheOriginIsTheFirstNode) {
    const Pixel first = InterpolatePixel(*table_, {0, 0, 0});
    for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(first[c], nodes_[0][c]);
}

TEST_P(IntegerGrid, OnANodeIsThatNode) {
    for (int i = 0; i < points_ - 1; ++i) {
        const int j = (i * 5 + 1) % (points_ - 1), k = (i * 3 + 2) % (points_ - 1);
        const Pixel result = InterpolatePixel(*table_, {i * width_, j * width_, k * width_});
        for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(result[c], nodes_[NodeAt(points_, i, j, k)][c]) << i;
    }
}

TEST_P(IntegerGrid, AtTheTopDoesNotReachTheLastNode) {
    const int last = points_ - 1;
    std::array<int, 7> low{}, high{};
    low.fill(1000);
    high.fill(61000);
    nodes_[NodeAt(points_, last - 1, last - 1, last - 1)] = low;
    nodes_[NodeAt(points_, last, last, last)] = high;
    PutNodes(*table_, points_, nodes_);
    const int expected = 1000 + 60000 * (width_ - 1) / width_;
    EXPECT_LT(expected, 61000);
    EXPECT_EQ(InterpolatePixel(*table_, {65535, 65535, 65535}),
              (Pixel{static_cast<unsigned short>(expected), static_cast<unsigned short>(expected),
                     static_cast<unsigned short>(expected)}));
}

TEST_P(IntegerGrid, AtTheTopOfAFlatCellIsItsValue) {
    for (auto& node : nodes_) node.fill(54321);
    PutNodes(*table_, points_, nodes_);
    EXPECT_EQ(InterpolatePixel(*table_, {65535, 65535, 65535}), (Pixel{54321, 54321, 54321}));
}

TEST_P(IntegerGrid, EqualFractionsWalkTheMainDiagonal) {
    for (int f = 1; f < width_; f += width_ / 64 + 1) {
        const int i = 3, j = 1, k = 5;
        const Pixel result = InterpolatePixel(*table_, {i * width_ + f, j * width_ + f, k * width_ + f});
        for (std::size_t c = 0; c < 3; ++c) {
            const std::int64_t low = nodes_[NodeAt(points_, i, j, k)][c];
            const std::int64_t high = nodes_[NodeAt(points_, i + 1, j + 1, k + 1)][c];
            EXPECT_EQ(result[c], (low * width_ + (high - low) * f) >> ShiftOf(points_)) << f;
        }
    }
}

TEST_P(IntegerGrid, CutsItsFractionOffOnBothSlopes) {
    for (auto& node : nodes_) node.fill(100);
    nodes_[NodeAt(points_, 1, 0, 0)] = {110, 90, 101, 0, 0, 0, 0};
    PutNodes(*table_, points_, nodes_);
    // 100 + 10 x 0.55, 100 - 10 x 0.55 and 100 + 0.55: 105.5, 94.5 and 100.55.
    const int f = width_ * 55 / 100;
    EXPECT_EQ(InterpolatePixel(*table_, {f, 0, 0}), (Pixel{105, 94, 100}));
}

TEST_P(IntegerGrid, ShiftsNegativeSumsTowardMinusInfinity) {
    for (auto& node : nodes_) node.fill(0);
    nodes_[NodeAt(points_, 1, 0, 0)] = {-1, -3, 65536, 0, 0, 0, 0};
    PutNodes(*table_, points_, nodes_);
    // -0.5, -1.5 and 32768; nothing is clamped, the low 16 bits are stored.
    EXPECT_EQ(InterpolatePixel(*table_, {width_ / 2, 0, 0}), (Pixel{65535, 65534, 32768}));
}

INSTANTIATE_TEST_SUITE_P(Sizes, IntegerGrid, testing::Values(9, 17, 33));

TEST(IntegerInterpolation, At33PointsTheTopLiesInCell31AtFraction2047) {
    Nodes nodes = ScatteredNodes(33, 5);
    const auto table = MakeGrid(33, nodes);
    const Pixel result = InterpolatePixel(*table, {65535, 65535, 65535});
    for (std::size_t c = 0; c < 3; ++c) {
        const std::int64_t low = nodes[NodeAt(33, 31, 31, 31)][c], high = nodes[NodeAt(33, 32, 32, 32)][c];
        EXPECT_EQ(result[c], (low * 2048 + (high - low) * 2047) >> 11);
    }
}

TEST(IntegerInterpolation, At17PointsTheTopLiesInCell15AtFraction4095) {
    Nodes nodes = ScatteredNodes(17, 5);
    const auto table = MakeGrid(17, nodes);
    const Pixel result = InterpolatePixel(*table, {65535, 65535, 65535});
    for (std::size_t c = 0; c < 3; ++c) {
        const std::int64_t low = nodes[NodeAt(17, 15, 15, 15)][c], high = nodes[NodeAt(17, 16, 16, 16)][c];
        EXPECT_EQ(result[c], (low * 4096 + (high - low) * 4095) >> 12);
    }
}

TEST(IntegerInterpolation, ReadsNoSlotBeyondTheThird) {
    Nodes nodes = ScatteredNodes(17, 6);
    const auto table = MakeGrid(17, nodes);
    const Pixel before = InterpolatePixel(*table, {12345, 54321, 33333});
    for (auto& node : nodes) {
        for (std::size_t c = 3; c < 7; ++c) node[c] = -1;
    }
    PutNodes(*table, 17, nodes);
    EXPECT_EQ(InterpolatePixel(*table, {12345, 54321, 33333}), before);
}

TEST(IntegerInterpolation, WorksAfterPackedNodesAlone) {
    const Nodes nodes = ScatteredNodes(9, 7);
    std::vector<int> packed;
    for (const auto& node : nodes) packed.insert(packed.end(), node.begin(), node.end());
    const auto table = std::make_unique<ColorTable33>();
    table->SetColorTable(packed.data(), 9);
    const std::array<int, 3> at = {40000, 8191, 60000};
    EXPECT_EQ(InterpolatePixel(*table, at), NaivePixel(nodes, 9, at));
}

TEST(GridPixels, AreConvertedInPlace) {
    const Nodes nodes = ScatteredNodes(17, 8);
    const auto table = MakeGrid(17, nodes);
    for (int code : {257, 258, 513, 514}) {
        Job job(code, 3);
        const std::vector<unsigned short> samples = {0, 40000, 65535, 1, 2, 3, 4096, 8192, 61440};
        job.Work(samples);
        EXPECT_EQ(table->Conversion(&job.info), 0);
        std::vector<unsigned short> expected;
        for (std::size_t p = 0; p < 9; p += 3) {
            const Pixel pixel = NaivePixel(nodes, 17, {samples[p], samples[p + 1], samples[p + 2]});
            expected.insert(expected.end(), pixel.begin(), pixel.end());
        }
        EXPECT_EQ(job.Work(), WithMarks(expected, job.Work().size(), Job::kMark16));
        EXPECT_EQ(job.source, std::vector<unsigned char>(job.source.size(), Job::kMark));
        EXPECT_EQ(job.dest, std::vector<unsigned char>(job.dest.size(), Job::kMark));
    }
}

TEST(GridPixels, BelowOneAreNotTouched) {
    const auto table = MakeGrid(9, ScatteredNodes(9, 9));
    for (int count : {0, -1, INT_MIN}) {
        Job job(257, 2);
        job.info.PixelCount = count;
        EXPECT_EQ(table->Conversion(&job.info), 0);
        EXPECT_EQ(job.Work(), std::vector<unsigned short>(job.Work().size(), Job::kMark16));
    }
}

TEST(GridPixels, WithoutABufferAreNone) {
    const auto table = MakeGrid(9, ScatteredNodes(9, 9));
    Job job(257, 2);
    job.info.WorkBuf.reset();
    EXPECT_EQ(table->Conversion(&job.info), 0);
}

/// Takes the place of the interpolation and notes what it was given.
class SpiedGrid : public ColorTable33 {
public:
    using ColorTable33::Conversion;
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override {
        places.push_back(&a);
        places.push_back(&b);
        places.push_back(&c);
        others.push_back({d, e, f, g});
        a = 1;
        b = 2;
        c = 3;
        ++d;
        e = static_cast<unsigned short>(e + 2);
        f = static_cast<unsigned short>(f + 3);
        g = static_cast<unsigned short>(g + 4);
        return 99;
    }
    std::vector<const unsigned short*> places;
    std::vector<std::array<unsigned short, 4>> others;
};

TEST(GridPixels, GoThroughTheVirtualInterpolationOnTheirOwnSamples) {
    const auto table = std::make_unique<SpiedGrid>();
    Job job(257, 3);
    EXPECT_EQ(table->Conversion(&job.info), 0);
    ASSERT_EQ(table->places.size(), 9U);
    for (std::size_t n = 0; n < 9; ++n) EXPECT_EQ(table->places[n], job.info.WorkBuf.get() + n);
    EXPECT_EQ(job.Work(),
              WithMarks(std::vector<unsigned short>{1, 2, 3, 1, 2, 3, 1, 2, 3}, job.Work().size(), Job::kMark16));
    // The four further samples are cleared once for the run, not for each pixel.
    EXPECT_EQ(table->others, (std::vector<std::array<unsigned short, 4>>{{0, 0, 0, 0}, {1, 2, 3, 4}, {2, 4, 6, 8}}));
}

TEST(GridPixels, TheByteOperationDoesNothing) {
    const auto table = MakeGrid(9, ScatteredNodes(9, 9));
    std::vector<unsigned char> data = {1, 2, 3, 4, 5, 6};
    table->Conversion(data.data(), 2);
    EXPECT_EQ(data, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
}

}  // namespace
}  // namespace hueweave::test
