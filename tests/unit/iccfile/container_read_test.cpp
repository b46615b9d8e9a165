// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Reading a profile: the table, the blocks, the list of tags, and what is asked for by name.
#include <cstring>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class ProfileReading : public ProfileOnDisk {};

TEST_F(ProfileReading, OfACountOfZeroGivesAnEmptyList) {
    EXPECT_EQ(Read(ProfileOf({})), 0);
    EXPECT_TRUE(file.tagList.empty());
    for (const char* name : {"A2B0", "A2B1", "A2B2", "wtpt", "desc"}) EXPECT_EQ(file.GetTag(Name(name)), nullptr);
    EXPECT_EQ(file.GetTag(icTagSignature{}), nullptr);
}

TEST_F(ProfileReading, KeepsTheOrderOfTheTableWhateverTheOffsets) {
    const Bytes data = Block("data", 16, 1), more = Block("more", 12, 2), last = Block("last", 8, 3);
    Bytes bytes = ProfileOf({{"zzzz", {}, 188, 16}, {"mmmm", {}, 176, 12}, {"aaaa", {}, 168, 8}});
    ASSERT_EQ(bytes.size(), 168U);
    bytes = ByteWriter().Append(bytes).Append(last).Append(more).Append(data).Done();
    EXPECT_EQ(Read(bytes), 0);
    ASSERT_EQ(Names(), (Strings{"zzzz", "mmmm", "aaaa"}));
    EXPECT_EQ(DataOf(*file.tagList[0]), data);
    EXPECT_EQ(DataOf(*file.tagList[1]), more);
    EXPECT_EQ(DataOf(*file.tagList[2]), last);
}

TEST_F(ProfileReading, RoundsADeclaredSizeUpToFour) {
    for (std::uint32_t declared = 0; declared <= 17; ++declared) {
        file.Reset();
        const Bytes block = Block("data", 20);
        EXPECT_EQ(Read(ProfileOf({{"abcd", block, {}, declared}})), 0);
        ASSERT_EQ(file.tagList.size(), 1U);
        const std::uint32_t rounded = declared % 4 == 0 ? declared : declared + 4 - declared % 4;
        EXPECT_EQ(file.tagList[0]->tagSize, rounded) << declared;
        EXPECT_EQ(DataOf(*file.tagList[0]), Cut(block, rounded)) << declared;  // what follows it belongs to it
    }
}

TEST_F(ProfileReading, GivesEveryTagItsNameTypeAndBlock) {
    Read(ProfileOf({{"abcd", Block("wxyz", 12)}, {"wtpt", Block("XYZ ", 20)}}));
    ASSERT_EQ(file.tagList.size(), 2U);
    EXPECT_EQ(static_cast<std::uint32_t>(file.tagList[0]->tagSig), 0x61626364U);
    EXPECT_EQ(static_cast<std::uint32_t>(file.tagList[0]->sig), 0x7778797aU);
    EXPECT_EQ(file.tagList[0]->reserved, 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(file.tagList[1]->tagSig), 0x77747074U);
    EXPECT_EQ(static_cast<std::uint32_t>(file.tagList[1]->sig), 0x58595a20U);
    EXPECT_EQ(DataOf(*file.tagList[1]), Block("XYZ ", 20));
}

TEST_F(ProfileReading, DoesNotLookAtTheHeader) {
    const std::vector<Entry> tags = {{"A2B0", MftSpec().Done()}, {"wtpt", Block("XYZ ", 20)}};
    const Bytes sound = ProfileOf(tags);
    for (std::size_t at = 0; at < 128; at += 4) {
        for (const std::uint32_t word : {0U, 0x02400000U, 0x04300000U, 0xffffffffU}) {
            ByteWriter changed;
            changed.Append(sound).PatchBig32(at, word);
            file.Reset();
            EXPECT_EQ(Read(changed.Done()), 0);
            ASSERT_EQ(Names(), (Strings{"A2B0", "wtpt"})) << at;
            ASSERT_EQ(DataOf(*file.tagList[0]), MftSpec().Done()) << at;
            ASSERT_EQ(DataOf(*file.tagList[1]), Block("XYZ ", 20)) << at;
        }
    }
}

TEST_F(ProfileReading, TakesSecondAndFourthVersionAlike) {
    for (const std::uint32_t version : {0x02100000U, 0x04200000U}) {
        ByteWriter bytes;
        bytes.Append(ProfileOf({{"chad", Block("sf32", 44)},
                                {"A2B0", AbBlock(3, 3).Done()},
                                {"A2B1", MftSpec().Done()},
                                {"desc", Block("desc", 30)}}));
        bytes.PatchBig32(8, version);
        file.Reset();
        Read(bytes.Done());
        EXPECT_EQ(file.header.profileVersion, version);
        ASSERT_EQ(file.tagList.size(), 4U);
        EXPECT_NE(dynamic_cast<ICC40::ICCFILE::CChad*>(file.tagList[0].get()), nullptr);
        EXPECT_NE(dynamic_cast<ICC40::ICCFILE::CLut*>(file.tagList[1].get()), nullptr);
        EXPECT_NE(dynamic_cast<ICC40::ICCFILE::CLut16Type*>(file.tagList[2].get()), nullptr);
        EXPECT_NE(dynamic_cast<ICC40::ICCFILE::CTextDescriptionType*>(file.tagList[3].get()), nullptr);
    }
}

