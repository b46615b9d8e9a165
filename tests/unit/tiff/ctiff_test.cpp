// SPDX-License-Identifier: MIT
// An image and its geometry: read from a file, newly made, and with a caller's buffer.
#include <stdexcept>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

const std::string kNoRawFile = "*** CTiff::CreateNew() --> Create File Fail *** \n";

using Numbers = std::vector<int>;
/// Width, height, samples, bits, bytes per row, resolution.
Numbers NumbersOf(const CTiff& tiff) {
    return {tiff.width, tiff.height, tiff.samples, tiff.bits, tiff.rowBytes, tiff.resolution};
}

/// Reads a file by its name and returns the output.
std::string ReadIn(CTiff& tiff, const Bytes& file) {
    const TempDir dir;
    WriteFile(dir.File("in.tif"), file);
    return Printed([&] { EXPECT_EQ(tiff.ReadFile(dir.File("in.tif").c_str()), 0); });
}

/// 7 x 5 pixels with a different number in every tag; one tag may be left out.
Bytes Without(unsigned absent) {
    TiffBuilder tiff;
    for (const auto& [tag, value] : {std::pair{256U, 7U}, {257U, 5U}, {258U, 16U}, {277U, 3U}, {296U, 4U}}) {
        if (tag != absent) tiff.Long(tag, value);
    }
    if (absent != 282) tiff.Rational(282, 600, 2);
    if (absent != 283) tiff.Rational(283, 144, 2);
    tiff.Long(278, 5).StripOffsets().StripByteCounts();
    return tiff.Strip(CountingBytes(210)).Build();
}
const Numbers kWhole{7, 5, 3, 16, 42, 300};

TEST(CTiff, ReadsEachNumberFromItsTag) {
    const std::vector<std::pair<unsigned, Numbers>> rows{{0, kWhole},
                                                         {256, {0, 5, 3, 16, 0, 300}},
                                                         {257, {7, 0, 3, 16, 42, 300}},
                                                         {258, {7, 5, 3, 0, 0, 300}},
                                                         {277, {7, 5, 0, 16, 0, 300}},
                                                         {282, {7, 5, 3, 16, 42, 0}},
                                                         {283, kWhole},
                                                         {296, kWhole}};
    for (const auto& [absent, expected] : rows) {
        CTiff tiff;
        EXPECT_EQ(ReadIn(tiff, Without(absent)), "");
        EXPECT_EQ(NumbersOf(tiff), expected) << "without " << absent;
        EXPECT_EQ(Image(tiff), CountingBytes(210));
        EXPECT_EQ(tiff.GetImageBuf(), tiff.GetTag(Sig(273))->GetData());
        EXPECT_EQ(tiff.ImageBytes(), 210U);
    }
    const TempDir dir;
    WriteFile(dir.File("in.tif"), Without(0));
    EXPECT_EQ(NumbersOf(CTiff(dir.File("in.tif").c_str())), kWhole);
}

TEST(CTiff, RoundsRowBytesUpOnceAndTruncatesThemTo32Bits) {
    struct Row {
        std::uint32_t width;
        unsigned samples, bits;
        int rowBytes;
    };
    for (const auto& [width, samples, bits, rowBytes] :
         {Row{0, 3, 8, 0}, Row{8, 1, 1, 1}, Row{9, 1, 1, 2}, Row{9, 3, 1, 4}, Row{1, 1, 1, 1}, Row{3, 1, 4, 2},
          Row{7, 3, 8, 21}, Row{7, 3, 16, 42}, Row{7, 4, 8, 28}, Row{0x0fffffff, 1, 8, 0x0fffffff},  // 2^31 - 8 bits
          Row{0x7fffffff, 1, 1, 0x10000000},                                                         // rounded up
          Row{0x10000000, 1, 8, -0x10000000}, Row{0x10000000, 3, 8, -0x10000000},                    // 2^31, 3 x 2^31
          Row{0x20000000, 1, 8, 0}, Row{0x20000001, 1, 8, 1}, Row{0x20000001, 3, 8, 3},              // 2^32 and more
          Row{0x7fffffff, 3, 1, 0x10000000}}) {                                                      // 2^31 - 3
        SCOPED_TRACE(testing::Message() << width << " pixels of " << samples << " x " << bits << " bits");
        CTiff read;
        ReadIn(read, TiffBuilder().Long(256, width).Short(258, bits).Short(277, samples).Build());
        EXPECT_EQ(read.rowBytes, rowBytes);
        CTiff made;
        made.CreateNew(static_cast<int>(width), 0, 72, static_cast<int>(samples), static_cast<int>(bits), 0);
        EXPECT_EQ(made.rowBytes, rowBytes);
    }
}

