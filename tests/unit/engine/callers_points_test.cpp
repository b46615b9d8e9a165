// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Entries worked out by hand: what a caller's points and the profile's own make of each place, in both widths.
#include <limits>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

/// The input encoding: 1 gives entries of 16 bits, 0 the same entries shifted right by 8.
class CallersPointsTest : public EngineTest, public testing::WithParamInterface<int> {
protected:
    CallersPointsTest() {
        for (std::size_t i = 0; i < curve_.size(); ++i) curve_[i] = static_cast<unsigned char>(200 - i % 200);
    }
    /// An entry of 16 bits in the width of the table.
    std::uint32_t Scaled(std::uint32_t entry) const { return GetParam() == 1 ? entry : entry / 256; }
    std::uint32_t Scale8(std::uint32_t byte) const { return Scaled(byte * 256); }
    void BindMarked() {
        ASSERT_EQ(Bind(Put("mark.icc", {{"A2B0", Mft2(MarkedLut(kMark))}}), 0, GetParam(), 8 + GetParam()), 0);
    }
    int Lay(int count) { return engine().Adjust_Output(curve_.data(), curve_.data(), curve_.data(), count); }
    /// A point of the profile's curve.
    static std::uint32_t Own(std::uint32_t point, std::uint32_t channel) { return 100 * point + kMark + 3 + channel; }

    static constexpr std::uint32_t kMark = 0x4000;
    Bytes curve_ = Bytes(4097);
};

TEST_P(CallersPointsTest, PointsAre257EntriesApart) {
    BindMarked();
    ASSERT_EQ(Lay(256), 8 + GetParam());
    for (std::uint32_t point = 0; point < 255; ++point) {
        ASSERT_EQ(engine().Lut1DOutR[257 * point], Scale8(curve_[point])) << point;
        ASSERT_EQ(engine().Lut1DOutG[257 * point], Scale8(curve_[point])) << point;
        ASSERT_EQ(engine().Lut1DOutB[257 * point], Scale8(curve_[point])) << point;
    }
    // The way between two points is 256 long: the entry before a point already holds it.
    for (std::uint32_t point = 1; point < 256; ++point) {
        ASSERT_EQ(engine().Lut1DOutG[257 * point - 1], Scale8(curve_[point])) << point;
    }
    // Half way, with the rounding of half a unit of 16 bits.
    EXPECT_EQ(engine().Lut1DOutB[128], Scaled((200 * 256 + 199 * 256) / 2));
    EXPECT_EQ(engine().Lut1DOutB[1], Scaled(200 * 256 - 1));
}

TEST_P(CallersPointsTest, TheLastEntryIsWhiteAndThe256thPointStandsBeforeIt) {
    BindMarked();
    for (const unsigned last : {0U, 1U, 254U, 255U}) {
        curve_[255] = static_cast<unsigned char>(last);
        ASSERT_EQ(Lay(256), 8 + GetParam());
        for (const std::uint32_t* table : {engine().Lut1DOutR, engine().Lut1DOutG, engine().Lut1DOutB}) {
            EXPECT_EQ(table[65535], GetParam() == 1 ? 65535U : 255U);
            EXPECT_EQ(table[65534], Scale8(last));
        }
    }
}

TEST_P(CallersPointsTest, TheFirstEntryIsTheFirstPoint) {
    BindMarked();
    for (const unsigned first : {0U, 1U, 128U, 255U}) {
        curve_[0] = static_cast<unsigned char>(first);
        for (const int count : {1, 2, 256, 4096}) {
            ASSERT_EQ(Lay(count), 8 + GetParam());
            EXPECT_EQ(engine().Lut1DOutR[0], Scale8(first)) << count;
            EXPECT_EQ(engine().Lut1DOutB[0], Scale8(first)) << count;
        }
    }
}

TEST_P(CallersPointsTest, FromTheCountOnTheProfilesPointsStand) {
    BindMarked();
    for (const int count : {1, 2, 127, 128, 129, 254, 255}) {
        ASSERT_EQ(Lay(count), 8 + GetParam());
        const auto edge = static_cast<std::uint32_t>(count);
        EXPECT_EQ(engine().Lut1DOutR[257 * (edge - 1)], Scale8(curve_[edge - 1])) << count;
        EXPECT_EQ(engine().Lut1DOutR[257 * edge - 1], Scaled(Own(edge, 0))) << count;
        EXPECT_EQ(engine().Lut1DOutG[257 * edge - 1], Scaled(Own(edge, 1))) << count;
        EXPECT_EQ(engine().Lut1DOutB[257 * edge - 1], Scaled(Own(edge, 2))) << count;
        EXPECT_EQ(engine().Lut1DOutR[65534], Scaled(Own(255, 0))) << count;
        EXPECT_EQ(engine().Lut1DOutR[65535], Scaled(65535)) << count;
        if (count < 255) {
            EXPECT_EQ(engine().Lut1DOutG[257 * edge], Scaled(Own(edge, 1))) << count;
        }
    }
}

