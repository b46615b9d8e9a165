// SPDX-License-Identifier: MIT
// Reading a profile: the tag table, the blocks, the list of tags and the class of each, and look-ups by name.
#include <typeindex>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class IccFile4Read : public ProfileOnDisk {};

TEST_F(IccFile4Read, OfACountOfZeroGivesAnEmptyList) {
    EXPECT_EQ(Read(ProfileOf({})), 0);
    EXPECT_TRUE(file.tagList.empty());
    for (const char* name : {"A2B0", "A2B1", "A2B2", "wtpt", "desc"}) EXPECT_EQ(file.GetTag(Name(name)), nullptr);
    EXPECT_EQ(file.GetTag(icTagSignature{}), nullptr);
}

TEST_F(IccFile4Read, KeepsTheOrderOfTheTableWhateverTheOffsets) {
    const Bytes data = Block("data", 16, 1), more = Block("more", 12, 2), last = Block("last", 8, 3);
    const Bytes table = ProfileOf({{"zzzz", {}, 188, 16}, {"mmmm", {}, 176, 12}, {"aaaa", {}, 168, 8}});
    ASSERT_EQ(table.size(), 168U);
    EXPECT_EQ(Read(ByteWriter().Append(table).Append(last).Append(more).Append(data).Done()), 0);
    ASSERT_EQ(Names(), (Strings{"zzzz", "mmmm", "aaaa"}));
    EXPECT_EQ(DataOf(*file.tagList[0]), data);
    EXPECT_EQ(DataOf(*file.tagList[1]), more);
    EXPECT_EQ(DataOf(*file.tagList[2]), last);
}

TEST_F(IccFile4Read, RoundsADeclaredSizeUpToFour) {
    const Bytes block = Block("data", 20);
    for (std::uint32_t declared = 0; declared <= 17; ++declared) {
        file.Reset();
        EXPECT_EQ(Read(ProfileOf({{"abcd", block, {}, declared}})), 0);
        ASSERT_EQ(file.tagList.size(), 1U);
        const std::uint32_t rounded = declared % 4 == 0 ? declared : declared + 4 - declared % 4;
        EXPECT_EQ(file.tagList[0]->tagSize, rounded) << declared;
        EXPECT_THAT(DataOf(*file.tagList[0]), EqualTo(Cut(block, rounded))) << "what follows it belongs to it";
    }
}

TEST_F(IccFile4Read, DoesNotLookAtTheHeader) {
    const Bytes sound = ProfileOf({{"A2B0", MftSpec().Done()}, {"A2B1", AbBlock(3, 3).Done()}});
    for (std::size_t at = 0; at < 128; at += 4) {
        // Including versions 2 and 4, and a missing signature.
        for (const std::uint32_t word : {0U, 0x02400000U, 0x04300000U, 0xffffffffU}) {
            ByteWriter changed;
            changed.Append(sound).PatchBig32(at, word);
            file.Reset();
            EXPECT_EQ(ReadFromMemory(changed.Done()), 0);
            ASSERT_EQ(Names(), (Strings{"A2B0", "A2B1"})) << at;
            EXPECT_THAT(DataOf(Get<CLut16Type>("A2B0")), EqualTo(MftSpec().Done())) << at;
            EXPECT_THAT(DataOf(Get<CLut>("A2B1")), EqualTo(AbBlock(3, 3).Done())) << at;
        }
    }
}