TEST(CTiff, ReplacesEverythingInASecondRead) {
    TiffBuilder large;
    for (unsigned i = 0; i < 30; ++i) large.Long(1000 + i, i);
    const Bytes bigEndian = ChunkyTiff(5, 3, 3, 8, CountingBytes(45)).Head({0x4d, 0x4d, 0x00, 0x2a}).Build();
    CTiff tiff;
    tiff.CreateNew(9, 9, 72, 4, 8, 1);
    const auto before = OpenFiles();
    for (const Bytes& refused : {bigEndian, large.Build(), Bytes()}) {
        EXPECT_EQ(ReadIn(tiff, Without(0)), "");
        EXPECT_EQ(NumbersOf(tiff), kWhole);
        EXPECT_EQ(tiff.tags.size(), 10U);
        EXPECT_EQ(tiff.ImageBytes(), 210U);
        EXPECT_EQ(ReadIn(tiff, refused), "") << "a file that is refused prints nothing";
        EXPECT_EQ(NumbersOf(tiff), Numbers(6, 0));
        EXPECT_TRUE(tiff.tags.empty());
        EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    }
    EXPECT_EQ(OpenFiles(), before);
    ReadIn(tiff, TiffBuilder().Long(257, 9).Build());
    EXPECT_EQ(NumbersOf(tiff), (Numbers{0, 9, 0, 0, 0, 0}));
}

TEST(CTiff, PrintsALineForAFailedReadAndKeepsTheNumbersButNoImage) {
    const TempDir dir;
    const std::string sound = dir.File("in.tif"), missing = "*** /no such.tif Open Error. ***\n",
                      unknown = "*** CTiff::ReadFile() --> unknown Error. ***\n";
    WriteFile(sound, Without(0));
    struct Row {
        const char* name;
        std::string line;
        std::function<void()> thrown{};  ///< by the factory
    };
    for (const Row& row :
         {Row{"/no such.tif", missing}, Row{"", "***  Open Error. ***\n"},
          Row{nullptr, "***  *** Tiff::ReadFile() --> FileName is NULL. ***  Open Error. ***\n"},
          Row{sound.c_str(), "*** words of its own Open Error. ***\n", [] { throw "words of its own"; }},
          Row{sound.c_str(), unknown, [] { throw std::runtime_error("hidden"); }},
          Row{sound.c_str(), unknown, [] { throw 7; }}}) {
        TiffWithFactory tiff;
        EXPECT_EQ(tiff.ReadFile(sound.c_str()), 0);
        ASSERT_NE(tiff.imageBuf, nullptr);
        tiff.make = [&](auto...) { return row.thrown(), nullptr; };
        EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(row.name), 0); }), row.line);
        EXPECT_EQ(NumbersOf(tiff), kWhole) << row.line;
        EXPECT_TRUE(tiff.tags.empty());
        EXPECT_EQ(tiff.imageBuf, nullptr) << "the image went with its tag";
    }
    EXPECT_EQ(Printed([&] { const CTiff made("/no such.tif"); }), missing);
}

struct NewRow {
    int width, height, resolution, samples, bits;
    unsigned photometric;
    std::uint32_t imageBytes;  ///< height x ceil(width x bits / 8) x samples
    int rowBytes;              ///< ceil(samples x width x bits / 8)
};
constexpr NewRow kSmall{5, 4, 72, 3, 8, 2, 60, 15};

