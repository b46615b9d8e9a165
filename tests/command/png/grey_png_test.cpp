// SPDX-License-Identifier: MIT
// Grey PNG files with a grey profile stay grey, with the tone curve of the output, or become RGB: the samples are those
// of Little CMS in floating point, as ImageMagick reads them.
#include <zlib.h>

#include <nlohmann/json.hpp>

#include "command/support/PngChunks.h"
#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

class GreyPngTest : public FileTest {
protected:
    GreyPngTest() {
        in_ = folder_ / "in.png";
        out_ = folder_ / "out.png";
        WriteGreyProfile(profile_);
    }
    /// Writes an image of these samples, interleaved with those of an alpha channel if there are two.
    void Write(const Samples& grey, const Chunks& more = {}) const {
        std::string rows;
        const std::size_t rowBytes = (std::size_t{kWidth} * grey.perPixel * grey.bits + 7) / 8;
        Samples packed = grey;
        const std::string all = Packed(packed);
        for (std::size_t y = 0; y < kHeight; ++y) rows += '\0' + all.substr(y * rowBytes, rowBytes);
        // PNG has the high byte first.
        for (std::size_t at = 0; grey.bits == 16 && at + 1 < rows.size(); ++at) {
            if (at % (rowBytes + 1) % 2 == 1) std::swap(rows[at], rows[at + 1]);
        }
        std::string image(compressBound(rows.size()), '\0');
        uLongf size = image.size();
        compress(reinterpret_cast<Bytef*>(image.data()), &size, reinterpret_cast<const Bytef*>(rows.data()),
                 rows.size());
        image.resize(size);
        const std::string header = BigEndian(kWidth) + BigEndian(kHeight) + static_cast<char>(grey.bits) +
                                   static_cast<char>(grey.perPixel == 2 ? 4 : 0) + std::string(3, '\0');
        WriteBytes(in_, PngOf(WithBefore({{"IHDR", header}, {"IDAT", image}, {"IEND", ""}}, "IDAT", more)));
    }
    Outcome ConvertGrey(const Words& more = {}) const {
        return Hueweave(Words{"convert", "--force", "--profile", profile_, in_, "-o", out_} + more);
    }
    /// The output as red, green, blue and alpha of 16 bits.
    Picture ReadWide() const {
        const std::string wide = folder_ / "wide.tif";
        Shell("convert-im6 " + Quoted(out_) + " -alpha set -depth 16 -type TrueColorMatte -compress none " +
              Quoted(wide));
        return ReadPictures(wide)[0];
    }
    /// The profile in the output, which ImageMagick does not pass on to RGB.
    std::string Embedded() const {
        const std::string chunk = DataOf(ChunksOf(out_), "iCCP");
        const std::string packed = chunk.substr(chunk.find('\0') + 2);
        std::string profile(65536, '\0');
        uLongf size = profile.size();
        EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(profile.data()), &size,
                             reinterpret_cast<const Bytef*>(packed.data()), packed.size()),
                  Z_OK);
        return profile.substr(0, size);
    }
    /// Expects each pixel to be as Little CMS converts it, and its alpha to be this.
    void ExpectColours(const Samples& grey, unsigned channels, const std::vector<std::uint64_t>& alpha) const {
        const Picture page = ReadWide();
        ASSERT_EQ(page.values.size(), 4 * kPixels);
        const auto top = static_cast<float>((1U << grey.bits) - 1);
        std::vector<float> colours;
        for (std::size_t p = 0; p < kPixels; ++p) {
            colours.push_back(static_cast<float>(grey.values[p * grey.perPixel]) / top);
        }
        const unsigned bits = grey.bits == 16 ? 16 : 8, scale = bits == 16 ? 1 : 257;
        const auto wanted = Judged(OpenProfile(profile_), TYPE_GRAY_FLT, Embedded(),
                                   channels == 1 ? TYPE_GRAY_FLT : TYPE_RGB_FLT, colours, bits);
        for (std::size_t p = 0; p < kPixels; ++p) {
            for (std::size_t c = 0; c < 3; ++c) {
                ASSERT_EQ(page.values[4 * p + c], wanted[p * channels + c % channels] * scale) << p;
            }
            ASSERT_EQ(page.values[4 * p + 3], alpha.empty() ? 65535 : alpha[p] * scale) << p;
        }
    }
    static std::string Header(const std::string& path) { return DataOf(ChunksOf(path), "IHDR").substr(8, 2); }
    const std::string profile_ = folder_ / "grey.icc";
};

