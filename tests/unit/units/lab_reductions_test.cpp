// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The rearrangements of the input tables for signed Lab samples, with the overlaps of working in place.
#include <gtest/gtest.h>

#include "unit/units/UnitHelpers.h"
#include "units/InputTable33.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::InputTable33;

using Rows = std::array<std::vector<int>, 3>;

Rows RowsOf(const InputTable33& table) {
    return {RowOf(table.Lut16[0], 65536), RowOf(table.Lut16[1], 65536), RowOf(table.Lut16[2], 65536)};
}

void ExpectRows(const InputTable33& table, const Rows& expected) {
    for (std::size_t row = 0; row < 3; ++row) {
        ExpectRow(table.Lut16[row], expected[row], "row " + std::to_string(row));
    }
}

class LabReduction : public testing::Test {
protected:
    LabReduction() {
        Scatter scatter(29);
        for (auto& row : table_->Lut16) {
            for (int& entry : row) entry = scatter.Next();
        }
        before_ = RowsOf(*table_);
    }
    std::unique_ptr<InputTable33> table_ = std::make_unique<InputTable33>();
    Rows before_;
};

/// The two passes, in place and in order.
Rows NaiveLab8(Rows rows) {
    for (std::size_t i = 0; i < 128; ++i) {
        rows[0][i] = rows[0][i * 256];
        rows[1][i] = rows[1][(i ^ 128) * 256] - 1;
        rows[2][i] = rows[2][(i ^ 128) * 256] - 1;
    }
    for (std::size_t i = 128; i < 256; ++i) {
        rows[0][i] = rows[0][i * 256];
        rows[1][i] = rows[1][(i ^ 128) * 256] + 1;
        rows[2][i] = rows[2][(i ^ 128) * 256] + 1;
    }
    return rows;
}

Rows NaiveLab16(Rows rows) {
    for (std::size_t row : {1U, 2U}) {
        std::swap(rows[row][0], rows[row][32768]);
        for (std::size_t i = 1; i <= 32766; ++i) std::swap(rows[row][i], rows[row][i ^ 32768]);
    }
    return rows;
}

TEST_F(LabReduction, Lab8FollowsTheTwoPasses) {
    EXPECT_EQ(table_->Change_Lut16_To_Lab8(), 0);
    EXPECT_EQ(table_->Bits, 8);
    ExpectRows(*table_, NaiveLab8(before_));
}

TEST_F(LabReduction, Lab8TurnsTheSignedAxesByHalf) {
    table_->Change_Lut16_To_Lab8();
    for (std::size_t row : {1U, 2U}) {
        EXPECT_EQ(table_->Lut16[row][0], before_[row][32768] - 1);
        EXPECT_EQ(table_->Lut16[row][127], before_[row][65280] - 1);
        EXPECT_EQ(table_->Lut16[row][129], before_[row][256] + 1);
        EXPECT_EQ(table_->Lut16[row][255], before_[row][127 * 256] + 1);
    }
}

TEST_F(LabReduction, Lab8ReadsItsOwnFirstEntryForTheLowestSample) {
    table_->Change_Lut16_To_Lab8();
    for (std::size_t row : {1U, 2U}) EXPECT_EQ(table_->Lut16[row][128], before_[row][32768]);
}

TEST_F(LabReduction, Lab8TakesFullLightFromEntry65280) {
    table_->Change_Lut16_To_Lab8();
    EXPECT_EQ(table_->Lut16[0][0], before_[0][0]);
    EXPECT_EQ(table_->Lut16[0][128], before_[0][32768]);
    EXPECT_EQ(table_->Lut16[0][255], before_[0][65280]);
    EXPECT_NE(table_->Lut16[0][255], before_[0][65535]);
}

