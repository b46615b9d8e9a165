// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The grids with 4, 6 and 7 output channels: interpolation of the further channels, and runs of pixels.
#include <gtest/gtest.h>

#include <climits>
#include <functional>

#include "support/ReferenceUnits.h"
#include "unit/units/GridMembers.h"
#include "unit/units/UnitHelpers.h"
#include "units/OutputTable33.h"
#include "units/WiderColorTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::ColorTable34;
using ICC40::ICC_UNIT::ColorTable36;
using ICC40::ICC_UNIT::ColorTable37;
using ICC40::ICC_UNIT::OutputTable33;

/// Packed nodes, seven ints a node.
std::vector<int> Packed(const Nodes& nodes) {
    std::vector<int> packed;
    for (const auto& node : nodes) packed.insert(packed.end(), node.begin(), node.end());
    return packed;
}

Seven InterpolateSeven(ColorTable33& table, Seven s) {
    table.Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    return s;
}

class WiderGrid : public testing::TestWithParam<int> {
protected:
    /// Loads the unit and its reference with nodes of `low` to `high`.
    void Fill(int points, std::uint32_t seed, int low = 0, int high = 65535) {
        nodes_ = ScatteredNodes(points, seed, low, high);
        EXPECT_EQ(table_->SetColorTable(Packed(nodes_).data(), points), 0);
        plain_.SetSize(points);
        plain_.nodes.assign(nodes_.begin(), nodes_.end());
    }
    /// What a pixel becomes: interpolated channels, then the samples that there were.
    Seven Expected(const Seven& was) const {
        const Seven whole = plain_.Whole(was[0], was[1], was[2]);
        Seven result = was;
        std::copy_n(whole.begin(), static_cast<std::size_t>(channels_), result.begin());
        return result;
    }

    int channels_ = GetParam();
    Nodes nodes_;
    ReferenceGrid plain_;
    std::unique_ptr<ColorTable33> table_ = MakeGridMember(channels_);
};

TEST_P(WiderGrid, InterpolatesItsChannelsInEveryTetrahedron) {
    for (int points : {9, 17, 33}) {
        Fill(points, static_cast<std::uint32_t>(points));
        const int width = 65536 / (points - 1);
        Scatter scatter(3);
        for (int round = 0; round < 60; ++round) {
            int level[3];
            for (int& value : level) value = scatter.Between(0, width - 1);
            if (round < 3) level[round] = round == 1 ? width - 1 : 0;
            for (int pattern = 0; pattern < 27; ++pattern) {
                Seven was{};
                for (auto& sample : was) sample = static_cast<unsigned short>(scatter.Next());
                const int order[3] = {level[pattern % 3], level[pattern / 3 % 3], level[pattern / 9]};
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    was[axis] = static_cast<unsigned short>(scatter.Between(0, points - 2) * width + order[axis]);
                }
                ASSERT_EQ(InterpolateSeven(*table_, was), Expected(was))
                    << points << " " << testing::PrintToString(was);
            }
        }
    }
}

TEST_P(WiderGrid, OnANodeEveryChannelIsThatNodes) {
    Fill(17, 4);
    for (int i = 0; i < 16; ++i) {
        for (int j = 0; j < 16; ++j) {
            for (int k = 0; k < 16; ++k) {
                const auto& node = nodes_[NodeAt(17, i, j, k)];
                const auto x = static_cast<unsigned short>(i * 4096), y = static_cast<unsigned short>(j * 4096),
                           z = static_cast<unsigned short>(k * 4096);
                const Seven result = InterpolateSeven(*table_, {x, y, z, 4, 5, 6, 7});
                for (std::size_t c = 0; c < 7; ++c) {
                    const int expected = c < static_cast<std::size_t>(channels_) ? node[c] : static_cast<int>(c) + 1;
                    ASSERT_EQ(result[c], expected);
                }
            }
        }
    }
}

TEST_P(WiderGrid, CutsTheFractionOffAndClampsNothing) {
    // One cell that rises from -3 by 1 on the main diagonal: sums of -3 x 4096 + f, shifted toward minus infinity.
    Fill(17, 5);
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) {
            for (int k = 0; k < 2; ++k) std::fill_n(table_->Color[i][j][k], 7, i + j + k == 3 ? -2 : -3);
        }
    }
    for (int fraction : {0, 1, 2048, 4095}) {
        const auto f = static_cast<unsigned short>(fraction);
        const Seven result = InterpolateSeven(*table_, {f, f, f, 50, 60, 70, 80});
        for (std::size_t c = 0; c < static_cast<std::size_t>(channels_); ++c) EXPECT_EQ(result[c], 65533) << f;
    }
}