TEST_F(GreyPngTest, SamplesAreThoseOfLittleCms) {
    for (const bool isRgb : {false, true}) {
        for (const unsigned bits : {1U, 2U, 4U, 8U, 16U}) {
            for (const unsigned samples : {1U, 2U}) {
                if (samples == 2 && bits < 8) continue;
                SCOPED_TRACE(testing::Message() << (isRgb ? "to RGB, " : "") << bits << " bits, " << samples);
                const Samples grey{1, samples, bits, Varied(samples * kPixels, bits)};
                Write(grey);
                ASSERT_THAT(ConvertGrey(isRgb ? Words{"--grey-to-rgb"} : Words{}), Succeeds());
                std::vector<std::uint64_t> alpha;
                for (std::size_t p = 0; samples == 2 && p < kPixels; ++p) alpha.push_back(grey.values[2 * p + 1]);
                ExpectColours(grey, isRgb ? 3 : 1, alpha);
                const int colours = (isRgb ? 2 : 0) + (samples == 2 ? 4 : 0);
                EXPECT_EQ(Header(out_), (std::string{bits == 16 ? '\x10' : '\x08', static_cast<char>(colours)}));
            }
        }
    }
}

TEST_F(GreyPngTest, WhatChangesBesideTheColoursIsTold) {
    Write({1, 1, 4, Varied(kPixels, 4)}, {{"PLTE", "abc"}});
    EXPECT_THAT(ConvertGrey(), Says(0, "its samples of 4 bits are written with 8 bits\n"));
    EXPECT_EQ(DataOf(ChunksOf(out_), "PLTE"), "");
    EXPECT_THAT(ConvertGrey({"--grey-to-rgb"}), Says(0, "its grey pixels are written as RGB of 8 bits\n"));
    // The hash is that of the pixels as another program reads them.
    const Outcome run = ConvertGrey({"--json"});
    const std::string hash = Shell("convert-im6 " + Quoted(out_) + " -depth 8 gray:- | sha256sum").substr(0, 64);
    EXPECT_EQ(nlohmann::json::parse(run.out)["sha256"], hash);
}

TEST_F(GreyPngTest, ATransparentGreyStaysAndNoOtherBecomesTransparent) {
    // Both 0 and 1 of 255 are 0 in sRGB: a light of (1/255)^2.2 is a sample of 0.02.
    Samples grey{1, 1, 8, Varied(kPixels, 8)};
    grey.values[2] = 1;
    std::vector<std::uint64_t> alpha(kPixels, 255);
    for (std::size_t p = 0; p < kPixels; ++p) {
        if (p > 2 && grey.values[p] < 2) grey.values[p] = 100;
        if (grey.values[p] == 0) alpha[p] = 0;
    }
    Write(grey, {{"tRNS", std::string(2, '\0')}, {"bKGD", std::string("\0\xff", 2)}});
    ASSERT_THAT(ConvertGrey(), Succeeds());
    const Chunks chunks = ChunksOf(out_);
    EXPECT_EQ(DataOf(chunks, "tRNS"), std::string(2, '\0'));
    EXPECT_EQ(DataOf(chunks, "bKGD"), std::string("\0\xff", 2));
    const Picture page = ReadWide();
    EXPECT_EQ(page.values[4 * 2], 257) << "moved by one step";
    for (std::size_t p = 0; p < kPixels; ++p) EXPECT_EQ(page.values[4 * p + 3], alpha[p] * 257) << p;
    ASSERT_THAT(ConvertGrey({"--grey-to-rgb"}), Succeeds());
    EXPECT_EQ(DataOf(ChunksOf(out_), "tRNS"), std::string(6, '\0'));
    EXPECT_EQ(DataOf(ChunksOf(out_), "bKGD"), std::string("\0\xff\0\xff\0\xff", 6));
    // The transparent grey 5 of 15 is 85 of 255; by Little CMS, the pixels of 5 and only they have its colour.
    const Samples few{1, 1, 4, Varied(kPixels, 4)};
    Write(few, {{"tRNS", std::string("\0\5", 2)}});
    ASSERT_THAT(ConvertGrey(), Succeeds());
    for (std::size_t p = 0; p < kPixels; ++p) alpha[p] = few.values[p] == 5 ? 0 : 255;
    ExpectColours(few, 1, alpha);
}

