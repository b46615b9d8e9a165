// SPDX-License-Identifier: MIT
// Reading a profile: the header, the tag table, the blocks, the class of each tag, and look-ups by name.
#include <arpa/inet.h>

#include <typeindex>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class IccFile4Read : public ProfileOnDisk {};

/// Checks every field against its place in the first bytes of a file.
void ExpectHeader(const ProfileHeader& header, const Bytes& bytes) {
    const Bytes whole = Cut(bytes, 128);
    EXPECT_EQ(header.profileSize, Big32At(whole, 0));
    EXPECT_EQ(header.cmmType, Big32At(whole, 4));
    EXPECT_EQ(header.profileVersion, Big32At(whole, 8));
    EXPECT_EQ(header.deviceClass, Big32At(whole, 12));
    EXPECT_EQ(header.colorSpace, Big32At(whole, 16));
    EXPECT_EQ(header.pcs, Big32At(whole, 20));
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(header.dateTime[i], Big16At(whole, 24 + 2 * i));
    EXPECT_EQ(header.magic, Big32At(whole, 36));
    EXPECT_EQ(header.platform, Big32At(whole, 40));
    EXPECT_EQ(header.profileFlags, Big32At(whole, 44));
    EXPECT_EQ(header.manufacturer, Big32At(whole, 48));
    EXPECT_EQ(header.model, Big32At(whole, 52));
    EXPECT_THAT(header.attributes, EqualTo(Part(whole, 56, 8)));
    EXPECT_EQ(header.renderingIntent, Big32At(whole, 64));
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(header.illuminant[i], Big32At(whole, 68 + 4 * i));
    EXPECT_EQ(header.creator, Big32At(whole, 80));
    EXPECT_THAT(header.profileId, EqualTo(Part(whole, 84, 16)));
    EXPECT_THAT(header.headerReserved, EqualTo(Part(whole, 100, 28)));
}

TEST_F(IccFile4Read, ReadsMissingHeaderBytesAsZero) {
    for (std::size_t size = 0; size <= 128; ++size) {
        Read(ProfileOf({}));  // so that a stale header would show
        Read(Cut(NumberedHeader(), size));
        SCOPED_TRACE(size);
        ExpectHeader(file.header, Cut(NumberedHeader(), size));
    }
}

TEST_F(IccFile4Read, ReadHeaderReadsOnlyTheHeaderAtTheStreamPosition) {
    WriteFile(path, ByteWriter().Fill(5, 0xff).Append(ProfileOf({{"abcd", Block("data", 8)}})).Done());
    const FileHandle stream = Open("rb");
    ASSERT_EQ(std::fseek(stream.get(), 5, SEEK_SET), 0);
    EXPECT_EQ(file.ReadHeader(stream.get()), 0);
    ExpectHeader(file.header, NumberedHeader());
    EXPECT_EQ(std::ftell(stream.get()), 133);
    EXPECT_TRUE(file.tagList.empty());
    ASSERT_EQ(std::fseek(stream.get(), 0, SEEK_END), 0);
    EXPECT_EQ(file.ReadHeader(stream.get()), 0);
    ExpectHeader(file.header, Bytes(128));
}

TEST_F(IccFile4Read, KeepsTheTableOrderAndCopiesSharedBlocks) {
    const Bytes table = ProfileOf(
        {{"zzzz", {}, 197, 6}, {"mmmm", {}, 192, 24}, {"aaaa", {}, 192, 24}, {"dddd", {}, 0, 8}, {"bbbb", {}, 218, 8}});
    Read(ByteWriter().Append(table).Append(Block("data", 40)).Done());
}

TEST_F(IccFile4Read, RoundsADeclaredSizeUpToFour) {
    for (std::uint32_t declared = 0; declared <= 17; ++declared) {  // what follows it belongs to it
        file.Reset();
        Read(ProfileOf({{"abcd", Block("data", 20), {}, declared}}));
    }
}

