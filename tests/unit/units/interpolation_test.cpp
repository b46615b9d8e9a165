// SPDX-License-Identifier: MIT
// Tetrahedral interpolation between nodes: in integers in the grids of 3, 4, 6 and 7 channels, for one colour and for
// runs of pixels, and in floating point in grids of any size.
#include <gtest/gtest.h>

#include <functional>

#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

std::string ChannelsOf(const testing::TestParamInfo<int>& row) { return std::to_string(row.param) + "Channels"; }

class ColorTableFixedPoint : public testing::TestWithParam<int> {
protected:
    /// Nodes may exceed 16 bits: only the low 16 bits of a result count.
    void Load(int points) {
        plain_ = RandomGrid(points, 8, -100000, 120000);
        EXPECT_EQ(table_->SetColorTable(Packed(plain_.nodes), points), 0);
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

TEST_P(ColorTableFixedPoint, InterpolatesEveryOrderOfFractionsWithAnyShiftAndMask) {
    const struct {
        int points, shift, mask;
    } rows[] = {{9, 13, 8191},  {17, 12, 4095},  {33, 11, 2047}, {33, 12, 4095},
                {33, 13, 8191}, {33, 12, 0x7f0}, {33, 13, 0},    {33, 14, 2047}};  // the last three fit no size
    for (const auto& [points, shift, mask] : rows) {
        Load(points);
        plain_.shift = table_->LUT_Shift = shift;
        plain_.mask = table_->LUT_Mask = mask;
        const int below = (1 << shift) - 1;
        for (int n = 0; n < 3000; ++n) {
            // Three fractions, of which each axis takes one; at first the smallest and the largest are among them.
            const auto some = static_cast<unsigned short>(n);
            const Seven levels = n < 100 ? Seven{0, some, 65535} : RandomSeven(random_);
            Seven was = RandomSeven(random_);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                was[axis] = static_cast<unsigned short>((was[axis] & ~below) | (levels[random_.Below(3)] & below));
            }
            ASSERT_EQ(Through(*table_, was), Expected(was)) << shift << " " << mask << testing::PrintToString(was);
        }
    }
}

TEST_P(ColorTableFixedPoint, RunsOverEverySampleOfTheWorkingBuffer) {
    Load(33);
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

INSTANTIATE_TEST_SUITE_P(Every, ColorTableFixedPoint, testing::Values(3, 4, 6, 7), ChannelsOf);

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

/// Kept: a wider grid converts copies of the samples of each pixel.
template <typename Table>
void ExpectRun(std::size_t channels) {
    const auto table = std::make_unique<SpiedGrid<Table>>();
    SCOPED_TRACE(table->UnitName);
    const bool inPlace = channels == 3;
    Job job(257, 2);
    Words work = job.Work();
    for (std::size_t n = 0; n < 2 * channels; ++n) work[n] = static_cast<unsigned short>(10 * n);
    job.SetWork(work);
    EXPECT_EQ(table->Conversion(&job.info), 0);
    Seven first{work[0], work[1], work[2]}, second{work[channels], work[channels + 1], work[channels + 2]};
    // In place, the other four samples are cleared once per run, not per pixel.
    if (inPlace) std::ranges::copy(std::array{4, 5, 6, 7}, second.begin() + 3);
    EXPECT_EQ(table->given, (std::vector{first, second}));
    const unsigned short* const buffer = job.info.WorkBuf.get();
    for (std::size_t n = 0; n < table->places.size(); ++n) {
        const bool inside = std::greater_equal<>()(table->places[n], buffer) &&
                            std::less<>()(table->places[n], buffer + job.info.WorkCount);
        EXPECT_EQ(inside, inPlace && n % 7 < 3) << n;
    }
    for (std::size_t n = 0; n < 2 * channels; ++n) {
        const std::size_t c = n % channels;
        work[n] = static_cast<unsigned short>((c < 3 ? work[n] : 0) + c + 1);
    }
    EXPECT_THAT(job.Work(), EqualTo(work));
}

TEST(ColorTableRun, WorksInPlaceOnThreeChannelsAndOnCopiesOfMore) {
    ExpectRun<ColorTable33>(3);
    ExpectRun<ColorTable34>(4);
    ExpectRun<ColorTable36>(6);
    ExpectRun<ColorTable37>(7);
}

class ColorTableFloatingPoint : public testing::TestWithParam<int> {
protected:
    void ExpectAt(const std::array<int, 3>& at) const {
        ReferenceNode v = {at[0], at[1], at[2], -7, 70000, 5, 6};  // the last four are replaced, never read
        table_->Conversion(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
        const auto inside = [](int place) { return std::clamp(place, 0, 65535); };
        ASSERT_EQ(v, plain_.InterpolateFloat(inside(at[0]), inside(at[1]), inside(at[2])))
            << testing::PrintToString(at);
    }
    int points_ = GetParam();
    ReferenceGrid plain_ = RandomGrid(points_, 23, -65535, 131071);
    std::unique_ptr<ColorTable33> table_ = MakeGrid(plain_);
    Lcg random_{4};
};

TEST_P(ColorTableFloatingPoint, InterpolatesEveryOrderOfFractions) {
    const auto width = static_cast<std::uint32_t>(plain_.step);
    for (int n = 0; n < 3000; ++n) {
        const std::uint32_t level[] = {random_.Below(width), random_.Below(width), 0};
        std::array<int, 3> at{};
        for (int& value : at) {
            const double node = random_.Below(static_cast<std::uint32_t>(points_ - 1)) * plain_.step;
            value = static_cast<int>(node) + static_cast<int>(level[random_.Below(3)]);
        }
        ASSERT_NO_FATAL_FAILURE(ExpectAt(at));
    }
}

TEST_P(ColorTableFloatingPoint, ClampsPositionsOutsideTheAxes) {
    const int places[] = {INT_MIN, -65536, -1, 0, 1000, 65535, 65536, 131071, INT_MAX};
    for (const int a : places) {
        for (const int b : places) {
            for (const int c : places) ASSERT_NO_FATAL_FAILURE(ExpectAt({a, b, c}));
        }
    }
}

/// Kept: node positions are truncated to whole numbers, so that the last position of a cell can lie past its end, by
/// less than the truncation.
TEST_P(ColorTableFloatingPoint, UsesTheCellOfEveryPositionNextToANode) {
    for (int n = 0; n < points_; ++n) {
        for (const int beside : {-2, -1, 0, 1, 2}) {
            const int a = std::clamp(static_cast<int>(n * plain_.step) + beside, 0, 65535), b = 65535 - a;
            for (const std::array<int, 3>& at : {std::array{a, b, 100}, {b, 100, a}, {100, a, b}, {a, a, a}}) {
                ASSERT_NO_FATAL_FAILURE(ExpectAt(at));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, ColorTableFloatingPoint, testing::Range(2, 34));

}  // namespace
}  // namespace hueweave::test