TEST_P(WiderGrid, TakesNodesBeyond16BitsByTheirLowBits) {
    Fill(9, 6, -70000, 120000);
    Scatter scatter(7);
    for (int n = 0; n < 3000; ++n) {
        Seven was{};
        for (auto& sample : was) sample = static_cast<unsigned short>(scatter.Next());
        ASSERT_EQ(InterpolateSeven(*table_, was), Expected(was));
    }
}

TEST_P(WiderGrid, ARunOverwritesEverySampleAndIgnoresTheOldOnes) {
    Fill(33, 8);
    constexpr int kPixels = 500;
    for (int filling : {0, 65535, 12345}) {
        Job job(257, kPixels);
        std::vector<unsigned short> work(job.Work());
        std::vector<unsigned short> expected(work);
        Scatter scatter(9);
        for (int p = 0; p < kPixels; ++p) {
            Seven pixel;
            pixel.fill(static_cast<unsigned short>(filling));
            for (std::size_t axis = 0; axis < 3; ++axis) pixel[axis] = static_cast<unsigned short>(scatter.Next());
            const Seven result = Expected(pixel);
            const auto at = p * channels_;
            std::copy_n(pixel.begin(), channels_, work.begin() + at);
            std::copy_n(result.begin(), channels_, expected.begin() + at);
        }
        job.Work(work);
        EXPECT_EQ(table_->Conversion(&job.info), 0);
        EXPECT_EQ(job.Work(), expected) << "the samples behind the last pixel stay";
        EXPECT_EQ(job.dest, std::vector<unsigned char>(job.dest.size(), Job::kMark));
    }
}

TEST_P(WiderGrid, ARunBelowOnePixelTouchesNothing) {
    Fill(9, 10);
    for (int count : {0, -1, INT_MIN}) {
        Job job(259, 2);
        job.info.PixelCount = count;
        EXPECT_EQ(table_->Conversion(&job.info), 0);
        EXPECT_EQ(job.Work(), std::vector<unsigned short>(job.Work().size(), Job::kMark16));
    }
    Job job(259, 2);
    job.info.WorkBuf.reset();
    EXPECT_EQ(table_->Conversion(&job.info), 0);
}

TEST_P(WiderGrid, LoadingFillsTheFurtherChannels) {
    for (int points : {5, 9, 33}) {
        LutShape shape;
        shape.outputs = channels_;
        shape.points = points;
        const auto lut = MakeLut(shape, 11);
        PlainLut plain;
        plain.outputs = channels_;
        plain.points = points;
        plain.grid.assign(lut->clutTable.get(),
                          lut->clutTable.get() + static_cast<std::ptrdiff_t>(points * points * points * channels_));
        ReferenceGrid expected;
        expected.Load(plain);
        const auto table = MakeGridMember(channels_);
        EXPECT_EQ(table->Initial(lut.get()), 0);  // through the virtual slot
        EXPECT_EQ(table->LUT_Size, points == 5 ? 17 : points);
        EXPECT_EQ(table->OutChannels, channels_);
        ExpectNodes(*table, expected.points, Nodes(expected.nodes.begin(), expected.nodes.end()));
    }
}

TEST_P(WiderGrid, APackedCubeOfNoPointsSetsTheSizeAlone) {
    Fill(9, 15);
    const int none = 5;
    EXPECT_EQ(table_->SetColorTable(&none, 0), 0);
    EXPECT_EQ(table_->LUT_Size, 0);
    EXPECT_EQ(table_->LUT_Shift, 11);
    EXPECT_EQ(table_->LUT_Mask, 2047);
    ExpectNodes(*table_, 9, nodes_);
}

TEST_P(WiderGrid, ChannelsThatTheTableLacksReadAsZero) {
    LutShape shape;
    shape.points = 9;
    const auto lut = MakeLut(shape, 12);
    table_->Initial(lut.get());
    const Seven result = InterpolateSeven(*table_, {20000, 40000, 60000, 4, 5, 6, 7});
    for (std::size_t c = 3; c < 7; ++c) EXPECT_EQ(result[c], c < static_cast<std::size_t>(channels_) ? 0U : c + 1);
}