TEST_F(IccFile4Read, DoesNotLookAtTheHeader) {
    for (std::size_t at = 0; at < 128; at += 4) {
        // Including versions 2 and 4, and a missing signature.
        for (const std::uint32_t word : {0U, 0x02400000U, 0x04300000U, 0xffffffffU}) {
            SCOPED_TRACE(testing::Message() << word << " at " << at);
            ByteWriter changed;
            changed.Append(ProfileOf({{"A2B0", MftSpec().Done()}, {"A2B1", AbBlock(3, 3).Done()}}));
            changed.PatchBig32(at, word);
            file.Reset();
            Read(changed.Done());
            Get<CLut16Type>("A2B0");
            Get<CLut>("A2B1");
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
    EXPECT_EQ(Get<CXYZType>("wtpt").rawXYZ[0], Big32At(Block("XYZ ", 20), 8));
    EXPECT_EQ(Get<CChad>("chad").chad[8], Big32At(Block("sf32", 44), 40) / 65536.0);
    EXPECT_EQ(EntriesOf(&Get<CCurveType>("rTRC")), (Values{1, 2, 3, 4, 5}));
    EXPECT_EQ(Get<CTextType>("cprt").text[0], Block("text", 21)[8]);
}

TEST_F(IccFile4Read, ReturnsMinusTwoForAPathThatCannotBeOpenedAndChangesNothing) {
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

TEST_F(IccFile4Read, AcceptsAnEmptyFileAndClearsTheHeader) {
    WriteFile(dir.File("empty.icc"), {});
    for (const std::string& empty : {dir.File("empty.icc"), dir.Path(), std::string("/dev/null")}) {
        file.Reset();
        Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}}));
        EXPECT_EQ(file.ReadFile(empty.c_str()), 0) << empty;
        EXPECT_EQ(file.tagList.size(), 1U) << empty;
        EXPECT_EQ(file.header.profileSize, 0U) << empty;
    }
}

TEST_F(IccFile4Read, AppendsToTheTagsThatAreThereAndOverwritesTheHeader) {
    Read(ProfileOf({{"wtpt", Block("XYZ ", 20)}, {"aaaa", Block("data", 8)}}));
    ByteWriter second;
    second.Append(ProfileOf({{"wtpt", Block("XYZ ", 24)}, {"bbbb", Block("data", 12)}}));
    second.PatchBig32(16, Word("CMYK"));
    Read(second.Done());
    EXPECT_EQ(file.tagList.size(), 4U);
    EXPECT_EQ(file.GetTag(Name("wtpt")), file.tagList[0].get()) << "the first of a name";
    EXPECT_EQ(file.header.colorSpace, Word("CMYK"));
}

TEST_F(IccFile4Read, ReadsTheHeaderAtTheStreamPositionAndBlocksFromTheFileStart) {
    ByteWriter bytes;
    bytes.Text("front of the file...").Append(NumberedHeader()).Big32(1);
    bytes.Text("abcd").Big32(4).Big32(12);
    bytes.Fill(200, 0x77);
    WriteFile(path, bytes.Done());
    const FileHandle stream = Open("rb");
    ASSERT_EQ(std::fseek(stream.get(), 20, SEEK_SET), 0);
    EXPECT_EQ(file.ReadFile(stream.get()), 0);
    EXPECT_EQ(file.header.profileSize, 0x80818283U);
    ExpectTags(file, 0, {{"abcd", ByteWriter().Text("t of the fil").Done()}});
}

TEST_F(IccFile4Read, GetTagFindsTheFirstTagByNameAndNotByType) {
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
    EXPECT_EQ(file.GetTag(Name("aaaa")), nullptr);
}

