// SPDX-License-Identifier: MIT
// PNG files made by ImageMagick: the pixels are those of the engine, and everything else is as it was.
#include <filesystem>
#include <nlohmann/json.hpp>

#include "command/png/PngImage.h"
#include "command/tiff/kinds/KindTest.h"
#include "command/tiff/kinds/Rewritten.h"
#include "png/PngRewriter.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;

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

TEST_F(PngTest, PixelsAreTheEnginesWhateverTheThreads) {
    for (const auto& [photo, options] : {std::pair{"photo-8.tif", ""}, std::pair{"photo-16.tif", "-interlace PNG"},
                                         std::pair{"alpha-8.tif", "-interlace PNG"}, std::pair{"alpha-16.tif", ""}}) {
        SCOPED_TRACE(photo);
        Make(std::string("convert-im6 $in ") + options + " $out", Input(photo));
        const Outcome run = Convert({"--force", "-j", "1", "--json"});
        ASSERT_THAT(run, Succeeds());
        const Picture wanted = ToSrgb(ReadPictures(Input(photo))[0]), got = ReadByPeer(out_);
        EXPECT_EQ(got.samples, wanted.samples);
        EXPECT_EQ(got.bits, wanted.bits);
        EXPECT_EQ(got.values == wanted.values, true);
        const std::string sum = Shell("convert-im6 " + Quoted(out_) + " -endian LSB rgb:- | sha256sum");
        EXPECT_EQ(nlohmann::json::parse(run.out)["sha256"], sum.substr(0, 64));
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
                testing::AllOf(HasSubstr(": 200"), HasSubstr("A harbour"), HasSubstr("A. Person"), HasSubstr("sRGB")));
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
        EXPECT_EQ(nlohmann::json::parse(run.out)["sha256"], hash);
        EXPECT_EQ(nlohmann::json::parse(run.out)["pixels"], 210 * 238);
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

TEST_F(PngTest, TheChunkSrgbIsAProfileAndGammaIsNone) {
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
        {PngOf({sound[0], {"IDAT", sound[1].data + std::string(80000, 'x')}, sound[2]}), "go on after the last pixel"},
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
    std::filesystem::create_directory(scans);
    std::filesystem::copy_file(in_, odd);
    ASSERT_THAT(ConvertScan({scans, "-o", folder_ / "to", "--resume"}), Succeeds());
    EXPECT_EQ(FileBytes(folder_ / "to/odd.tif"), FileBytes(out_));
    EXPECT_THAT(ConvertScan({scans, "-o", folder_ / "to", "--resume"}), Says(0, "odd.tif is done already"));
    EXPECT_THAT(ConvertScan({odd, "--in-place"}), Succeeds());
    EXPECT_EQ(FileBytes(odd), FileBytes(out_));
    EXPECT_THAT(ConvertScan({odd, "--in-place"}), Says(0, "odd.tif is in srgb already"));
    const auto told = Told({"inspect", odd});
    EXPECT_EQ(told["kind"], "PNG");
    EXPECT_EQ(told["width"], 2);
    EXPECT_EQ(told["chunks"], (Words{"IHDR", "iCCP", "IDAT", "IEND"}));
    EXPECT_EQ(told["profile"]["colours"], "RGB");
    EXPECT_EQ(told["convertible"], true);
}

}  // namespace
}  // namespace hueweave::test
