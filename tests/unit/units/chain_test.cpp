// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Runs of pixels through all units of one number as a caller may drive them: input tables, grid, output tables.
#include <gtest/gtest.h>

#include "support/Matchers.h"
#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

/// The channels behind the grid.
class UnitChain : public testing::TestWithParam<int> {
protected:
    void Load(const TestLut& lut, int space) {
        EXPECT_EQ(input_->Initial(&lut.tag, Space(space)), 0);
        EXPECT_EQ(grid_->Initial(&lut.tag), 0);
        EXPECT_EQ(output_->Initial(&lut.tag), 0);
        plainInput_.Load(lut.plain, space);
        plainGrid_.Load(lut.plain);
        plainOutput_.Load(lut.plain);
    }
    /// Random pixels from the source through the working buffer to the destination, for bytes and words of output.
    void ExpectReference(bool words) {
        constexpr int kPixels = 400;
        const int first = (channels_ == 3 ? 257 : channels_ == 4 ? 259 : channels_ == 6 ? 261 : 263) + 256 * words;
        for (const int code : {first, first + 1}) {
            SCOPED_TRACE(code);
            Lcg random(2024);
            Bytes source(AsIndex(kPixels) * (words ? 6 : 3));
            for (auto& byte : source) byte = static_cast<unsigned char>(random.Next());
            Bytes kept = source, dest(AsIndex(kPixels * channels_) * 2 + 16, 0xa5), expected = dest;
            Words work(AsIndex(kPixels * channels_));
            plainInput_.Run(code, source, kPixels, work);
            plainGrid_.Run(channels_, kPixels, work);
            plainOutput_.Run(code, work, kPixels, expected);

            Info job;
            job.FormatCode = code;
            ASSERT_EQ(job.CheckWorkingBuf(kept.data(), dest.data(), kPixels), 0);
            for (Base* const unit : {static_cast<Base*>(input_.get()), static_cast<Base*>(grid_.get()),
                                     static_cast<Base*>(output_.get())}) {
                EXPECT_EQ(unit->Conversion(&job), 0);
            }
            EXPECT_THAT(Words(job.WorkBuf.get(), job.WorkBuf.get() + job.WorkCount), EqualTo(work));
            EXPECT_THAT(dest, EqualsBytes(expected));
            EXPECT_THAT(kept, EqualsBytes(source));
        }
    }

    const int channels_ = GetParam();
    std::unique_ptr<InputTable33> input_ = MakeInputTable(channels_);
    std::unique_ptr<ColorTable33> grid_ = MakeColorTable(channels_);
    std::unique_ptr<OutputTable33> output_ = std::make_unique<OutputTable33>();
    ReferenceInput plainInput_{channels_};
    ReferenceGrid plainGrid_;
    ReferenceOutputs plainOutput_;
};

TEST_P(UnitChain, GivesTheReferenceSamplesForEachTableThatItLoads) {
    // One after the other: each replaces the one before. Sizes but 9, 17 and 33 are resampled.
    const int rows[][3] = {{33, 4096, 300}, {9, 2, 2}, {5, 17, 3}, {17, 256, 4096}, {2, 3, 256}, {25, 2, 17}};
    for (const auto& [points, inputEntries, outputEntries] : rows) {
        SCOPED_TRACE(points);
        const TestLut lut = RandomLut({3, channels_, points, inputEntries, outputEntries});
        Load(lut, 1);
        ExpectReference(true);
        Load(lut, 0);
        ExpectReference(false);
    }
}

TEST_P(UnitChain, ClearsTheChannelsThatTheTableLacks) {
    for (int outputs = 1; outputs < channels_; ++outputs) {
        SCOPED_TRACE(outputs);
        plainGrid_ = {};
        grid_ = MakeColorTable(channels_);
        Load(RandomLut({3, outputs, 9, 2, 3}), 1);
        ExpectReference(true);
    }
}

INSTANTIATE_TEST_SUITE_P(Channels, UnitChain, testing::Values(3, 4, 6, 7));

}  // namespace
}  // namespace hueweave::test