TEST_F(IccFile4Read, AddsATagFromBigEndianWords) {
    const Bytes content = ByteWriter().Text("0123456789abcdefghij").Done();
    WriteFile(path, content);
    const FileHandle stream = Open("rb");
    ASSERT_EQ(std::fseek(stream.get(), 3, SEEK_SET), 0);
    const auto add = [&](const char* name, std::uint32_t offset, std::uint32_t size) {
        return file.AddIccTagData(htonl(Word(name)), htonl(offset), htonl(size), stream.get());
    };
    EXPECT_EQ(add("abcd", 5, 6), 0);
    EXPECT_EQ(add("wtpt", 0, 20), 0);
    EXPECT_EQ(add("none", 16, 5), 0) << "reaches past the end of the file";
    EXPECT_EQ(add("last", 15, 5), 0) << "only its rounding does";
    ExpectTags(file, 0,
               {{"abcd", ByteWriter().Text("56789abc").Done()},
                {"wtpt", content},
                {"last", ByteWriter().Text("fghij").Fill(3).Done()}});
    EXPECT_EQ(Get<CXYZType>("wtpt").rawXYZ[0], Word("89ab"));
}

/// A tag's name decides; its type counts only if the name leaves it open.
TEST_F(IccFile4Read, ChoosesTheClassOfATagByNameAndType) {
    const std::type_index lut = typeid(CLut), words = typeid(CLut16Type), bytes = typeid(CLut8Type),
                          data = typeid(CDataType), description = typeid(CTextDescriptionType);
    struct Row {
        const char* type;
        std::type_index a2b, b2a, other;  ///< for a table of either direction, and for a name without its own class
    };
    std::vector<Row> rows = {{"mAB ", lut, bytes, data},
                             {"mBA ", bytes, lut, data},
                             {"mft2", words, words, data},
                             {"text", bytes, bytes, description}};
    for (const char* type : {"mft1", "curv", "para", "XYZ ", "sf32", "desc", "mluc", "data", "mAB0", "MFT2", "TEXT"}) {
        rows.push_back({type, bytes, bytes, data});
    }
    for (const Row& row : rows) {
        // Up to three bytes are no type, whatever follows them.
        const auto expect = [&](const std::vector<std::string>& names, std::type_index expected,
                                std::optional<std::type_index> ofNoType = {}) {
            for (const std::string& name : names) {
                for (const std::size_t size : {0U, 1U, 2U, 3U, 4U, 8U, 12U, 64U}) {
                    if (size < 4 && !ofNoType) continue;
                    SCOPED_TRACE(name + " of type " + row.type + " in " + std::to_string(size));
                    Bytes block = Block(row.type, std::max<std::size_t>(size, 4));
                    const auto tag = file.CreateNewTag(Name(name), block.data(), static_cast<int>(size));
                    const iccTagBase& made = *tag;
                    block.resize(size);
                    EXPECT_EQ(std::type_index(typeid(made)), size < 4 ? *ofNoType : expected);
                    EXPECT_EQ(made.tagSig, Name(name));
                    EXPECT_EQ(TypeOf(made), Big32At(block, 0));
                    EXPECT_EQ(DataOf(made), block);
                }
            }
        };
        expect({"A2B0", "A2B1", "A2B2"}, row.a2b, bytes);
        expect({"B2A0", "B2A1", "B2A2"}, row.b2a, bytes);
        expect({"chad"}, typeid(CChad));
        expect({"rXYZ", "gXYZ", "bXYZ", "wtpt", "bkpt"}, typeid(CXYZType));
        expect({"rTRC", "gTRC", "bTRC"}, typeid(CCurveType));
        expect({"desc"}, description);
        expect({"cprt"}, typeid(CTextType));
        expect({"A2B3", "B2A3", "A2B/", "A2Bz", "a2b0", "D2B0", "B2D0", "pre0", "pre1", "pre2", "gamt",
                "kTRC", "lumi", "dmnd", "dmdd", "vued", "targ", "text", "mft2", "kXYZ", "Chad", "abcd"},
               row.other, data);
    }
    EXPECT_TRUE(file.tagList.empty()) << "making a tag does not append it";
}

}  // namespace
}  // namespace hueweave::test::icc