TEST_F(ProfileReading, AnswersMinusTwoForAPathThatCannotBeOpenedAndChangesNothing) {
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
    const auto* tag = file.tagList[0].get();
    EXPECT_EQ(file.ReadFile(dir.File("missing.icc").c_str()), -2);
    EXPECT_EQ(file.ReadFile(""), -2);
    ASSERT_EQ(file.tagList.size(), 1U);
    EXPECT_EQ(file.tagList[0].get(), tag);
    EXPECT_EQ(file.header.profileSize, 0x01020304U);
    EXPECT_EQ(file.header.headerReserved[27], 128);
}

TEST_F(ProfileReading, OfAnEmptyFileIsNoFailure) {
    EXPECT_EQ(Read({}), 0);
    EXPECT_TRUE(file.tagList.empty());
}

TEST_F(ProfileReading, AppendsToTheTagsThatAreThereAndOverwritesTheHeader) {
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}, {"aaaa", Block("data", 8)}}));
    ByteWriter second;
    second.Append(ProfileOf({{"wtpt", Block("XYZ ", 24)}, {"bbbb", Block("data", 12)}}));
    second.PatchBig32(16, Word("CMYK"));
    EXPECT_EQ(Read(second.Done()), 0);
    EXPECT_EQ(Names(), (Strings{"wtpt", "aaaa", "wtpt", "bbbb"}));
    EXPECT_EQ(file.GetTag(Name("wtpt")), file.tagList[0].get());
    EXPECT_EQ(file.GetTag(Name("wtpt"))->tagSize, 20U);
    EXPECT_EQ(file.header.colorSpace, Word("CMYK"));
}

TEST_F(ProfileReading, AfterAResetFindsOnlyTheNewTags) {
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}, {"aaaa", Block("data", 8)}}));
    file.Reset();
    Read(ProfileOf({{"bbbb", Block("data", 12)}}));
    EXPECT_EQ(Names(), (Strings{"bbbb"}));
    EXPECT_EQ(file.GetTag(Name("wtpt")), nullptr);
    EXPECT_EQ(file.GetTag(Name("aaaa")), nullptr);
    EXPECT_NE(file.GetTag(Name("bbbb")), nullptr);
}

TEST_F(ProfileReading, TakesTheHeaderFromTheStreamsPositionAndTheBlocksFromTheFilesStart) {
    ByteWriter bytes;
    bytes.Text("front of the file...").Append(NumberedHeader()).Big32(1);
    bytes.Text("abcd").Big32(4).Big32(12);
    bytes.Fill(200, 0x77);
    WriteFile(path, bytes.Done());
    const FileHandle stream = Open("rb");
    ASSERT_EQ(std::fseek(stream.get(), 20, SEEK_SET), 0);
    EXPECT_EQ(file.ReadFile(stream.get()), 0);
    EXPECT_EQ(file.header.profileSize, 0x01020304U);
    ASSERT_EQ(Names(), (Strings{"abcd"}));
    EXPECT_EQ(DataOf(*file.tagList[0]), ByteWriter().Text("t of the fil").Done());
    EXPECT_EQ(std::fseek(stream.get(), 0, SEEK_SET), 0);  // the stream is still open
    EXPECT_EQ(std::fgetc(stream.get()), 'f');
}

TEST_F(ProfileReading, TakesAStreamInMemory) {
    Bytes bytes = ProfileOf({{"wtpt", Block("XYZ ", 20)}, {"rTRC", Block("curv", 16)}});
    const FileHandle stream(fmemopen(bytes.data(), bytes.size(), "rb"));
    EXPECT_EQ(file.ReadFile(stream.get()), 0);
    EXPECT_EQ(Names(), (Strings{"wtpt", "rTRC"}));
    EXPECT_EQ(DataOf(*file.tagList[0]), Block("XYZ ", 20));
}

TEST_F(ProfileReading, FindsNoCurveInAnEmptyBlockWhateverStandsThere) {
    ByteWriter bytes;
    bytes.Append(NumberedHeader()).Big32(1).Text("rTRC").Big32(144).Big32(0);
    bytes.Text("curv").Big32(0).Big32(2).Big16(7).Big16(8);
    WriteFile(path, bytes.Done());
    EXPECT_EQ(file.ReadFile(path.c_str()), 0);
    ASSERT_EQ(Names(), (Strings{"rTRC"}));
    const auto* curve = dynamic_cast<const ICC40::ICCFILE::CCurveType*>(file.tagList[0].get());
    ASSERT_NE(curve, nullptr);
    EXPECT_EQ(curve->curveCount, 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(curve->sig), 0U);
}