TEST_F(IccFile4Read, DecodesEveryTag) {
    Read(ProfileOf(EveryClass()));
    EXPECT_EQ(Get<CTextDescriptionType>("desc").textLength, 20U) << "28 bytes with the rounding";
    EXPECT_EQ(ValuesOf(Get<CLut16Type>("A2B0").clutTable, 0, 24), TableValues(6, 24));
    EXPECT_EQ(ValuesOf(Get<CLut8Type>("A2B2").clutTable, 0, 24), TableValues(6, 24, 1));
    EXPECT_EQ(EntriesOf(Get<CLut>("A2B1").bCurves[1].get()), (Values{4, 5, 6}));
    EXPECT_EQ(EntriesOf(Get<CLut>("B2A0").mCurve.get()), (Values{1, 2, 3}));
    EXPECT_EQ(Get<CXYZType>("wtpt").rawXYZ[0], Big32(Block("XYZ ", 20), 8));
    EXPECT_EQ(Get<CChad>("chad").chad[8], Big32(Block("sf32", 44), 40) / 65536.0);
    EXPECT_EQ(EntriesOf(&Get<CCurveType>("rTRC")), (Values{1, 2, 3, 4, 5}));
    EXPECT_EQ(Get<CTextType>("cprt").text[0], Block("text", 21)[8]);
}

TEST_F(IccFile4Read, AnswersMinusTwoForAPathThatCannotBeOpenedAndChangesNothing) {
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
    const auto* tag = file.tagList[0].get();
    EXPECT_EQ(file.ReadFile(dir.File("missing.icc").c_str()), -2);
    EXPECT_EQ(file.ReadFile(""), -2);
    EXPECT_EQ(file.ReadFile(static_cast<const char*>(nullptr)), -2);
    ASSERT_EQ(file.tagList.size(), 1U);
    EXPECT_EQ(file.tagList[0].get(), tag);
    EXPECT_EQ(file.header.profileSize, 0x80818283U);
    EXPECT_EQ(file.header.headerReserved[27], 255);
}

TEST_F(IccFile4Read, OfAFileWithoutBytesIsNoFailureAndClearsTheHeader) {
    WriteFile(dir.File("empty.icc"), {});
    for (const std::string& empty : {dir.File("empty.icc"), dir.Path(), std::string("/dev/null")}) {
        file.Reset();
        Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
        EXPECT_EQ(file.ReadFile(empty.c_str()), 0) << empty;
        EXPECT_EQ(Names(), Strings{"wtpt"}) << empty;
        EXPECT_EQ(file.header.profileSize, 0U) << empty;
    }
}

TEST_F(IccFile4Read, AppendsToTheTagsThatAreThereAndOverwritesTheHeader) {
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}, {"aaaa", Block("data", 8)}}));
    ByteWriter second;
    second.Append(ProfileOf({{"wtpt", Block("XYZ ", 24)}, {"bbbb", Block("data", 12)}}));
    second.PatchBig32(16, Word("CMYK"));
    EXPECT_EQ(Read(second.Done()), 0);
    EXPECT_EQ(Names(), (Strings{"wtpt", "aaaa", "wtpt", "bbbb"}));
    EXPECT_EQ(file.GetTag(Name("wtpt")), file.tagList[0].get()) << "the first of a name";
    EXPECT_EQ(file.header.colorSpace, Word("CMYK"));
}

TEST_F(IccFile4Read, TakesTheHeaderFromTheStreamsPositionAndTheBlocksFromTheFilesStart) {
    ByteWriter bytes;
    bytes.Text("front of the file...").Append(NumberedHeader()).Big32(1);
    bytes.Text("abcd").Big32(4).Big32(12);
    bytes.Fill(200, 0x77);
    WriteFile(path, bytes.Done());
    const FileHandle stream = Open("rb");
    ASSERT_EQ(std::fseek(stream.get(), 20, SEEK_SET), 0);
    EXPECT_EQ(file.ReadFile(stream.get()), 0);
    EXPECT_EQ(file.header.profileSize, 0x80818283U);
    ASSERT_EQ(Names(), (Strings{"abcd"}));
    EXPECT_EQ(DataOf(*file.tagList[0]), ByteWriter().Text("t of the fil").Done());
}

