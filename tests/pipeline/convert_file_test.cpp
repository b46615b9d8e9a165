// SPDX-License-Identifier: MIT

// Whole files through the engine's own reader and writer, compared byte for byte with the plain reference: the written
// file and the printed output. The reference takes its pixels from a second engine, which converts them in memory.
#include <gtest/gtest.h>

#include <memory>

#include "engine/CIccEngineS.h"
#include "support/Matchers.h"
#include "support/MiniProfile.h"
#include "support/ReferenceTiff.h"
#include "support/TempDir.h"
#include "support/TiffBuilder.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_ENG_S4::CIccEngineS;

std::unique_ptr<CIccEngineS> MakeEngine(bool wide) {
    using namespace ICC40::ICCFILE;
    auto engine = std::make_unique<CIccEngineS>();
    engine->SetProfile(MiniProfile({{"A2B0", Mft2(SmoothLut())}}), IntentPerceptual, wide ? CsRGB_16 : CsRGB_8,
                       wide ? CsAdobeRGB_Gamma180_16 : CsAdobeRGB_Gamma180_8, 0, 0, 0);
    return engine;
}

/// Samples that an engine of either width changes.
Bytes Pixels(std::size_t bytes, std::uint32_t seed = 7) {
    Lcg random(seed);
    Bytes pixels(bytes);
    for (unsigned char& byte : pixels) byte = static_cast<unsigned char>(random.Below(256));
    return pixels;
}

std::vector<Bytes> Strips(std::size_t count, std::size_t bytes) {
    std::vector<Bytes> strips;
    for (std::size_t i = 0; i < count; ++i) strips.push_back(Pixels(bytes, static_cast<std::uint32_t>(i + 1)));
    return strips;
}

TiffBuilder InStrips(std::uint32_t width, std::uint32_t height, unsigned samples, unsigned bits, std::uint32_t rows,
                     unsigned offsetType = 4, unsigned countType = 4) {
    TiffBuilder tiff;
    tiff.Shape(width, height, samples, bits).Long(278, rows).StripOffsets(offsetType).StripByteCounts(countType);
    const std::size_t row = (std::size_t{width} * samples * bits + 7) / 8;
    for (std::uint32_t y = 0; y < height; y += rows) {
        tiff.Strip(Pixels(row * std::min(rows, height - y), y + 1));
    }
    return tiff;
}

/// Adds the tags and the data of a single strip.
TiffBuilder OneStrip(TiffBuilder tiff) { return tiff.Long(278, 5).StripOffsets().StripByteCounts().Strip(Pixels(105)); }

/// An image of 7 by 5 pixels in one strip whose place and length are not given yet.
TiffBuilder Untold() { return TiffBuilder().Shape(7, 5, 3, 8).Long(278, 5).Strip(Pixels(105)); }

struct FileRow {
    const char* name;
    Bytes file;
};
std::ostream& operator<<(std::ostream& out, const FileRow& row) { return out << row.name; }

TiffBuilder Rgb8() { return ChunkyTiff(7, 5, 3, 8, Pixels(105)); }
TiffBuilder Rgb16() { return ChunkyTiff(7, 5, 3, 16, Pixels(210)); }
TiffBuilder Counted(std::uint32_t byteCount) { return Untold().StripOffsets().Long(279, byteCount); }

TiffBuilder ManyEntries(unsigned count) {
    TiffBuilder tiff = Rgb8();  // eleven entries
    for (unsigned i = 11; i < count; ++i) tiff.Long(40000 + i, i);
    return tiff;
}

/// An image of 7 by 5 pixels that lacks one tag.
TiffBuilder Without(unsigned tag) {
    TiffBuilder tiff;
    if (tag != 256) tiff.Long(256, 7);
    if (tag != 257) tiff.Long(257, 5);
    if (tag != 258) tiff.Shorts(258, {8, 8, 8});
    if (tag != 277) tiff.Short(277, 3);
    return OneStrip(tiff);
}

/// A file that is cut where its profile begins, before the data of tag 40000 and the pixels.
Bytes CutBeforeLargeData() {
    Bytes file = Rgb8().Undefined(34675, Pixels(4000)).Undefined(40000, Pixels(3000)).Build();
    file.resize(14 + 13 * 12 + 23);  // the data of tags 258, 282 and 305 are 23 bytes
    return file;
}

