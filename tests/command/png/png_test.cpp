// SPDX-License-Identifier: MIT
// PNG files: the pixels of RGB are those of the engine; grey with a grey profile stays grey, with the tone curve of the
// output, or becomes RGB, with the samples of Little CMS in floating point. Everything else is as it was.
#include "command/support/PngChunks.h"
#include "command/tiff/kinds/KindTest.h"
#include "png/PngRewriter.h"

namespace hueweave::test {
namespace {

/// An image whose rows are packed as PNG packs them, and `more` chunks before its data.
Chunks PngImage(std::size_t width, std::size_t height, unsigned bits, unsigned colours, const std::string& packed,
                const Chunks& more = {}) {
    std::string rows;
    const std::size_t row = packed.size() / height;
    for (std::size_t y = 0; y < height; ++y) rows += '\0' + packed.substr(y * row, row);
    const std::string header =
        BigEndian(width) + BigEndian(height) + BigEndian(bits, 1) + BigEndian(colours, 1) + std::string(3, '\0');
    return WithBefore({{"IHDR", header}, {"IDAT", Deflated(rows)}, {"IEND", ""}}, "IDAT", more);
}

class PngTest : public KindTest {
protected:
    PngTest() : KindTest("png") {}
    /// An image of 8 bits with one row of these RGB pixels, and `more` chunks before its data.
    void WriteRow(const std::string& pixels, const Chunks& more = {}) const {
        WriteBytes(in_, PngOf(PngImage(pixels.size() / 3, 1, 8, 2, pixels, more)));
    }
};

/// RGB pixels of 8 bits converted by the engine.
std::string ByTheEngine(const std::string& pixels) {
    const std::vector<unsigned char> bytes(pixels.begin(), pixels.end());
    const Picture converted =
        ToSrgb({static_cast<std::uint32_t>(pixels.size() / 3), 1, 3, 8, {bytes.begin(), bytes.end()}, ""});
    return {converted.values.begin(), converted.values.end()};
}

TEST_F(PngTest, PixelsMatchTheEngineForAnyNumberOfThreads) {
    for (const auto& [photo, options] : {std::pair{"photo-8.tif", ""}, std::pair{"photo-16.tif", "-interlace PNG"},
                                         std::pair{"alpha-8.tif", "-interlace PNG"}, std::pair{"alpha-16.tif", ""}}) {
        SCOPED_TRACE(photo);
        Make(std::string("convert-im6 $in ") + options + " $out", Input(photo));
        const Outcome run = Convert({"--force", "-j", "1", "--json"});
        ASSERT_THAT(run, Succeeds());
        EXPECT_EQ(ReadByPeer(out_) == ToSrgb(ReadPictures(Input(photo))[0]), true);
        const std::string sum = Shell("convert-im6 " + Quoted(out_) + " -endian LSB rgb:- | sha256sum");
        EXPECT_EQ(json::parse(run.out)["sha256"], sum.substr(0, 64));
        EXPECT_EQ(DataOf(ChunksOf(out_), "IHDR"), DataOf(ChunksOf(in_), "IHDR"));
        const std::string bytes = FileBytes(out_);
        EXPECT_THAT(Convert({"--force", "-j", "4"}), Succeeds());
        EXPECT_EQ(FileBytes(out_) == bytes, true) << "the bytes depend on the number of threads";
    }
}

TEST_F(PngTest, ChunksStayByteForByteUnlessTheyDescribeColours) {
    Make("convert-im6 $in -density 300 -units PixelsPerInch $out", Input("photo-16.tif"));
    ExifTool({"-overwrite_original", "-ExifIFD:ISO=200", "-XMP-dc:Title=A harbour", "-PNG:Author=A. Person", in_});
    const Chunks kept{{"tIME", std::string("\x07\xe8\1\2\3\4\5", 7)},
                      {"zTXt", std::string("Note\0\0not even Deflate", 22)},
                      {"hIST", "any"},
                      {"noTe", "safe to copy"}};
    const Chunks left{{"sBIT", "\x0c\x0c\x0c"}, {"cICP", std::string("\x09\x10\0\1", 4)}, {"unSF", "not safe"}};
    const Chunks before = WithBefore(WithBefore(ChunksOf(in_), "IDAT", kept), "IDAT", left);
    const Words colours{"IDAT", "cHRM", "gAMA", "iCCP", "bKGD", "sBIT", "cICP", "unSF"};
    WriteBytes(in_, PngOf(before) + "bytes behind the end");
    EXPECT_THAT(Convert(), Says(0, "its chunks cICP, sBIT, unSF are left out, because they no longer apply\n"));
    const std::string bytes = FileBytes(out_);
    ASSERT_TRUE(bytes.ends_with("bytes behind the end"));
    WriteBytes(out_, bytes.substr(0, bytes.size() - 20));
    const Chunks after = ChunksOf(out_);
    EXPECT_EQ(Without(after, colours), Without(before, colours));
    EXPECT_EQ(after[1].type, "iCCP");
    for (const char* type : {"bKGD", "eXIf", "pHYs", "tIME"}) EXPECT_NE(DataOf(after, type), "") << type;
    EXPECT_THAT(ExifTool({"-ISO", "-Title", "-Author", "-ProfileDescription", out_}),
                AllOf(HasSubstr(": 200"), HasSubstr("A harbour"), HasSubstr("A. Person"), HasSubstr("sRGB")));
}

TEST_F(PngTest, APaletteIsConvertedAndItsIndicesStay) {
    for (const char* options :
         {"-colors 64 -define png:bit-depth=8", "-colors 4 -define png:bit-depth=2", "-colors 64 -interlace PNG"}) {
        SCOPED_TRACE(options);
        Make(std::string("convert-im6 $in -dither None -type Palette ") + options + " PNG8:$out");
        const Outcome run = Convert({"--force", "--json"});
        ASSERT_THAT(run, Succeeds());
        const Chunks before = ChunksOf(in_), after = ChunksOf(out_);
        EXPECT_EQ(DataOf(after, "PLTE"), ByTheEngine(DataOf(before, "PLTE")));
        EXPECT_EQ(DataOf(after, "IDAT"), DataOf(before, "IDAT"));
        const std::string hash = Shell("convert-im6 " + Quoted(out_) + " -depth 8 rgb:- | sha256sum").substr(0, 64);
        EXPECT_THAT(json::parse(run.out), Has({{"sha256", hash}, {"pixels", 210 * 238}}));
    }
}

TEST_F(PngTest, ATransparentColourStaysAndNoOtherBecomesTransparent) {
    // The scanner's space is wide: both greens are outside of sRGB and are cut to the same colour.
    const std::string key("\x00\xff\x00", 3), other("\x01\xff\x00", 3), grey("\x80\x80\x80", 3);
    const std::string wanted = ByTheEngine(key);
    ASSERT_EQ(ByTheEngine(other), wanted);
    const auto words = [](const std::string& c) { return std::string{0, c[0], 0, c[1], 0, c[2]}; };
    WriteRow(key + other + grey, {{"tRNS", words(key)}, {"bKGD", words(grey)}});
    ASSERT_THAT(Convert(), Succeeds());
    EXPECT_EQ(DataOf(ChunksOf(out_), "tRNS"), words(wanted));
    EXPECT_EQ(DataOf(ChunksOf(out_), "bKGD"), words(ByTheEngine(grey)));
    std::string moved = wanted;
    moved[2] = static_cast<char>(moved[2] == 0 ? 1 : moved[2] - 1);
    EXPECT_EQ(Shell("convert-im6 " + Quoted(out_) + " -depth 8 rgba:-"),
              wanted + '\0' + moved + '\xff' + ByTheEngine(grey) + '\xff');
}

TEST_F(PngTest, TheSrgbChunkIsAProfileAndGammaIsNot) {
    WriteRow("abcdef", {{"sRGB", std::string(1, '\0')}, {"gAMA", BigEndian(45455)}});
    EXPECT_THAT(ConvertByEmbedded(), Says(0, "(is in srgb already)"));
    EXPECT_EQ(FileBytes(out_), FileBytes(in_));
    EXPECT_THAT(ConvertByEmbedded({"--to", "display-p3"}), Succeeds());
    EXPECT_EQ(Without(ChunksOf(out_), {"IDAT", "iCCP"}), Without(ChunksOf(in_), {"IDAT", "sRGB", "gAMA"}));
    EXPECT_NE(DataOf(ChunksOf(out_), "IDAT"), DataOf(ChunksOf(in_), "IDAT"));
    EXPECT_THAT(ConvertByEmbedded({"--no-tag"}), Succeeds());
    EXPECT_EQ(ChunksOf(out_), Without(ChunksOf(in_), {"sRGB", "gAMA"}));
    WriteRow("abcdef", {{"gAMA", BigEndian(45455)}, {"cHRM", std::string(32, 1)}});
    EXPECT_THAT(ConvertByEmbedded(), Refuses(3, "embeds no profile"));
    EXPECT_THAT(ConvertKind(), Succeeds());
    EXPECT_EQ(DataOf(ChunksOf(out_), "gAMA") + DataOf(ChunksOf(out_), "cHRM"), "");
}

TEST_F(PngTest, EmbeddedProfilesAreRead) {
    Make("convert-im6 $in -profile " + Quoted(Input("scanner.icc")) + " $out");
    ASSERT_THAT(ConvertByEmbedded({"--precision", "library"}), Succeeds());
    EXPECT_EQ(ReadByPeer(out_).values, ToSrgb(ReadPictures(Input("photo-8.tif"))[0]).values);
    Chunks chunks = ChunksOf(in_);
    for (Chunk& chunk : chunks) {
        if (chunk.type == "iCCP") chunk.data[40] ^= 1;
    }
    WriteBytes(in_, PngOf(chunks));
    EXPECT_THAT(ConvertByEmbedded(), Refuses(3, "embeds a profile that is damaged"));
    EXPECT_THAT(Convert({"--source", "given", "--force"}), Says(0, "embeds a profile that cannot be used"));
    // A profile of 33 MiB in 33 KiB.
    WriteRow("abcdef", {{"iCCP", std::string("icc\0\0", 5) + Deflated(std::string(33 << 20, '\0'))}});
    EXPECT_THAT(ConvertByEmbedded(), Refuses(3, "a profile of more than 32 MiB"));
}

TEST_F(PngTest, WhatCannotBeConvertedIsRefused) {
    WriteRow("abcdef");
    const Chunks sound = ChunksOf(in_);
    const std::string bytes = FileBytes(in_);
    std::string grey = sound[0].data, damaged = bytes, size = sound[0].data;
    grey[9] = 0;
    size[3] = 100;
    damaged[bytes.size() - 20] ^= 1;
    const Chunk text{"tEXt", "Title"};
    std::string badSum = PngOf(WithBefore(sound, "IDAT", {text}));
    badSum[43] ^= 1;
    const std::string profile("icc\0\0x", 6);
    ExpectEachRefused({
        {PngOf({{"IHDR", grey}, sound[1], sound[2]}), "holds grey pixels, not RGB"},
        {PngOf(WithBefore(sound, "IDAT", {{"acTL", std::string(8, 1)}})), "is an animated PNG"},
        {PngOf(WithBefore(sound, "IDAT", {{"NEWs", "?"}})), "contains a critical chunk NEWs that is not known"},
        {PngOf(WithBefore(sound, "IDAT", {{"iCCP", profile}, {"iCCP", profile}})), "contains several chunks iCCP"},
        {PngOf({sound[0], sound[1], {"PLTE", "abc"}, sound[2]}), "its chunk PLTE comes after the image"},
        {PngOf({sound[0], sound[1], text, sound[1], sound[2]}), "contains several chunks IDAT"},
        {PngOf({sound[0], sound[2]}), "it contains no image data"},
        {PngOf({sound[1], sound[2]}), "does not begin with the chunk IHDR"},
        {PngOf({{"IHDR", size}, sound[1], sound[2]}), "contains damaged image data"},
        {PngOf({sound[0], {"IDAT", sound[1].data + std::string(80000, 'x')}, sound[2]}),
         "continue after the last pixel"},
        {badSum, "the checksum of its chunk tEXt is wrong"},
        {damaged, "contains damaged image data"},
        {bytes.substr(0, bytes.size() - 1), "is truncated: it ends at byte"},
        {bytes.substr(0, 8), "is truncated: it ends at byte 8"},
    });
    // Data that follow the pixels within a few bytes do no harm.
    WriteBytes(in_, PngOf({sound[0], {"IDAT", sound[1].data + "xxx"}, sound[2]}));
    EXPECT_THAT(Convert(), Succeeds());
}

TEST_F(PngTest, OnlyInterlacedImagesAreHeldAsAWhole) {
    const auto write = [&](std::uint64_t memory) {
        const auto rewrite = [](const auto& structure, auto* converter, auto&&... more) {
            RewritePng(structure, {converter, nullptr}, more...);
        };
        return ReasonOf([&] { Rewritten<tool::PngStructure>(in_, memory, 16, rewrite); });
    };
    Make("convert-im6 $in $out", Input("photo-16.tif"));
    const std::uint64_t rows = 1600000, pixels = 210 * 238 * 6;
    EXPECT_EQ(write(rows), "");
    EXPECT_EQ(write(pixels), "has rows that do not fit in the memory allowed");
    Make("convert-im6 $in -interlace PNG $out", Input("photo-16.tif"));
    EXPECT_EQ(write(rows + pixels), "");
    EXPECT_EQ(write(rows), "is interlaced and does not fit in the memory allowed as a whole");
}

TEST_F(PngTest, TheContentsGiveTheFormatAndTheNameHasToFit) {
    WriteRow("abcdef");
    const std::string other = folder_ / "out.tif", scans = folder_ / "scans", odd = scans + "/odd.tif";
    EXPECT_THAT(ConvertScan({in_, "-o", other}),
                SaysOnly(2, other + ": is the name of a TIFF file, but the output is a PNG file, as its input; give it "
                                    "a name with .png, or add --format tiff"));
    EXPECT_THAT(ConvertScan({"-", "-o", folder_ / "to/"}, {.input = in_}), Says(2, "give it a name with .png"));
    EXPECT_THAT(ConvertScan({"-", "-o", out_}, {.input = in_}), Succeeds());
    WriteBytes(odd, FileBytes(in_));
    ASSERT_THAT(ConvertScan({scans, "-o", folder_ / "to", "--resume"}), Succeeds());
    EXPECT_EQ(FileBytes(folder_ / "to/odd.tif"), FileBytes(out_));
    EXPECT_THAT(ConvertScan({scans, "-o", folder_ / "to", "--resume"}), Says(0, "odd.tif is done already"));
    EXPECT_THAT(ConvertScan({odd, "--in-place"}), Succeeds());
    EXPECT_EQ(FileBytes(odd), FileBytes(out_));
    EXPECT_THAT(ConvertScan({odd, "--in-place"}), Says(0, "odd.tif is in srgb already"));
    EXPECT_THAT(Told({"inspect", odd}), Has({{"kind", "PNG"},
                                             {"width", 2},
                                             {"chunks", {"IHDR", "iCCP", "IDAT", "IEND"}},
                                             {"profile", {{"colours", "RGB"}}},
                                             {"convertible", true}}));
}

class GreyPngTest : public KindTest {
protected:
    GreyPngTest() : KindTest("png") {}
    void Write(const Samples& grey, const Chunks& more = {}) const {
        const unsigned colours = grey.perPixel == 2 ? 4 : 0;
        WriteBytes(in_, PngOf(PngImage(kWidth, kHeight, grey.bits, colours, Packed(grey, true), more)));
    }
    /// The output as red, green, blue and alpha of 16 bits.
    Picture ReadWide() const { return ReadByPeer(out_, "-alpha set -depth 16 -type TrueColorMatte"); }
    /// Expects each pixel to be as Little CMS converts it, and its alpha to be unchanged.
    void ExpectColours(const Samples& grey) const {
        const std::vector<std::uint16_t> judged = Judged(grey, OpenProfile(grey_), Embedded(out_));
        const std::size_t samples = judged.size() / kPixels, colours = samples > 2 ? 3 : 1;
        EXPECT_EQ(colours == 3, (Data(out_, "IHDR")[9] & 2) != 0) << "a profile for the colours of the image";
        const unsigned scale = grey.bits == 16 ? 1 : 257;
        std::vector<unsigned> wanted;
        for (std::size_t at = 0; at < judged.size(); at += samples) {
            for (std::size_t c = 0; c < 3; ++c) wanted.push_back(judged[at + c % colours] * scale);
            wanted.push_back(samples > colours ? judged[at + colours] * scale : 65535);
        }
        EXPECT_THAT(ReadWide().values, testing::ElementsAreArray(wanted));
    }
    static std::string Data(const std::string& path, const std::string& type) { return DataOf(ChunksOf(path), type); }
};

TEST_F(GreyPngTest, SamplesAreThoseOfLittleCms) {
    for (const bool isRgb : {false, true}) {
        for (const auto& [bits, samples] :
             {std::pair{1U, 1U}, {2U, 1U}, {4U, 1U}, {8U, 1U}, {8U, 2U}, {16U, 1U}, {16U, 2U}}) {
            SCOPED_TRACE(testing::Message() << (isRgb ? "to RGB, " : "") << bits << " bits, " << samples);
            const Samples grey{1, samples, bits, Varied(samples * kPixels, bits)};
            Write(grey);
            ASSERT_THAT(ConvertBy(grey_, isRgb ? Words{"--grey-to-rgb"} : Words{}), Succeeds());
            ExpectColours(grey);
            const unsigned colours = (isRgb ? 2U : 0U) + (samples == 2 ? 4U : 0U);
            EXPECT_EQ(Data(out_, "IHDR").substr(8, 2), BigEndian(std::max(bits, 8U), 1) + BigEndian(colours, 1));
        }
    }
}

TEST_F(GreyPngTest, ChangesBesideTheColoursAreReported) {
    Write({1, 1, 4, Varied(kPixels, 4)}, {{"PLTE", "abc"}});
    EXPECT_THAT(ConvertBy(grey_), Says(0, "its samples of 4 bits are written with 8 bits\n"));
    EXPECT_EQ(Data(out_, "PLTE"), "");
    EXPECT_THAT(ConvertBy(grey_, {"--grey-to-rgb"}), Says(0, "its grey pixels are written as RGB of 8 bits\n"));
    // The hash is that of the pixels as another program reads them.
    const Outcome run = ConvertBy(grey_, {"--json"});
    const std::string hash = Shell("convert-im6 " + Quoted(out_) + " -depth 8 gray:- | sha256sum").substr(0, 64);
    EXPECT_EQ(json::parse(run.out)["sha256"], hash);
}

TEST_F(GreyPngTest, ATransparentGreyStaysAndNoOtherBecomesTransparent) {
    // Both 0 and 1 of 255 are 0 in sRGB: a light of (1/255)^2.2 is a sample of 0.02.
    Samples grey{1, 1, 8, Varied(kPixels, 8)};
    std::replace_if(
        grey.values.begin() + 3, grey.values.end(), [](std::uint64_t value) { return value < 2; }, 100);
    grey.values[2] = 1;
    Write(grey, {{"tRNS", std::string(2, '\0')}, {"bKGD", std::string("\0\xff", 2)}});
    ASSERT_THAT(ConvertBy(grey_), Succeeds());
    EXPECT_EQ(Data(out_, "tRNS"), std::string(2, '\0'));
    EXPECT_EQ(Data(out_, "bKGD"), std::string("\0\xff", 2));
    const Picture page = ReadWide();
    EXPECT_EQ(page.values[4 * 2], 257) << "moved by one step";
    for (std::size_t p = 0; p < kPixels; ++p) EXPECT_EQ(page.values[4 * p + 3], grey.values[p] == 0 ? 0 : 65535) << p;
    ASSERT_THAT(ConvertBy(grey_, {"--grey-to-rgb"}), Succeeds());
    EXPECT_EQ(Data(out_, "tRNS"), std::string(6, '\0'));
    EXPECT_EQ(Data(out_, "bKGD"), std::string("\0\xff\0\xff\0\xff", 6));
    // With 16 bits 0 and 50 are 0: a light of (50/65535)^2.2 is a sample of 0.1.
    Samples wide{1, 1, 16, std::vector<std::uint64_t>(kPixels, 40000)};
    wide.values[1] = 0;
    wide.values[2] = 50;
    Write(wide, {{"tRNS", std::string(2, '\0')}});
    ASSERT_THAT(ConvertBy(grey_), Succeeds());
    const Picture deep = ReadWide();
    EXPECT_EQ(deep.values[4 * 2], 1) << "moved by one step";
    for (std::size_t p = 0; p < kPixels; ++p) EXPECT_EQ(deep.values[4 * p + 3], p == 1 ? 0 : 65535) << p;
    // The transparent grey 5 of 15 is 85 of 255; by Little CMS, the pixels of 5 and only they have its colour.
    const Samples few{1, 1, 4, Varied(kPixels, 4)};
    Write(few, {{"tRNS", std::string("\0\5", 2)}});
    ASSERT_THAT(ConvertBy(grey_), Succeeds());
    Samples seen{1, 2, 4};
    for (const std::uint64_t value : few.values) {
        seen.values.insert(seen.values.end(), {value, value == 5 ? 0U : 255U});
    }
    ExpectColours(seen);
}

TEST_F(GreyPngTest, InterlacedImagesAreConvertedAsOthers) {
    const std::string photo = "convert-im6 " + Quoted(Input("photo-16.tif")) + " -colorspace Gray -strip ";
    for (const char* more : {"--verbose", "--grey-to-rgb"}) {
        Shell(photo + Quoted(in_));
        ASSERT_THAT(ConvertBy(grey_, {more}), Succeeds());
        const Picture wanted = ReadWide();
        Shell(photo + "-interlace PNG " + Quoted(in_));
        ASSERT_THAT(ConvertBy(grey_, {more}), Succeeds());
        EXPECT_EQ(ReadWide(), wanted);
        EXPECT_EQ(Data(out_, "IHDR")[12], 1);
    }
}

TEST_F(GreyPngTest, GreyProfilesAreUsedOrReportedMissing) {
    const Samples grey{1, 1, 8, Varied(kPixels, 8)};
    Write(grey);
    EXPECT_THAT(ConvertByEmbedded(), Refuses(4,
                                             "in.png: holds grey pixels without a profile for them; give a profile for "
                                             "grey with --profile"));
    EXPECT_THAT(ConvertByEmbedded({"--others", "copy"}), Says(0, "(copied, grey)"));
    EXPECT_THAT(Convert({"--force"}), Refuses(4, "holds grey pixels, not RGB; leave --precision library out"));
    EXPECT_EQ(Told({"inspect", in_})["convertible"], false);
    // The chunk sRGB of a grey image stands for the curve of sRGB.
    Write(grey, {{"sRGB", std::string(1, '\0')}});
    EXPECT_THAT(ConvertByEmbedded(), Says(0, "(is in srgb already)"));
    EXPECT_EQ(FileBytes(out_), FileBytes(in_));
    EXPECT_EQ(Told({"inspect", in_})["convertible"], true);
    ASSERT_THAT(ConvertBy(grey_, {"--source", "given"}), Succeeds());
    ExpectColours(grey);
    ExpectDone();
    // A profile of RGB says nothing about grey.
    Shell("convert-im6 " + Quoted(Input("photo-8.tif")) + " -profile " + Quoted(Input("scanner.icc")) + " " +
          Quoted(folder_ / "rgb.png"));
    Write(grey, {{"iCCP", Data(folder_ / "rgb.png", "iCCP")}});
    EXPECT_THAT(ConvertByEmbedded(), Refuses(4, "holds grey pixels without a profile for them"));
}

}  // namespace
}  // namespace hueweave::test