TEST_F(ProfileReading, CopiesABlockThatEntriesShareOrOverlapInto) {
    const Bytes block = Block("data", 24);
    Bytes bytes = ProfileOf({{"aaaa", block}, {"bbbb", {}, 168, 24}, {"cccc", {}, 173, 6}, {"dddd", {}, 0, 8}});
    // 132 + 4 x 12 = 180 is where the block stands
    ByteWriter patched;
    patched.Append(bytes).PatchBig32(132 + 12 + 4, 180);
    patched.PatchBig32(132 + 24 + 4, 185);
    Read(patched.Done());
    ASSERT_EQ(Names(), (Strings{"aaaa", "bbbb", "cccc", "dddd"}));
    EXPECT_EQ(DataOf(*file.tagList[0]), block);
    EXPECT_EQ(DataOf(*file.tagList[1]), block);
    EXPECT_NE(file.tagList[0]->tagData.get(), file.tagList[1]->tagData.get());
    EXPECT_EQ(DataOf(*file.tagList[2]), Part(block, 5, 8));
    EXPECT_EQ(DataOf(*file.tagList[3]), Part(NumberedHeader(), 0, 8));
}

TEST_F(ProfileReading, FindsTheFirstOfTwoTagsOfOneName) {
    Read(ProfileOf({{"zzzz", Block("data", 8)}, {"A2B0", MftSpec().Done()}, {"A2B0", AbBlock(3, 3).Done()}}));
    EXPECT_EQ(file.GetTag(Name("A2B0")), file.tagList[1].get());
    const IccFile4& constant = file;
    EXPECT_EQ(constant.GetTag(Name("A2B0")), file.tagList[1].get());
    EXPECT_EQ(constant.GetTag(Name("A2B1")), nullptr);
}

TEST_F(ProfileReading, FindsATagByItsNameAndNotByItsType) {
    Read(ProfileOf({{"abcd", Block("wtpt", 20)}, {"efgh", Block("data", 8)}}));
    EXPECT_EQ(file.GetTag(Name("wtpt")), nullptr);
    EXPECT_EQ(file.GetTag(Name("ABCD")), nullptr);
    EXPECT_EQ(file.GetTag(Name("efgh")), file.tagList[1].get());
    file.tagList[0]->tagSig = Name("wtpt");
    EXPECT_EQ(file.GetTag(Name("wtpt")), file.tagList[0].get());
}

TEST_F(ProfileReading, ResetEmptiesTheListAndLeavesTheHeader) {
    file.Reset();  // an empty container stays empty
    EXPECT_TRUE(file.tagList.empty());
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
    file.tagList.push_back(nullptr);
    file.Reset();
    EXPECT_TRUE(file.tagList.empty());
    EXPECT_EQ(file.GetTag(Name("wtpt")), nullptr);
    EXPECT_EQ(file.header.profileSize, 0x01020304U);
    EXPECT_EQ(file.header.attributes[0], 57);
    file.Reset();
    EXPECT_TRUE(file.tagList.empty());
}

/// The four bytes as they lie in memory.
unsigned InFileOrder(std::uint32_t value) {
    const Bytes bytes = ByteWriter().Big32(value).Done();
    unsigned word = 0;
    std::memcpy(&word, bytes.data(), 4);
    return word;
}

TEST_F(ProfileReading, AddsATagFromWordsAsTheyStandInTheFile) {
    WriteFile(path, ByteWriter().Text("0123456789abcdefghij").Done());
    const FileHandle stream = Open("rb");
    ASSERT_EQ(std::fseek(stream.get(), 3, SEEK_SET), 0);
    EXPECT_EQ(file.AddIccTagData(InFileOrder(Word("abcd")), InFileOrder(5), InFileOrder(6), stream.get()), 0);
    EXPECT_EQ(file.AddIccTagData(InFileOrder(Word("wtpt")), InFileOrder(0), InFileOrder(20), stream.get()), 0);
    ASSERT_EQ(Names(), (Strings{"abcd", "wtpt"}));
    EXPECT_EQ(DataOf(*file.tagList[0]), ByteWriter().Text("56789abc").Done());
    EXPECT_EQ(static_cast<std::uint32_t>(file.tagList[0]->sig), Word("5678"));
    EXPECT_EQ(DataOf(*file.tagList[1]), ByteWriter().Text("0123456789abcdefghij").Done());
    EXPECT_EQ(dynamic_cast<ICC40::ICCFILE::CXYZType&>(*file.tagList[1]).rawXYZ[0], Word("89ab"));
    EXPECT_EQ(file.AddIccTagData(InFileOrder(Word("none")), InFileOrder(16), InFileOrder(5), stream.get()), 0);
    EXPECT_EQ(file.tagList.size(), 2U);
}

TEST_F(ProfileReading, FillsWhatABlockIsRoundedUpByBehindTheEndOfTheFileWithZeros) {
    WriteFile(path, ByteWriter().Text("0123456789").Done());
    const FileHandle stream = Open("rb");
    EXPECT_EQ(file.AddIccTagData(InFileOrder(Word("last")), InFileOrder(5), InFileOrder(5), stream.get()), 0);
    ASSERT_EQ(file.tagList.size(), 1U);
    EXPECT_EQ(DataOf(*file.tagList[0]), ByteWriter().Text("56789").Fill(3, 0).Done());
}

}  // namespace
}  // namespace hueweave::test::icc
