// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Writing a profile back: what is kept, what is worked out anew and what is lost.
#include <cstring>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class ProfileSaving : public ProfileOnDisk {};

/// The header as it is saved of `NumberedHeader`.
Bytes SavedHeader(std::uint32_t size) {
    ByteWriter header;
    header.Big32(size).Append(Part(NumberedHeader(), 4, 52)).Fill(8);
    return header.Append(Part(NumberedHeader(), 64, 36)).Fill(28).Done();
}

std::vector<Entry> SomeTags() {
    return {{"zzzz", Block("data", 12, 1)}, {"wtpt", Block("XYZ ", 20, 2)}, {"aaaa", Block("text", 16, 3)}};
}

TEST_F(ProfileSaving, WritesHeaderCountTableAndBlocksInListOrder) {
    Read(ProfileOf(SomeTags()));
    const Bytes expected = ByteWriter()
                               .Append(SavedHeader(216))
                               .Big32(3)
                               .Text("zzzz")
                               .Big32(168)
                               .Big32(12)
                               .Text("wtpt")
                               .Big32(180)
                               .Big32(20)
                               .Text("aaaa")
                               .Big32(200)
                               .Big32(16)
                               .Append(Block("data", 12, 1))
                               .Append(Block("XYZ ", 20, 2))
                               .Append(Block("text", 16, 3))
                               .Done();
    EXPECT_EQ(Saved(), expected);
}

TEST_F(ProfileSaving, OfAnEmptyListWritesHeaderAndCount) {
    Read(ProfileOf({}));
    EXPECT_EQ(Saved(), ByteWriter().Append(SavedHeader(132)).Big32(0).Done());
}

TEST_F(ProfileSaving, WritesTheRoundedSize) {
    Read(ProfileOf({{"abcd", Block("data", 12), {}, 10}, {"efgh", Block("data", 4)}}));
    const Bytes saved = Saved();
    ASSERT_EQ(saved.size(), 172U);
    EXPECT_EQ(Part(saved, 0, 4), ByteWriter().Big32(172).Done());
    EXPECT_EQ(Part(saved, 132, 24),
              ByteWriter().Text("abcd").Big32(156).Big32(12).Text("efgh").Big32(168).Big32(4).Done());
    EXPECT_EQ(Part(saved, 156, 12), Block("data", 12));
}

TEST_F(ProfileSaving, RecomputesTheProfileSize) {
    for (const std::uint32_t declared : {0U, 1U, 0xffffffffU}) {
        ByteWriter bytes;
        bytes.Append(ProfileOf(SomeTags())).PatchBig32(0, declared);
        file.Reset();
        Read(bytes.Done());
        EXPECT_EQ(file.header.profileSize, declared);
        EXPECT_EQ(Part(Saved(), 0, 4), ByteWriter().Big32(216).Done());
    }
}

TEST_F(ProfileSaving, LaysTheBlocksBackToBackInTableOrder) {
    // in the file: a gap, the second tag's block, a gap, the first tag's block, and bytes that belong to none
    ByteWriter bytes;
    bytes.Append(NumberedHeader()).Big32(2);
    bytes.Text("frst").Big32(200).Big32(8).Text("scnd").Big32(170).Big32(12);
    bytes.Fill(170 - 156, 0xaa).Append(Block("data", 12, 5)).Fill(200 - 182, 0xbb).Append(Block("data", 8, 6));
    bytes.Fill(50, 0xcc);
    Read(bytes.Done());
    const Bytes expected = ByteWriter()
                               .Append(SavedHeader(176))
                               .Big32(2)
                               .Text("frst")
                               .Big32(156)
                               .Big32(8)
                               .Text("scnd")
                               .Big32(164)
                               .Big32(12)
                               .Append(Block("data", 8, 6))
                               .Append(Block("data", 12, 5))
                               .Done();
    EXPECT_EQ(Saved(), expected);
}

