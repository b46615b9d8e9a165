// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The profile container at its edges.
#include <algorithm>
#include <cstring>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class ProfileContainerEdges : public ProfileOnDisk {};

TEST_F(ProfileContainerEdges, ACountOfZeroIsAnEmptyList) {
    EXPECT_EQ(Read(ProfileOf({})), 0);
    EXPECT_TRUE(file.tagList.empty());
    EXPECT_EQ(file.GetTag(Name("A2B0")), nullptr);
}

TEST_F(ProfileContainerEdges, ADeclaredSizeIsRoundedUpToFour) {
    Read(ProfileOf({{"abcd", Block("data", 12), {}, 10}}));
    ASSERT_EQ(file.tagList.size(), 1U);
    EXPECT_EQ(file.tagList[0]->tagSize, 12U);
    EXPECT_EQ(std::memcmp(file.tagList[0]->tagData.get(), Block("data", 12).data(), 12), 0);
    const std::string saved = dir.File("saved.icc");
    EXPECT_EQ(file.SaveFile(saved.c_str()), 0);
    const Bytes bytes = hueweave::test::ReadFile(saved);
    ASSERT_EQ(bytes.size(), 132U + 12 + 12);
    EXPECT_EQ(Bytes(bytes.begin() + 132, bytes.begin() + 144), ByteWriter().Text("abcd").Big32(144).Big32(12).Done());
    EXPECT_EQ(Bytes(bytes.begin() + 144, bytes.end()), Block("data", 12));
}

TEST_F(ProfileContainerEdges, AWrongMagicAndAnyVersionReadAlike) {
    Bytes bytes = ProfileOf({{"wtpt", Block("XYZ ", 20)}});
    std::memcpy(&bytes[36], "nope", 4);
    bytes[8] = 0x99;
    EXPECT_EQ(Read(bytes), 0);
    EXPECT_NE(file.GetTag(Name("wtpt")), nullptr);
    EXPECT_EQ(file.header.magic, 0x6e6f7065U);
}

TEST_F(ProfileContainerEdges, HeaderFieldsComeInHostOrder) {
    Read(ProfileOf({}));
    const auto word = [](unsigned at) { return (at + 1) << 24 | (at + 2) << 16 | (at + 3) << 8 | (at + 4); };
    EXPECT_EQ(file.header.profileSize, word(0));
    EXPECT_EQ(file.header.cmmType, word(4));
    EXPECT_EQ(file.header.profileVersion, word(8));
    EXPECT_EQ(file.header.deviceClass, word(12));
    EXPECT_EQ(file.header.colorSpace, word(16));
    EXPECT_EQ(file.header.pcs, word(20));
    for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(file.header.dateTime[i], (25 + 2 * i) << 8 | (26 + 2 * i));
    EXPECT_EQ(file.header.magic, word(36));
    EXPECT_EQ(file.header.platform, word(40));
    EXPECT_EQ(file.header.profileFlags, word(44));
    EXPECT_EQ(file.header.manufacturer, word(48));
    EXPECT_EQ(file.header.model, word(52));
    for (unsigned i = 0; i < 8; ++i) EXPECT_EQ(file.header.attributes[i], 57 + i);
    EXPECT_EQ(file.header.renderingIntent, word(64));
    for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(file.header.illuminant[i], word(68 + 4 * i));
    EXPECT_EQ(file.header.creator, word(80));
    for (unsigned i = 0; i < 16; ++i) EXPECT_EQ(file.header.profileId[i], 85 + i);
    for (unsigned i = 0; i < 28; ++i) EXPECT_EQ(file.header.headerReserved[i], 101 + i);
}

TEST_F(ProfileContainerEdges, SavingRecomputesTheSizeAndLosesTwoFields) {
    const Bytes source = ProfileOf({{"wtpt", Block("XYZ ", 20)}, {"abcd", Block("data", 32)}});
    Read(source);
    file.SaveFile(path.c_str());
    const Bytes saved = hueweave::test::ReadFile(path);
    Bytes expected = source;
    const Bytes size = ByteWriter().Big32(static_cast<std::uint32_t>(source.size())).Done();
    std::copy(size.begin(), size.end(), expected.begin());
    std::fill(expected.begin() + 56, expected.begin() + 64, std::uint8_t{0});
    std::fill(expected.begin() + 100, expected.begin() + 128, std::uint8_t{0});
    EXPECT_EQ(saved, expected);
}

TEST_F(ProfileContainerEdges, TheFirstOfTwoTagsOfOneNameWins) {
    Read(ProfileOf({{"A2B0", Block("abcd", 16)}, {"A2B0", Block("efgh", 20)}}));
    ASSERT_EQ(file.tagList.size(), 2U);
    EXPECT_EQ(file.GetTag(Name("A2B0")), file.tagList[0].get());
    EXPECT_EQ(file.GetTag(Name("A2B0"))->tagSize, 16U);
}

