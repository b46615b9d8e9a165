// SPDX-License-Identifier: MIT
// Writing a profile: what is kept, what is recomputed and what is lost.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class IccFile4Save : public ProfileOnDisk {
protected:
    /// Adds blocks of these sizes in bytes to the list, valid or not, as tags aaaa, bbbb, ...
    void AddTags(const std::vector<std::size_t>& sizes) {
        std::string name = "aaaa";
        for (const std::size_t size : sizes) {
            Bytes block = Block("data", size);
            file.tagList.push_back(file.CreateNewTag(Name(name), block.data(), static_cast<int>(size)));
            for (char& letter : name) ++letter;
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

struct Place {
    const char* name;
    std::uint32_t offset, size;
};
/// Tag count and tag table.
Bytes TableOf(const std::vector<Place>& places) {
    ByteWriter table;
    table.Big32(static_cast<std::uint32_t>(places.size()));
    for (const auto& [name, offset, size] : places) table.Text(name).Big32(offset).Big32(size);
    return table.Done();
}

std::vector<TagEntry> SomeTags() {
    return {{"zzzz", Block("data", 12, 1)}, {"wtpt", Block("XYZ ", 20, 2)}, {"aaaa", Block("text", 16, 3)}};
}
const std::vector<Place> kSomePlaces = {{"zzzz", 168, 12}, {"wtpt", 180, 20}, {"aaaa", 200, 16}};
std::vector<Bytes> SomeBlocks() { return {Block("data", 12, 1), Block("XYZ ", 20, 2), Block("text", 16, 3)}; }

/// A whole saved profile.
Bytes SavedProfile(const std::vector<Place>& places, const std::vector<Bytes>& blocks) {
    ByteWriter data;
    for (const Bytes& block : blocks) data.Append(block);
    const Bytes table = TableOf(places);
    const auto size = static_cast<std::uint32_t>(128 + table.size() + data.Size());
    return ByteWriter().Append(SavedHeader(size)).Append(table).Append(data.Done()).Done();
}

TEST_F(IccFile4Save, WritesHeaderTableAndBlocksInListOrderWithItsOwnSize) {
    for (const std::uint32_t declared : {0x80818283U, 0U, 1U, 0xffffffffU}) {
        ByteWriter bytes;
        bytes.Append(ProfileOf(SomeTags())).PatchBig32(0, declared);
        file.Reset();
        Read(bytes.Done());
        const Bytes saved = Saved();
        EXPECT_EQ(Big32(saved, 0), 216U);
        EXPECT_THAT(saved, EqualTo(SavedProfile(kSomePlaces, SomeBlocks())));
        EXPECT_EQ(file.header.profileSize, declared) << "in memory it stays";
    }
}

TEST_F(IccFile4Save, OfAnEmptyListWritesHeaderAndCount) {
    Read(ProfileOf({}));
    EXPECT_THAT(Saved(), EqualTo(ByteWriter().Append(SavedHeader(132)).Big32(0).Done()));
}

TEST_F(IccFile4Save, WritesTheRoundedSize) {
    Read(ProfileOf({{"abcd", Block("data", 12), {}, 10}, {"efgh", Block("data", 4)}}));
    EXPECT_THAT(Saved(),
                EqualTo(SavedProfile({{"abcd", 156, 12}, {"efgh", 168, 4}}, {Block("data", 12), Block("data", 4)})));
}

// --- a save writes the list of tags and their verbatim copies

TEST_F(IccFile4Save, WritesNamesAndBytesOfTheList) {
    Read(ProfileOf(SomeTags()));
    file.tagList.erase(file.tagList.begin());
    file.tagList[0]->tagSig = Name("bkpt");
    auto empty = std::make_unique<CDataType>();
    empty->Initial(Name("void"), TypeName("data"));
    file.tagList.insert(file.tagList.begin(), std::move(empty));
    EXPECT_THAT(Saved(), EqualTo(SavedProfile({{"void", 168, 0}, {"bkpt", 168, 20}, {"aaaa", 188, 16}},
                                              {Block("XYZ ", 20, 2), Block("text", 16, 3)})));
}

TEST_F(IccFile4Save, WritesNoChangeOfADecodedField) {
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
    EXPECT_THAT(Saved(), EqualTo(SavedProfile({{"wtpt", 144, 20}}, {block})));
    file.tagList[0]->tagSize = 12;
    EXPECT_THAT(Saved(), EqualTo(SavedProfile({{"wtpt", 144, 12}}, {Cut(block, 12)})));
}

// --- tags that do not come from a file, whose sizes are not multiples of four

TEST_F(IccFile4Save, WritesUnevenTagsBackToBackWithTheirOwnSizes) {
    AddTags({5, 1, 10});
    EXPECT_THAT(Saved(), EqualTo(ByteWriter()
                                     .Big32(184)
                                     .Fill(124)
                                     .Append(TableOf({{"aaaa", 168, 5}, {"bbbb", 173, 1}, {"cccc", 174, 10}}))
                                     .Append(Block("data", 5))
                                     .Append(Block("data", 1))
                                     .Append(Block("data", 10))
                                     .Done()));
    // Reading them rounds the sizes up: a tag includes what follows its block, and zeros past the end of the file.
    const Bytes blocks =
        ByteWriter().Append(Block("data", 5)).Append(Block("data", 1)).Append(Block("data", 10)).Done();
    IccFile4 again;
    again.ReadFile(dir.File("saved.icc").c_str());
    ASSERT_EQ(again.tagList.size(), 3U);
    EXPECT_EQ(DataOf(*again.tagList[0]), Part(blocks, 0, 8));
    EXPECT_EQ(DataOf(*again.tagList[1]), Part(blocks, 5, 4));
    EXPECT_EQ(DataOf(*again.tagList[2]), Cut(Block("data", 10), 12));
}

// --- single steps, at the stream's position

TEST_F(IccFile4Save, WritesTheTableAloneAndAnswersTheFilesSizeAndTheBlocksAlone) {
    const auto expect = [&](int size, const Bytes& table, const Bytes& blocks) {
        EXPECT_THAT(BehindAText([&](std::FILE* stream) { EXPECT_EQ(file.WriteTagListHeader(stream), size); }),
                    EqualTo(table));
        EXPECT_THAT(BehindAText([&](std::FILE* stream) { EXPECT_EQ(file.WriteTagListData(stream), 0); }),
                    EqualTo(blocks));
    };
    expect(132, Bytes(4), {});
    AddTags({5, 1});
    expect(162, TableOf({{"aaaa", 156, 5}, {"bbbb", 161, 1}}),
           ByteWriter().Append(Block("data", 5)).Append(Block("data", 1)).Done());
}

// --- destinations

TEST_F(IccFile4Save, ReplacesALongerFileAndTheFileThatWasRead) {
    Read(ProfileOf(SomeTags()));
    const Bytes expected = SavedProfile(kSomePlaces, SomeBlocks());
    WriteFile(dir.File("saved.icc"), Bytes(5000, 0xdd));
    EXPECT_THAT(Saved(), EqualTo(expected));
    EXPECT_EQ(file.SaveFile(path.c_str()), 0);
    EXPECT_THAT(hueweave::test::ReadFile(path), EqualTo(expected));
}

TEST_F(IccFile4Save, AnswersZeroForAPathThatCannotBeWritten) {
    Read(ProfileOf(SomeTags()));
    const std::string target = dir.File("no-such-folder") + "/saved.icc";
    EXPECT_EQ(file.SaveFile(target.c_str()), 0);
    EXPECT_EQ(FileHandle(std::fopen(target.c_str(), "rb")), nullptr);
    EXPECT_EQ(file.SaveFile("/dev/full"), 0);
    EXPECT_EQ(file.tagList.size(), 3U);
}

}  // namespace
}  // namespace hueweave::test::icc
