// SPDX-License-Identifier: MIT
// What an engine uses of a profile: the table that the intent selects, if it is usable, and the white point.
#include <climits>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

/// Each subset of the three tables (bit n for "A2Bn") with each intent.
class GetMft2 : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(GetMft2, SelectsTheTableForEveryCall) {
    const auto [subset, intent] = GetParam();
    constexpr std::string_view kNames[] = {"A2B0", "A2B1", "A2B2"};
    TagList tags;
    for (unsigned table = 3; table-- > 0;) {
        if ((subset >> table & 1) != 0) tags.emplace_back(kNames[table], Mft2(MarkedLut(0x2123 + 0x3000 * table)));
    }
    EnginePair pair({{"subset.icc", MiniProfile(tags)}});
    pair.SetProfile("subset.icc", intent, 0, 10);
    EXPECT_EQ(pair.Real().GetMft2() == nullptr, pair.Real().Unit.BuildResult == 65535);
    // A different space, so that every intent makes a change.
    pair.SetIntent(intent, 0, 11);
    pair.AdjustLch(5.0, 6.0, 7.0);
    // One point of the caller; from the second on, the profile's curves.
    pair.AdjustOutput(Bytes{0}, Bytes{0}, Bytes{0}, 1);
}

INSTANTIATE_TEST_SUITE_P(EverySubsetAndIntent, GetMft2,
                         testing::Combine(testing::Range(0, 8), testing::Values(0, 1, 2, 3, 4, -1, 65535, INT_MIN)));

struct BadTable {
    const char* name;
    Bytes block;
};

/// A block with some bytes set and `more` zeros appended.
Bytes Patched(Bytes block, std::size_t at, const Bytes& values, std::size_t more = 0) {
    std::ranges::copy(values, block.begin() + static_cast<std::ptrdiff_t>(at));
    block.resize(block.size() + more);
    return block;
}

std::vector<BadTable> BadTables() {
    const Bytes plain = Mft2(SmoothLut()), curved = MftAB(SmoothLut());
    return {{"TableOfBytes", Mft1()},
            {"ForeignType", Patched(plain, 3, {'3'})},
            {"TypeOfTheOtherDirection", Patched(curved, 1, {'B', 'A'})},
            {"EmptyBlock", {}},
            {"TablesPastTheBlock", Bytes(plain.begin(), plain.end() - 8)},
            {"FourInputs", Patched(plain, 8, {4}, 4096)},
            {"ThirtyFourGridPoints", Patched(plain, 10, {34}, 240000)},
            {"CurvedWithoutGrid", MftAB(SmoothLut(), false)},
            {"CurvedWithoutOutputCurves", Patched(curved, 14, {0, 0})}};
}

class EngineUnusableTable : public testing::TestWithParam<BadTable> {
protected:
    /// The bad table for intent 0, a good one for intent 1.
    EnginePair pair_{{{"bad.icc", MiniProfile({{"A2B0", GetParam().block}, {"A2B1", kA2B1}})}}};
    CIccEngineS& engine_ = pair_.Real();
};

TEST_P(EngineUnusableTable, IsBoundButRefusedUntilTheNextIntent) {
    EXPECT_EQ(pair_.SetProfile("bad.icc", 0, 0, 8), 0);
    EXPECT_NE(engine_.GetMft2(), nullptr) << "the tag is there, and no other takes its place";
    EXPECT_EQ(engine_.Unit.OutputSpace, 65535);
    EXPECT_EQ(engine_.Lut1DInR, nullptr);
    for (int call = 0; call < 2; ++call) {
        EXPECT_EQ(pair_.SetIntent(1, 1, 9), 9);
        EXPECT_EQ(pair_.SetIntent(0, 1, 9), 65535);
    }
}

TEST_P(EngineUnusableTable, IsRefusedByAdjustments) {
    const Bytes curve(256);
    for (const bool shifts : {true, false}) {
        pair_.SetIntent(0, 1, 14);
        pair_.SetProfile("bad.icc", 1, 0, 8);
        engine_.Unit.Intent = IntentOf(0);
        pair_.Reference().intent = 0;
        EXPECT_EQ(pair_.AdjustLch(0.5, 0.5, 0.5), 8) << "no change";
        EXPECT_EQ(pair_.AdjustOutput(curve, curve, curve, 0), 8) << "no change";
        EXPECT_EQ(shifts ? pair_.AdjustLch(2.0, 3.0, 4.0) : pair_.AdjustOutput(curve, curve, curve, 256), 65535);
        EXPECT_EQ(engine_.Unit.OutputSpace, 65535);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, EngineUnusableTable, testing::ValuesIn(BadTables()),
                         [](const auto& param) { return std::string(param.param.name); });

TEST(EngineWhitePoint, AppliesOnlyToTheAbsoluteIntent) {
    // The tag before it holds other values of the same type. The name of a tag determines its class, not its type.
    const Bytes junk = ByteWriter().Text("xxxxxxxx").Big32(0xe000).Big32(0x10000).Big32(0x9000).Done();
    for (const Bytes& white : {WhiteBlock(), junk}) {
        const TagList tags = {{"bkpt", XyzBlock(0xc000, 0xc000, 0xc000)}, {"wtpt", white}, {"A2B1", kA2B1}};
        EnginePair pair({{"white.icc", MiniProfile(tags)}});
        for (const int intent : {0, 3, 1, 3, 2, 4, -3}) {
            SCOPED_TRACE(intent);
            pair.SetProfile("white.icc", intent, 0, 10);
            pair.SetIntent(intent, 1, 10);
            pair.Construct(&CIccEngineS::ConstructEngine, 2.0, 0.0, 0.0);
            FillTables(pair, 4);
            pair.Construct(&CIccEngineS::InputColorSpace2RGB, 0.0, 0.0, 0.0);
            pair.AdjustLch(2.0, 0.0, 0.0);
        }
    }
}

// The declared size is rounded up to a multiple of 4 first.
TEST(EngineWhitePoint, AppliesFromTwentyBytesOn) {
    std::map<std::string, Bytes> profiles;
    for (std::uint32_t declared = 0; declared <= 24; ++declared) {
        ByteWriter bytes;
        bytes.Append(MiniProfile({{"A2B1", kA2B1}, {"wtpt", WhiteBlock()}})).Fill(4, 0xff);
        bytes.PatchBig32(132 + 12 + 8, declared);
        profiles[std::to_string(declared)] = bytes.Done();
    }
    profiles["none"] = MiniProfile({{"A2B1", kA2B1}});
    EnginePair pair(profiles);
    for (const auto& [name, profile] : profiles) {
        SCOPED_TRACE(name);
        pair.SetProfile(name, 3, 0, 10);
    }
}

}  // namespace
}  // namespace hueweave::test