TEST_P(WiderGrid, TransformationsChangeThreeChannelsAlone) {
    LutShape shape;
    shape.outputs = channels_;
    shape.points = 9;
    const auto lut = MakeLut(shape, 13);
    table_->Initial(lut.get());
    const Nodes before = GetNodes(*table_, 9);
    for (int step = 0; step < 3; ++step) {
        const Nodes old = GetNodes(*table_, 9);
        if (step == 0) {
            table_->Adjust_Lch(5.0, 5.0, 5.0);
        } else if (step == 1) {
            table_->Lab2RGB100_16(lut.get(), Space(8), nullptr);
        } else {
            table_->Lab2RGB100_16_1D(std::make_unique<OutputTable33>().get(), Space(8), nullptr);
        }
        const Nodes after = GetNodes(*table_, 9);
        EXPECT_NE(after, old) << step;
        for (std::size_t n = 0; n < after.size(); ++n) {
            for (std::size_t c = 3; c < 7; ++c) ASSERT_EQ(after[n][c], before[n][c]) << step;
        }
    }
}

TEST_P(WiderGrid, TheByteOperationDoesNothing) {
    Fill(9, 14);
    std::vector<unsigned char> data = {1, 2, 3, 4, 5, 6, 7, 8};
    Base& unit = *table_;
    unit.Conversion(data.data(), 2);
    EXPECT_EQ(data, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_P(WiderGrid, StartsAsTheBaseUnderItsOwnName) {
    EXPECT_EQ(std::string(table_->UnitName), "ColorTable3" + std::to_string(channels_));
    EXPECT_EQ(table_->LUT_Pos, nullptr);
    EXPECT_EQ(table_->Color[0][0][0][6], 0);
    EXPECT_EQ(sizeof(ColorTable37), sizeof(ColorTable33)) << "the wider members have no field of their own";
}

INSTANTIATE_TEST_SUITE_P(Members, WiderGrid, testing::Values(4, 6, 7));

/// Takes the place of the interpolation, notes what it was given, and sets all seven samples.
template <typename Member>
class SpiedMember : public Member {
public:
    using Member::Conversion;
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override {
        places.insert(places.end(), {&a, &b, &c, &d, &e, &f, &g});
        given.push_back({a, b, c});
        unsigned short value = 100;
        for (unsigned short* sample : {&a, &b, &c, &d, &e, &f, &g}) *sample = ++value;
        return 99;
    }
    std::vector<const unsigned short*> places;
    std::vector<std::array<unsigned short, 3>> given;
};

template <typename Member>
void ExpectRunsOnCopies(int channels) {
    const auto table = std::make_unique<SpiedMember<Member>>();
    Job job(257, 2);
    std::vector<unsigned short> work;
    for (int n = 0; n < 2 * channels; ++n) work.push_back(static_cast<unsigned short>(n + 1));
    job.Work(work);
    EXPECT_EQ(table->Conversion(&job.info), 0);
    const auto second = static_cast<unsigned short>(channels);
    EXPECT_EQ(table->given, (std::vector<std::array<unsigned short, 3>>{
                                {1, 2, 3},
                                {static_cast<unsigned short>(second + 1), static_cast<unsigned short>(second + 2),
                                 static_cast<unsigned short>(second + 3)}}));
    ASSERT_EQ(table->places.size(), 14U);
    const unsigned short* const first = job.info.WorkBuf.get();
    for (const unsigned short* place : table->places) {
        EXPECT_FALSE(std::greater_equal<>()(place, first) && std::less<>()(place, first + job.info.WorkCount));
    }
    std::vector<unsigned short> expected;
    for (int p = 0; p < 2; ++p) {
        for (int c = 0; c < channels; ++c) expected.push_back(static_cast<unsigned short>(101 + c));
    }
    EXPECT_EQ(job.Work(), WithMarks(expected, job.Work().size(), Job::kMark16));
}

TEST(WiderGridPixels, GoThroughTheVirtualInterpolationOnCopies) {
    ExpectRunsOnCopies<ColorTable34>(4);
    ExpectRunsOnCopies<ColorTable36>(6);
    ExpectRunsOnCopies<ColorTable37>(7);
}

}  // namespace
}  // namespace hueweave::test