/// The saved file of a new image.
Bytes NewFile(const NewRow& row, const Bytes& image) {
    const auto u = [](int n) { return static_cast<std::uint32_t>(n); };
    const bool inTheEntry = row.samples < 3;  // two depths are stored in the IFD entry as if they were one
    TiffBuilder tiff;
    tiff.Entry(254, 1, 4, 0).Long(256, u(row.width)).Long(257, u(row.height));
    inTheEntry ? tiff.Entry(258, 3, u(row.samples), u(row.bits))
               : tiff.Shorts(258, std::vector<std::uint32_t>(u(row.samples), u(row.bits)));
    tiff.Short(259, 1).Short(262, row.photometric).Short(277, u(row.samples)).Long(278, u(row.height));
    tiff.Long(279, row.imageBytes).StripOffsets().Strip(image);
    tiff.Rational(282, u(row.resolution) * 100, 100).Rational(283, u(row.resolution) * 100, 100);
    // No profile: its offset is where the image begins, after 15 entries, the depths and two rationals.
    return tiff.Short(296, 2)
        .Short(284, 1)
        .Entry(34675, 7, 0, 194 + (inTheEntry ? 0 : 2 * u(row.samples)) + 16)
        .Build();
}

TEST(CreateNew, MakesAZeroedImageThatIsSavedByteForByteAndReadBack) {
    for (const NewRow& row :
         {kSmall, NewRow{100, 50, 300, 3, 16, 2, 30000, 600}, NewRow{5, 4, 72, 1, 8, 1, 20, 5},
          NewRow{5, 4, 72, 1, 16, 1, 40, 10}, NewRow{9, 3, 600, 1, 1, 1, 6, 2}, NewRow{9, 3, 600, 3, 1, 2, 18, 4},
          NewRow{5, 4, 72, 2, 8, 1, 40, 10}, NewRow{5, 4, 0, 3, 8, 2, 60, 15}, NewRow{5, 4, 72, 4, 8, 5, 80, 20},
          NewRow{5, 4, 72, 4, 16, 5, 160, 40}, NewRow{3, 2, 72, 5, 8, 1, 30, 15}, NewRow{3, 2, 72, 6, 8, 0, 36, 18},
          NewRow{3, 2, 72, 7, 16, 0, 84, 42}, NewRow{3, 2, 72, 8, 8, 1, 48, 24}, NewRow{3, 2, 72, 9, 8, 1, 54, 27},
          NewRow{3, 2, 72, 0, 8, 1, 0, 0}, NewRow{3, 2, 72, 3, 4, 2, 12, 5}, NewRow{0, 4, 72, 3, 8, 2, 0, 0},
          NewRow{4, 0, 72, 3, 8, 2, 0, 12}}) {
        SCOPED_TRACE(testing::Message() << row.width << " x " << row.height << " x " << row.samples << " x "
                                        << row.bits);
        CTiff tiff;
        tiff.AddTags(Word(4, 40000), 1, 1, nullptr);  // is replaced with all other tags
        EXPECT_EQ(tiff.CreateNew(row.width, row.height, row.resolution, row.samples, row.bits, 1), 0);
        EXPECT_EQ(NumbersOf(tiff),
                  (Numbers{row.width, row.height, row.samples, row.bits, row.rowBytes, row.resolution}));
        EXPECT_EQ(Image(tiff), Bytes(row.imageBytes, 0));
        EXPECT_EQ(tiff.GetImageBuf(), tiff.GetTag(Sig(273))->GetData());
        EXPECT_EQ(FieldsOf(tiff, 273).value, 0U);
        EXPECT_EQ(FieldsOf(tiff, 283).value, static_cast<std::uint32_t>(row.resolution));
        const Bytes image = CountingBytes(row.imageBytes);
        std::copy(image.begin(), image.end(), tiff.GetImageBuf());
        EXPECT_EQ(Saved(tiff), NewFile(row, image));
        const TiffOf again(NewFile(row, image));
        EXPECT_EQ(again.GetTagValue(Sig(256)), row.width);
        EXPECT_EQ(again.GetTagValue(Sig(282)), row.resolution);
        EXPECT_EQ(again.GetTagValue(Sig(258)), row.samples == 0 || row.samples == 2 ? 0 : row.bits);
        EXPECT_EQ(Image(again), image);
    }
}

