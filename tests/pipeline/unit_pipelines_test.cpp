// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Runs of pixels through the units as a caller may drive them: input tables, grid, output tables, for 3, 4, 6 and 7
// channels, with every buffer compared with the reference word for word.
#include "pipeline/UnitFamily.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::InputTable33;
using ICC40::ICCFILE::ColorSpaceSignature;

/// The codes of a stride: 8-bit source with bytes and words behind it, then 16-bit source.
struct Codes {
    int byteToByte, byteToWord, wordToByte, wordToWord;
};
Codes CodesOf(int outputs) {
    const int first = outputs == 3 ? 257 : outputs == 4 ? 259 : outputs == 6 ? 261 : 263;
    return {first, first + 1, first + 256, first + 257};
}

/// Pixels of 16 bits through the units; `points` as the table has them.
void ExpectWords(const UnitFamily& family, int points) {
    // Every size but 9 and 33 is resampled to 17 points.
    const Bytes source = PixelRun(1, points == 9 || points == 33 ? points : 17);
    const auto count = static_cast<int>(source.size() / 6);
    family.Expect(CodesOf(family.outputs).wordToByte, source, count);
    family.Expect(CodesOf(family.outputs).wordToWord, source, count);
}

void ExpectBytes(const UnitFamily& family) {
    const Bytes source = PixelRun(0);
    const auto count = static_cast<int>(source.size() / 3);
    family.Expect(CodesOf(family.outputs).byteToByte, source, count);
    family.Expect(CodesOf(family.outputs).byteToWord, source, count);
}

/// The form that makes bytes of all tables of a stride.
void MakeBytes(UnitFamily& family) {
    if (family.outputs == 3) {
        EXPECT_EQ(family.output->OutputRGB8(), family.plainOutput.Apply(Form::Rgb8, 0));
    } else if (family.outputs == 4) {
        EXPECT_EQ(family.output->OutputCMYK_8(), family.plainOutput.Apply(Form::Cmyk8, 0));
    } else if (family.outputs == 6) {
        EXPECT_EQ(family.output->OutputCLR6_8(), family.plainOutput.Apply(Form::Clr6_8, 0));
    } else {
        EXPECT_EQ(family.output->OutputCLR7_8(), family.plainOutput.Apply(Form::Clr7_8, 0));
    }
}

struct FamilyShape {
    int outputs, points, inputEntries, outputEntries;
    friend std::ostream& operator<<(std::ostream& out, const FamilyShape& shape) {
        return out << "3" << shape.outputs << ", " << shape.points << " points, " << shape.inputEntries << " and "
                   << shape.outputEntries << " entries";
    }
};

class UnitPipelineTest : public testing::TestWithParam<FamilyShape> {
protected:
    void SetUp() override {
        const FamilyShape shape = GetParam();
        PlainLut lut = ScatteredLut(shape.outputs, shape.points, shape.inputEntries, shape.outputEntries, 5);
        RaiseCurves(lut);
        family_.Load(lut);
    }
    UnitFamily family_{GetParam().outputs};
};

TEST_P(UnitPipelineTest, GivesTheReferenceSamplesAfterEachUnit) {
    ExpectWords(family_, GetParam().points);
    EXPECT_EQ(family_.input->Change_Lut16_To_Lut8(), 0);
    family_.plainInput.ToLut8();
    ExpectBytes(family_);
    MakeBytes(family_);
    ExpectBytes(family_);
}

INSTANTIATE_TEST_SUITE_P(Sizes, UnitPipelineTest,
                         testing::Values(FamilyShape{3, 2, 2, 2}, FamilyShape{3, 5, 2, 2}, FamilyShape{3, 9, 2, 2},
                                         FamilyShape{3, 17, 2, 2}, FamilyShape{3, 25, 2, 2}, FamilyShape{3, 33, 2, 2},
                                         FamilyShape{4, 2, 2, 2}, FamilyShape{4, 9, 2, 2}, FamilyShape{4, 17, 2, 2},
                                         FamilyShape{4, 33, 2, 2}, FamilyShape{6, 5, 2, 2}, FamilyShape{6, 9, 2, 2},
                                         FamilyShape{6, 17, 2, 2}, FamilyShape{6, 33, 2, 2}, FamilyShape{7, 9, 2, 2},
                                         FamilyShape{7, 17, 2, 2}, FamilyShape{7, 25, 2, 2}, FamilyShape{7, 33, 2, 2}));
