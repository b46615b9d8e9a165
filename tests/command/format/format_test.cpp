// SPDX-License-Identifier: MIT
// Outputs in another format than their inputs: other programs read the same pixels from them as from outputs in the
// format of the input, and the metadata that both formats have.
#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

class FormatTest : public KindTest {
protected:
    /// Converts the source in its own format, and in another one, and expects the same pixels of both.
    void ExpectSamePixels(const std::string& end, const Words& more, const std::string& options = "") {
        const std::string own = folder_ / "own" + fs::path(in_).extension().string();
        out_ = folder_ / "other." + end;
        const Words words = Words{"convert", "--force", in_} + more;
        ASSERT_THAT(Hueweave(words + Words{"-o", own}), Succeeds());
        ASSERT_THAT(Hueweave(words + Words{"-o", out_, "--format", end == "tif" ? "tiff" : end}), Succeeds());
        EXPECT_EQ(ReadByPeer(out_, options) == ReadByPeer(own, options), true);
    }
    const Words scanner_{"--profile", Input("scanner.icc")};
};

TEST_F(FormatTest, TiffInEveryLayoutBecomesPng) {
    const struct {
        const char *photo, *recipe;
        Words more;
    } kRows[] = {{"photo-8.tif", "tiffcp -s -r 50 -c lzw:2 $in $out", {}},
                 {"photo-16.tif", "tiffcp -B -t -w 64 -l 48 -c zip $in $out", {"-j", "3"}},
                 {"photo-8.tif", "tiffcp -B -8 -p separate -c none $in $out", {}},
                 {"alpha-8.tif", "tiffcp -t -w 32 -l 32 -c none $in $out", {}},
                 {"alpha-16.tif", "cp $in $out", {"--precision", "library"}},
                 {"photo-8.tif", "convert-im6 $in -colors 100 -type Palette -compress zip $out", {}}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.recipe);
        Make(row.recipe, Input(row.photo));
        ExpectSamePixels("png", scanner_ + row.more);
    }
}

TEST_F(FormatTest, PngAndJpegBecomeTiff) {
    for (const auto& [photo, recipe] :
         {std::pair{"photo-16.tif", "-interlace PNG"}, std::pair{"alpha-8.tif", ""},
          std::pair{"photo-8.tif", "-colors 50 -type Palette"},
          std::pair{"photo-8.tif", "-transparent-color red -transparent red -type TrueColor"}}) {
        SCOPED_TRACE(recipe);
        in_ = folder_ / "in.png";
        Make(std::string("convert-im6 $in -strip ") + recipe + " $out", Input(photo));
        // With alpha or without, as TIFF and PNG store it.
        ExpectSamePixels("tif", scanner_, "-alpha set -type TrueColorMatte -depth 16");
        // 256 KiB are 208 rows of 210 x 3 samples of 16 bits, and more than the 238 rows of the others.
        const std::string rows = std::string(photo) == "photo-16.tif" ? "208" : "238";
        EXPECT_THAT(Shell("tiffinfo " + Quoted(out_)), HasSubstr("Rows/Strip: " + rows + "\n"));
    }
    in_ = folder_ / "in.jpg";
    out_ = folder_ / "out.tif";
    WriteBytes(in_, JpegOf(ReadPictures(Input("photo-8.tif"))[0], [](jpeg_compress_struct*) {}));
    ASSERT_THAT(Convert({"--format", "tiff"}), Succeeds());
    EXPECT_EQ(ReadPictures(out_)[0].values == ToSrgb(ReadJpeg(in_)).values, true);
    EXPECT_NE(ReadPictures(out_)[0].icc, "");
}

