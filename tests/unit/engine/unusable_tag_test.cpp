// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <functional>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

Bytes Patched(Bytes block, std::size_t at, unsigned value) {
    block.at(at) = static_cast<unsigned char>(value);
    return block;
}

Bytes Cut(Bytes block, std::size_t bytes) {
    block.resize(block.size() - bytes);
    return block;
}

struct BadTable {
    const char* name;
    std::function<Bytes()> block;
};

const BadTable kBadTables[] = {
    {"TableOfBytes", Mft1},
    {"ForeignType", [] { return Patched(Mft2(SmoothLut()), 3, '3'); }},
    {"TypeOfTheOtherDirection", [] { return Patched(MftAB(SmoothLut()), 1, 'B'); }},
    {"EmptyBlock", [] { return Bytes(); }},
    {"TypeAlone",
     [] {
         return Bytes{'m', 'f', 't', '2'};
     }},
    {"TablesPastTheBlock", [] { return Cut(Mft2(SmoothLut()), 8); }},
    {"FourInputs", [] { return ByteWriter().Append(Patched(Mft2(SmoothLut()), 8, 4)).Fill(4096).Done(); }},
    {"EightOutputs", [] { return ByteWriter().Append(Patched(Mft2(SmoothLut()), 9, 8)).Fill(8192).Done(); }},
    {"OneGridPoint", [] { return Patched(Mft2(SmoothLut()), 10, 1); }},
    {"NoGridPoint", [] { return Patched(Mft2(SmoothLut()), 10, 0); }},
    {"ThirtyFourGridPoints",
     [] { return ByteWriter().Append(Patched(Mft2(SmoothLut()), 10, 34)).Fill(240000).Done(); }},
    {"LongInputCurves", [] { return ByteWriter().Append(Patched(Mft2(SmoothLut()), 48, 0x11)).Fill(30000).Done(); }},
    {"LongOutputCurves", [] { return ByteWriter().Append(Patched(Mft2(SmoothLut()), 50, 0x11)).Fill(30000).Done(); }},
    {"CurvedWithoutGrid", [] { return MftAB(SmoothLut(), false); }},
    {"CurvedWithoutInputCurves", [] { return Patched(Patched(MftAB(SmoothLut()), 30, 0), 31, 0); }},
    {"CurvedWithoutOutputCurves", [] { return Patched(MftAB(SmoothLut()), 15, 0); }},
};

class UnusableTagTest : public EngineTest, public testing::WithParamInterface<BadTable> {
protected:
    /// The bad table for intent 0, a good one for intent 1.
    std::string PutBad() { return Put("bad.icc", {{"A2B0", GetParam().block()}, {"A2B1", Mft2(SmoothLut())}}); }
};

TEST_P(UnusableTagTest, SetProfileReturnsZeroAndRefusesTheEngine) {
    EXPECT_EQ(Bind(PutBad(), 0, 0, 8), 0);
    EXPECT_NE(engine().GetMft2(), nullptr) << "the tag is there, and no other takes its place";
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(engine().Lut1DInR, nullptr);
    EXPECT_EQ(engine().Unit.ProfileState, 0);
    EXPECT_EQ(engine().Unit.InputSpace, 0);
}

TEST_P(UnusableTagTest, SetIntentRefusesTheEngineAndTheNextOneRecoversIt) {
    ASSERT_EQ(Bind(PutBad(), 1, 0, 8), 0);
    ASSERT_EQ(Status(), "8/8");
    EXPECT_EQ(Rebind(0, 1, 9), 65535);
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(engine().Unit.InputSpace, 1);
    EXPECT_EQ(engine().Unit.Intent, 0);
    EXPECT_EQ(Rebind(1, 1, 9), 9);
    EXPECT_EQ(Status(), "9/9");
}

TEST_P(UnusableTagTest, AdjustmentsRefuseTheEngine) {
    ASSERT_EQ(Bind(PutBad(), 1, 0, 8), 0);
    engine().Unit.Intent = IntentOf(0);
    EXPECT_EQ(engine().Adjust_Lch(0.5, 0.5, 0.5), 8) << "no change";
    EXPECT_EQ(engine().Adjust_Lch(2.0, 3.0, 4.0), 65535);
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(engine().Unit.Lightness, 2);

    engine().Unit.OutputSpace = Space(8);
    engine().Unit.BuildResult = 8;
    unsigned char curve[256] = {};
    EXPECT_EQ(engine().Adjust_Output(curve, curve, curve, 0), 8) << "no change";
    EXPECT_EQ(engine().Adjust_Output(curve, curve, curve, 256), 65535);
    EXPECT_EQ(Status(), "65535/65535");
}

INSTANTIATE_TEST_SUITE_P(Every, UnusableTagTest, testing::ValuesIn(kBadTables),
                         [](const auto& param) { return std::string(param.param.name); });

class CurvedTagTest : public EngineTest {};

TEST_F(CurvedTagTest, AnEngineBoundToItEqualsOneBoundToThePlainTable) {
    for (const MiniLut& lut : {SmoothLut(5), MarkedLut(0x2222)}) {
        ASSERT_EQ(Bind(Put("ab" + std::to_string(lut.points), {{"A2B0", MftAB(lut)}}), 0, 1, 9), 0);
        ASSERT_EQ(Status(), "9/9");
        const auto plain = MakeEngine();
        const std::string path = Put("mft2", {{"A2B0", Mft2(lut)}});
        ASSERT_EQ(plain->SetProfile(path.c_str(), IntentOf(0), Space(1), Space(9), 0.0, 0.0, 0.0), 0);
        EXPECT_TRUE(StagesOf(engine()) == StagesOf(*plain));
        ASSERT_EQ(engine().Adjust_Lch(5.0, 6.0, 7.0), 9);
        ASSERT_EQ(plain->Adjust_Lch(5.0, 6.0, 7.0), 9);
        EXPECT_TRUE(StagesOf(engine()) == StagesOf(*plain));
        ASSERT_EQ(Rebind(1, 0, 8), 65535) << "no other table";
    }
}

TEST_F(CurvedTagTest, TheTagStaysInTheFileAndTheTemporaryIsGone) {
    ASSERT_EQ(Bind(Put("ab.icc", {{"A2B1", MftAB(SmoothLut())}}), 0, 0, 8), 0);
    auto* const tag = engine().File.GetTag(TagName("A2B1"));
    const auto* const curved = dynamic_cast<CLut*>(tag);
    ASSERT_NE(curved, nullptr);
    ASSERT_NE(curved->clut, nullptr);
    const Bytes grid(curved->clut->gridData.get(), curved->clut->gridData.get() + curved->clut->gridBytes);
    ASSERT_EQ(grid.size(), 5U * 5 * 5 * 3 * 2);
    ASSERT_EQ(Rebind(1, 1, 9), 9);
    ASSERT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 9);
    EXPECT_EQ(engine().File.tagList.size(), 1U);
    EXPECT_EQ(engine().File.GetTag(TagName("A2B1")), tag);
    EXPECT_EQ(engine().GetMft2(), tag);
    EXPECT_TRUE(std::equal(grid.begin(), grid.end(), curved->clut->gridData.get()));
}

}  // namespace
}  // namespace hueweave::test
