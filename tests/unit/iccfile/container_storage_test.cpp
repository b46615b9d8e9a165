// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What a container keeps, opens, closes and prints, its record of the header, and tags that were never in a file.
#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <type_traits>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class ProfileStorage : public ProfileOnDisk {
protected:
    static std::ptrdiff_t OpenFiles() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    }
};

TEST_F(ProfileStorage, IsKeptByAReset) {
    Read(ProfileOf(std::vector<Entry>(20, {"abcd", Block("data", 8)})));
    ASSERT_EQ(file.tagList.size(), 20U);
    const std::size_t capacity = file.tagList.capacity();
    const auto* const place = file.tagList.data();
    file.Reset();
    EXPECT_EQ(file.tagList.capacity(), capacity);
    EXPECT_EQ(file.tagList.data(), place);
}

TEST_F(ProfileStorage, DestroysEveryTagOnResetAndAtItsEnd) {
    class Mortal : public CDataType {
    public:
        explicit Mortal(int& deaths) : deaths_(deaths) {}
        ~Mortal() override { ++deaths_; }

    private:
        int& deaths_;
    };
    int deaths = 0;
    {
        IccFile4 other;
        other.tagList.push_back(std::make_unique<Mortal>(deaths));
        other.tagList.push_back(nullptr);
        other.tagList.push_back(std::make_unique<Mortal>(deaths));
        other.Reset();
        EXPECT_EQ(deaths, 2);
        other.tagList.push_back(std::make_unique<Mortal>(deaths));
    }
    EXPECT_EQ(deaths, 3);
}