TEST_F(ProfileSaving, WritesASharedBlockOncePerTag) {
    ByteWriter bytes;
    bytes.Append(NumberedHeader()).Big32(2);
    bytes.Text("rTRC").Big32(156).Big32(20).Text("gTRC").Big32(156).Big32(20).Append(CurveBlock({1, 2, 3, 4}));
    Read(bytes.Done());
    const Bytes expected = ByteWriter()
                               .Append(SavedHeader(196))
                               .Big32(2)
                               .Text("rTRC")
                               .Big32(156)
                               .Big32(20)
                               .Text("gTRC")
                               .Big32(176)
                               .Big32(20)
                               .Append(CurveBlock({1, 2, 3, 4}))
                               .Append(CurveBlock({1, 2, 3, 4}))
                               .Done();
    EXPECT_EQ(Saved(), expected);
}

TEST_F(ProfileSaving, LoadedAgainGivesTheSameBlocksAndTwoBlankFields) {
    const std::vector<Entry> tags = {{"A2B0", MftSpec().Done()},
                                     {"B2A0", AbBlock(3, 3, "mBA ").Grid({2, 2, 2}, NthFrom(0, 24)).Done()},
                                     {"A2B1", MftSpec{.type = "mft1", .width = 1}.Done()},
                                     {"chad", Block("sf32", 44)},
                                     {"desc", Block("desc", 90)},
                                     {"cprt", Block("text", 17)},
                                     {"gTRC", CurveBlock({5, 6, 7})},
                                     {"unkn", Block("????", 33)}};
    Read(ProfileOf(tags));
    std::vector<Bytes> blocks;
    for (const auto& tag : file.tagList) blocks.push_back(DataOf(*tag));
    const Bytes first = Saved();
    IccFile4 again;
    EXPECT_EQ(again.ReadFile(dir.File("saved.icc").c_str()), 0);
    ASSERT_EQ(again.tagList.size(), tags.size());
    for (std::size_t i = 0; i < tags.size(); ++i) {
        EXPECT_EQ(DataOf(*again.tagList[i]), blocks[i]);
        EXPECT_EQ(again.tagList[i]->tagSig, Name(tags[i].name));
        EXPECT_EQ(again.tagList[i]->sig, file.tagList[i]->sig);
    }
    EXPECT_EQ(again.header.attributes, (std::array<std::uint8_t, 8>{}));
    EXPECT_EQ(again.header.headerReserved, (std::array<std::uint8_t, 28>{}));
    EXPECT_EQ(again.header.profileId, file.header.profileId);
    EXPECT_EQ(again.header.profileSize, first.size());
    again.SaveFile(path.c_str());
    EXPECT_EQ(hueweave::test::ReadFile(path), first);  // what was lost once is lost; the rest stays
}

TEST_F(ProfileSaving, BringsAnUnknownTagBackByteForByte) {
    const Bytes block = Block("zzzz", 256);
    Read(ProfileOf({{"zork", block}}));
    EXPECT_NE(dynamic_cast<CDataType*>(file.tagList[0].get()), nullptr);
    EXPECT_EQ(Part(Saved(), 144, 256), block);
}

TEST_F(ProfileSaving, WritesNoChangeOfADecodedField) {
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}, {"rTRC", CurveBlock({1, 2})}, {"A2B0", MftSpec().Done()}}));
    const Bytes before = Saved();
    auto& white = dynamic_cast<ICC40::ICCFILE::CXYZType&>(*file.tagList[0]);
    white.rawXYZ = {1, 2, 3};
    white.XYZ = {1, 2, 3};
    white.sig = {};
    white.reserved = 99;
    auto& curve = dynamic_cast<ICC40::ICCFILE::CCurveType&>(*file.tagList[1]);
    curve.curve[0] = 77;
    curve.curveCount = 1;
    auto& lut = dynamic_cast<ICC40::ICCFILE::CLut16Type&>(*file.tagList[2]);
    lut.clutTable[0] = 5;
    lut.inputChan = 1;
    EXPECT_EQ(Saved(), before);
}