TEST_F(FormatTest, JpegHasTheQualityAndNoSubsampling) {
    for (const auto& [photo, quality] : {std::pair{"photo-8.tif", 95}, std::pair{"photo-16.tif", 60}}) {
        SCOPED_TRACE(photo);
        Make("cp $in $out", Input(photo));
        out_ = folder_ / "out.jpg";
        const Words other = quality == 95 ? Words{} : Words{"--quality", std::to_string(quality)};
        const Outcome run = Convert(Words{"--force", "--format", "jpeg"} + other);
        ASSERT_THAT(run, Succeeds());
        EXPECT_EQ(run.err.find("samples of 16 bits are written with 8 bits") != run.err.npos, quality == 60);
        Picture pixels = ToSrgb(ReadPictures(in_)[0]);
        for (std::uint16_t& value : pixels.values) {
            if (pixels.bits == 16) value = static_cast<std::uint16_t>(std::lround(value / 257.0));
        }
        ExpectJpeg(pixels, [q = quality](jpeg_compress_struct* info) {
            jpeg_set_quality(info, q, TRUE);
            info->comp_info[0].h_samp_factor = info->comp_info[0].v_samp_factor = 1;
        });
    }
}

TEST_F(FormatTest, GreyStaysGreyAndInkBecomesRgb) {
    WriteSamples(in_, {0, 2, 16, Varied(2 * kPixels, 16), {TiffMaker::Short(338, 2)}, 8});
    ExpectSamePixels("png", {"--profile", grey_}, "-alpha set -type TrueColorMatte");
    EXPECT_THAT(Shell("identify -format '%[png:IHDR.color_type]' " + Quoted(out_)), HasSubstr("4"));
    WriteSamples(in_, {5, 4, 8, Varied(4 * kPixels, 8), {}, 1});
    ExpectSamePixels("png", {"--profile", ink_});
    in_ = folder_ / "in.jpg";
    WriteBytes(in_, JpegOf(Picture{7, 5, 1, 8, std::vector<std::uint16_t>(35, 77), ""}, [](jpeg_compress_struct*) {}));
    ASSERT_THAT(ConvertBy(grey_, {"--format", "png"}), Succeeds());
    // A light of (77/255)^2.2 is 75.7 of 255 in sRGB.
    const Picture read = ReadByPeer(out_, "-depth 8");
    EXPECT_EQ(read.samples, 1U);
    EXPECT_EQ(read.values[0], 76);
}

TEST_F(FormatTest, MetadataGoWithThePicture) {
    Make("convert-im6 $in -density 300 -units PixelsPerInch -compress lzw $out");
    ExifTool({"-overwrite_original", "-ExifIFD:ISO=200", "-IFD0:Artist=A. Person", "-GPS:GPSLatitudeRef=N",
              "-GPS:GPSLatitude=60.5", "-IFD0:Orientation#=6", "-XMP-dc:Title=A harbour", "-IPTC:City=Bergen",
              "-InteropIFD:InteropIndex=R98", in_});
    const Words fields{"-s", "-ISO", "-Artist", "-GPSLatitude", "-Orientation", "-Title", "-InteropIndex"};
    const std::string wanted = ExifTool(fields + Words{in_});
    ASSERT_EQ(Lines(wanted).size(), 6U);
    const Words formats[] = {{"png", "png"}, {"jpeg", "jpg"}};
    for (const Words& format : formats) {
        SCOPED_TRACE(format[0]);
        out_ = folder_ / "out." + format[1];
        const Outcome run = ConvertScan({in_, "-o", out_, "--format", format[0]});
        EXPECT_THAT(run, Says(0, "metadata other than EXIF, XMP and resolution are left out\n"));
        EXPECT_EQ(ExifTool(fields + Words{out_}), wanted);
        EXPECT_THAT(ExifTool({"-a", "-validate", "-warning", out_}), Not(HasSubstr("Error")));
        EXPECT_EQ(Shell("identify -units PixelsPerInch -format '%x x %y' " + Quoted(out_)).substr(0, 3), "300");
        EXPECT_THAT(ExifTool({"-ProfileDescription", out_}), HasSubstr("sRGB"));
        // And back: the second format has what the first one had.
        const std::string tiff = folder_ / "back.tif";
        ASSERT_THAT(Hueweave({"convert", "--force", out_, "-o", tiff, "--format", "tiff"}),
                    Says(0, "out." + format[1] + " -> "));
        EXPECT_EQ(ExifTool(fields + Words{tiff}), wanted);
        EXPECT_THAT(ExifTool({"-XResolution", "-ResolutionUnit", tiff}),
                    AllOf(HasSubstr(": 300\n"), HasSubstr("inches")));
        // libtiff does not know the directory for interoperability.
        EXPECT_EQ(Shell("tiffinfo " + Quoted(tiff) + " 2>&1 >/dev/null | grep -vc 40965 || true"), "0\n");
    }
}