TEST_F(LabReduction, Lab8DoesNotClamp) {
    table_->Lut16[1][32768] = 0;
    table_->Lut16[2][256] = 65535;
    table_->Change_Lut16_To_Lab8();
    EXPECT_EQ(table_->Lut16[1][0], -1);
    EXPECT_EQ(table_->Lut16[2][129], 65536);
    Job job(513, 1);
    job.Source16({0, 0, 129});
    table_->Conversion(&job.info);
    EXPECT_EQ(job.info.WorkBuf[1], 65535);
    EXPECT_EQ(job.info.WorkBuf[2], 0);
}

TEST_F(LabReduction, Lab16TurnsTheSignedAxesByHalf) {
    EXPECT_EQ(table_->Change_Lut16_To_Lab16(), 0);
    EXPECT_EQ(table_->Bits, 16);
    ExpectRows(*table_, NaiveLab16(before_));
}

TEST_F(LabReduction, Lab16KeepsTheLastPair) {
    table_->Change_Lut16_To_Lab16();
    for (std::size_t row : {1U, 2U}) {
        for (std::size_t i = 0; i < 65536; ++i) {
            const std::size_t from = (i | 32768) == 65535 ? i : i ^ 32768;
            ASSERT_EQ(table_->Lut16[row][i], before_[row][from]) << row << ", " << i;
        }
    }
    ExpectRow(table_->Lut16[0], before_[0], "lightness");
}

TEST_F(LabReduction, Lab16SetsTheWidthBack) {
    table_->Bits = 8;
    table_->Change_Lut16_To_Lab16();
    EXPECT_EQ(table_->Bits, 16);
}

TEST_F(LabReduction, Lab16TwiceIsWhereItBegan) {
    table_->Change_Lut16_To_Lab16();
    table_->Change_Lut16_To_Lab16();
    ExpectRows(*table_, before_);
}

class LabLoading : public testing::TestWithParam<int> {};

TEST_P(LabLoading, RearrangesTheExpandedTables) {
    const auto lut = MakeLut({.inputEntries = GetParam()}, 5);
    const auto plain = std::make_unique<InputTable33>();
    plain->Initial(lut.get(), Space(1));

    const auto lab8 = std::make_unique<InputTable33>();
    EXPECT_EQ(lab8->Initial(lut.get(), Space(2)), 0);
    EXPECT_EQ(lab8->Bits, 8);
    ExpectRows(*lab8, NaiveLab8(RowsOf(*plain)));

    const auto lab16 = std::make_unique<InputTable33>();
    EXPECT_EQ(lab16->Initial(lut.get(), Space(3)), 0);
    EXPECT_EQ(lab16->Bits, 16);
    ExpectRows(*lab16, NaiveLab16(RowsOf(*plain)));
}

INSTANTIATE_TEST_SUITE_P(Counts, LabLoading, testing::Values(2, 3, 256, 4096));

TEST(LabLoadingOfTheIdentity, GivesTheseEntries) {
    const auto lut = MakeLut({.inputEntries = 2});
    const auto table = std::make_unique<InputTable33>();
    table->Initial(lut.get(), Space(2));
    EXPECT_EQ(table->Lut16[0][255], 65280);
    EXPECT_EQ(table->Lut16[1][0], 32767);
    EXPECT_EQ(table->Lut16[1][127], 65279);
    EXPECT_EQ(table->Lut16[1][128], 32768);
    EXPECT_EQ(table->Lut16[1][129], 257);
    EXPECT_EQ(table->Lut16[2][255], 32513);

    table->Initial(lut.get(), Space(3));
    EXPECT_EQ(table->Lut16[1][0], 32768);
    EXPECT_EQ(table->Lut16[1][32766], 65534);
    EXPECT_EQ(table->Lut16[1][32767], 32767);
    EXPECT_EQ(table->Lut16[2][32768], 0);
    EXPECT_EQ(table->Lut16[2][65534], 32766);
    EXPECT_EQ(table->Lut16[2][65535], 65535);
}

}  // namespace
}  // namespace hueweave::test