TEST_F(ProfileStorage, LeavesNoFileOpen) {
    WriteFile(path, ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
    const std::string target = dir.File("saved.icc"), missing = dir.File("missing.icc");
    const std::ptrdiff_t before = OpenFiles();
    EXPECT_EQ(file.ReadFile(path.c_str()), 0);
    EXPECT_EQ(file.ReadFile(missing.c_str()), -2);
    EXPECT_EQ(file.SaveFile(target.c_str()), 0);
    EXPECT_EQ(file.SaveFile((missing + "/none.icc").c_str()), 0);
    EXPECT_EQ(OpenFiles(), before);
}

TEST_F(ProfileStorage, LeavesACallersStreamOpen) {
    WriteFile(path, ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
    const FileHandle stream = Open("rb+");
    const std::ptrdiff_t before = OpenFiles();
    file.ReadFile(stream.get());
    file.ReadHeader(stream.get());
    file.WriteHeader(stream.get(), 0);
    file.WriteTagListHeader(stream.get());
    file.WriteTagListData(stream.get());
    EXPECT_EQ(OpenFiles(), before);
}

TEST_F(ProfileStorage, PrintsNothingWhateverHappens) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Read(ProfileOf({{"A2B0", Block("mft2", 60)}, {"wtpt", Block("XYZ ", 8)}, {"abcd", {}, 9999, 9999}}));
    Read({1, 2, 3});
    file.ReadFile(dir.File("missing").c_str());
    file.SaveFile((dir.File("missing") + "/none.icc").c_str());
    Saved();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ProfileStorage, AnswersZeroForADiskThatTakesNothing) {
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
    EXPECT_EQ(file.SaveFile("/dev/full"), 0);
    EXPECT_EQ(file.tagList.size(), 1U);
}

TEST_F(ProfileStorage, ReadsAHeaderOfZerosFromAStreamAtItsEnd) {
    Read(ProfileOf({}));
    ASSERT_NE(file.header.profileSize, 0U);
    WriteFile(path, {});
    const FileHandle stream = Open("rb");
    EXPECT_EQ(file.ReadHeader(stream.get()), 0);
    const ProfileHeader empty;
    EXPECT_EQ(std::memcmp(&file.header, &empty, sizeof empty), 0);
}

TEST(ProfileHeaderLayout, IsThatOfTheFile) {
    static_assert(std::is_standard_layout_v<ProfileHeader> && std::is_trivially_copyable_v<ProfileHeader>);
    EXPECT_EQ(sizeof(ProfileHeader), 128U);
    EXPECT_EQ(offsetof(ProfileHeader, profileSize), 0U);
    EXPECT_EQ(offsetof(ProfileHeader, cmmType), 4U);
    EXPECT_EQ(offsetof(ProfileHeader, profileVersion), 8U);
    EXPECT_EQ(offsetof(ProfileHeader, deviceClass), 12U);
    EXPECT_EQ(offsetof(ProfileHeader, colorSpace), 16U);
    EXPECT_EQ(offsetof(ProfileHeader, pcs), 20U);
    EXPECT_EQ(offsetof(ProfileHeader, dateTime), 24U);
    EXPECT_EQ(offsetof(ProfileHeader, magic), 36U);
    EXPECT_EQ(offsetof(ProfileHeader, platform), 40U);
    EXPECT_EQ(offsetof(ProfileHeader, profileFlags), 44U);
    EXPECT_EQ(offsetof(ProfileHeader, manufacturer), 48U);
    EXPECT_EQ(offsetof(ProfileHeader, model), 52U);
    EXPECT_EQ(offsetof(ProfileHeader, attributes), 56U);
    EXPECT_EQ(offsetof(ProfileHeader, renderingIntent), 64U);
    EXPECT_EQ(offsetof(ProfileHeader, illuminant), 68U);
    EXPECT_EQ(offsetof(ProfileHeader, creator), 80U);
    EXPECT_EQ(offsetof(ProfileHeader, profileId), 84U);
    EXPECT_EQ(offsetof(ProfileHeader, headerReserved), 100U);
}

/// Tags whose sizes are no multiples of four, as no file gives them.
class UnevenTags : public ProfileStorage {
protected:
    void SetUp() override {
        for (const auto& [name, size] : {std::pair{"aaaa", 5U}, {"bbbb", 1U}, {"cccc", 10U}}) {
            Bytes block = Block("data", size);
            file.tagList.push_back(file.CreateNewTag(Name(name), block.data(), static_cast<int>(size)));
        }
    }
    const Bytes blocks =
        ByteWriter().Append(Block("data", 5)).Append(Block("data", 1)).Append(Block("data", 10)).Done();
    const Bytes table = ByteWriter()
                            .Big32(3)
                            .Text("aaaa")
                            .Big32(168)
                            .Big32(5)
                            .Text("bbbb")
                            .Big32(173)
                            .Big32(1)
                            .Text("cccc")
                            .Big32(174)
                            .Big32(10)
                            .Done();
};

TEST_F(UnevenTags, AreSavedBackToBackWithTheirOwnSizes) {
    const Bytes expected = ByteWriter().Big32(184).Fill(124).Append(table).Append(blocks).Done();
    EXPECT_EQ(Saved(), expected);
}

TEST_F(UnevenTags, HaveTheSameTableAndDataStepByStep) {
    {
        const FileHandle stream = Open("wb+");
        EXPECT_EQ(file.WriteTagListHeader(stream.get()), 184);
        EXPECT_EQ(file.WriteTagListData(stream.get()), 0);
    }
    EXPECT_EQ(hueweave::test::ReadFile(path), ByteWriter().Append(table).Append(blocks).Done());
}

TEST_F(UnevenTags, ReadAgainAreRounded) {
    Saved();
    IccFile4 again;
    again.ReadFile(dir.File("saved.icc").c_str());
    ASSERT_EQ(again.tagList.size(), 3U);
    // What follows a block in the file belongs to it now; behind the file's end there are zeros.
    EXPECT_EQ(DataOf(*again.tagList[0]), Part(blocks, 0, 8));
    EXPECT_EQ(DataOf(*again.tagList[1]), Part(blocks, 5, 4));
    EXPECT_EQ(DataOf(*again.tagList[2]), Cut(Block("data", 10), 12));
}

TEST_F(ProfileStorage, WritesTheBlocksOfAnEmptyListAsNothing) {
    {
        const FileHandle stream = Open("wb+");
        EXPECT_EQ(file.WriteTagListData(stream.get()), 0);
    }
    EXPECT_EQ(hueweave::test::ReadFile(path), Bytes());
}

TEST_F(ProfileStorage, WritesAnySizeIntoAHeader) {
    for (const auto& [size, bytes] : {std::pair{0, 0U}, {-1, 0xffffffffU}, {0x7f010203, 0x7f010203U}}) {
        {
            const FileHandle stream = Open("wb+");
            EXPECT_EQ(file.WriteHeader(stream.get(), size), 0);
        }
        EXPECT_EQ(hueweave::test::ReadFile(path), ByteWriter().Big32(bytes).Fill(124).Done());
    }
}

TEST(ShortBlocks, HaveNoTypeThatCounts) {
    // Up to three bytes of a type are not that type, whatever follows the block.
    IccFile4 file;
    for (int size = 0; size < 4; ++size) {
        Bytes words = Block("mft2", 4), text = Block("text", 4), curved = Block("mAB ", 4);
        const auto table = file.CreateNewTag(Name("A2B0"), words.data(), size);
        const auto other = file.CreateNewTag(Name("A2B0"), curved.data(), size);
        const auto unknown = file.CreateNewTag(Name("abcd"), text.data(), size);
        EXPECT_NE(dynamic_cast<ICC40::ICCFILE::CLut8Type*>(table.get()), nullptr) << size;
        EXPECT_NE(dynamic_cast<ICC40::ICCFILE::CLut8Type*>(other.get()), nullptr) << size;
        EXPECT_NE(dynamic_cast<CDataType*>(unknown.get()), nullptr) << size;
        EXPECT_EQ(unknown->tagSize, static_cast<unsigned>(size));
    }
}

}  // namespace
}  // namespace hueweave::test::icc