INSTANTIATE_TEST_SUITE_P(Curves, UnitPipelineTest,
                         testing::Values(FamilyShape{3, 17, 3, 3}, FamilyShape{3, 33, 17, 256},
                                         FamilyShape{3, 9, 256, 17}, FamilyShape{3, 16, 4096, 4096},
                                         FamilyShape{3, 2, 256, 4096}, FamilyShape{4, 17, 17, 3},
                                         FamilyShape{4, 5, 4096, 256}, FamilyShape{4, 33, 3, 4096},
                                         FamilyShape{6, 9, 3, 256}, FamilyShape{6, 25, 256, 17},
                                         FamilyShape{6, 33, 4096, 3}, FamilyShape{7, 2, 17, 4096},
                                         FamilyShape{7, 17, 256, 256}, FamilyShape{7, 33, 4096, 17}));

class LabPipelineTest : public testing::TestWithParam<int> {};

TEST_P(LabPipelineTest, SignedSamplesGoThroughTheRearrangedTables) {
    PlainLut lut = ScatteredLut(GetParam(), 17, 17, 17, 9);
    const auto tag = TagOf(lut);
    for (int space : {2, 3}) {
        UnitFamily family(GetParam());
        family.Load(lut);
        EXPECT_EQ(family.input->Initial(tag.get(), static_cast<ColorSpaceSignature>(space)), 0);
        family.plainInput.Load(lut, space);
        EXPECT_EQ(family.input->Bits, family.plainInput.bits);
        if (GetParam() == 3) {
            const bool bytes = space == 2;
            EXPECT_EQ(bytes ? family.output->OutputLab_8() : family.output->OutputLab_16(),
                      family.plainOutput.Apply(bytes ? Form::Lab8 : Form::Lab16, 0));
        }
        if (space == 2) {
            ExpectBytes(family);
        } else {
            ExpectWords(family, 17);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Strides, LabPipelineTest, testing::Values(3, 4, 6, 7));

class CopiedPipelineTest : public testing::TestWithParam<int> {};

TEST_P(CopiedPipelineTest, TablesCopiedFromThreeChannelsServeEveryStride) {
    const PlainLut lut = ScatteredLut(GetParam(), 17, 256, 2, 15);
    const auto tag = TagOf(lut);
    UnitFamily family(GetParam());
    family.Load(lut);
    const auto first = std::make_unique<InputTable33>();
    EXPECT_EQ(first->Initial(tag.get(), CsRGB_8), 0);
    family.input = MakeInput(GetParam());
    EXPECT_EQ(family.input->Initial(first.get()), 0);
    EXPECT_EQ(family.input->Bits, 8);
    family.plainInput.ToLut8();
    ExpectBytes(family);
}

INSTANTIATE_TEST_SUITE_P(Strides, CopiedPipelineTest, testing::Values(3, 4, 6, 7));

class ReloadedPipelineTest : public testing::TestWithParam<int> {};

TEST_P(ReloadedPipelineTest, ASecondTableReplacesTheFirst) {
    UnitFamily family(GetParam());
    family.Load(ScatteredLut(GetParam(), 33, 4096, 300, 19));
    family.Load(ScatteredLut(GetParam(), 9, 2, 2, 20));
    ExpectWords(family, 9);
    family.Load(ScatteredLut(GetParam(), 5, 17, 3, 22));
    ExpectWords(family, 5);
}

INSTANTIATE_TEST_SUITE_P(Strides, ReloadedPipelineTest, testing::Values(3, 4, 6, 7));

class NarrowLutPipelineTest : public testing::TestWithParam<int> {};

TEST_P(NarrowLutPipelineTest, ChannelsThatTheTableLacksAreZeroBehindAWiderGrid) {
    for (int outputs = 1; outputs < GetParam(); ++outputs) {
        UnitFamily family(GetParam());
        const PlainLut lut = ScatteredLut(outputs, 9, 2, 3, 17);
        family.Load(lut);
        ExpectWords(family, 9);
    }
}

INSTANTIATE_TEST_SUITE_P(Strides, NarrowLutPipelineTest, testing::Values(4, 6, 7));

}  // namespace
}  // namespace hueweave::test
