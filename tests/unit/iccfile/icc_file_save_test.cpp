// SPDX-License-Identifier: MIT
// Writing a profile: what is kept, what is recomputed and what is lost.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class IccFile4Save : public ProfileOnDisk {
protected:
    void Add(const TagList& tags) {
        for (auto [name, block] : tags) {
            file.tagList.push_back(file.CreateNewTag(Name(name), block.data(), static_cast<int>(block.size())));
        }
    }
    /// The bytes that `write` writes after the text "xyz".
    template <typename Write>
    Bytes BehindAText(Write write) {
        {
            const FileHandle stream = Open("wb+");
            std::fputs("xyz", stream.get());
            write(stream.get());
        }
        const Bytes written = hueweave::test::ReadFile(path);
        EXPECT_EQ(Cut(written, 3), ByteWriter().Text("xyz").Done());
        return Part(written, 3, written.size() - 3);
    }
};

/// Tag count and tag table of blocks that follow one another, and the blocks.
Bytes TableOf(const TagList& tags) {
    ByteWriter table, data;
    table.Big32(static_cast<std::uint32_t>(tags.size()));
    for (const auto& [name, block] : tags) {
        table.Text(name).Big32(static_cast<std::uint32_t>(132 + 12 * tags.size() + data.Size()));
        table.Big32(static_cast<std::uint32_t>(block.size()));
        data.Append(block);
    }
    return table.Append(data.Done()).Done();
}
/// A whole saved profile of blocks that need no padding.
Bytes SavedProfile(const TagList& tags) { return SizedContainer(SavedHeader(0), tags); }
const TagList kSomeTags = {
    {"zzzz", Block("data", 12, 1)}, {"wtpt", Block("XYZ ", 20, 2)}, {"aaaa", Block("text", 16, 3)}};
const TagList kUneven = {{"aaaa", Block("data", 5)}, {"bbbb", Block("data", 1)}, {"cccc", Block("data", 10)}};

TEST_F(IccFile4Save, WritesHeaderTableAndBlocksInListOrderWithItsOwnSize) {
    for (const std::uint32_t declared : {0x80818283U, 0U, 1U, 0xffffffffU}) {
        ByteWriter bytes;
        bytes.Append(Container(NumberedHeader(), kSomeTags)).PatchBig32(0, declared);
        file.Reset();
        Read(bytes.Done());
        EXPECT_THAT(Saved(), EqualTo(SavedProfile(kSomeTags)));
        EXPECT_EQ(file.header.profileSize, declared) << "in memory it stays";
    }
    file.Reset();
    EXPECT_THAT(Saved(), EqualTo(SavedProfile({}))) << "of an empty list, header and count";
}

TEST_F(IccFile4Save, WritesTheRoundedSize) {
    Read(ProfileOf({{"abcd", Block("data", 12), {}, 10}, {"efgh", Block("data", 4)}}));
    EXPECT_THAT(Saved(), EqualTo(SavedProfile({{"abcd", Block("data", 12)}, {"efgh", Block("data", 4)}})));
}

TEST_F(IccFile4Save, WritesNamesAndBytesOfTheList) {
    Read(Container(NumberedHeader(), kSomeTags));
    file.tagList.erase(file.tagList.begin());
    file.tagList[0]->tagSig = Name("bkpt");
    auto empty = std::make_unique<CDataType>();
    empty->Initial(Name("void"), TypeName("data"));
    file.tagList.insert(file.tagList.begin(), std::move(empty));
    EXPECT_THAT(Saved(),
                EqualTo(SavedProfile({{"void", {}}, {"bkpt", Block("XYZ ", 20, 2)}, {"aaaa", Block("text", 16, 3)}})));
}