TEST_F(FormatTest, DamagedExifIsLeftOut) {
    const std::string photo = JpegOf(Picture{8, 8, 3, 8, std::vector<std::uint16_t>(192, 99), ""}, [](auto*) {});
    in_ = folder_ / "in.jpg";
    out_ = folder_ / "out.tif";
    const std::string head("Exif\0\0II*\0\x08\0\0\0\1\0", 16);
    const auto entry = [](std::uint64_t tag, std::uint64_t type, std::uint64_t count, std::uint64_t value) {
        return Little({tag, type}, 2) + Little({count, value, 0}, 4);
    };
    const std::string artist = entry(315, 2, 3, 0x004241);
    std::string mixed = head, unknown = head;
    mixed[7] = 'M';
    unknown[6] = unknown[7] = 'X';
    const struct {
        std::string exif;
        bool stays;
    } kRows[] = {{head + artist, true},                          // an artist AB in the entry itself
                 {head + entry(315, 2, 9, 17), true},            // the last nine bytes
                 {head + entry(315, 2, 9, 18), false},           // one more than there are
                 {head + entry(315, 12, 0x20000000, 8), false},  // 4 GiB
                 {head + entry(34665, 4, 1, 8), false},          // a directory in itself
                 {head + entry(34665, 4, 1, 21), false},         // one without an end
                 {head + entry(34665, 2, 1, 8), false},          // a place that is text
                 {std::string("Exif\0\0II*\0\x19\0\0\0", 14), false},
                 {std::string("Exif\0\0II*\0\x08\0\0\0", 14), false},  // no room for the number of entries
                 {std::string("Exif\0\0II*\0", 10), false},
                 {mixed + artist, false},  // no byte order
                 {unknown + artist, false}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.exif));
        WriteBytes(in_, WithAtStart(photo, SegmentBytes({0xe1, row.exif})));
        const Outcome run = ConvertScan({in_, "-o", out_, "--format", "tiff", "--force"});
        ASSERT_THAT(run, Succeeds());
        EXPECT_EQ(run.err.find("metadata other than EXIF, XMP and resolution are left out") == run.err.npos, row.stays);
        const bool isThere = row.exif.size() > 16 && FileBytes(out_).find(row.exif.substr(14)) != std::string::npos;
        EXPECT_EQ(isThere, row.stays);
        EXPECT_EQ(ReadPictures(out_)[0].width, 8U);
    }
}

TEST_F(FormatTest, NamesFollowTheFormatAndRunsResume) {
    const std::string scans = folder_ / "scans", to = folder_ / "to";
    WriteBytes(scans + "/a.tif", FileBytes(Input("photo-8.tif")));
    WriteBytes(scans + "/deep/b.TIFF", FileBytes(Input("photo-16.tif")));
    Shell("convert-im6 " + Quoted(Input("photo-8.tif")) + " " + Quoted(scans + "/c.PNG"));
    const Words run{scans, "-o", to, "--format", "png"};
    EXPECT_THAT(ConvertScan(run + Words{"--dry-run"}),
                Says(0, "would convert " + scans + "/a.tif -> " + to + "/a.png"));
    EXPECT_FALSE(Exists(to));
    const Outcome first = ConvertScan(run + Words{"--json"});
    ASSERT_THAT(first, Succeeds());
    EXPECT_TRUE(Exists(to + "/a.png") && Exists(to + "/deep/b.png") && Exists(to + "/c.PNG"));
    EXPECT_THAT(json::parse(Lines(first.out)[0]),
                Has({{"status", "converted"}, {"output", to + "/a.png"}, {"format", "png"}, {"pixels", 210 * 238}}));
    EXPECT_EQ(Lines(Shell("identify -format '%m\\n' " + Quoted(to) + "/*.* " + Quoted(to) + "/deep/*")),
              (Words{"PNG", "PNG", "PNG"}));
    EXPECT_THAT(ConvertScan(run + Words{"--resume"}), Says(0, "deep/b.TIFF is done already"));
    EXPECT_THAT(ConvertScan({scans + "/a.tif", "-o", to + "/", "--format", "jpeg"}), Says(0, " -> " + to + "/a.jpg"));
    // Two files of one name.
    fs::copy_file(scans + "/c.PNG", scans + "/a.png");
    EXPECT_THAT(ConvertScan({scans, "-o", folder_ / "more", "--format", "png"}), Says(1, "a.png, as "));
    // Another quality is another output.
    const Words jpeg{scans + "/deep", "-o", folder_ / "jpeg", "--resume", "--format", "jpeg"};
    ASSERT_THAT(ConvertScan(jpeg), Succeeds());
    EXPECT_THAT(ConvertScan(jpeg + Words{"--quality", "50", "--force"}), Says(0, "b.TIFF -> "));
}