/// The suite unit_tiff covers each broken field separately.
std::vector<FileRow> Files() {
    const Bytes cutInPixels = Rgb8().Build();
    const Bytes cutInData = Rgb8().Undefined(34675, Pixels(400)).Exif(Pixels(60)).Build();
    return {
        {"Rgb8", Rgb8().Build()},
        {"Rgb16", Rgb16().Build()},
        {"OnePixel8", ChunkyTiff(1, 1, 3, 8, {200, 10, 90}).Build()},
        {"OnePixel16", ChunkyTiff(1, 1, 3, 16, Pixels(6)).Build()},
        {"NoPixels", ChunkyTiff(0, 0, 3, 8, {}).Build()},
        {"NoRows", ChunkyTiff(7, 0, 3, 8, {}).Build()},
        {"Grey8", ChunkyTiff(7, 5, 1, 8, Pixels(35)).Build()},
        {"Grey16", ChunkyTiff(7, 5, 1, 16, Pixels(70)).Build()},
        {"Cmyk8", ChunkyTiff(7, 5, 4, 8, Pixels(140)).Build()},
        {"Cmyk16", ChunkyTiff(7, 5, 4, 16, Pixels(280)).Build()},
        {"TwoSamples8", ChunkyTiff(7, 5, 2, 8, Pixels(70)).Build()},
        {"Bitmap", ChunkyTiff(20, 5, 1, 1, Pixels(15)).Build()},
        {"Compressed", Rgb8().Short(259, 5).Build()},
        {"Icc", Rgb8().Undefined(34675, Pixels(300)).Build()},
        {"IccFirst", OneStrip(TiffBuilder().Undefined(34675, Pixels(301)).Shape(7, 5, 3, 8)).Build()},
        {"TwoIcc", Rgb8().Undefined(34675, Pixels(30)).Undefined(34675, Pixels(41)).Build()},
        {"IccInTheEntry", Rgb8().Entry(34675, 7, 4, 99).Build()},
        {"IccAlone", TiffBuilder().Undefined(34675, Pixels(30)).Build()},
        {"Exif", Rgb8().Exif(Pixels(100)).Undefined(34675, Pixels(60)).Build()},
        {"ShortExif", Rgb8().Exif(Pixels(10)).Build()},
        {"ExifOfTwoItems", Rgb8().Data(34665, 4, 2, Pixels(60)).Build()},
        {"SmallSignedByte", Rgb8().Entry(40000, 6, 1, 5).Exif(Pixels(50)).Build()},
        {"SmallUndefined", Rgb8().Entry(40000, 7, 4, 0x30323230).Text(40001, "later").Exif(Pixels(50)).Build()},
        {"SmallSignedShort", Rgb8().Entry(40000, 8, 2, 5).Exif(Pixels(50)).Build()},
        {"SmallSignedLong", Rgb8().Entry(40000, 9, 1, 5).Text(40001, "later").Build()},
        {"EmptyUndefined", Rgb8().Entry(40000, 7, 0, 5).Text(40001, "later").Build()},
        {"UnknownText", Rgb8().Text(65000, "unknown").Entry(65001, 3, 2, 0x00020001).Build()},
        {"RepeatedTags", Rgb8().Text(305, "again").Long(256, 99).Long(273, 8).Build()},
        {"NoWidth", Without(256).Build()},
        {"NoLength", Without(257).Build()},
        {"NoDepth", Without(258).Build()},
        {"NoSamplesAPixel", Without(277).Build()},
        {"ShortLength", Without(257).Short(257, 4).Build()},
        {"OtherTagsThatSayOtherwise", Without(277).Short(277, 1).Short(258, 32).Build()},
        {"TwentyNineEntries", ManyEntries(29).Build()},
        {"FarDirectory", Rgb8().GapBeforeDirectory(777).GapBeforeStrips(33).Build()},
        {"SecondDirectory", Rgb8().NextDirectory(8).Trailer(Pixels(40)).Build()},
        {"WideTypes", Rgb8()
                          .Data(40000, 10, 2, Pixels(16))
                          .Data(40001, 11, 2, Pixels(16))
                          .Data(40002, 12, 3, Pixels(24))
                          .Data(40003, 13, 2, Pixels(8))
                          .Build()},
        {"FileOrder", InStrips(7, 5, 3, 8, 2).StripsBackwards().Undefined(34675, Pixels(44)).Build()},
        // Several strips, and planes.
        {"OneRowStrips8", InStrips(7, 5, 3, 8, 1).Build()},
        {"OneRowStrips16", InStrips(7, 5, 3, 16, 1).Exif(Pixels(70)).Build()},
        {"ThreeStrips8", InStrips(7, 5, 3, 8, 2).Undefined(34675, Pixels(40)).Build()},
        {"ShortArrays", InStrips(7, 5, 3, 8, 2, 3, 3).Build()},
        {"TwoShortStrips", InStrips(7, 5, 3, 8, 3, 3, 3).Build()},
        {"TwoLongStripsShortCounts", InStrips(7, 5, 3, 8, 3, 4, 3).Build()},
        {"ByteCountsOfBytes", InStrips(7, 5, 3, 8, 1, 4, 1).Build()},
        {"AllInOneStrip", InStrips(7, 5, 3, 8, 5).Build()},
        {"UnlimitedRows", InStrips(7, 5, 3, 8, 4294967295U, 3, 3).Build()},
        {"LargeTotal", InStrips(200, 120, 3, 8, 50).Build()},
        {"NoRowsPerStrip",
         TiffBuilder().Shape(7, 5, 3, 8).StripOffsets().StripByteCounts().Strip(Pixels(105)).Exif(Pixels(44)).Build()},
        {"StripsButOneAnnounced", Untold().Strip(Pixels(45)).StripOffsets().StripByteCounts().Exif(Pixels(44)).Build()},
        {"Planes8", PlanarTiff(7, 5, 3, 8, 5, Strips(3, 35)).Undefined(34675, Pixels(40)).Build()},
        {"Planes16", PlanarTiff(7, 5, 3, 16, 5, Strips(3, 70)).Build()},
        {"FourPlanes8", PlanarTiff(7, 5, 4, 8, 5, Strips(4, 35)).Build()},
        {"FourPlanes16", PlanarTiff(7, 5, 4, 16, 5, Strips(4, 70)).Exif(Pixels(44)).Build()},
        {"FivePlanes8", PlanarTiff(7, 5, 5, 8, 5, Strips(5, 35)).Build()},
        {"TwoPlanes8", PlanarTiff(7, 5, 2, 8, 5, Strips(2, 35)).Build()},
        {"OnePlane8", PlanarTiff(7, 5, 1, 8, 5, Strips(1, 35)).Build()},
        {"PlanesInStrips", PlanarTiff(7, 4, 3, 8, 2, Strips(6, 14)).Build()},
        {"BitmapPlanes", PlanarTiff(32, 5, 3, 1, 5, Strips(3, 20)).Exif(Pixels(44)).Build()},
        {"UnevenBitmapPlanes", PlanarTiff(21, 3, 4, 1, 3, Strips(4, 9)).Build()},
        {"FarBitmapPlanes", PlanarTiff(32, 2, 3, 1, 2, Strips(3, 8)).GapBeforeStrips(65536).Build()},
        // Broken files.
        {"CutInPixels", Bytes(cutInPixels.begin(), cutInPixels.end() - 50)},
        {"CutInData", Bytes(cutInData.begin(), cutInData.begin() + 200)},
        {"CutBeforeLargeData", CutBeforeLargeData()},
        {"ForeignHead", ByteWriter().Text("MM").Fill(200).Done()},
        {"CutInDirectory", Bytes(cutInData.begin(), cutInData.begin() + 100)},
        {"NoByteCounts", Untold().StripOffsets().Build()},
        {"NoByteCountsOfStrips",
         TiffBuilder().Shape(7, 5, 3, 8).Long(278, 1).StripOffsets().Strip(Pixels(105)).Exif(Pixels(44)).Build()},
        {"ByteCountTooSmall", Counted(40).Build()},
        {"ByteCountTooLarge", Counted(3000).Build()},
        {"SignedByteCount", Untold().StripOffsets().Entry(279, 9, 1, 105).Build()},
        {"LostOffsets", Untold().Entry(273, 4, 1000, 8).Long(279, 105).Build()},
        {"LostText", Rgb8().Entry(40000, 2, 100000, 8).Entry(40001, 7, 100000, 8).Text(40002, "later").Build()},
        {"LostResolution", Rgb8().Entry(283, 5, 100, 8).Entry(40000, 9, 500, 8).Exif(Pixels(60)).Build()},
        {"LostByteCounts", Untold().StripOffsets().Entry(279, 4, 1000, 8).Build()},
        {"LostOffsetsOfAHugeImage",
         TiffBuilder().Shape(7, 5, 3, 8).Long(278, 5).Entry(273, 4, 1000, 8).Long(279, 4000000000U).Build()},
        {"ZeroDenominator", Rgb8().Rational(283, 300, 0).Build()},
        {"ZeroDenominatorFirst", TiffBuilder().Rational(282, 5, 0).Shape(1, 1, 3, 8).Build()},
        {"WiderThanItsImage", ChunkyTiff(1000, 1000, 3, 8, Pixels(105)).Build()},
        {"MorePixelsThan32BitsCount", ChunkyTiff(70000, 70000, 3, 8, Pixels(12)).Build()},
        {"HugePlanes", PlanarTiff(60000, 60000, 3, 8, 60000, Strips(3, 35)).Build()},
        {"MissingPlane", PlanarTiff(7, 5, 3, 8, 5, Strips(2, 35)).Build()},
    };
}