TEST(CreateNew, LeavesTheImageToTheCallerUnlessItIsToAllocate) {
    for (const int allocate : {0, 2, -1}) {
        CTiff tiff;
        EXPECT_EQ(tiff.CreateNew(5, 4, 72, 3, 8, allocate), 0);
        EXPECT_EQ(NumbersOf(tiff), (Numbers{5, 4, 3, 8, 15, 72}));
        EXPECT_EQ(tiff.GetImageBuf(), nullptr);
        EXPECT_EQ(tiff.GetTag(Sig(273))->GetData(), nullptr);
        EXPECT_EQ(Saved(tiff), NewFile(kSmall, {})) << "no image to write";
        tiff.SetImageBuf(Given(CountingBytes(60)));
        EXPECT_EQ(Saved(tiff), NewFile(kSmall, CountingBytes(60)));
    }
}

TEST(CreateNew, MakesNoImageOfASizeBelowZero) {
    for (const auto& [width, height, samples] : {std::tuple{-1, 4, 3}, {4, -1, 3}, {4, 4, -3}}) {
        CTiff tiff;
        EXPECT_EQ(tiff.CreateNew(width, height, 72, samples, 8, 1), 0);
        EXPECT_EQ(tiff.GetImageBuf(), nullptr) << width << " x " << height;
        EXPECT_EQ(tiff.GetTag(Sig(273))->GetData(), nullptr);
        EXPECT_EQ(tiff.tags.size(), 15U);
        EXPECT_EQ(tiff.width, width);
        EXPECT_EQ(tiff.GetTagValue(Sig(262)), samples == 3 ? 2 : 1);
    }
}

TEST(CreateNew, ThrowsForASizeBeyondAnyMemoryAndLeavesNothing) {
    // 2^30 rows of 2^28 bytes for each of 32 or 64 samples: 2^63 and 2^64 bytes, more than an array can have.
    const TempDir dir;
    WriteFile(dir.File("raw"), CountingBytes(100));
    for (const int samples : {32, 64}) {
        CTiff tiff;
        tiff.CreateNew(2, 1, 72, 3, 8, 1);
        EXPECT_THROW(tiff.CreateNew(2147483647, 1 << 30, 72, samples, 1, 1), std::bad_alloc);
        EXPECT_TRUE(tiff.tags.empty());
        EXPECT_EQ(tiff.GetImageBuf(), nullptr);
        EXPECT_THROW(tiff.CreateNew(2147483647, 1 << 30, 72, samples, 1, dir.File("raw").c_str()), std::bad_alloc);
        EXPECT_TRUE(tiff.tags.empty());
        EXPECT_EQ(tiff.CreateNew(5, 4, 72, 3, 8, 1), 0) << "and the next one is made";
        EXPECT_EQ(Image(tiff), Bytes(60, 0));
        tiff.CreateNew(2147483647, 1 << 30, 72, samples, 1, 0);
        EXPECT_EQ(FieldsOf(tiff, 279).value, 0xffffffffU) << "for which the largest number stands";
    }
}

class CreateNewFromFile : public testing::Test {
protected:
    const TempDir dir;
    const std::string raw = dir.File("pixels.raw"), out = dir.File("out.tif");
    TiffWithFactory tiff;
};

TEST_F(CreateNewFromFile, FillsTheImageWhateverTheLengthOfTheFile) {
    for (const std::size_t size : {60U, 25U, 100U, 0U}) {
        WriteFile(raw, CountingBytes(size));
        EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.CreateNew(5, 4, 72, 3, 8, raw.c_str()), 0); }), "");
        EXPECT_EQ(Image(tiff), Padded(CountingBytes(size), 60)) << size;
        EXPECT_EQ(tiff.GetImageBuf(), tiff.GetTag(Sig(273))->GetData());
    }
}

