// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Writing a profile back: what is kept, what is worked out anew and what is lost.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class IccFile4Save : public ProfileOnDisk {
protected:
    /// Has the blocks of this many bytes in the list, sound or not, as tags aaaa, bbbb, ...
    void AddTags(const std::vector<std::size_t>& sizes) {
        std::string name = "aaaa";
        for (const std::size_t size : sizes) {
            Bytes block = Block("data", size);
            file.tagList.push_back(file.CreateNewTag(Name(name), block.data(), static_cast<int>(size)));
            for (char& letter : name) ++letter;
        }
    }
    /// What `write` puts behind the text "xyz".
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
/// Count and table.
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

/// A whole profile as it is saved.
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

TEST_F(IccFile4Save, LaysTheBlocksBackToBackInTableOrder) {
    // In the file: a gap, the second tag's block, a gap, the first tag's block, and bytes that belong to none.
    ByteWriter bytes;
    bytes.Append(NumberedHeader()).Append(TableOf({{"frst", 200, 8}, {"scnd", 170, 12}}));
    bytes.Fill(170 - 156, 0xaa).Append(Block("data", 12, 5)).Fill(200 - 182, 0xbb).Append(Block("data", 8, 6));
    bytes.Fill(50, 0xcc);
    Read(bytes.Done());
    EXPECT_THAT(Saved(), EqualTo(SavedProfile({{"frst", 156, 8}, {"scnd", 164, 12}},
                                              {Block("data", 8, 6), Block("data", 12, 5)})));
}

TEST_F(IccFile4Save, WritesASharedBlockOncePerTag) {
    const Bytes curve = CurveBlock({1, 2, 3, 4});
    Read(ByteWriter()
             .Append(NumberedHeader())
             .Append(TableOf({{"rTRC", 156, 20}, {"gTRC", 156, 20}}))
             .Append(curve)
             .Done());
    EXPECT_THAT(Saved(), EqualTo(SavedProfile({{"rTRC", 156, 20}, {"gTRC", 176, 20}}, {curve, curve})));
}

TEST_F(IccFile4Save, LosesNothingTheSecondTime) {
    Read(ProfileOf(EveryClass()));
    const Bytes first = Saved();
    IccFile4 again;
    EXPECT_EQ(again.ReadFile(dir.File("saved.icc").c_str()), 0);
    ASSERT_EQ(again.tagList.size(), file.tagList.size());
    for (std::size_t i = 0; i < again.tagList.size(); ++i) {
        EXPECT_THAT(DataOf(*again.tagList[i]), EqualTo(DataOf(*file.tagList[i])));
        EXPECT_EQ(again.tagList[i]->tagSig, file.tagList[i]->tagSig);
        EXPECT_EQ(again.tagList[i]->sig, file.tagList[i]->sig);
    }
    again.SaveFile(path.c_str());
    EXPECT_THAT(hueweave::test::ReadFile(path), EqualTo(first));
}

// --- what is saved is the list of tags and their verbatim copies

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
    auto& description = Get<CTextDescriptionType>("desc");
    description.text[0] = static_cast<unsigned char>(description.text[0] + 1);
    description.textLength = 3;
    Get<CTextType>("cprt").text.reset();
    Get<CXYZType>("wtpt").rawXYZ = {1, 2, 3};
    Get<CXYZType>("wtpt").XYZ = {4, 5, 6};
    Get<CChad>("chad").chad.fill(2.0);
    Get<CCurveType>("rTRC").curve[0] = 77;
    Get<CCurveType>("rTRC").curveCount = 2;
    const auto change = [](auto& lut) {
        lut.inputTable[0] = lut.clutTable[0] = lut.outputTable[0] = 5;
        lut.matrix.fill(7);
        lut.inputChan = lut.outputChan = lut.clutPoints = lut.pad = 1;
        lut.inputEnt = lut.outputEnt = 1;
    };
    change(Get<CLut16Type>("A2B0"));
    change(Get<CLut8Type>("A2B2"));
    auto& lut = Get<CLut>("A2B1");
    lut.bCurves[0]->curve[0] = 9;
    lut.aCurves[0].reset();
    lut.clut->gridData[0] = 9;
    lut.bCurveOffset = lut.matrixOffset = lut.mCurveOffset = lut.clutOffset = lut.aCurveOffset = 1;
    Get<CLut>("B2A0").mCurve->tagData.reset();
    Get<CLut>("B2A0").mCurve->tagSize = 3;
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

// --- tags that were never in a file, whose sizes are no multiples of four

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
    // Read again they are rounded: what follows a block belongs to it, and behind the file's end there are zeros.
    const Bytes blocks =
        ByteWriter().Append(Block("data", 5)).Append(Block("data", 1)).Append(Block("data", 10)).Done();
    IccFile4 again;
    again.ReadFile(dir.File("saved.icc").c_str());
    ASSERT_EQ(again.tagList.size(), 3U);
    EXPECT_EQ(DataOf(*again.tagList[0]), Part(blocks, 0, 8));
    EXPECT_EQ(DataOf(*again.tagList[1]), Part(blocks, 5, 4));
    EXPECT_EQ(DataOf(*again.tagList[2]), Cut(Block("data", 10), 12));
}

// --- step by step, at the stream's position

TEST_F(IccFile4Save, WritesTheTableAloneAndAnswersTheFilesSize) {
    const auto write = [&](std::uint32_t size) {
        return BehindAText(
            [&](std::FILE* stream) { EXPECT_EQ(static_cast<std::uint32_t>(file.WriteTagListHeader(stream)), size); });
    };
    EXPECT_THAT(write(132), EqualTo(Bytes(4))) << "of an empty list the count";
    AddTags({5, 1, 10});
    EXPECT_THAT(write(184), EqualTo(TableOf({{"aaaa", 168, 5}, {"bbbb", 173, 1}, {"cccc", 174, 10}})));
}

TEST_F(IccFile4Save, WritesTheBlocksAlone) {
    const auto write = [&] {
        return BehindAText([&](std::FILE* stream) { EXPECT_EQ(file.WriteTagListData(stream), 0); });
    };
    EXPECT_THAT(write(), EqualTo(Bytes())) << "nothing of an empty list";
    AddTags({12, 5});
    EXPECT_THAT(write(), EqualTo(ByteWriter().Append(Block("data", 12)).Append(Block("data", 5)).Done()));
}

// --- where to

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