TEST_F(GreyPngTest, InterlacedImagesAreConvertedAsOthers) {
    const std::string photo = "convert-im6 " + Quoted(Input("photo-16.tif")) + " -colorspace Gray -strip ";
    Shell(photo + Quoted(in_) + "; " + photo + "-interlace PNG " + Quoted(folder_ / "laced.png"));
    for (const char* more : {"--verbose", "--grey-to-rgb"}) {
        ASSERT_THAT(ConvertGrey({more}), Succeeds());
        const Picture wanted = ReadWide();
        ASSERT_THAT(Hueweave({"convert", "--force", "--profile", profile_, folder_ / "laced.png", "-o", out_, more}),
                    Succeeds());
        EXPECT_EQ(ReadWide(), wanted);
        EXPECT_EQ(DataOf(ChunksOf(out_), "IHDR")[12], 1);
    }
}

TEST_F(GreyPngTest, ProfilesForGreyAreFoundOrMissed) {
    const Samples grey{1, 1, 8, Varied(kPixels, 8)};
    Write(grey);
    const Words plain{"convert", "--force", in_, "-o", out_};
    EXPECT_THAT(Hueweave(plain), Refuses(4,
                                         "in.png: holds grey pixels without a profile for them; give a profile for "
                                         "grey with --profile"));
    EXPECT_THAT(Hueweave(plain + Words{"--others", "copy"}), Says(0, "(copied, grey)"));
    EXPECT_THAT(ConvertScan({in_, "-o", out_, "--force"}),
                Refuses(4, "holds grey pixels, not RGB; leave --precision library out"));
    EXPECT_EQ(nlohmann::json::parse(Hueweave({"inspect", "--json", in_}).out)["convertible"], false);
    // The chunk sRGB of a grey image stands for the curve of sRGB.
    Write(grey, {{"sRGB", std::string(1, '\0')}});
    EXPECT_THAT(Hueweave(plain), Says(0, "(is in srgb already)"));
    EXPECT_EQ(FileBytes(out_), FileBytes(in_));
    EXPECT_EQ(nlohmann::json::parse(Hueweave({"inspect", "--json", in_}).out)["convertible"], true);
    ASSERT_THAT(ConvertGrey({"--source", "given"}), Succeeds());
    ExpectColours(grey, 1, {});
    EXPECT_THAT(Hueweave({"convert", "--in-place", out_}), Says(0, "is in srgb already"));
    // A profile of RGB says nothing about grey, and one of grey nothing about RGB.
    Shell("convert-im6 " + Quoted(Input("photo-8.tif")) + " -profile " + Quoted(Input("scanner.icc")) + " " +
          Quoted(folder_ / "rgb.png"));
    Write(grey, {{"iCCP", DataOf(ChunksOf(folder_ / "rgb.png"), "iCCP")}});
    EXPECT_THAT(Hueweave(plain), Refuses(4, "holds grey pixels without a profile for them"));
    EXPECT_THAT(Hueweave({"convert", "--profile", profile_, Input("photo-8.tif"), "-o", folder_ / "rgb.tif"}),
                Refuses(3, "describes GRAY colours, not RGB"));
}

}  // namespace
}  // namespace hueweave::test