TEST_P(CallersPointsTest, CountsBeyondTheCurveAddNothing) {
    BindMarked();
    ASSERT_EQ(Lay(256), 8 + GetParam());
    const Tables whole = OutputOf(engine());
    for (const int count : {257, 258, 4095, 4096, 4097}) {
        FillTables(engine(), 3);
        ASSERT_EQ(Lay(count), 8 + GetParam());
        EXPECT_TRUE(OutputOf(engine()) == whole) << count;
    }
    ASSERT_EQ(Lay(255), 8 + GetParam());
    EXPECT_FALSE(OutputOf(engine()) == whole);
}

TEST_P(CallersPointsTest, NegativeCountsLayNoPoint) {
    BindMarked();
    for (const int count : {-1, -2, -256, -4096, std::numeric_limits<int>::min()}) {
        FillTables(engine(), 3);
        ASSERT_EQ(Lay(count), 8 + GetParam());
        for (std::uint32_t point = 0; point < 255; ++point) {
            ASSERT_EQ(engine().Lut1DOutR[257 * point], Scaled(Own(point, 0))) << count;
            ASSERT_EQ(engine().Lut1DOutB[257 * point], Scaled(Own(point, 2))) << count;
        }
        EXPECT_EQ(engine().Lut1DOutG[65535], Scaled(65535)) << count;
    }
}

TEST_P(CallersPointsTest, NullArraysAndNoPointsComeBeforeEverythingElse) {
    // Also on an engine that could not build: the space is answered, nothing is looked up.
    unsigned char* const point = curve_.data();
    const auto expectNothing = [&](int space) {
        FillTables(engine(), 3);
        const std::string status = Status();
        for (const int count : {0, 1, 256, -1}) {
            EXPECT_EQ(engine().Adjust_Output(nullptr, point, point, count), space);
            EXPECT_EQ(engine().Adjust_Output(point, nullptr, point, count), space);
            EXPECT_EQ(engine().Adjust_Output(point, point, nullptr, count), space);
        }
        EXPECT_EQ(engine().Adjust_Output(point, point, point, 0), space);
        EXPECT_TRUE(OutputOf(engine()) == PatternOutput(3));
        EXPECT_EQ(Status(), status);
    };
    expectNothing(65535);
    Rebind(0, GetParam(), 8);
    expectNothing(8);
    Bind(Put("bytes.icc", {{"A2B0", Mft1()}}), 0, GetParam(), 8);
    expectNothing(65535);
    BindMarked();
    expectNothing(8 + GetParam());
}

TEST_P(CallersPointsTest, WithoutAProfileNothingChanges) {
    for (const bool stored : {false, true}) {
        if (stored) Rebind(0, GetParam(), 8);
        FillTables(engine(), 3);
        const std::string status = Status();
        for (const int count : {256, 1, -1, 4096}) EXPECT_EQ(Lay(count), 65535);
        EXPECT_TRUE(OutputOf(engine()) == PatternOutput(3));
        EXPECT_TRUE(GridOf(engine()) == PatternGrid(3));
        EXPECT_EQ(Status(), status);
        EXPECT_EQ(engine().Lut1DInR, nullptr);
    }
}

TEST_P(CallersPointsTest, ACurvedTableLendsTheSamePoints) {
    ASSERT_EQ(Bind(Put("ab.icc", {{"A2B0", MftAB(MarkedLut(kMark))}}), 0, GetParam(), 8 + GetParam()), 0);
    const Stages before = StagesOf(engine());
    for (const int count : {1, 128, 255, -1}) {
        ASSERT_EQ(Lay(count), 8 + GetParam());
        const std::uint32_t edge = count < 0 ? 0 : static_cast<std::uint32_t>(count);
        for (std::uint32_t point = edge; point < 255; ++point) {
            ASSERT_EQ(engine().Lut1DOutG[257 * point], Scaled(Own(point, 1))) << count;
        }
    }
    EXPECT_TRUE(InputOf(engine()) == before.input);
    EXPECT_TRUE(GridOf(engine()) == before.grid);
    EXPECT_EQ(engine().File.tagList.size(), 1U);
}

TEST_P(CallersPointsTest, TheArraysAreOnlyRead) {
    BindMarked();
    const Bytes before = curve_;
    Lay(4096);
    EXPECT_EQ(curve_, before);
}

INSTANTIATE_TEST_SUITE_P(Widths, CallersPointsTest, testing::Values(0, 1),
                         [](const auto& param) { return std::string(param.param == 1 ? "Words" : "Bytes"); });

}  // namespace
}  // namespace hueweave::test