TEST_F(IccFile4Read, CopiesABlockThatEntriesShareOrOverlapInto) {
    const Bytes block = Block("data", 24);
    // The block starts at 132 + 4 x 12 bytes.
    Read(ProfileOf({{"aaaa", block}, {"bbbb", {}, 180, 24}, {"cccc", {}, 185, 6}, {"dddd", {}, 0, 8}}));
    ASSERT_EQ(Names(), (Strings{"aaaa", "bbbb", "cccc", "dddd"}));
    EXPECT_EQ(DataOf(*file.tagList[0]), block);
    EXPECT_EQ(DataOf(*file.tagList[1]), block);
    EXPECT_NE(file.tagList[0]->tagData.get(), file.tagList[1]->tagData.get());
    EXPECT_EQ(DataOf(*file.tagList[2]), Part(block, 5, 8));
    EXPECT_EQ(DataOf(*file.tagList[3]), Part(NumberedHeader(), 0, 8));
}

TEST_F(IccFile4Read, FindsTheFirstTagOfANameAndNoneByItsType) {
    Read(ProfileOf({{"abcd", Block("wtpt", 20)}, {"A2B0", MftSpec().Done()}, {"A2B0", AbBlock(3, 3).Done()}}));
    EXPECT_EQ(file.GetTag(Name("A2B0")), file.tagList[1].get());
    EXPECT_EQ(file.GetTag(Name("wtpt")), nullptr);
    EXPECT_EQ(file.GetTag(Name("ABCD")), nullptr);
    const IccFile4& constant = file;
    EXPECT_EQ(constant.GetTag(Name("A2B0")), file.tagList[1].get());
    EXPECT_EQ(constant.GetTag(Name("A2B1")), nullptr);
    file.tagList[0]->tagSig = Name("wtpt");
    EXPECT_EQ(file.GetTag(Name("wtpt")), file.tagList[0].get());
}

// --- Reset

TEST_F(IccFile4Read, AfterAResetFindsOnlyTheNewTags) {
    file.Reset();  // an empty container stays empty
    EXPECT_TRUE(file.tagList.empty());
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}, {"aaaa", Block("data", 8)}}));
    file.tagList.push_back(nullptr);
    file.Reset();
    EXPECT_TRUE(file.tagList.empty());
    EXPECT_EQ(file.GetTag(Name("wtpt")), nullptr);
    EXPECT_EQ(file.header.profileSize, 0x80818283U) << "the header stays";
    EXPECT_EQ(file.header.attributes[0], 184);
    Read(ProfileOf({{"bbbb", Block("data", 12)}}));
    EXPECT_EQ(Names(), (Strings{"bbbb"}));
    EXPECT_EQ(file.GetTag(Name("aaaa")), nullptr);
}

// --- one entry of the tag table

/// The four bytes of a big-endian word, in memory order.
unsigned InFileOrder(std::uint32_t value) {
    const Bytes bytes = ByteWriter().Big32(value).Done();
    unsigned word = 0;
    std::memcpy(&word, bytes.data(), 4);
    return word;
}

TEST_F(IccFile4Read, AddsATagFromWordsAsTheyStandInTheFile) {
    const Bytes content = ByteWriter().Text("0123456789abcdefghij").Done();
    WriteFile(path, content);
    const FileHandle stream = Open("rb");
    ASSERT_EQ(std::fseek(stream.get(), 3, SEEK_SET), 0);
    const auto add = [&](const char* name, std::uint32_t offset, std::uint32_t size) {
        return file.AddIccTagData(InFileOrder(Word(name)), InFileOrder(offset), InFileOrder(size), stream.get());
    };
    EXPECT_EQ(add("abcd", 5, 6), 0);
    EXPECT_EQ(add("wtpt", 0, 20), 0);
    EXPECT_EQ(add("none", 16, 5), 0) << "reaches past the end of the file";
    EXPECT_EQ(add("last", 15, 5), 0) << "only its rounding does";
    ASSERT_EQ(Names(), (Strings{"abcd", "wtpt", "last"}));
    EXPECT_EQ(DataOf(*file.tagList[0]), ByteWriter().Text("56789abc").Done());
    EXPECT_EQ(TypeOf(*file.tagList[0]), Word("5678"));
    EXPECT_EQ(DataOf(*file.tagList[1]), content);
    EXPECT_EQ(Get<CXYZType>("wtpt").rawXYZ[0], Word("89ab"));
    EXPECT_EQ(DataOf(*file.tagList[2]), ByteWriter().Text("fghij").Fill(3).Done());
}

