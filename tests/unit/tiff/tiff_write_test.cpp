// SPDX-License-Identifier: MIT
// What a save determines and writes, and how a file changes when it is read and saved.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

/// A directory with one LONG, as written from byte 8 on.
const Bytes kDirectory = ByteWriter().Little16(1).Little16(256).Little16(4).Little32(1).Little32(3).Little32(0).Done();

Bytes Rewritten(const TiffBuilder& file) {
    TiffOf tiff(file);
    return Saved(tiff);
}

/// Appends to a list an image of five bytes and tag 279 with the given length.
void AddImage(Tiff& tiff, std::uint32_t length = 5) {
    tiff.tags.push_back(Made(273, 4, 1, 3, CountingBytes(5)));
    tiff.AddTags(Word(4, 279), 1, length, nullptr);
}

// Header and directory

TEST(TiffWrite, WritesTheHeaderWhereTheStreamStandsAndTheDirectoryAtEight) {
    Tiff tiff;
    tiff.ifdOffset = 1234;
    tiff.writeIfdOffset = 99;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    const Bytes header{0x49, 0x49, 0x2a, 0, 8, 0, 0, 0};
    EXPECT_EQ(WrittenBy([&](std::FILE* f) {
                  std::fputc(7, f);
                  EXPECT_EQ(tiff.WriteHeader(f), 0);
              }),
              Joined({{7}, header}));
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.WriteIFD(f), 0); }), Joined({Bytes(8, 0), kDirectory}));
    EXPECT_EQ(WrittenBy([&](std::FILE* f) {
                  for (int i = 0; i < 30; ++i) std::fputc(7, f);
                  tiff.WriteIFD(f);
                  EXPECT_EQ(std::ftell(f), 8 + 18);
              }),
              Joined({Bytes(8, 7), kDirectory, Bytes(4, 7)}));
    EXPECT_EQ(WrittenBy([&](std::FILE* f) {
                  for (int i = 0; i < 4; ++i) std::fputc(7, f);
                  EXPECT_EQ(tiff.SaveTiff(f), 0);
              }),
              Joined({Bytes(4, 7), Part(header, 0, 4), kDirectory}));
    Tiff empty;
    EXPECT_EQ(Saved(empty), Joined({header, Bytes(6, 0)}));
}

TEST(TiffWrite, PacksDataInListOrderAtAnyOffset) {
    Tiff tiff;
    tiff.SetTag(Made(900, 2, 7, 1, CountingBytes(7)).release());
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    tiff.SetTag(Made(100, 3, 3, 2, CountingBytes(6, 50)).release());
    tiff.SetTag(Made(273, 4, 1, 3, CountingBytes(5, 100)).release());
    tiff.AddTags(Word(4, 279), 1, 5, nullptr);
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntriesOf(file),
              (std::vector<Fields>{{900, 2, 7, 74}, {256, 4, 1, 3}, {100, 3, 3, 81}, {273, 4, 1, 87}, {279, 4, 1, 5}}));
    EXPECT_EQ(Part(file, 74, 100), Joined({CountingBytes(7), CountingBytes(6, 50), CountingBytes(5, 100)}));
    EXPECT_EQ(AllFields(tiff), EntriesOf(file)) << "settled in the tags, too";
    EXPECT_EQ(Saved(tiff), file) << "saved once more";
}

TEST(TiffWrite, CutsTheNumberOfEntriesToSixteenBitsButLaysOutAll) {
    Tiff tiff;
    constexpr unsigned kEntries = 65537;
    for (unsigned i = 0; i < kEntries; ++i) tiff.tags.push_back(std::make_unique<TiffTag>(Sig(1000)));
    tiff.tags.back() = Made(1001, 1, 5, 0, CountingBytes(5));
    const Bytes file = Saved(tiff);
    EXPECT_EQ(Part(file, 8, 2), (Bytes{1, 0}));
    ASSERT_EQ(file.size(), 14U + 12U * kEntries + 5U);
    EXPECT_EQ(tiff.tags.back()->value, 14U + 12U * kEntries);
    EXPECT_EQ(Part(file, 14 + 12 * kEntries, 5), CountingBytes(5));
    Tiff thirty;
    for (unsigned i = 0; i < 30; ++i) thirty.AddTags(Word(4, 1000 + i), 1, i, nullptr);
    EXPECT_EQ(EntriesOf(Saved(thirty)).size(), 30U) << "one more than a read takes";
}

