// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "support/ReferenceTiff.h"
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

/// The string that an action throws.
std::string Thrown(const std::function<void()>& action) {
    try {
        action();
    } catch (const char* text) {
        return text;
    }
    return "nothing thrown";
}

class ReadFileTest : public testing::Test {
protected:
    std::string Put(const Bytes& bytes) {
        WriteFile(path_, bytes);
        return path_;
    }
    TempDir dir_;
    std::string path_ = dir_.File("some.tif");
};

TEST_F(ReadFileTest, TakesEveryEntryInFileOrder) {
    Tiff tiff;
    EXPECT_EQ(tiff.ReadFile(Put(ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build()).c_str()), 0);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{256, 257, 258, 259, 262, 277, 278, 273, 279, 282, 305}));
    EXPECT_EQ(Image(tiff), CountingBytes(12));
    EXPECT_EQ(tiff.ifdOffset, 8U);
}

TEST_F(ReadFileTest, NullNameThrowsAfterEmptyingTheList) {
    Tiff tiff;
    tiff.AddTags(Word(3, 262), 1, 2, nullptr);
    EXPECT_EQ(Thrown([&] { tiff.ReadFile(nullptr); }), " *** Tiff::ReadFile() --> FileName is NULL. *** ");
    EXPECT_TRUE(tiff.tags.empty());
}

TEST_F(ReadFileTest, MissingFileThrowsTheBarePathAfterEmptyingTheList) {
    Tiff tiff;
    tiff.AddTags(Word(3, 262), 1, 2, nullptr);
    const std::string missing = dir_.File("no such file");
    EXPECT_EQ(Thrown([&] { tiff.ReadFile(missing.c_str()); }), missing);
    EXPECT_TRUE(tiff.tags.empty());
    try {
        tiff.ReadFile(missing.c_str());
    } catch (const char* text) {
        EXPECT_EQ(text, missing.c_str()) << "the caller's own pointer";
    }
}

TEST_F(ReadFileTest, SecondReadReplacesTheFirst) {
    Tiff tiff;
    tiff.ReadFile(Put(ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build()).c_str());
    tiff.ReadFile(Put(TiffBuilder().Long(256, 9).Build()).c_str());
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{256}));
}

TEST_F(ReadFileTest, ConstructorReadsAndClearsTheWriteOffset) {
    const Tiff tiff(Put(ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build()).c_str());
    EXPECT_EQ(tiff.tags.size(), 11U);
    EXPECT_EQ(tiff.writeIfdOffset, 0);
    const std::string missing = dir_.File("none");
    EXPECT_EQ(Thrown([&] { const Tiff other(missing.c_str()); }), missing);
}

struct HeadRow {
    const char* name;
    Bytes head;
};
class RefusedHeadTest : public testing::TestWithParam<HeadRow> {};

TEST_P(RefusedHeadTest, GivesStatusMinusTwoAndNoTags) {
    const Bytes file = ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Head(GetParam().head).Build();
    Tiff tiff;
    EXPECT_EQ(ReadFrom(tiff, file), -2);
    EXPECT_TRUE(tiff.tags.empty());
    const TempDir dir;
    WriteFile(dir.File("a.tif"), file);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(dir.File("a.tif").c_str()), 0); }), "");
    EXPECT_TRUE(tiff.tags.empty());
}

