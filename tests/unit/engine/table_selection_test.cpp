// SPDX-License-Identifier: MIT
// What an engine uses of a profile: the table that the intent selects, if it is usable, and the white point.
#include <climits>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

using ICC40::ICCFILE::CLut;

/// Each subset of the three tables (bit n for "A2Bn") with each intent.
class TableSelection : public EngineTest, public testing::WithParamInterface<std::tuple<int, int>> {
protected:
    std::string PutSubset() {
        MiniTags tags;
        for (int table = 2; table >= 0; --table) {
            if (Has(table)) tags.emplace_back(kTableNames[table], Mft2(MarkedLut(TableMark(table))));
        }
        return Put("subset.icc", tags);
    }
    bool Has(int table) const { return (std::get<0>(GetParam()) >> table & 1) != 0; }
    /// The number of the table to use, or -1.
    int Selected() const {
        const int first = intent_ == 2 ? 2 : intent_ == 1 || intent_ == 3 ? 1 : 0;
        return Has(first) ? first : Has(1) ? 1 : -1;
    }
    /// Checks the input tables, for bytes, and the grid against the selected table.
    void ExpectSelected(int space, const Offsets& by = {}) {
        const Tables input = InputOf(engine());
        for (unsigned c = 0; c < 3; ++c) {
            EXPECT_THAT(input[c], EqualTo(std::vector<std::uint32_t>(256, Packed(TableMark(selected_) + c))));
        }
        ExpectGrid(ExpectedGrid(Mft2(MarkedLut(TableMark(selected_))), space, by));
    }

    const int intent_ = std::get<1>(GetParam());
    const int selected_ = Selected();
};

TEST_P(TableSelection, ServesSetProfileAndSetIntent) {
    EXPECT_EQ(Bind(PutSubset(), intent_, 0, 10), 0);
    EXPECT_EQ(Status(), selected_ < 0 ? "10/65535" : "10/10");
    const ICC40::ICCFILE::icTagSignature names[] = {TagName("A2B0"), TagName("A2B1"), TagName("A2B2")};
    EXPECT_EQ(engine().GetMft2(), selected_ < 0 ? nullptr : engine().File.GetTag(names[selected_]));
    EXPECT_EQ(engine().Lut1DInR == nullptr, selected_ < 0);
    if (selected_ >= 0) ExpectSelected(10);
    // A different space, so that every intent makes a change.
    engine().Unit.BuildResult = 4711;
    EXPECT_EQ(Rebind(intent_, 0, 11), selected_ < 0 ? 65535 : 11);
    EXPECT_EQ(Status(), selected_ < 0 ? "11/4711" : "11/11");
    if (selected_ >= 0) ExpectSelected(11);
}

