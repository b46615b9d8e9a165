// SPDX-License-Identifier: MIT
// Grey PNG files with a grey profile stay grey, with the tone curve of the output, or become RGB: the samples are those
// of Little CMS in floating point, as ImageMagick reads them.
#include "command/png/PngImage.h"
#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

class GreyPngTest : public KindTest {
protected:
    GreyPngTest() : KindTest("png") {}
    void Write(const Samples& grey, const Chunks& more = {}) const {
        const unsigned colours = grey.perPixel == 2 ? 4 : 0;
        WriteBytes(in_, PngOf(PngImage(kWidth, kHeight, grey.bits, colours, Packed(grey, true), more)));
    }
    Outcome ConvertGrey(const Words& more = {}) const { return ConvertBy(grey_, more); }
    /// The output as red, green, blue and alpha of 16 bits.
    Picture ReadWide() const { return ReadByPeer(out_, "-alpha set -depth 16 -type TrueColorMatte"); }
    /// Expects each pixel to be as Little CMS converts it, and its alpha to be unchanged.
    void ExpectColours(const Samples& grey) const {
        const std::vector<std::uint16_t> judged = Judged(grey, OpenProfile(grey_), Embedded(out_));
        const std::size_t samples = judged.size() / kPixels, colours = samples > 2 ? 3 : 1;
        EXPECT_EQ(colours == 3, (Data(out_, "IHDR")[9] & 2) != 0) << "a profile for the colours of the image";
        const unsigned scale = grey.bits == 16 ? 1 : 257;
        std::vector<std::uint16_t> wanted;
        for (std::size_t at = 0; at < judged.size(); at += samples) {
            for (std::size_t c = 0; c < 3; ++c) {
                wanted.push_back(static_cast<std::uint16_t>(judged[at + c % colours] * scale));
            }
            wanted.push_back(static_cast<std::uint16_t>(samples > colours ? judged[at + colours] * scale : 65535));
        }
        EXPECT_EQ(ReadWide().values, wanted);
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
            ASSERT_THAT(ConvertGrey(isRgb ? Words{"--grey-to-rgb"} : Words{}), Succeeds());
            ExpectColours(grey);
            const unsigned colours = (isRgb ? 2U : 0U) + (samples == 2 ? 4U : 0U);
            EXPECT_EQ(Data(out_, "IHDR").substr(8, 2), BigEndian(std::max(bits, 8U), 1) + BigEndian(colours, 1));
        }
    }
}

TEST_F(GreyPngTest, WhatChangesBesideTheColoursIsTold) {
    Write({1, 1, 4, Varied(kPixels, 4)}, {{"PLTE", "abc"}});
    EXPECT_THAT(ConvertGrey(), Says(0, "its samples of 4 bits are written with 8 bits\n"));
    EXPECT_EQ(Data(out_, "PLTE"), "");
    EXPECT_THAT(ConvertGrey({"--grey-to-rgb"}), Says(0, "its grey pixels are written as RGB of 8 bits\n"));
    // The hash is that of the pixels as another program reads them.
    const Outcome run = ConvertGrey({"--json"});
    const std::string hash = Shell("convert-im6 " + Quoted(out_) + " -depth 8 gray:- | sha256sum").substr(0, 64);
    EXPECT_EQ(nlohmann::json::parse(run.out)["sha256"], hash);
}

TEST_F(GreyPngTest, ATransparentGreyStaysAndNoOtherBecomesTransparent) {
    // Both 0 and 1 of 255 are 0 in sRGB: a light of (1/255)^2.2 is a sample of 0.02.
    Samples grey{1, 1, 8, Varied(kPixels, 8)};
    std::replace_if(
        grey.values.begin() + 3, grey.values.end(), [](std::uint64_t value) { return value < 2; }, 100);
    grey.values[2] = 1;
    Write(grey, {{"tRNS", std::string(2, '\0')}, {"bKGD", std::string("\0\xff", 2)}});
    ASSERT_THAT(ConvertGrey(), Succeeds());
    EXPECT_EQ(Data(out_, "tRNS"), std::string(2, '\0'));
    EXPECT_EQ(Data(out_, "bKGD"), std::string("\0\xff", 2));
    const Picture page = ReadWide();
    EXPECT_EQ(page.values[4 * 2], 257) << "moved by one step";
    for (std::size_t p = 0; p < kPixels; ++p) EXPECT_EQ(page.values[4 * p + 3], grey.values[p] == 0 ? 0 : 65535) << p;
    ASSERT_THAT(ConvertGrey({"--grey-to-rgb"}), Succeeds());
    EXPECT_EQ(Data(out_, "tRNS"), std::string(6, '\0'));
    EXPECT_EQ(Data(out_, "bKGD"), std::string("\0\xff\0\xff\0\xff", 6));
    // The transparent grey 5 of 15 is 85 of 255; by Little CMS, the pixels of 5 and only they have its colour.
    const Samples few{1, 1, 4, Varied(kPixels, 4)};
    Write(few, {{"tRNS", std::string("\0\5", 2)}});
    ASSERT_THAT(ConvertGrey(), Succeeds());
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
        ASSERT_THAT(ConvertGrey({more}), Succeeds());
        const Picture wanted = ReadWide();
        Shell(photo + "-interlace PNG " + Quoted(in_));
        ASSERT_THAT(ConvertGrey({more}), Succeeds());
        EXPECT_EQ(ReadWide(), wanted);
        EXPECT_EQ(Data(out_, "IHDR")[12], 1);
    }
}

TEST_F(GreyPngTest, ProfilesForGreyAreFoundOrMissed) {
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
    ASSERT_THAT(ConvertGrey({"--source", "given"}), Succeeds());
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