INSTANTIATE_TEST_SUITE_P(Every, RefusedHeadTest,
                         testing::Values(HeadRow{"BigEndian", {0x4d, 0x4d, 0x00, 0x2a}},
                                         HeadRow{"BigEndianLetters", {0x4d, 0x4d, 0x2a, 0x00}},
                                         HeadRow{"Version43", {0x49, 0x49, 0x2b, 0x00}},
                                         HeadRow{"VersionSwapped", {0x49, 0x49, 0x00, 0x2a}},
                                         HeadRow{"VersionHighByte", {0x49, 0x49, 0x2a, 0x01}},
                                         HeadRow{"MixedLetters", {0x49, 0x4d, 0x2a, 0x00}}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(RefusedFileTest, TooShortForAHead) {
    const Bytes head{0x49, 0x49, 0x2a, 0x00};
    for (std::size_t size = 0; size < 3; ++size) {
        Tiff tiff;
        EXPECT_EQ(ReadFrom(tiff, Part(head, 0, size)), -2);
    }
    // The missing byte counts as 0, and so does the place of the directory, where 0x4949 entries are announced.
    for (std::size_t size = 3; size <= 4; ++size) {
        Tiff tiff;
        EXPECT_EQ(ReadFrom(tiff, Part(head, 0, size)), -3);
        EXPECT_TRUE(tiff.tags.empty());
    }
}

TEST(RefusedFileTest, StreamStaysUsable) {
    const FileHandle stream = StreamOf(CountingBytes(20));
    Tiff tiff;
    EXPECT_EQ(tiff.ReadTiff(stream.get()), -2);
    std::rewind(stream.get());
    EXPECT_EQ(std::fgetc(stream.get()), 1);
}

TiffBuilder ManyEntries(unsigned count) {
    TiffBuilder tiff;
    for (unsigned i = 0; i < count; ++i) tiff.Long(1000 + i, i);
    return tiff;
}

TEST(EntryCountTest, TwentyNineAreRead) {
    Tiff tiff;
    EXPECT_EQ(ReadFrom(tiff, ManyEntries(29).Build()), 0);
    ASSERT_EQ(tiff.tags.size(), 29U);
    for (unsigned i = 0; i < 29; ++i) EXPECT_EQ(FieldsOf(*tiff.tags[i]), (Fields{1000 + i, 4, 1, i}));
}

TEST(EntryCountTest, ThirtyAreRefused) {
    Tiff tiff;
    EXPECT_EQ(ReadFrom(tiff, ManyEntries(30).Build()), -3);
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(ReadFrom(tiff, ManyEntries(1).EntryCount(65535).Build()), -3) << "the announced number decides";
}

TEST(EntryCountTest, NoneAreAFileWithoutTags) {
    Tiff tiff;
    EXPECT_EQ(ReadFrom(tiff, TiffBuilder().Build()), 0);
    EXPECT_TRUE(tiff.tags.empty());
}

TEST(EntryCountTest, OnlyWholeEntriesOfAShortDirectoryCount) {
    Bytes file = ManyEntries(5).Build();
    for (std::size_t size = 10; size <= 10 + 60; ++size) {
        Tiff tiff;
        EXPECT_EQ(ReadFrom(tiff, Part(file, 0, size)), 0);
        EXPECT_EQ(tiff.tags.size(), (size - 10) / 12);
    }
    Tiff tiff;
    EXPECT_EQ(ReadFrom(tiff, ManyEntries(2).EntryCount(20).Build()), 0);
    EXPECT_EQ(tiff.tags.size(), 2U) << "four bytes of the rest are no entry";
}

TEST(DirectoryPlaceTest, IsTakenFromTheHead) {
    Tiff tiff;
    EXPECT_EQ(ReadFrom(tiff, ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).GapBeforeDirectory(1001).Build()), 0);
    EXPECT_EQ(tiff.ifdOffset, 1009U);
    EXPECT_EQ(tiff.tags.size(), 11U);
    EXPECT_EQ(Image(tiff), CountingBytes(12));
}

TEST(DirectoryPlaceTest, BehindTheFileIsAnEmptyList) {
    for (const std::uint32_t place : {1000U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        Tiff tiff;
        EXPECT_EQ(ReadFrom(tiff, ManyEntries(5).DirectoryAt(place).Build()), 0);
        EXPECT_TRUE(tiff.tags.empty());
        EXPECT_EQ(tiff.ifdOffset, place);
    }
}

TEST(DirectoryPlaceTest, AtTheHeadItselfHasTooManyEntries) {
    Tiff tiff;
    EXPECT_EQ(ReadFrom(tiff, ManyEntries(5).DirectoryAt(0).Build()), -3);  // 0x4949 of them
}

TEST(DirectoryPlaceTest, SecondDirectoryIsIgnoredAndNotSaved) {
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12));
    const Bytes second = ByteWriter().Little16(1).Little16(256).Little16(4).Little32(1).Little32(99).Little32(0).Done();
    tiff.NextDirectory(static_cast<std::uint32_t>(tiff.Build().size())).Trailer(second);
    Tiff read;
    EXPECT_EQ(ReadFrom(read, tiff.Build()), 0);
    EXPECT_EQ(read.tags.size(), 11U);
    EXPECT_EQ(read.GetTagValue(Sig(256)), 2);
    EXPECT_EQ(Saved(read), tiff.NextDirectory(0).Trailer({}).Build());
}

TEST(EntryOrderTest, AnyIsTakenAndKept) {
    TiffBuilder tiff;
    tiff.Strip(CountingBytes(12)).StripByteCounts().Rational(283, 5, 1).Long(278, 2).Short(277, 3).StripOffsets();
    tiff.Shorts(258, {8, 8, 8}).Long(257, 2).Long(256, 2);
    Tiff read;
    EXPECT_EQ(ReadFrom(read, tiff.Build()), 0);
    EXPECT_EQ(Signatures(read), (std::vector<unsigned>{279, 283, 278, 277, 273, 258, 257, 256}));
    EXPECT_EQ(Image(read), CountingBytes(12));
    EXPECT_EQ(Saved(read), tiff.Build()) << "the layout was the writer's own";
}

TEST(RepeatedTagTest, BothEntriesStayAndTheFirstAnswers) {
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12));
    tiff.Text(40000, "first").Text(40000, "second").Long(256, 77);
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(read.GetTagValue(Sig(256)), 2);
    EXPECT_EQ(DataOf(read, 40000), ByteWriter().Text("first").U8(0).Done());
    EXPECT_EQ(Saved(read), tiff.Build());
}