TEST_P(TableSelection, ServesAdjustments) {
    Bind(PutSubset(), intent_, 0, 11);
    Fill(99);
    const int result = selected_ < 0 ? 65535 : 11;
    unsigned char curve[1] = {0};
    EXPECT_EQ(engine().Adjust_Lch(5.0, 6.0, 7.0), result);
    EXPECT_EQ(engine().Adjust_Output(curve, curve, curve, 1), result);
    if (selected_ < 0) {
        ExpectFilled(99);
        EXPECT_EQ(Status(), "11/65535");
        return;
    }
    ExpectSelected(11, {5.0, 6.0, 7.0});
    // One point of the caller; from the second on, the profile's curves, whose points are now 257 apart.
    const Tables output = OutputOf(engine());
    for (unsigned c = 0; c < 3; ++c) {
        for (const unsigned point : {1U, 2U, 100U, 254U}) {
            EXPECT_EQ(output[c][257 * point], (100 * point + TableMark(selected_) + 3 + c) / 256) << point;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EverySubsetAndIntent, TableSelection,
                         testing::Combine(testing::Range(0, 8), testing::Values(0, 1, 2, 3, 4, -1, 65535, INT_MIN)));

struct BadTable {
    const char* name;
    Bytes block;
};

/// A block of type "mft2" with one byte changed and `more` zeros appended.
Bytes Patched(std::size_t at, unsigned value, std::size_t more = 0) {
    Bytes block = Mft2(SmoothLut());
    block.at(at) = static_cast<unsigned char>(value);
    block.resize(block.size() + more);
    return block;
}
/// A block of type "mAB " with two bytes set.
Bytes PatchedCurved(std::size_t at, unsigned first, unsigned second) {
    Bytes block = MftAB(SmoothLut());
    block.at(at) = static_cast<unsigned char>(first);
    block.at(at + 1) = static_cast<unsigned char>(second);
    return block;
}
Bytes CutTable() {
    Bytes block = Mft2(SmoothLut());
    block.resize(block.size() - 8);
    return block;
}

std::vector<BadTable> BadTables() {
    return {{"TableOfBytes", Mft1()},
            {"ForeignType", Patched(3, '3')},
            {"TypeOfTheOtherDirection", PatchedCurved(1, 'B', 'A')},
            {"EmptyBlock", {}},
            {"TablesPastTheBlock", CutTable()},
            {"FourInputs", Patched(8, 4, 4096)},
            {"ThirtyFourGridPoints", Patched(10, 34, 240000)},
            {"CurvedWithoutGrid", MftAB(SmoothLut(), false)},
            {"CurvedWithoutOutputCurves", PatchedCurved(14, 0, 0)}};
}

class UnusableTable : public EngineTest, public testing::WithParamInterface<BadTable> {
protected:
    /// The bad table for intent 0, a good one for intent 1.
    std::string PutBad() { return Put("bad.icc", {{"A2B0", GetParam().block}, {"A2B1", kA2B1}}); }
};

TEST_P(UnusableTable, IsBoundButRefusedAndLeftByTheNext) {
    EXPECT_EQ(Bind(PutBad(), 0, 0, 8), 0);
    EXPECT_NE(engine().GetMft2(), nullptr) << "the tag is there, and no other takes its place";
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(engine().Lut1DInR, nullptr);
    EXPECT_EQ(engine().Unit.ProfileState, 0);
    EXPECT_EQ(engine().Unit.InputSpace, 0);
    for (int call = 0; call < 2; ++call) {
        EXPECT_EQ(Rebind(1, 1, 9), 9);
        EXPECT_EQ(Status(), "9/9");
        EXPECT_EQ(Rebind(0, 1, 9), 65535);
        EXPECT_EQ(Status(), "65535/65535");
        EXPECT_EQ(engine().Unit.InputSpace, 1);
        EXPECT_EQ(engine().Unit.Intent, 0);
    }
}

TEST_P(UnusableTable, IsRefusedByAdjustments) {
    ASSERT_EQ(Bind(PutBad(), 1, 0, 8), 0);
    engine().Unit.Intent = IntentOf(0);
    EXPECT_EQ(engine().Adjust_Lch(0.5, 0.5, 0.5), 8) << "no change";
    EXPECT_EQ(engine().Adjust_Lch(2.0, 3.0, 4.0), 65535);
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(Lch(), (std::array{2, 3, 4}));

    engine().Unit.OutputSpace = Space(8);
    engine().Unit.BuildResult = 8;
    unsigned char curve[256] = {};
    EXPECT_EQ(engine().Adjust_Output(curve, curve, curve, 0), 8) << "no change";
    EXPECT_EQ(engine().Adjust_Output(curve, curve, curve, 256), 65535);
    EXPECT_EQ(Status(), "65535/65535");
}

INSTANTIATE_TEST_SUITE_P(Every, UnusableTable, testing::ValuesIn(BadTables()),
                         [](const auto& param) { return std::string(param.param.name); });

using FirstOfTwoTables = EngineTest;

TEST_F(FirstOfTwoTables, OfOneNameIsUsed) {
    Bind(Put("two.icc", {{"A2B0", Mft2(MarkedLut(0x1111))}, {"A2B0", Mft2(MarkedLut(0x3333))}}), 0, 0, 8);
    EXPECT_TRUE(SeesMark(0x1111));
}

class LutAToB : public EngineTest {};

TEST_F(LutAToB, GivesTheStagesOfTheSameLut16) {
    for (const MiniLut& lut : {SmoothLut(5), MarkedLut(0x2222)}) {
        ASSERT_EQ(Bind(Put("ab" + std::to_string(lut.points), {{"A2B0", MftAB(lut)}}), 0, 1, 9), 0);
        ASSERT_EQ(Status(), "9/9");
        Stages expected = Bound(Put("mft2", {{"A2B0", Mft2(lut)}}), 0, 1, 9);
        ExpectStages(StagesOf(engine()), expected);
        ASSERT_EQ(engine().Adjust_Lch(5.0, 6.0, 7.0), 9);
        expected.grid = ExpectedGrid(Mft2(lut), 9, {5.0, 6.0, 7.0});
        ExpectStages(StagesOf(engine()), expected);
        ASSERT_EQ(Rebind(1, 0, 8), 65535) << "no other table";
    }
}

TEST_F(LutAToB, StaysInTheFileWhileItsTemporaryGoes) {
    ASSERT_EQ(Bind(Put("ab.icc", {{"A2B1", MftAB(SmoothLut())}}), 0, 0, 8), 0);
    auto* const tag = engine().File.GetTag(TagName("A2B1"));
    const auto* const curved = dynamic_cast<CLut*>(tag);
    ASSERT_NE(curved, nullptr);
    ASSERT_NE(curved->clut, nullptr);
    const auto grid = [&] {
        return Bytes(curved->clut->gridData.get(), curved->clut->gridData.get() + curved->clut->gridBytes);
    };
    const Bytes before = grid();
    ASSERT_EQ(before.size(), 5U * 5 * 5 * 3 * 2);
    ASSERT_EQ(Rebind(1, 1, 9), 9);
    ASSERT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 9);
    EXPECT_EQ(engine().File.tagList.size(), 1U);
    EXPECT_EQ(engine().File.GetTag(TagName("A2B1")), tag);
    EXPECT_EQ(engine().GetMft2(), tag);
    EXPECT_THAT(grid(), EqualsBytes(before));
}

class WhitePoint : public EngineTest {
protected:
    const Grid plain_ = ExpectedGrid(kA2B1, 10), white_ = ExpectedGrid(kA2B1, 10, {}, kWhite);
};

TEST_F(WhitePoint, CountsForTheAbsoluteIntentAlone) {
    // The tag before it holds other values of the same type.
    const std::string path =
        Put("white.icc", {{"bkpt", XyzBlock(0xc000, 0xc000, 0xc000)}, {"wtpt", WhiteBlock()}, {"A2B1", kA2B1}});
    ASSERT_NE(plain_, white_);
    for (const int intent : {0, 3, 1, 3, 2, 4, -3}) {
        SCOPED_TRACE(intent);
        const Grid& expected = intent == 3 ? white_ : plain_;
        ASSERT_EQ(Bind(path, intent, 0, 10), 0);
        ExpectGrid(expected);
        ASSERT_EQ(Rebind(intent, 1, 10), 10);
        ExpectGrid(expected);
        Fill(4);
        EXPECT_EQ(engine().InputColorSpace2RGB(0.0, 0.0, 0.0), 10);
        ExpectGrid(expected);
        EXPECT_EQ(engine().ConstructEngine(2.0, 0.0, 0.0), 10);
        const Grid shifted =
            ExpectedGrid(kA2B1, 10, {2.0, 0, 0}, intent == 3 ? std::optional<ReferenceWhite>(kWhite) : std::nullopt);
        ExpectGrid(shifted);
        Fill(4);
        EXPECT_EQ(engine().Adjust_Lch(2.0, 0.0, 0.0), 10);
        ExpectGrid(shifted);
    }
}

// The declared size is rounded up to a multiple of 4 first.
TEST_F(WhitePoint, CountsFromTwentyBytesOn) {
    const Bytes sound = MiniProfile({{"A2B1", kA2B1}, {"wtpt", WhiteBlock()}});
    for (std::uint32_t declared = 0; declared <= 24; ++declared) {
        ByteWriter bytes;
        bytes.Append(sound).Fill(4, 0xff).PatchBig32(132 + 12 + 8, declared);
        const std::string path = dir_.File("declared" + std::to_string(declared));
        WriteFile(path, bytes.Done());
        ASSERT_EQ(Bind(path, 3, 0, 10), 0);
        SCOPED_TRACE(declared);
        ExpectGrid(declared > 16 ? white_ : plain_);
    }
    ASSERT_EQ(Bind(Put("none.icc", {{"A2B1", kA2B1}}), 3, 0, 10), 0);
    ExpectGrid(plain_);
}

// The name of a tag determines its class.
TEST_F(WhitePoint, CountsWhateverItsType) {
    Bytes block = WhiteBlock();
    std::fill_n(block.begin(), 8, static_cast<unsigned char>('x'));
    ASSERT_EQ(Bind(Put("junk.icc", {{"A2B1", kA2B1}, {"wtpt", block}}), 3, 0, 10), 0);
    ExpectGrid(white_);
}

}  // namespace
}  // namespace hueweave::test