TEST_F(ProfileContainerEdges, ASecondReadAppendsAndAResetEmpties) {
    file.Reset();
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
    Read(ProfileOf({{"wtpt", Block("XYZ ", 24)}, {"bkpt", Block("XYZ ", 20)}}));
    ASSERT_EQ(file.tagList.size(), 3U);
    EXPECT_EQ(file.GetTag(Name("wtpt"))->tagSize, 20U);
    file.Reset();
    EXPECT_TRUE(file.tagList.empty());
    Read(ProfileOf({{"bkpt", Block("XYZ ", 20)}}));
    EXPECT_EQ(file.GetTag(Name("wtpt")), nullptr);
    EXPECT_NE(file.GetTag(Name("bkpt")), nullptr);
}

TEST_F(ProfileContainerEdges, APathThatCannotBeOpenedChangesNothing) {
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
    EXPECT_EQ(file.ReadFile(dir.File("missing").c_str()), -2);
    EXPECT_EQ(file.ReadFile(static_cast<const char*>(nullptr)), -2);
    EXPECT_EQ(file.tagList.size(), 1U);
    EXPECT_EQ(file.header.profileSize, 0x01020304U);
}

TEST_F(ProfileContainerEdges, AnEntryThatTheFileCannotHoldIsLeftOut) {
    Bytes bytes = ProfileOf({{"wtpt", Block("XYZ ", 20)}, {"bkpt", Block("XYZ ", 20)}});
    bytes.pop_back();
    Read(bytes);
    EXPECT_NE(file.GetTag(Name("wtpt")), nullptr);
    EXPECT_EQ(file.GetTag(Name("bkpt")), nullptr);
}

TEST_F(ProfileContainerEdges, RoundingMayReachPastTheEndOfTheFile) {
    Bytes bytes = ProfileOf({{"abcd", Block("data", 12), {}, 9}});
    bytes.erase(bytes.end() - 3, bytes.end());
    Read(bytes);
    ASSERT_EQ(file.tagList.size(), 1U);
    EXPECT_EQ(file.tagList[0]->tagSize, 12U);
    for (int i = 9; i < 12; ++i) EXPECT_EQ(file.tagList[0]->tagData[static_cast<std::size_t>(i)], 0);
}

TEST_F(ProfileContainerEdges, ACountBeyondTheFileIsCut) {
    Bytes bytes = ProfileOf({{"wtpt", Block("XYZ ", 20)}});
    const Bytes most = ByteWriter().Big32(0xffffffffU).Done();
    std::copy(most.begin(), most.end(), bytes.begin() + 128);
    EXPECT_EQ(Read(bytes), 0);
    EXPECT_NE(file.GetTag(Name("wtpt")), nullptr);
}

TEST_F(ProfileContainerEdges, SharedBlocksAreCopiedAsFarAsTheFileSizeAllows) {
    ByteWriter bytes;
    constexpr unsigned kEntries = 400;
    bytes.Append(NumberedHeader()).Big32(kEntries);
    for (unsigned i = 0; i < kEntries; ++i) bytes.Text("abcd").Big32(132 + 12 * kEntries).Big32(40000);
    bytes.Append(Block("data", 40000));
    Read(bytes.Done());
    const std::size_t size = bytes.Size(), budget = 8 * size + (4U << 20);
    EXPECT_EQ(file.tagList.size(), budget / (40000 + 256));
}

TEST_F(ProfileContainerEdges, ASoundProfileCutAnywhereReadsWithoutComplaint) {
    const Bytes whole =
        ProfileOf({{"desc", Block("desc", 40)}, {"wtpt", Block("XYZ ", 20)}, {"abcd", Block("data", 12)}});
    for (std::size_t size = 0; size < whole.size(); ++size) {
        file.Reset();
        EXPECT_EQ(Read(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))), 0);
        EXPECT_LE(file.tagList.size(), 3U);
        EXPECT_EQ(file.GetTag(Name("abcd")), nullptr);
    }
}

TEST_F(ProfileContainerEdges, ATagWithoutBytesIsKeptWithTypeZero) {
    Read(ProfileOf({{"abcd", {}}, {"desc", {}}, {"A2B0", {}}, {"rTRC", {}}, {"chad", {}}, {"wtpt", {}}}));
    ASSERT_EQ(file.tagList.size(), 6U);
    for (const auto& tag : file.tagList) {
        EXPECT_EQ(tag->tagSize, 0U);
        EXPECT_EQ(static_cast<std::uint32_t>(tag->sig), 0U);
    }
    EXPECT_FALSE(dynamic_cast<CLut8Type*>(file.GetTag(Name("A2B0"))) == nullptr);
}

}  // namespace
}  // namespace hueweave::test::icc