// --- the class of a tag: its name decides; the type counts only if the name leaves it open

struct TypeRow {
    const char* type;
    std::type_index a2b, b2a, other;  ///< for a table of either direction, and for a name without its own class
};
struct TagClass {
    std::string name;
    const char* type;
    std::type_index expected;
};
std::vector<TagClass> TagClasses() {
    const std::type_index lut = typeid(CLut), words = typeid(CLut16Type), bytes = typeid(CLut8Type),
                          data = typeid(CDataType), description = typeid(CTextDescriptionType);
    std::vector<TypeRow> rows = {{"mAB ", lut, bytes, data},
                                 {"mBA ", bytes, lut, data},
                                 {"mft2", words, words, data},
                                 {"text", bytes, bytes, description}};
    for (const char* type : {"mft1", "curv", "para", "XYZ ", "sf32", "desc", "mluc", "data", "mAB0", "MFT2", "TEXT"}) {
        rows.push_back({type, bytes, bytes, data});
    }
    std::vector<TagClass> all;
    for (const TypeRow& row : rows) {
        const auto add = [&](std::type_index expected, const Strings& names) {
            for (const std::string& name : names) all.push_back({name, row.type, expected});
        };
        add(row.a2b, {"A2B0", "A2B1", "A2B2"});
        add(row.b2a, {"B2A0", "B2A1", "B2A2"});
        add(typeid(CChad), {"chad"});
        add(typeid(CXYZType), {"rXYZ", "gXYZ", "bXYZ", "wtpt", "bkpt"});
        add(typeid(CCurveType), {"rTRC", "gTRC", "bTRC"});
        add(description, {"desc"});
        add(typeid(CTextType), {"cprt"});
        add(row.other, {"A2B3", "B2A3", "A2B/", "A2Bz", "a2b0", "D2B0", "B2D0", "pre0", "pre1", "pre2", "gamt",
                        "kTRC", "lumi", "dmnd", "dmdd", "vued", "targ", "text", "mft2", "kXYZ", "Chad", "abcd"});
    }
    return all;
}

TEST_F(IccFile4Read, ChoosesTheClassOfATagByNameAndType) {
    for (const TagClass& row : TagClasses()) {
        SCOPED_TRACE(row.name + " of type " + row.type);
        for (const std::size_t size : {4U, 8U, 12U, 64U}) {
            Bytes block = Block(row.type, size);
            const auto tag = file.CreateNewTag(Name(row.name), block.data(), static_cast<int>(size));
            const iccTagBase& made = *tag;
            EXPECT_EQ(std::type_index(typeid(made)), row.expected) << size;
            EXPECT_EQ(made.tagSig, Name(row.name));
            EXPECT_EQ(TypeOf(made), Word(row.type));
            EXPECT_EQ(DataOf(made), block);
        }
    }
    EXPECT_TRUE(file.tagList.empty()) << "making a tag does not append it";
}

TEST_F(IccFile4Read, TakesUpToThreeBytesOfATypeForNoType) {
    for (int size = 0; size < 4; ++size) {  // whatever follows the block
        Bytes words = Block("mft2", 4), curved = Block("mAB ", 4), text = Block("text", 4);
        for (Bytes* block : {&words, &curved}) {
            const auto table = file.CreateNewTag(Name("A2B0"), block->data(), size);
            EXPECT_NE(dynamic_cast<CLut8Type*>(table.get()), nullptr) << size;
        }
        const auto unknown = file.CreateNewTag(Name("abcd"), text.data(), size);
        EXPECT_NE(dynamic_cast<CDataType*>(unknown.get()), nullptr) << size;
        EXPECT_EQ(unknown->tagSize, static_cast<unsigned>(size));
    }
}

}  // namespace
}  // namespace hueweave::test::icc
