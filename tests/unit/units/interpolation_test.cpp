// SPDX-License-Identifier: MIT
// Tetrahedral interpolation between nodes: in integers in the grids of 3, 4, 6 and 7 channels, for one colour and for
// runs of pixels, and in floating point in grids of any size.
#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

std::string ChannelsOf(const testing::TestParamInfo<int>& row) { return std::to_string(row.param) + "Channels"; }

class IntegerInterpolation : public testing::TestWithParam<int> {
protected:
    void Load(int points, std::uint32_t seed, int low = 0, int high = 65535) {
        plain_ = RandomGrid(points, seed, low, high);
        EXPECT_EQ(table_->SetColorTable(Packed(plain_.nodes).data(), points), 0);
    }
    /// The interpolated channels, followed by the unchanged samples.
    Seven Expected(const Seven& was) const {
        const Seven whole = plain_.InterpolateFixed(was[0], was[1], was[2]);
        Seven result = was;
        std::copy_n(whole.begin(), channels_, result.begin());
        return result;
    }
    std::size_t channels_ = AsIndex(GetParam());
    ReferenceGrid plain_;
    std::unique_ptr<ColorTable33> table_ = MakeColorTable(GetParam());
    Lcg random_{3};
};

TEST_P(IntegerInterpolation, FollowsEveryOrderOfFractionsAndTheirTies) {
    for (const int points : {9, 17, 33}) {
        // Nodes may exceed 16 bits: only the low 16 bits of the result count.
        Load(points, static_cast<std::uint32_t>(points), -100000, 120000);
        const int width = 65536 / (points - 1);
        const auto below = [this](int limit) {
            return static_cast<int>(random_.Below(static_cast<std::uint32_t>(limit)));
        };
        for (int round = 0; round < 40; ++round) {
            std::array<int, 3> level = {below(width), below(width), below(width)};
            if (round < 4) level = {0, round, width - 1 - round};
            for (std::size_t pattern = 0; pattern < 27; ++pattern) {
                const std::size_t order[] = {pattern % 3, pattern / 3 % 3, pattern / 9};
                Seven was = RandomSeven(random_);
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    was[axis] = static_cast<unsigned short>(below(points - 1) * width + level[order[axis]]);
                }
                ASSERT_EQ(Through(*table_, was), Expected(was)) << points << " " << testing::PrintToString(was);
            }
        }
    }
}

TEST_P(IntegerInterpolation, AgreesAllOverTheCubeWithAnyShiftAndMask) {
    Load(33, 41);
    const struct {
        int shift, mask;
    } rows[] = {{11, 2047}, {12, 4095}, {13, 8191}, {12, 0x7f0}, {13, 0}, {14, 2047}};  // the last three fit no size
    for (const auto& [shift, mask] : rows) {
        plain_.shift = table_->LUT_Shift = shift;
        plain_.mask = table_->LUT_Mask = mask;
        for (int n = 0; n < 3000; ++n) {
            const Seven was = RandomSeven(random_);
            ASSERT_EQ(Through(*table_, was), Expected(was)) << shift << " " << mask;
        }
        EXPECT_EQ(table_->LUT_Shift, shift);
        EXPECT_EQ(table_->LUT_Mask, mask);
    }
}

TEST_P(IntegerInterpolation, RunsOverEverySampleOfTheWorkingBuffer) {
    Load(33, 8);
    for (const int code : {257, 514, 520, 65534}) {  // the code is ignored
        SCOPED_TRACE(code);
        constexpr int kPixels = 500;
        Job job(code, kPixels);
        Words work = job.Work();
        for (std::size_t n = 0; n < channels_ * kPixels; ++n) work[n] = random_.Sample();
        job.SetWork(work);
        plain_.Run(GetParam(), kPixels, work);
        EXPECT_EQ(table_->Conversion(&job.info), 0);
        EXPECT_THAT(job.Work(), EqualTo(work));
        EXPECT_THAT(job.source, EqualsBytes(Bytes(job.source.size(), Job::kMark)));
        EXPECT_THAT(job.dest, EqualsBytes(Bytes(job.dest.size(), Job::kMark)));
    }
}

INSTANTIATE_TEST_SUITE_P(Every, IntegerInterpolation, testing::Values(3, 4, 6, 7), ChannelsOf);

/// Replaces the interpolation, records its arguments, and adds 1 to 7 to the samples.
template <typename Table>
class SpiedGrid : public Table {
public:
    using Table::Conversion;
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override {
        given.push_back({a, b, c, d, e, f, g});
        unsigned short step = 0;
        for (unsigned short* sample : {&a, &b, &c, &d, &e, &f, &g}) {
            places.push_back(sample);
            *sample = static_cast<unsigned short>(*sample + ++step);
        }
        return 99;
    }
    std::vector<const unsigned short*> places;
    std::vector<Seven> given;
};

TEST(ColorTableRun, OfThreeChannelsWorksOnItsOwnSamples) {
    const auto table = std::make_unique<SpiedGrid<ColorTable33>>();
    Job job(257, 3);
    job.SetWork({10, 20, 30, 40, 50, 60, 70, 80, 90});
    EXPECT_EQ(table->Conversion(&job.info), 0);
    // The other four samples are cleared once per run, not per pixel.
    EXPECT_EQ(table->given,
              (std::vector<Seven>{{10, 20, 30, 0, 0, 0, 0}, {40, 50, 60, 4, 5, 6, 7}, {70, 80, 90, 8, 10, 12, 14}}));
    for (std::size_t n = 0; n < 9; ++n) EXPECT_EQ(table->places.at(n / 3 * 7 + n % 3), job.info.WorkBuf.get() + n);
    Words expected = {11, 22, 33, 41, 52, 63, 71, 82, 93};
    expected.resize(job.Work().size(), Job::kMark16);
    EXPECT_THAT(job.Work(), EqualTo(expected));
}