TEST_F(CreateNewFromFile, ReadsHeightTimesRowBytes) {
    WriteFile(raw, CountingBytes(100));
    // Three bit planes of 9 pixels: a row is 4 bytes, though the image has room for 2 bytes per sample.
    tiff.CreateNew(9, 3, 72, 3, 1, raw.c_str());
    EXPECT_EQ(Image(tiff), Padded(CountingBytes(12), 18));
    // 8 x 357913942 wraps to a negative number, and three times as much to 16: rows of two bytes, and no image.
    EXPECT_EQ(tiff.CreateNew(357913942, 4, 72, 3, 8, raw.c_str()), 0);
    EXPECT_EQ(tiff.rowBytes, 2);
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    EXPECT_EQ(tiff.ImageBytes(), 0U);
}

TEST_F(CreateNewFromFile, PrintsALineForAMissingFileAndChangesNothing) {
    ReadIn(tiff, Without(0));
    const unsigned char* image = tiff.imageBuf;
    for (const char* name : {raw.c_str(), static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.CreateNew(2, 2, 72, 1, 8, name), 0); }), kNoRawFile);
        EXPECT_EQ(NumbersOf(tiff), kWhole);
        EXPECT_EQ(tiff.imageBuf, image);
        EXPECT_EQ(Image(tiff), CountingBytes(210)) << "not even reset";
    }
    EXPECT_FALSE(std::filesystem::exists(raw));
}

TEST_F(CreateNewFromFile, PrintsEveryStringThatIsThrownAndClosesTheFile) {
    WriteFile(raw, CountingBytes(12));
    const std::ptrdiff_t before = OpenFiles();
    tiff.make = [](auto...) -> std::unique_ptr<TiffTag> { throw "words"; };
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.CreateNew(2, 2, 72, 3, 8, raw.c_str()), 0); }), "words\n");
    tiff.make = nullptr;
    tiff.CreateNew(2, 2, 72, 3, 8, raw.c_str());
    EXPECT_EQ(Image(tiff), CountingBytes(12));
    EXPECT_EQ(OpenFiles(), before);
}

TEST_F(CreateNewFromFile, SavesTheListImmediately) {
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.CreateNew(5, 4, 72, 3, 8, raw.c_str(), out.c_str()), 0); }),
              kNoRawFile + kEmptyList);
    EXPECT_EQ(ReadFile(out), Bytes());
    tiff.CreateNew(5, 4, 72, 3, 8, 1);
    EXPECT_EQ(Printed([&] { tiff.CreateNew(2, 1, 300, 3, 8, raw.c_str(), out.c_str()); }), kNoRawFile);
    EXPECT_EQ(ReadFile(out), NewFile(kSmall, Bytes(60, 0))) << "the image before";
    WriteFile(raw, CountingBytes(60));
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.CreateNew(5, 4, 72, 3, 8, raw.c_str(), out.c_str()), 0); }), "");
    EXPECT_EQ(ReadFile(out), NewFile(kSmall, CountingBytes(60)));
}

TEST(CTiff, SetTagIgnoresTheGivenBytes) {
    CTiff tiff;
    unsigned char bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(tiff.SetTag(Sig(258), 3, 3, 8, bytes), 0);
    EXPECT_EQ(DataOf(tiff, 258), (Bytes{8, 0, 8, 0, 8, 0}));
    EXPECT_EQ(tiff.SetTag(Sig(305), 2, 8, 77, bytes), 0);
    EXPECT_EQ(FieldsOf(tiff, 305), (Fields{305, 2, 8, 77}));
    EXPECT_EQ(tiff.GetTag(Sig(305))->GetData(), nullptr);
    EXPECT_EQ(tiff.SetTag(Sig(258), 3, 1, 16, nullptr), 0);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{258, 305})) << "in place of the first";
    EXPECT_EQ(tiff.GetTagValue(Sig(258)), 16);
}

}  // namespace
}  // namespace hueweave::test
