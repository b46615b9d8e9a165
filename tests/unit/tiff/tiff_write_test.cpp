// SPDX-License-Identifier: MIT
// What a save determines and writes, and how a file changes when it is read and saved.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

/// Appends to a list an image of five bytes and tag 279 with the given length.
void AddImage(Tiff& tiff, std::uint32_t length = 5) {
    tiff.tags.push_back(Made(273, 4, 1, 3, CountingBytes(5)));
    tiff.AddTags(Word(4, 279), 1, length, nullptr);
}

TEST(TiffWrite, WritesTheHeaderAtTheStreamPositionAndTheDirectoryAtEight) {
    Tiff tiff;
    tiff.ifdOffset = 1234;
    tiff.writeIfdOffset = 99;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    const Bytes file = TiffBuilder().Long(256, 3).Build(), header = Part(file, 0, 8), directory = Part(file, 8, 18);
    const auto writeDirectory = [&](std::FILE* f) {
        EXPECT_EQ(tiff.WriteIFD(f), 0);
        EXPECT_EQ(std::ftell(f), 8 + 18);
    };
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.WriteHeader(f), 0); }, {7}), Joined({{7}, header}));
    EXPECT_EQ(WrittenBy(writeDirectory), Joined({Bytes(8, 0), directory}));
    EXPECT_EQ(WrittenBy(writeDirectory, Bytes(30, 7)), Joined({Bytes(8, 7), directory, Bytes(4, 7)}));
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.SaveTiff(f), 0); }, Bytes(4, 7)),
              Joined({Bytes(4, 7), Part(header, 0, 4), directory}));
    Tiff empty;
    EXPECT_EQ(Saved(empty), Joined({header, Bytes(6, 0)}));
}

TEST(TiffWrite, TruncatesTheNumberOfEntriesTo16BitsButWritesAll) {
    Tiff tiff;
    constexpr unsigned kEntries = 65537;
    for (unsigned i = 0; i < kEntries; ++i) tiff.tags.push_back(std::make_unique<TiffTag>(Sig(1000)));
    tiff.tags.back() = Made(1001, 1, 5, 0, CountingBytes(5));
    const Bytes file = Saved(tiff);
    EXPECT_EQ(Part(file, 8, 2), (Bytes{1, 0}));
    ASSERT_EQ(file.size(), 14U + 12U * kEntries + 5U);
    EXPECT_EQ(tiff.tags.back()->value, 14U + 12U * kEntries);
    EXPECT_EQ(Part(file, 14 + 12 * kEntries, 5), CountingBytes(5));
}

TEST(TiffWrite, WritesNothingForMissingData) {
    Tiff tiff;
    tiff.AddTags(Word(2, 1000), 9, 77, nullptr);
    tiff.AddTags(Word(7, 1001), 9, 78, nullptr);
    tiff.AddTags(Word(4, 1002), 0x20000000, 79, nullptr);
    tiff.AddTags(Word(9, 1003), 0x20000000, 80, nullptr);
    TiffBuilder file;
    file.Entry(1000, 2, 9, 77).Entry(1001, 7, 9, 62).Entry(1002, 4, 0x20000000, 79).Entry(1003, 9, 0x20000000, 62);
    EXPECT_EQ(Saved(tiff), file.Build());
}

TEST(TiffWrite, WritesTheLengthInTag279PaddedWithZeros) {
    constexpr std::uint32_t kLimit = 10 + (8U << 20);  // twice the image and 8 MiB
    for (const std::uint32_t n : {0U, 1U, 5U, 6U, 20U, kLimit, kLimit + 1, 0xffffffffU}) {
        Tiff tiff;
        AddImage(tiff, n);
        const Bytes image = Padded(CountingBytes(5), n > kLimit ? 5 : n);
        EXPECT_THAT(Part(Saved(tiff), 38, kLimit + 100), EqualsBytes(image)) << n;
    }
}