TEST(RepeatedTagTest, TwoProfilesStayTwo) {
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12));
    tiff.Undefined(34675, CountingBytes(11)).Undefined(34675, CountingBytes(9, 70));
    Tiff read;
    ReadFrom(read, tiff.Build());
    ASSERT_EQ(read.tags.size(), 13U);
    EXPECT_EQ(DataOf(*read.tags[11]), CountingBytes(11));
    EXPECT_EQ(DataOf(*read.tags[12]), CountingBytes(9, 70));
    EXPECT_EQ(Saved(read), tiff.Build());
}

TEST(UnknownTagTest, TextSurvivesUnderANewOffset) {
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12));
    tiff.Text(65000, "a text of our own");
    const Bytes plain = tiff.Build();
    Tiff read;
    ReadFrom(read, tiff.GapBeforeDirectory(321).Build());
    const Bytes saved = Saved(read);
    EXPECT_EQ(saved, plain) << "as if the gap had never been";
    EXPECT_EQ(Part(saved, EntryOf(saved, 65000).value, 18), ByteWriter().Text("a text of our own").U8(0).Done());
}

TEST(DataBudgetTest, OneDirectoryTakesTwiceTheFileAndSixtyFourKiB) {
    // Entries of 40,000 bytes over the same place; the file has 50,000: room for 165,536 bytes, four entries.
    TiffBuilder tiff;
    for (unsigned i = 0; i < 6; ++i) tiff.Entry(1000 + i, 1, 40000, 8);
    Bytes file = tiff.Build();
    file.resize(50000, 7);
    Tiff read;
    EXPECT_EQ(ReadFrom(read, file), 0);
    ASSERT_EQ(read.tags.size(), 6U) << "the entries stay";
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(read.tags[i]->dataSize, i < 4 ? 40000U : 0U);
    EXPECT_EQ(read.tags[5]->GetData(), nullptr);
}

TEST(DataBudgetTest, LimitItselfIsWithin) {
    TiffBuilder tiff;
    for (unsigned i = 0; i < 3; ++i) tiff.Entry(1000 + i, 1, 65536, 8);
    Bytes file = tiff.Build();
    file.resize(65536, 7);  // 3 x 65,536 = 2 x 65,536 + 65,536
    Tiff read;
    ReadFrom(read, file);
    EXPECT_EQ(read.tags.at(2)->dataSize, 65536U);
    Tiff over;
    ReadFrom(over, [&] {
        TiffBuilder more;
        more.Entry(999, 1, 5, 8);
        for (unsigned i = 0; i < 3; ++i) more.Entry(1000 + i, 1, 65536, 8);
        Bytes bytes = more.Build();
        bytes.resize(65536, 7);
        return bytes;
    }());
    EXPECT_EQ(over.tags.at(2)->dataSize, 65536U);
    EXPECT_EQ(over.tags.at(3)->GetData(), nullptr);
}

/// Sound files of each of the four kinds of image, cut after every byte.
struct CutRow {
    const char* name;
    Bytes file;
};
std::ostream& operator<<(std::ostream& out, const CutRow& row) { return out << row.name; }
class CutFileTest : public testing::TestWithParam<CutRow> {};

TEST_P(CutFileTest, GivesWhatIsThereAndZerosForTheRest) {
    const Bytes& whole = GetParam().file;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const Bytes file = Part(whole, 0, size);
        Tiff tiff;
        ReferenceTiff reference;
        ASSERT_EQ(ReadFrom(tiff, file), reference.Read(file)) << size;
        ASSERT_EQ(tiff.tags.size(), reference.tags.size()) << size;
        for (std::size_t i = 0; i < tiff.tags.size(); ++i) {
            const ReferenceTag& expected = reference.tags[i];
            ASSERT_EQ(FieldsOf(*tiff.tags[i]),
                      (Fields{expected.tag, static_cast<int>(expected.type), expected.count, expected.value}))
                << size;
            ASSERT_EQ(DataOf(*tiff.tags[i]), expected.data.value_or(Bytes())) << size << " tag " << expected.tag;
        }
        ASSERT_EQ(Saved(tiff), reference.Save()) << size;
    }
}

TiffBuilder Ornate(TiffBuilder tiff) {
    return tiff.Undefined(34675, CountingBytes(33)).Exif(CountingBytes(50, 100)).Entry(40000, 7, 3, 0x030201);
}

INSTANTIATE_TEST_SUITE_P(
    Every, CutFileTest,
    testing::Values(
        CutRow{"Chunky", Ornate(ChunkyTiff(3, 2, 3, 8, CountingBytes(18))).Build()},
        CutRow{"Strips", Ornate(TiffBuilder()
                                    .Shape(2, 3, 3, 8)
                                    .Long(278, 1)
                                    .StripOffsets()
                                    .StripByteCounts(3)
                                    .Strip(CountingBytes(6))
                                    .Strip(CountingBytes(6, 7))
                                    .Strip(CountingBytes(6, 13)))
                             .Build()},
        CutRow{
            "Planes",
            Ornate(PlanarTiff(3, 2, 3, 8, 2, {CountingBytes(6), CountingBytes(6, 50), CountingBytes(6, 90)})).Build()},
        CutRow{"Bitmap", Ornate(PlanarTiff(16, 2, 3, 1, 2, {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}})).Build()}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace hueweave::test