class ConvertFileBytesTest : public testing::TestWithParam<FileRow> {
protected:
    /// Converts one file with the engine and with the reference.
    static void Compare(const Bytes& file, bool wide, bool inPlace = false) {
        // Two engines of each width, built once: they only read their tables.
        static const std::unique_ptr<CIccEngineS> kOfFiles[] = {MakeEngine(false), MakeEngine(true)};
        static const std::unique_ptr<CIccEngineS> kOfBuffers[] = {MakeEngine(false), MakeEngine(true)};
        const TempDir dir;
        const std::string source = dir.File("source.tif");
        const std::string dest = inPlace ? source : dir.File("dest.tif");
        WriteFile(source, file);
        const ReferenceRun expected = ConvertTiff(file, source, wide ? 2 : 1, [&](unsigned char* samples, int pixels) {
            EXPECT_EQ(kOfBuffers[wide]->Conversion(samples, samples, pixels), 0);
        });
        testing::internal::CaptureStdout();
        const int result = kOfFiles[wide]->Conversion(source.c_str(), dest.c_str());
        const std::string printed = testing::internal::GetCapturedStdout();
        EXPECT_EQ(result, 0);
        EXPECT_EQ(printed, expected.log);
        // A file from which nothing could be read is not emptied when it is its own destination.
        const bool kept = inPlace && expected.file.empty();
        EXPECT_THAT(ReadFile(dest), EqualsBytes(kept ? file : expected.file));
        if (!inPlace) {
            EXPECT_THAT(ReadFile(source), EqualsBytes(file)) << "the source is only read";
        }
    }
};

TEST_P(ConvertFileBytesTest, WithAn8BitEngine) { Compare(GetParam().file, false); }
TEST_P(ConvertFileBytesTest, WithA16BitEngine) { Compare(GetParam().file, true); }
TEST_P(ConvertFileBytesTest, InPlace) { Compare(GetParam().file, false, true); }

INSTANTIATE_TEST_SUITE_P(Every, ConvertFileBytesTest, testing::ValuesIn(Files()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ConvertFileEngineTest, ChangesPixels) {
    // Otherwise all comparisons above would be of files that stay unchanged.
    for (const bool wide : {false, true}) {
        const Bytes before = Pixels(210);
        Bytes after = before;
        EXPECT_EQ(MakeEngine(wide)->Conversion(after.data(), after.data(), 35), 0);
        EXPECT_NE(Bytes(after.begin(), after.begin() + 105), Bytes(before.begin(), before.begin() + 105));
    }
}

}  // namespace
}  // namespace hueweave::test