TEST(TiffWrite, WritesFortyFourBytesOfExifAfterTheImage) {
    const auto expect = [](std::unique_ptr<TiffTag> tag, std::size_t held) {
        Tiff tiff;
        AddImage(tiff);
        tiff.tags.push_back(std::move(tag));
        const Bytes exif = Padded(CountingBytes(held), 44);
        EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.WriteData_Exif_IFD_Tag(f), 0); }), exif) << held;
        TiffBuilder file;
        file.Entry(273, 4, 1, 50).Long(279, 5).Entry(34665, 4, 1, 55).Trailer(Joined({CountingBytes(5), exif}));
        EXPECT_EQ(Saved(tiff), file.Build()) << held;
    };
    expect(std::make_unique<TiffTag>(Sig(34665), Type(4), 1, 7, nullptr), 0);
    for (const std::size_t held : {20U, 43U, 44U, 45U, 60U}) expect(Made(34665, 4, 1, 7, CountingBytes(held)), held);
    expect(Adopting(34665, 4, 1, CountingBytes(44)), 44);
    Tiff without;
    AddImage(without);
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(without.WriteData_Exif_IFD_Tag(f), 0); }), Bytes());
    EXPECT_EQ(Saved(without).size(), 38U + 5U);
}

TEST(TiffWrite, PrintsALineForAnEmptyListAndLeavesAnEmptyFile) {
    const TempDir dir;
    const std::string path = dir.File("out.tif");
    WriteFile(path, Bytes(100000, 7));
    const std::ptrdiff_t before = OpenFiles();
    Tiff tiff, empty;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.SaveFile(path.c_str()), 0); }), "");
    EXPECT_EQ(ReadFile(path), Saved(tiff)) << "in place of what was there";
    EXPECT_EQ(Printed([&] { EXPECT_EQ(empty.SaveFile(path.c_str()), 0); }), kEmptyList);
    EXPECT_EQ(ReadFile(path), Bytes());
    EXPECT_EQ(OpenFiles(), before);
}

TEST(TiffWrite, IgnoresAFileThatCannotBeOpenedOrWritten) {
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

TEST(TiffReadAndWrite, KeepsAnyOrderOfEntries) {
    TiffBuilder file, texts;
    file.Strip(CountingBytes(12)).StripByteCounts().Rational(283, 5, 1).Long(278, 2).Short(277, 3).StripOffsets();
    ExpectRead("tags of an image", file.Shorts(258, {8, 8, 8}).Long(257, 2).Long(256, 2));
    texts.Text(65535, "seven.").Text(0, "first").Long(256, 3).Text(900, "of odd length").Strip({1, 2}).StripOffsets();
    ExpectRead("any tags, packed at any offset", texts);
}

TEST(TiffReadAndWrite, MatchesTheReference) {
    const TiffBuilder file = ChunkyTiff(2, 2, 3, 8, CountingBytes(12));
    const TiffBuilder grey = TiffBuilder().Shape(2, 1, 1, 8).Long(278, 1);
    ExpectRead("Exif of more than 44 bytes", TiffBuilder(file).Exif(CountingBytes(120)));
    ExpectRead("repeated tags", TiffBuilder(file).Exif(CountingBytes(44)).Exif(CountingBytes(44, 31)).Long(279, 1000));
    ExpectRead("Exif without an image", TiffBuilder().Exif(CountingBytes(44)).Long(279, 1000));
    ExpectRead("an image and Exif of type 9", TiffBuilder(grey).Entry(273, 9, 1, 8).Long(279, 2).Entry(34665, 9, 1, 8));
    ExpectRead("a byte count of type 9", TiffBuilder(grey).StripOffsets().Entry(279, 9, 1, 2).Strip({1, 2}));
}

TEST(TiffReadAndWrite, WritesPlanesOfBitsAlsoAsTheDataOfTheirOffsets) {
    // Tag 273 still counts three offsets, so the first 12 bytes of the image are written as its data; then follow the
    // image, with as many bytes as the first byte count states, and Exif after that many.
    TiffBuilder wide = PlanarTiff(32, 2, 3, 1, 2, {CountingBytes(8), CountingBytes(8, 9), CountingBytes(8, 17)});
    ExpectRead("24 bytes", wide.Exif(CountingBytes(44, 60)));
    ExpectRead("6 bytes", PlanarTiff(8, 2, 3, 1, 2, {{1, 2}, {3, 4}, {5, 6}}));
}

}  // namespace
}  // namespace hueweave::test
