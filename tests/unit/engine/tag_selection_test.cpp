// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <limits>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

constexpr ICC40::ICCFILE::icTagSignature kSignatures[] = {TagName("A2B0"), TagName("A2B1"), TagName("A2B2")};

/// Each subset of the three tags (bit n for "A2Bn") with each intent.
class TagSelectionTest : public EngineTest, public testing::WithParamInterface<std::tuple<int, int>> {
protected:
    int present() const { return std::get<0>(GetParam()); }
    int intent() const { return std::get<1>(GetParam()); }
    int First() const {
        switch (intent()) {
            case 1:
            case 3:
                return 1;
            case 2:
                return 2;
            default:
                return 0;
        }
    }
    /// The number of the tag to be used, or -1.
    int Expected() const {
        if ((present() >> First() & 1) != 0) return First();
        return (present() >> 1 & 1) != 0 ? 1 : -1;
    }
    std::string PutSubset() {
        MiniTags tags;
        for (int tag = 2; tag >= 0; --tag) {
            if ((present() >> tag & 1) != 0) {
                tags.emplace_back(kTableNames[tag], Mft2(MarkedLut(TableMark(tag))));
            }
        }
        return Put("subset.icc", tags);
    }
    void ExpectInputMark(int tag) {
        const Tables input = InputOf(engine());
        for (unsigned c = 0; c < 3; ++c) {
            EXPECT_TRUE(input[c] == std::vector<std::uint32_t>(256, Packed(TableMark(tag) + c))) << "channel " << c;
        }
    }
};

TEST_P(TagSelectionTest, SetProfileBuildsFromTheSelectedTag) {
    EXPECT_EQ(Bind(PutSubset(), intent(), 0, 10), 0);
    EXPECT_EQ(engine().Unit.OutputSpace, 10);
    const int tag = Expected();
    if (tag < 0) {
        EXPECT_EQ(engine().GetMft2(), nullptr);
        EXPECT_EQ(engine().Lut1DInR, nullptr);
        EXPECT_EQ(engine().Unit.BuildResult, 65535);
        return;
    }
    EXPECT_EQ(engine().GetMft2(), engine().File.GetTag(kSignatures[tag]));
    EXPECT_EQ(engine().Unit.BuildResult, 10);
    ExpectInputMark(tag);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(kSignatures[tag]), 0, 0, 0, 10));
}

TEST_P(TagSelectionTest, SetIntentBuildsFromTheSelectedTag) {
    // Bound with another space, so that every intent makes a change.
    Bind(PutSubset(), intent(), 0, 20);
    engine().Unit.BuildResult = 4711;
    const int tag = Expected();
    EXPECT_EQ(Rebind(intent(), 0, 11), tag < 0 ? 65535 : 11);
    EXPECT_EQ(Status(), tag < 0 ? "11/4711" : "11/11");
    if (tag >= 0) ExpectInputMark(tag);
}

TEST_P(TagSelectionTest, AdjustmentsWorkOnTheSelectedTag) {
    Bind(PutSubset(), intent(), 1, 11);
    FillTables(engine(), 99);
    const int tag = Expected();
    unsigned char curve[1] = {0};
    if (tag < 0) {
        EXPECT_EQ(engine().Adjust_Lch(5.0, 6.0, 7.0), 65535);
        EXPECT_EQ(engine().Adjust_Output(curve, curve, curve, 1), 65535);
        EXPECT_TRUE(GridOf(engine()) == PatternGrid(99));
        EXPECT_TRUE(OutputOf(engine()) == PatternOutput(99));
        EXPECT_EQ(Status(), "11/65535");
        return;
    }
    EXPECT_EQ(engine().Adjust_Lch(5.0, 6.0, 7.0), 11);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(kSignatures[tag]), 5.0, 6.0, 7.0, 11));
    EXPECT_EQ(engine().Adjust_Output(curve, curve, curve, 1), 11);
    // One point of the caller's; from the second on the profile's curves, whose points are now 257 apart.
    const Tables output = OutputOf(engine());
    for (unsigned c = 0; c < 3; ++c) {
        for (const unsigned point : {1U, 2U, 100U, 254U}) {
            EXPECT_EQ(output[c][257 * point], 100 * point + TableMark(tag) + 3 + c)
                << "channel " << c << " at " << point;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EverySubsetAndIntent, TagSelectionTest,
                         testing::Combine(testing::Range(0, 8),
                                          testing::Values(0, 1, 2, 3, 4, -1, 65535,
                                                          std::numeric_limits<std::int32_t>::min())));

class WhitePointTest : public EngineTest {};

TEST_F(WhitePointTest, AbsoluteColorimetricAloneTakesTheWhiteOfTheProfile) {
    // The tag before it carries the same words under another name.
    const std::string path = Put("white.icc", {{"bkpt", XyzBlock(0xc000, 0xc000, 0xc000)},
                                               {"wtpt", XyzBlock(0xe000, 0x10000, 0x9000)},
                                               {"A2B1", Mft2(SmoothLut(5))}});
    for (const int intent : {0, 1, 2, 3, 4, -3}) {
        ASSERT_EQ(Bind(path, intent, 0, 10), 0);
        const auto* white = dynamic_cast<const CXYZType*>(engine().File.GetTag(TagName("wtpt")));
        ASSERT_NE(white, nullptr);
        const Grid plain = ExpectedGrid(Table(TagName("A2B1")), 0, 0, 0, 10);
        const Grid whited = ExpectedGrid(Table(TagName("A2B1")), 0, 0, 0, 10, white);
        ASSERT_FALSE(plain == whited);
        EXPECT_TRUE(GridOf(engine()) == (intent == 3 ? whited : plain)) << "intent " << intent;
    }
}

TEST_F(WhitePointTest, SetIntentAndAdjustUseTheWhiteToo) {
    const std::string path =
        Put("white.icc", {{"A2B1", Mft2(SmoothLut(5))}, {"wtpt", XyzBlock(0xe000, 0x10000, 0x9000)}});
    ASSERT_EQ(Bind(path, 1, 0, 10), 0);
    ASSERT_EQ(Rebind(3, 0, 10), 10);
    const auto* white = dynamic_cast<const CXYZType*>(engine().File.GetTag(TagName("wtpt")));
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B1")), 0, 0, 0, 10, white));
    ASSERT_EQ(engine().Adjust_Lch(10.0, 0.0, 0.0), 10);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B1")), 10.0, 0, 0, 10, white));
}

TEST_F(WhitePointTest, WithoutAWhiteTagTheDefaultWhiteStays) {
    ASSERT_EQ(Bind(Put("plain.icc", {{"A2B1", Mft2(SmoothLut(5))}}), 3, 0, 10), 0);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B1")), 0, 0, 0, 10));
}

TEST_F(WhitePointTest, AShortWhiteTagCountsAsAbsent) {
    Bytes block = XyzBlock(0xe000, 0x10000, 0x9000);
    block.resize(16);
    ASSERT_EQ(Bind(Put("short.icc", {{"A2B1", Mft2(SmoothLut(5))}, {"wtpt", block}}), 3, 0, 10), 0);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B1")), 0, 0, 0, 10));
}

}  // namespace
}  // namespace hueweave::test