TEST(TiffWrite, MovesDataByTheSizesBeforeThem) {
    // Kept: entries of types 6 to 9 reserve space even for data that fit in the entry; nothing is written there.
    constexpr std::uint32_t kValue = 0xabcd0002U;  // in the entry, where no type truncates it
    for (int type = 0; type < 14; ++type) {
        const unsigned width = kWidths[type];
        const bool special = type >= 6 && type <= 9;
        const unsigned most = 4 / width;  // items that fit in the entry
        for (std::uint32_t count = 0; count <= most + 7; ++count) {
            SCOPED_TRACE(testing::Message() << count << " of type " << type);
            const std::uint32_t size = count * width;
            Tiff tiff;
            tiff.tags.push_back(count > most
                                    ? Made(1000, type, count, 77, Bytes(size, 9))
                                    : std::make_unique<TiffTag>(Sig(1000), Type(type), count, kValue, nullptr));
            tiff.tags.push_back(Made(1001, 2, 5, 78, CountingBytes(5)));
            const Bytes file = Saved(tiff);
            EXPECT_EQ(EntryOf(file, 1000).value, count > most || special ? 38U : kValue);
            EXPECT_EQ(EntryOf(file, 1001).value, count > most || special ? 38U + size : 38U);
            EXPECT_EQ(Part(file, 38, 100), Joined({Bytes(count > most ? size : 0, 9), CountingBytes(5)}));
        }
    }
}

TEST(TiffWrite, WritesNothingForDataThatATagDoesNotHave) {
    Tiff tiff;
    tiff.AddTags(Word(2, 1000), 9, 77, nullptr);
    tiff.AddTags(Word(7, 1001), 9, 78, nullptr);
    tiff.AddTags(Word(4, 1002), 0x20000000, 79, nullptr);
    tiff.AddTags(Word(9, 1003), 0x20000000, 80, nullptr);
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntriesOf(file),
              (std::vector<Fields>{
                  {1000, 2, 9, 77}, {1001, 7, 9, 62}, {1002, 4, 0x20000000, 79}, {1003, 9, 0x20000000, 62}}));
    EXPECT_EQ(file.size(), 62U);
}

// Image and Exif

TEST(TiffWrite, WritesAsMuchOfTheImageAsTag279SaysFilledUpWithZeros) {
    constexpr std::uint32_t kLimit = 10 + (8U << 20);  // twice the image and 8 MiB
    for (const auto& [n, written] : {std::pair{0U, 0U},
                                     {1U, 1U},
                                     {5U, 5U},
                                     {6U, 6U},
                                     {20U, 20U},
                                     {kLimit, kLimit},
                                     {kLimit + 1, 5U},
                                     {0xffffffffU, 5U}}) {
        Tiff tiff;
        AddImage(tiff, n);
        EXPECT_THAT(Part(Saved(tiff), 38, kLimit + 100), EqualsBytes(Padded(CountingBytes(5), written))) << n;
    }
}

TEST(TiffWrite, WritesFortyFourBytesOfExifBehindTheImage) {
    for (const std::size_t held : {0U, 20U, 43U, 44U, 45U, 60U}) {
        Tiff tiff;
        AddImage(tiff);
        tiff.tags.push_back(held == 0 ? std::make_unique<TiffTag>(Sig(34665), Type(4), 1, 7, nullptr)
                                      : Made(34665, 4, 1, 7, CountingBytes(held)));
        const Bytes exif = Padded(CountingBytes(held), 44);
        EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.WriteData_Exif_IFD_Tag(f), 0); }), exif) << held;
        const Bytes file = Saved(tiff);
        EXPECT_EQ(EntryOf(file, 34665), (Fields{34665, 4, 1, 55}));
        EXPECT_EQ(Part(file, 50, 100), Joined({CountingBytes(5), exif})) << held;
    }
    Tiff without;
    AddImage(without);
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(without.WriteData_Exif_IFD_Tag(f), 0); }), Bytes());
    EXPECT_EQ(Saved(without).size(), 38U + 5U);
}

TEST(TiffWrite, WritesAsManyBytesOfACallersAsTag279SaysByThen) {
    for (const std::uint32_t bytes : {30U, 12U, 4U, 0U}) {
        Tiff tiff;
        tiff.tags.push_back(Adopting(273, 4, 1, CountingBytes(30)));
        tiff.AddTags(Word(4, 279), 1, 3, nullptr);
        tiff.SetTagValue(Sig(279), bytes);
        EXPECT_EQ(FromImage(Saved(tiff)), CountingBytes(bytes));
        tiff.SetTagValue(Sig(279), 30);
        EXPECT_EQ(FromImage(Saved(tiff)), CountingBytes(30)) << "saved once more";
        EXPECT_EQ(WrittenBy([&](std::FILE* f) { tiff.WriteImageData(f); }), CountingBytes(30));
    }
}

TEST(TiffWrite, WritesFortyFourBytesOfACallersExif) {
    Tiff tiff;
    tiff.tags.push_back(Adopting(34665, 4, 1, CountingBytes(44)));
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { tiff.WriteData_Exif_IFD_Tag(f); }), CountingBytes(44));
    AddImage(tiff);
    EXPECT_EQ(FromImage(Saved(tiff)), Joined({CountingBytes(5), CountingBytes(44)}));
}

// Saving under a file name