TEST_F(IccFile4Save, IgnoresChangesOfDecodedFields) {
    Read(ProfileOf(EveryClass()));
    const Bytes before = Saved();
    for (const auto& tag : file.tagList) {
        tag->sig = {};
        tag->reserved = 99;
    }
    Get<CTextDescriptionType>("desc").textLength = 3;
    Get<CTextType>("cprt").text.reset();
    Get<CXYZType>("wtpt").rawXYZ = {1, 2, 3};
    Get<CChad>("chad").chad.fill(2.0);
    Get<CCurveType>("rTRC").curveCount = 2;
    Get<CLut16Type>("A2B0").clutTable[0] = 5;
    Get<CLut8Type>("A2B2").inputEnt = 1;
    Get<CLut>("A2B1").bCurves[0]->curve[0] = 9;
    Get<CLut>("B2A0").mCurve->tagData.reset();
    EXPECT_THAT(Saved(), EqualTo(before));
}

TEST_F(IccFile4Save, WritesChangesOfTheCopy) {
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
    Bytes block = Block("XYZ ", 20);
    file.tagList[0]->tagData[3] = block[3] = '!';
    file.tagList[0]->tagData[19] = block[19] = 0x5a;
    EXPECT_THAT(Saved(), EqualTo(SavedProfile({{"wtpt", block}})));
    file.tagList[0]->tagSize = 12;
    EXPECT_THAT(Saved(), EqualTo(SavedProfile({{"wtpt", Cut(block, 12)}})));
}

TEST_F(IccFile4Save, WritesUnevenTagsBackToBackWithTheirOwnSizes) {
    Add(kUneven);
    const Bytes saved = Saved();
    EXPECT_THAT(saved, EqualTo(ByteWriter().Big32(184).Fill(124).Append(TableOf(kUneven)).Done()));
    // Reading them rounds the sizes up: a tag includes what follows its block, and zeros past the end of the file.
    file.Reset();
    Read(saved);
}

TEST_F(IccFile4Save, LosesAttributesAndReservedBytesOfTheHeader) {
    Read(ProfileOf({}));
    const ProfileHeader before = file.header;
    for (const int size : {132, 0, -1, 0x7f010203}) {
        EXPECT_THAT(BehindAText([&](std::FILE* stream) { EXPECT_EQ(file.WriteHeader(stream, size), 0); }),
                    EqualTo(SavedHeader(static_cast<std::uint32_t>(size))));
    }
    EXPECT_EQ(std::memcmp(&file.header, &before, sizeof before), 0) << "in memory they stay";
}

TEST_F(IccFile4Save, WritesTableAndBlocksSeparatelyAndReturnsTheFileSize) {
    for (const TagList& tags : {TagList(), kUneven}) {
        Add(tags);
        const std::size_t entries = 4 + 12 * tags.size();
        const Bytes all = TableOf(tags);
        EXPECT_THAT(BehindAText([&](std::FILE* stream) {
                        EXPECT_EQ(file.WriteTagListHeader(stream), static_cast<int>(128 + all.size()));
                    }),
                    EqualTo(Cut(all, entries)));
        EXPECT_THAT(BehindAText([&](std::FILE* stream) { EXPECT_EQ(file.WriteTagListData(stream), 0); }),
                    EqualTo(Part(all, entries, all.size() - entries)));
    }
}

TEST_F(IccFile4Save, ReplacesALongerFileAndTheFileThatWasRead) {
    Read(Container(NumberedHeader(), kSomeTags));
    const Bytes expected = SavedProfile(kSomeTags);
    WriteFile(dir.File("saved.icc"), Bytes(5000, 0xdd));
    EXPECT_THAT(Saved(), EqualTo(expected));
    EXPECT_EQ(file.SaveFile(path.c_str()), 0);
    EXPECT_THAT(hueweave::test::ReadFile(path), EqualTo(expected));
}

TEST_F(IccFile4Save, ReturnsZeroForAPathThatCannotBeWritten) {
    Read(Container(NumberedHeader(), kSomeTags));
    const std::string target = dir.File("no-such-folder") + "/saved.icc";
    EXPECT_EQ(file.SaveFile(target.c_str()), 0);
    EXPECT_EQ(FileHandle(std::fopen(target.c_str(), "rb")), nullptr);
    EXPECT_EQ(file.SaveFile("/dev/full"), 0);
    EXPECT_EQ(file.tagList.size(), 3U);
}

}  // namespace
}  // namespace hueweave::test::icc
