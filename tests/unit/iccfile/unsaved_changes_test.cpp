// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Saving writes the verbatim copies and nothing else, for every class of tag; and paths that open without being files.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

/// One tag, read, changed and saved.
class UnsavedChanges : public ProfileOnDisk {
protected:
    template <typename Tag>
    Tag& Only(const std::string& name, const Bytes& block) {
        file.Reset();
        EXPECT_EQ(Read(ProfileOf({{name, block}})), 0);
        before = Saved();
        EXPECT_EQ(Part(before, 144, block.size()), block);
        return dynamic_cast<Tag&>(*file.tagList.at(0));
    }
    Bytes before;
};

TEST_F(UnsavedChanges, OfATextStayUnsaved) {
    auto& tag = Only<CTextType>("cprt", Block("text", 24));
    tag.text[0] = static_cast<unsigned char>(tag.text[0] + 1);
    tag.sig = {};
    tag.reserved = 9;
    EXPECT_EQ(Saved(), before);
    tag.text.reset();
    EXPECT_EQ(Saved(), before);
}

TEST_F(UnsavedChanges, OfADescriptionStayUnsaved) {
    auto& tag = Only<CTextDescriptionType>("desc", Block("desc", 24));
    tag.text[0] = static_cast<unsigned char>(tag.text[0] + 1);
    tag.textLength = 3;
    EXPECT_EQ(Saved(), before);
}

TEST_F(UnsavedChanges, OfAWhiteStayUnsaved) {
    auto& tag = Only<CXYZType>("wtpt", Block("XYZ ", 20));
    tag.rawXYZ = {1, 2, 3};
    tag.XYZ = {4, 5, 6};
    EXPECT_EQ(Saved(), before);
}

TEST_F(UnsavedChanges, OfAnAdaptationStayUnsaved) {
    auto& tag = Only<CChad>("chad", Block("sf32", 44));
    tag.chad.fill(2.0);
    EXPECT_EQ(Saved(), before);
}

TEST_F(UnsavedChanges, OfACurveStayUnsaved) {
    auto& tag = Only<CCurveType>("gTRC", CurveBlock({1, 2, 3, 4}));
    tag.curve[0] = 77;
    tag.curveCount = 2;
    EXPECT_EQ(Saved(), before);
}

TEST_F(UnsavedChanges, OfATableOfWordsStayUnsaved) {
    auto& tag = Only<CLut16Type>("A2B1", MftSpec().Done());
    tag.inputTable[0] = tag.clutTable[0] = tag.outputTable[0] = 5;
    tag.matrix.fill(7);
    tag.inputChan = tag.outputChan = tag.clutPoints = tag.pad = 1;
    tag.inputEnt = tag.outputEnt = 1;
    EXPECT_EQ(Saved(), before);
}

TEST_F(UnsavedChanges, OfATableOfBytesStayUnsaved) {
    auto& tag = Only<CLut8Type>("A2B2", MftSpec{.type = "mft1", .inEntries = 4, .outEntries = 4, .width = 1}.Done());
    tag.inputTable[0] = tag.clutTable[0] = tag.outputTable[0] = 5;
    tag.matrix.fill(7);
    tag.inputChan = tag.outputChan = tag.clutPoints = tag.pad = 1;
    tag.inputEnt = tag.outputEnt = 1;
    EXPECT_EQ(Saved(), before);
}

TEST_F(UnsavedChanges, OfACurvedTableStayUnsaved) {
    auto& tag = Only<CLut>("B2A0", AbBlock(1, 1, "mBA ")
                                       .Curves(AbBlock::kB, {{1, 2, 3}})
                                       .Curves(AbBlock::kM, {{4}})
                                       .Grid({2}, NthFrom(0, 2))
                                       .Curves(AbBlock::kA, {{5}})
                                       .Done());
    tag.bCurves[0]->curve[0] = 9;
    tag.aCurves[0].reset();
    tag.mCurve->tagData.reset();
    tag.mCurve->tagSize = 3;
    tag.clut->gridData[0] = 9;
    tag.bCurveOffset = tag.matrixOffset = tag.mCurveOffset = tag.clutOffset = tag.aCurveOffset = 1;
    EXPECT_EQ(Saved(), before);
}

TEST_F(UnsavedChanges, OfTheCopyAreWhatIsSaved) {
    auto& tag = Only<CXYZType>("wtpt", Block("XYZ ", 20));
    tag.tagData[3] = '!';
    tag.tagData[19] = 0x5a;
    Bytes expected = before;
    expected[144 + 3] = '!';
    expected[144 + 19] = 0x5a;
    EXPECT_EQ(Saved(), expected);
    tag.tagSize = 12;
    const Bytes cut = Saved();
    EXPECT_EQ(cut.size(), 156U);
    EXPECT_EQ(Part(cut, 140, 4), ByteWriter().Big32(12).Done());
    EXPECT_EQ(Part(cut, 144, 12), Part(expected, 144, 12));
}

TEST_F(UnsavedChanges, OfAFolderThatIsReadThereAreNone) {
    // A folder opens, and gives no bytes.
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
    EXPECT_EQ(file.ReadFile(dir.Path().c_str()), 0);
    EXPECT_EQ(Names(), std::vector<std::string>{"wtpt"});
    EXPECT_EQ(file.header.profileSize, 0U);
    EXPECT_EQ(file.ReadFile("/dev/null"), 0);
    EXPECT_EQ(Names(), std::vector<std::string>{"wtpt"});
}

}  // namespace
}  // namespace hueweave::test::icc