TEST(TiffWrite, TruncatesTheFileThatItSavesTo) {
    const TempDir dir;
    const std::string path = dir.File("out.tif");
    WriteFile(path, Bytes(100000, 7));
    const std::ptrdiff_t before = OpenFiles();
    Tiff tiff;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.SaveFile(path.c_str()), 0); }), "");
    EXPECT_EQ(ReadFile(path), Saved(tiff));
    EXPECT_EQ(OpenFiles(), before);
}

TEST(TiffWrite, PrintsALineForAnEmptyListAndLeavesAnEmptyFile) {
    const TempDir dir;
    const std::string path = dir.File("out.tif");
    WriteFile(path, CountingBytes(30));
    const std::ptrdiff_t before = OpenFiles();
    Tiff tiff;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.SaveFile(path.c_str()), 0); }), kEmptyList);
    EXPECT_EQ(ReadFile(path), Bytes());
    EXPECT_EQ(OpenFiles(), before);
}

TEST(TiffWrite, PassesOverAFileThatCannotBeOpenedOrTakesNothing) {
    const TempDir dir;
    const std::string nowhere = dir.File("no folder/out.tif");
    Tiff tiff;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.SaveFile(nowhere.c_str()), 0); }), "");
    EXPECT_FALSE(std::filesystem::exists(nowhere));
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.SaveFile("/dev/full"), 0); }), "");
    Tiff empty;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(empty.SaveFile(nowhere.c_str()), 0); }), kEmptyList);
}

// Files that are read and saved: the result may differ from the source.

TEST(RewrittenTiff, KeepsAnyOrderOfEntries) {
    TiffBuilder file;
    file.Strip(CountingBytes(12)).StripByteCounts().Rational(283, 5, 1).Long(278, 2).Short(277, 3).StripOffsets();
    file.Shorts(258, {8, 8, 8}).Long(257, 2).Long(256, 2);
    EXPECT_EQ(Rewritten(file), file.Build()) << "the layout was the writer's own";
}

TEST(RewrittenTiff, IsThatOfTheReference) {
    const TiffBuilder file = ChunkyTiff(2, 2, 3, 8, CountingBytes(12));
    std::vector<NamedFile> rows{
        {"any order of any tags", TiffBuilder().Text(65535, "last").Text(0, "first").Strip({1, 2}).StripOffsets()},
        {"Exif of more than 44 bytes", TiffBuilder(file).Exif(CountingBytes(120))},
        {"repeated tags", TiffBuilder(file).Exif(CountingBytes(44)).Exif(CountingBytes(44, 31)).Long(279, 1000)},
        {"Exif without an image", TiffBuilder().Exif(CountingBytes(44)).Long(279, 1000)},
        {"an image and Exif of type 9",
         TiffBuilder().Shape(2, 1, 1, 8).Long(278, 1).Entry(273, 9, 1, 8).Long(279, 2).Entry(34665, 9, 1, 8)},
        {"a byte count of type 9",
         TiffBuilder().Shape(2, 1, 1, 8).Long(278, 1).StripOffsets().Entry(279, 9, 1, 2).Strip({1, 2})}};
    for (const unsigned type : {10U, 11U, 12U, 13U, 14U, 15U, 32768U, 65535U}) {
        rows.push_back(
            {"type " + std::to_string(type),
             TiffBuilder(file).Data(40000, type, 1, CountingBytes(8, 90)).Data(40001, type, 3, CountingBytes(24, 60))});
    }
    ExpectAsReference(rows);
}

TEST(RewrittenTiff, HasPlanesOfBitsAsTheDataOfTheirOffsetsToo) {
    // Tag 273 still counts three offsets, so the first 12 bytes of the image are written as its data; then follow the
    // image, with as many bytes as the first byte count states, and Exif after that many.
    TiffBuilder file = PlanarTiff(32, 2, 3, 1, 2, {CountingBytes(8), CountingBytes(8, 9), CountingBytes(8, 17)});
    const Bytes saved = Rewritten(file.Exif(CountingBytes(44, 60)));
    constexpr std::uint32_t kData = 14 + 12 * 11;
    // Data: 6 bytes of tag 258, 12 of tag 273, 12 of tag 279.
    EXPECT_EQ(EntryOf(saved, 273), (Fields{273, 4, 3, kData + 30}));
    EXPECT_EQ(EntryOf(saved, 279).value, kData + 18);
    EXPECT_EQ(EntryOf(saved, 34665).value, kData + 30 + 8);
    EXPECT_EQ(Part(saved, kData + 6, 12), CountingBytes(12));
    EXPECT_EQ(FromImage(saved), Joined({CountingBytes(8), CountingBytes(44, 60)}));
    const Bytes narrow = Rewritten(PlanarTiff(8, 2, 3, 1, 2, {{1, 2}, {3, 4}, {5, 6}}));
    EXPECT_EQ(Part(narrow, 14 + 12 * 10 + 6, 12), Padded(CountingBytes(6), 12)) << "filled up with zeros";
}

}  // namespace
}  // namespace hueweave::test