TEST_F(ProfileSaving, WritesNameAndBytesOfTheList) {
    Read(ProfileOf(SomeTags()));
    file.tagList.erase(file.tagList.begin());
    file.tagList[0]->tagSig = Name("bkpt");
    auto empty = std::make_unique<CDataType>();
    empty->Initial(Name("void"), ICC40::ICC4_HEADER::TypeName("data"));
    file.tagList.insert(file.tagList.begin(), std::move(empty));
    const Bytes saved = Saved();
    EXPECT_EQ(Part(saved, 132, 36), ByteWriter()
                                        .Text("void")
                                        .Big32(168)
                                        .Big32(0)
                                        .Text("bkpt")
                                        .Big32(168)
                                        .Big32(20)
                                        .Text("aaaa")
                                        .Big32(188)
                                        .Big32(16)
                                        .Done());
    EXPECT_EQ(saved.size(), 204U);
}

TEST_F(ProfileSaving, ReplacesALongerFile) {
    Read(ProfileOf(SomeTags()));
    const Bytes expected = Saved();
    WriteFile(dir.File("saved.icc"), Bytes(5000, 0xdd));
    EXPECT_EQ(Saved(), expected);
}

TEST_F(ProfileSaving, MayWriteTheFileThatWasRead) {
    Read(ProfileOf(SomeTags()));
    EXPECT_EQ(file.SaveFile(path.c_str()), 0);
    const Bytes first = hueweave::test::ReadFile(path);
    EXPECT_EQ(first, Saved());
}

TEST_F(ProfileSaving, AnswersZeroForAPathThatCannotBeOpened) {
    Read(ProfileOf(SomeTags()));
    const std::string target = dir.File("no-such-folder") + "/saved.icc";
    EXPECT_EQ(file.SaveFile(target.c_str()), 0);
    EXPECT_EQ(FileHandle(std::fopen(target.c_str(), "rb")), nullptr);
    EXPECT_EQ(file.tagList.size(), 3U);
}

TEST_F(ProfileSaving, WritesTheTableAloneAndAnswersTheFilesSize) {
    Read(ProfileOf(SomeTags()));
    {
        const FileHandle stream = Open("wb+");
        std::fputs("xyz", stream.get());
        EXPECT_EQ(file.WriteTagListHeader(stream.get()), 216);
    }
    const Bytes expected = ByteWriter()
                               .Text("xyz")
                               .Big32(3)
                               .Text("zzzz")
                               .Big32(168)
                               .Big32(12)
                               .Text("wtpt")
                               .Big32(180)
                               .Big32(20)
                               .Text("aaaa")
                               .Big32(200)
                               .Big32(16)
                               .Done();
    EXPECT_EQ(hueweave::test::ReadFile(path), expected);
}

TEST_F(ProfileSaving, WritesTheTableOfAnEmptyListAsItsCount) {
    {
        const FileHandle stream = Open("wb+");
        EXPECT_EQ(file.WriteTagListHeader(stream.get()), 132);
    }
    EXPECT_EQ(hueweave::test::ReadFile(path), Bytes(4));
}

TEST_F(ProfileSaving, WritesTheBlocksAlone) {
    Read(ProfileOf(SomeTags()));
    {
        const FileHandle stream = Open("wb+");
        std::fputs("xyz", stream.get());
        EXPECT_EQ(file.WriteTagListData(stream.get()), 0);
    }
    const Bytes expected = ByteWriter()
                               .Text("xyz")
                               .Append(Block("data", 12, 1))
                               .Append(Block("XYZ ", 20, 2))
                               .Append(Block("text", 16, 3))
                               .Done();
    EXPECT_EQ(hueweave::test::ReadFile(path), expected);
}

}  // namespace
}  // namespace hueweave::test::icc