TEST_F(FormatTest, ColoursThatAreDoneStayWhileTheFormatChanges) {
    out_ = folder_ / "out.png";
    const auto converted = [&] {
        const Outcome run = ConvertBy(Input("screen.icc"), {"--format", "png", "--json", "--to", Input("screen.icc")});
        EXPECT_THAT(run, Succeeds());
        EXPECT_THAT(json::parse(run.out), Has({{"way", "copy"}, {"status", "converted"}}));
        return ReadByPeer(out_).values;
    };
    Make("cp $in $out");
    EXPECT_EQ(converted(), ReadPictures(in_)[0].values);
    // An associated alpha is divided out: 64 of an alpha of 128 is 128 by itself.
    Samples rgb{2, 4, 8, {}, {TiffMaker::Short(338, 1)}};
    for (unsigned p = 0; p < kPixels; ++p) rgb.values.insert(rgb.values.end(), {64, 32, 0, p == 1 ? 0U : 128U});
    WriteSamples(in_, rgb);
    std::vector<std::uint16_t> first = converted();
    first.resize(4);
    EXPECT_EQ(first, (std::vector<std::uint16_t>{128, 64, 0, 128}));
}

TEST_F(FormatTest, WhatAFormatCannotHoldIsRefused) {
    const auto refuse = [&](const std::string& format, const std::string& reason, int status = 4) {
        const Words words{in_, "-o", folder_ / "out." + format, "--format", format == "jpg" ? "jpeg" : format};
        EXPECT_THAT(ConvertScan(words), Refuses(status, reason));
        EXPECT_EQ(NamesIn(folder_.path()), Words{fs::path(in_).filename()});
    };
    Make("cp $in $out", Input("alpha-8.tif"));
    refuse("jpg",
           "in.tif: has an alpha channel, which a JPEG file cannot hold; write it as PNG or TIFF, or remove the alpha");
    Make("tiffcp $in $in $out");
    refuse("png", "in.tif: contains 2 pages, of which a PNG file holds one; split it into files of one page");
    WriteSamples(in_, {2, 5, 8, Varied(5 * kPixels, 8), {{338, 3, 2, 0, Little({0, 0}, 2)}}, 1});
    refuse("png", "has 2 extra samples that a PNG file cannot hold; leave --format out");
    WriteSamples(in_, {2, 4, 8, Varied(4 * kPixels, 8), {TiffMaker::Short(338, 0)}, 1});
    refuse("png", "has 1 extra sample that a PNG file cannot hold");
    Make("convert-im6 $in -colorspace Gray $out");
    refuse("png", "holds grey pixels, not RGB; leave --precision library out");
    Make("convert-im6 $in -colorspace Gray -threshold 50% -depth 1 $out");
    refuse("png", "holds bilevel pixels");
    Make("tiffcp -s -c lzw -r 238 $in $out");
    WriteBytes(in_, FileBytes(in_).replace(3000, 500, 500, '\0'));
    refuse("jpg", "contains damaged image data");
    in_ = folder_ / "in.tif";
    Make("cp $in $out");
    EXPECT_THAT(ConvertScan({in_, "-o", folder_ / "out.tif", "--format", "png"}),
                Refuses(2,
                        "out.tif: is the name of a TIFF file, but the output is a PNG file; give it a name with .png, "
                        "or --format tiff"));
}

}  // namespace
}  // namespace hueweave::test