/// Kept: a wider grid converts copies of the samples of each pixel.
template <typename Table>
void ExpectRunsOnCopies(std::size_t channels) {
    const auto table = std::make_unique<SpiedGrid<Table>>();
    SCOPED_TRACE(table->UnitName);
    Job job(257, 2);
    Words work = job.Work();
    for (std::size_t n = 0; n < 2 * channels; ++n) work[n] = static_cast<unsigned short>(10 * n);
    job.SetWork(work);
    EXPECT_EQ(table->Conversion(&job.info), 0);
    EXPECT_EQ(table->given, (std::vector<Seven>{{work[0], work[1], work[2], 0, 0, 0, 0},
                                                {work[channels], work[channels + 1], work[channels + 2], 0, 0, 0, 0}}));
    const unsigned short* const first = job.info.WorkBuf.get();
    for (const unsigned short* place : table->places) {
        EXPECT_FALSE(std::greater_equal<>()(place, first) && std::less<>()(place, first + job.info.WorkCount));
    }
    for (std::size_t n = 0; n < 2 * channels; ++n) {
        const std::size_t c = n % channels;
        work[n] = static_cast<unsigned short>((c < 3 ? work[n] : 0) + c + 1);
    }
    EXPECT_THAT(job.Work(), EqualTo(work));
}

TEST(ColorTableRun, OfMoreChannelsWorksOnCopies) {
    ExpectRunsOnCopies<ColorTable34>(4);
    ExpectRunsOnCopies<ColorTable36>(6);
    ExpectRunsOnCopies<ColorTable37>(7);
}

ReferenceNode Floating(const ColorTable33& table, const std::array<int, 3>& at) {
    ReferenceNode v = {at[0], at[1], at[2], -7, 70000, 5, 6};  // the last four are replaced, never read
    table.Conversion(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
    return v;
}

class FloatingInterpolation : public testing::TestWithParam<int> {
protected:
    void ExpectAt(const std::array<int, 3>& given, const std::array<int, 3>& counted) const {
        ASSERT_EQ(Floating(*table_, given), plain_.InterpolateFloat(counted[0], counted[1], counted[2]))
            << testing::PrintToString(given);
    }
    int points_ = GetParam();
    ReferenceGrid plain_ = RandomGrid(points_, 23, -65535, 131071);
    std::unique_ptr<ColorTable33> table_ = MakeGrid(plain_);
    Lcg random_{4};
};

TEST_P(FloatingInterpolation, AgreesAllOverTheCube) {
    for (int n = 0; n < 3000; ++n) {
        const std::array<int, 3> at = {random_.Sample(), random_.Sample(), random_.Sample()};
        ASSERT_NO_FATAL_FAILURE(ExpectAt(at, at));
    }
}

TEST_P(FloatingInterpolation, FollowsEveryOrderOfFractionsAndTheirTies) {
    const auto width = static_cast<std::uint32_t>(plain_.step);
    for (int round = 0; round < 20; ++round) {
        const std::uint32_t level[] = {random_.Below(width), random_.Below(width), 0};
        for (int pattern = 0; pattern < 27; ++pattern) {
            std::array<int, 3> at{};
            int rest = pattern;
            for (int& value : at) {
                const double node = random_.Below(static_cast<std::uint32_t>(points_ - 1)) * plain_.step;
                value = static_cast<int>(node) + static_cast<int>(level[rest % 3]);
                rest /= 3;
            }
            ASSERT_NO_FATAL_FAILURE(ExpectAt(at, at));
        }
    }
}

TEST_P(FloatingInterpolation, TakesPositionsOutsideTheAxesForTheirEnds) {
    EXPECT_EQ(Floating(*table_, {0, 0, 0}), plain_.nodes[0]);
    const int places[] = {std::numeric_limits<int>::min(), -65536, -1, 0, 1000, 65535, 65536, 131071,
                          std::numeric_limits<int>::max()};
    const auto inside = [](int place) { return std::clamp(place, 0, 65535); };
    for (const int a : places) {
        for (const int b : places) {
            for (const int c : places) {
                ASSERT_NO_FATAL_FAILURE(ExpectAt({a, b, c}, {inside(a), inside(b), inside(c)}));
            }
        }
    }
}

/// Kept: node positions are truncated to whole numbers, so that the last position of a cell can lie past its end, by
/// less than the truncation.
TEST_P(FloatingInterpolation, TakesTheOwnCellOfEveryPositionBesideANode) {
    for (int n = 0; n < points_; ++n) {
        for (const int beside : {-2, -1, 0, 1, 2}) {
            const int a = std::clamp(static_cast<int>(n * plain_.step) + beside, 0, 65535), b = 65535 - a;
            for (const std::array<int, 3>& at : {std::array{a, b, 100}, {b, 100, a}, {100, a, b}, {a, a, a}}) {
                ASSERT_NO_FATAL_FAILURE(ExpectAt(at, at));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, FloatingInterpolation, testing::Range(2, 34));

}  // namespace
}  // namespace hueweave::test
