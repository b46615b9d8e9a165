// SPDX-License-Identifier: MIT
// JPEG files made by ImageMagick and libjpeg: the image is that which libjpeg makes of the converted pixels with the
// same settings, and everything else is as it was. Grey and CMYK pixels are those of Little CMS in floating point.
#include "command/support/PngChunks.h"
#include "command/tiff/kinds/KindTest.h"
#include "jpeg/JpegRewriter.h"

namespace hueweave::test {
namespace {

using Set = void (*)(jpeg_compress_struct*);
struct Encoding {
    const char* name;
    Set set;
};

/// All colours have as many samples.
void WithoutSubsampling(jpeg_compress_struct* info) {
    for (int c = 0; c < info->num_components; ++c) {
        info->comp_info[c].h_samp_factor = info->comp_info[c].v_samp_factor = 1;
    }
}

const Encoding kEncodings[] = {
    {"Usual", [](jpeg_compress_struct* info) { jpeg_set_quality(info, 90, TRUE); }},
    {"OptimisedCodes444",
     [](jpeg_compress_struct* info) {
         WithoutSubsampling(info);
         info->optimize_coding = TRUE;
     }},
    {"Progressive422WithRestarts",
     [](jpeg_compress_struct* info) {
         info->comp_info[0].v_samp_factor = 1;
         jpeg_simple_progression(info);
         info->restart_interval = 5;
     }},
    {"ArithmeticCodes", [](jpeg_compress_struct* info) { info->arith_code = TRUE; }},
    {"Rgb", [](jpeg_compress_struct* info) { jpeg_set_colorspace(info, JCS_RGB); }},
    {"TablesOf16Bits", [](jpeg_compress_struct* info) { jpeg_set_quality(info, 2, FALSE); }},
    {"AScanForEachColour",
     [](jpeg_compress_struct* info) {
         static const jpeg_scan_info kScans[] = {{1, {0}, 0, 63, 0, 0}, {1, {1}, 0, 63, 0, 0}, {1, {2}, 0, 63, 0, 0}};
         info->scan_info = kScans;
         info->num_scans = 3;
     }},
};

const std::string kEnd = "\xff\xd9";  ///< the last marker

class JpegTest : public KindTest {
protected:
    JpegTest() : KindTest("jpg") {}
    void MakeJpeg(const Set& set = kEncodings[0].set) const {
        WriteBytes(in_, JpegOf(ReadPictures(Input("photo-8.tif"))[0], set));
    }
};

TEST_F(JpegTest, IsEncodedAsItWas) {
    for (const Encoding& encoding : kEncodings) {
        SCOPED_TRACE(encoding.name);
        MakeJpeg(encoding.set);
        ASSERT_THAT(Convert({"--force"}), Says(0, "its JPEG data are compressed once more, with the same settings\n"));
        const std::string wanted = ExpectJpeg(ToSrgb(ReadJpeg(in_)), encoding.set);
        EXPECT_EQ(AttachedSegments(out_), AttachedSegments(in_));
        EXPECT_LE(FileBytes(out_).size(), wanted.size() + FileBytes(Input("scanner.icc")).size());
    }
    const std::string bytes = FileBytes(out_);
    EXPECT_THAT(Convert({"--force", "-j", "4"}), Succeeds());
    EXPECT_EQ(FileBytes(out_), bytes);
}

TEST_F(JpegTest, SegmentsStayByteForByteAndInOrder) {
    Make("convert-im6 $in -profile " + Quoted(Input("scanner.icc")) + " -comment 'A scan' $out");
    ExifTool({"-overwrite_original", "-ExifIFD:ISO=200", "-ExifIFD:ColorSpace#=2", "-XMP-dc:Title=A harbour",
              "-IPTC:City=Bergen", "-Comment=twice", in_});
    WriteBytes(in_, FileBytes(in_) + "bytes behind the image");
    EXPECT_THAT(ConvertByEmbedded({"--precision", "library"}),
                Says(0, "its EXIF field ColorSpace stays at AdobeRGB, which no longer applies\n"));
    EXPECT_GE(AttachedSegments(in_).size(), 5U);
    EXPECT_EQ(AttachedSegments(out_), AttachedSegments(in_));
    EXPECT_TRUE(FileBytes(out_).ends_with(kEnd + "bytes behind the image"));
    const Words tags{"-a", "-u", "-g1", "--icc_profile:all", "--System:all", "--ExifToolVersion"};
    EXPECT_EQ(ExifTool(tags + Words{out_}), ExifTool(tags + Words{in_}));
    EXPECT_THAT(ExifTool({"-ProfileDescription", out_}), HasSubstr("sRGB"));
    // A second conversion finds the colours done.
    EXPECT_THAT(Hueweave({"convert", out_, "-o", folder_ / "again.jpg"}), Says(0, "(is in srgb already)"));
    EXPECT_EQ(FileBytes(folder_ / "again.jpg"), FileBytes(out_));
}

TEST_F(JpegTest, ProfilesHaveAsManySegmentsAsTheyNeed) {
    const std::string large = folder_ / "large.icc";
    WriteBytes(large, PaddedProfile(150000));
    MakeJpeg();
    ExifTool({"-overwrite_original", "-ICC_Profile<=" + large, in_});
    ASSERT_THAT(ConvertByEmbedded({"--precision", "library"}), Succeeds());
    ExpectJpeg(ToSrgb(ReadJpeg(in_), large), kEncodings[0].set);
    // A part is missing: the second of three.
    std::string bytes = FileBytes(in_);
    const std::size_t part = bytes.find(std::string("ICC_PROFILE\0\2", 13));
    ASSERT_NE(part, bytes.npos);
    bytes[part + 12] = 3;
    WriteBytes(in_, bytes);
    EXPECT_THAT(ConvertByEmbedded(), Refuses(3, "embeds a profile with missing or duplicate parts"));
    // The same for a profile that is written.
    MakeJpeg();
    const std::string profile = FileBytes(Input("screen.icc")) + std::string(150000, '\0');
    WriteBytes(large, BigEndian(profile.size()) + profile.substr(4));
    ASSERT_THAT(ConvertKind({"--to", large}), Succeeds());
    EXPECT_EQ(Embedded(out_) == FileBytes(large), true);
}

TEST_F(JpegTest, OnlyTheProfileChangesWhereTheColoursAreDone) {
    MakeJpeg(kEncodings[2].set);
    const Words to{"--to", Input("screen.icc")};
    ASSERT_THAT(ConvertBy(Input("screen.icc"), to), Succeeds());
    EXPECT_EQ(ReadJpeg(out_) == ReadJpeg(in_), true);
    const std::string before = FileBytes(in_), after = FileBytes(out_);
    EXPECT_TRUE(after.ends_with(before.substr(20))) << "after the marker SOI and the segment of JFIF";
    EXPECT_EQ(after.size(), before.size() + 18 + FileBytes(Input("screen.icc")).size());
    WriteBytes(in_, after);
    ASSERT_THAT(ConvertBy(Input("screen.icc"), to + Words{"--no-tag"}), Succeeds());
    EXPECT_EQ(FileBytes(out_), before);
}

TEST_F(JpegTest, FurtherImagesAreLeftOutAndOldColoursNoted) {
    MakeJpeg();
    ExifTool({"-overwrite_original", "-ThumbnailImage<=" + in_, "-ExifIFD:ISO=200",
              "-XMP-photoshop:ICCProfileName=Adobe RGB (1998)", in_});
    const std::string list = SegmentBytes({0xe2, std::string("MPF\0II*\0 offsets", 17)});
    const std::string pixel = SegmentBytes({0xe0, std::string("JFXX\0\x13\1\1\0\0\0", 11)});
    const std::string thumbnail = Resource(1036, "", std::string(28, '\0'));
    const std::string resource = SegmentBytes({0xed, std::string("Photoshop 3.0\0", 14) + thumbnail});
    WriteBytes(in_, WithAtStart(FileBytes(in_), list + pixel + resource) + JpegOf(ReadJpeg(in_), kEncodings[1].set));
    const Outcome run = Convert();
    EXPECT_THAT(run, Says(0, "in.jpg: the images after its first one (MPF) are left out\n"));
    for (const char* note : {"EXIF thumbnail stays in the old colours\n", "JFIF thumbnail stays in the old colours\n",
                             "thumbnail of Photoshop (resource 1036) stays in the old colours\n",
                             "XMP field photoshop:ICCProfile stays, and names the old profile\n"}) {
        EXPECT_THAT(run, Says(0, std::string("in.jpg: its ") + note));
    }
    EXPECT_EQ(FileBytes(out_).find("MPF"), std::string::npos);
    EXPECT_THAT(FileBytes(out_), testing::EndsWith(kEnd));
    EXPECT_THAT(ExifTool({"-a", "-G", "-MPF:all", "-Warning", out_}), testing::IsEmpty());
}

/// A list (MPF) in either byte order that names the first image and one of `size` bytes at `offset`.
std::string ListOfImages(bool isBig, std::size_t size, std::size_t offset) {
    std::string list("MPF\0", 4);
    const auto add = [&](const std::vector<std::size_t>& values, std::size_t bytes) {
        for (const std::size_t value : values) {
            list += isBig ? BigEndian(value, static_cast<int>(bytes)) : Little({value}, bytes);
        }
    };
    list += isBig ? "MM" : "II";
    add({42}, 2);
    add({8}, 4);             // the directory follows
    add({1, 0xb002, 7}, 2);  // with one entry
    add({32, 26, 0}, 4);     // of 32 bytes behind the directory, which is the only one
    add({0x20000000, 999, 0, 0, 0x20000000, size, offset, 0}, 4);
    return SegmentBytes({0xe2, list});
}

TEST_F(JpegTest, BytesAroundFurtherImagesStay) {
    MakeJpeg();
    const std::string first = FileBytes(in_), second = JpegOf(ReadJpeg(in_), kEncodings[1].set);
    for (const bool isBig : {false, true}) {
        // Offsets count from the byte order, after the markers SOI and APP2, the length and "MPF\0".
        const std::size_t until = first.size() + ListOfImages(isBig, 0, 0).size() + 6 - 10;
        const std::string list = ListOfImages(isBig, second.size(), until);
        WriteBytes(in_, WithAtStart(first, list) + "before" + second + "behind");
        ASSERT_THAT(Convert({"--force"}), Says(0, "in.jpg: the images after its first one (MPF) are left out\n"));
        EXPECT_THAT(FileBytes(out_), testing::EndsWith(kEnd + "beforebehind"));
        EXPECT_EQ(FileBytes(out_).find("MPF"), std::string::npos);
    }
}

TEST_F(JpegTest, WhatCannotBeConvertedIsRefused) {
    MakeJpeg();
    const std::string bytes = FileBytes(in_);
    const std::size_t frame = bytes.find("\xff\xc0"), scan = bytes.find("\xff\xda");
    ASSERT_NE(frame, bytes.npos);
    const auto with = [&](std::size_t at, const std::string& other) {
        std::string copy = bytes;
        return copy.replace(at, other.size(), other);
    };
    MakeJpeg(kEncodings[2].set);
    const std::string progressive = FileBytes(in_);
    std::string scans = progressive.substr(0, progressive.size() - 2);
    const std::string last = scans.substr(scans.rfind("\xff\xda"));
    for (int n = 0; n < 256; ++n) scans += last;
    std::string fraction = with(frame + 11, "\x31");
    fraction[frame + 14] = 0x21;
    ExpectEachRefused({
        {bytes.substr(0, bytes.size() - 2), "is truncated: it ends at byte"},
        {bytes.substr(0, scan + 5), "is truncated: it ends at byte"},
        {bytes.substr(0, scan) + kEnd, "it contains no image data"},
        {bytes.substr(0, scan + 200) + kEnd, "contains damaged image data"},
        {with(frame + 1, "\xc3"), "is a lossless JPEG, which the decoder does not support"},
        {with(frame + 1, "\xc5"), "is a hierarchical JPEG, which the decoder does not support"},
        {with(frame + 4, "\x0c"), "has 12 bits per sample; the JPEG decoder supports 8"},
        {with(frame + 5, std::string(2, '\0')), "does not give its size in its frame header"},
        {with(frame + 11, std::string(1, '\0')), "its sampling factors are 0"},
        {fraction, "is a kind of JPEG that libjpeg does not support"},
        {with(20, "xx"), "no marker begins at byte 20"},
        {with(bytes.find("\xff\xdb") + 5, std::string(1, '\0')), "its quantisation tables contain 0"},
        {scans + kEnd, "contains more than 256 scans"},
    });
    const std::string folder = folder_ / "scans", to = folder_ / "converted", photo = "convert-im6 " + Quoted(in_);
    Shell(photo + " -colorspace Gray " + Quoted(folder + "/grey.jpeg") + "; " + photo + " -colorspace CMYK " +
          Quoted(folder + "/cmyk.jpe"));
    EXPECT_THAT(ConvertScan({folder, "-o", to, "--others", "copy"}), Says(1, "2 copied (1 CMYK, 1 grey)"));
    EXPECT_EQ(FileBytes(to + "/grey.jpeg"), FileBytes(folder + "/grey.jpeg"));
}

TEST_F(JpegTest, OnlyProgressiveImagesAreHeldAsAWhole) {
    std::uint64_t bytes = 0;  // of the written file
    const auto write = [&](std::uint64_t memory) {
        const auto rewrite = [](const auto& structure, auto* converter, auto&&... more) {
            RewriteJpeg(structure, {converter, nullptr}, more...);
        };
        return ReasonOf([&] { bytes = Rewritten<tool::JpegStructure>(in_, memory, 8, rewrite).size(); });
    };
    // 210 x 238 pixels with halved colours are 27 x 30 blocks and twice 14 x 15, padded to whole units of 2 x 2.
    const std::uint64_t rows = std::uint64_t{1300} << 10, coefficients = (28 * 30 + 2 * 14 * 15) * 128;
    MakeJpeg();
    EXPECT_EQ(write(rows), "");
    EXPECT_EQ(write(rows / 4), "has rows that do not fit in the memory allowed");
    MakeJpeg([](jpeg_compress_struct* info) { jpeg_simple_progression(info); });
    EXPECT_EQ(write(rows + 2 * coefficients), "");
    EXPECT_EQ(write(rows), "is progressive and does not fit in the memory allowed as a whole");
    MakeJpeg(kEncodings[6].set);
    EXPECT_EQ(write(rows + coefficients), "");
    EXPECT_EQ(write(rows), "has several scans and does not fit in the memory allowed as a whole");
    // Codes of its own need all coefficients of the image; without room for them, it gets the usual codes.
    MakeJpeg(kEncodings[1].set);
    EXPECT_EQ(write(rows), "");
    const std::uint64_t usual = bytes;
    EXPECT_EQ(write(rows + 3 * 27 * 30 * 128), "");
    EXPECT_LT(bytes, usual);
    MakeJpeg(kEncodings[6].set);
    EXPECT_THAT(Told({"inspect", in_}),
                Has({{"kind", "JPEG"}, {"height", 238}, {"sampling", {"2x2", "1x1", "1x1"}}, {"convertible", true}}));
}

class DeviceJpegTest : public KindTest {
protected:
    DeviceJpegTest() : KindTest("jpg") {}
    /// A picture with this number of samples per pixel.
    static Picture Varying(unsigned samples) {
        Picture picture{41, 37, samples, 8, {}, ""};
        const unsigned row = 41 * samples;
        for (unsigned i = 0; i < 37 * row; ++i) {
            picture.values.push_back(static_cast<std::uint16_t>((i % row * (i % samples + 3) + i / row * 5) % 256));
        }
        return picture;
    }
    /// Expects the output to be what libjpeg makes, with these settings, of the source's pixels after Little CMS has
    /// converted them. Ink of 255 is none.
    void ExpectConverted(const std::string& profile, unsigned channels,
                         const std::function<void(jpeg_compress_struct*)>& set) const {
        Picture picture = ReadJpeg(in_);
        Samples samples{picture.samples == 4 ? 5U : 1U, picture.samples};
        for (const std::uint16_t value : picture.values) {
            samples.values.push_back(picture.samples == 4 ? 255U - value : value);
        }
        picture.samples = channels;
        picture.values = Judged(samples, OpenProfile(profile), Embedded(out_));
        ASSERT_EQ(picture.values.size(), samples.values.size() / samples.perPixel * channels);
        ExpectJpeg(picture, set);
    }
};

/// The only table of grey, also for all colours of RGB or CMYK. Grey alone has factors, which mean nothing there.
void AsGrey(jpeg_compress_struct* info) {
    WithoutSubsampling(info);
    if (info->num_components == 1) info->comp_info[0].h_samp_factor = info->comp_info[0].v_samp_factor = 2;
    for (int c = 0; c < info->num_components; ++c) info->comp_info[c].quant_tbl_no = 0;
}

/// CMYK as YCCK, whose settings apply to YCbCr as well.
void AsYcck(jpeg_compress_struct* info) {
    if (info->num_components == 4) jpeg_set_colorspace(info, JCS_YCCK);
}

TEST_F(DeviceJpegTest, GreyStaysGreyOrBecomesRgb) {
    for (const std::size_t kind : {0U, 2U, 3U}) {
        SCOPED_TRACE(kEncodings[kind].name);
        const auto set = [&](jpeg_compress_struct* info) {
            kEncodings[kind].set(info);
            AsGrey(info);
        };
        WriteBytes(in_, JpegOf(Varying(1), set));
        ASSERT_THAT(ConvertBy(grey_), Says(0, "its JPEG data are compressed once more, with the same settings\n"));
        ExpectConverted(grey_, 1, set);
        ASSERT_THAT(ConvertBy(grey_, {"--grey-to-rgb"}), Says(0, "its grey pixels are written as RGB of 8 bits\n"));
        ExpectConverted(grey_, 3, set);
    }
    ASSERT_THAT(ConvertBy(grey_, {"-j", "1"}), Succeeds());
    ExpectDone();
}

TEST_F(DeviceJpegTest, InkBecomesRgb) {
    constexpr const char* kRgb = "its CMYK pixels are written as RGB of 8 bits\n";
    const std::tuple<const char*, Set, const char*> kinds[] = {
        {"CMYK",
         [](jpeg_compress_struct* info) {
             jpeg_set_quality(info, 85, TRUE);
             AsGrey(info);
         },
         kRgb},
        {"YCCK with halved colours", AsYcck,
         "its JPEG data are compressed once more, with the settings that apply to RGB as well\n"},
        {"progressive YCCK",
         [](jpeg_compress_struct* info) {
             AsYcck(info);
             WithoutSubsampling(info);
             jpeg_simple_progression(info);
         },
         kRgb}};
    for (const auto& [name, set, note] : kinds) {
        SCOPED_TRACE(name);
        WriteBytes(in_, JpegOf(Varying(4), set));
        ASSERT_THAT(ConvertBy(ink_), Says(0, note));
        ExpectConverted(ink_, 3, set);
        // The Adobe marker now says YCbCr.
        const std::vector<Segment> before = AttachedSegments(in_), after = AttachedSegments(out_);
        ASSERT_EQ(after.size(), 1U);
        EXPECT_EQ(after[0].data, before[0].data.substr(0, 11) + '\1');
    }
    ExpectDone();
}

TEST_F(DeviceJpegTest, EmbeddedProfilesAreUsedAndMissingOnesReported) {
    for (const auto& [samples, kind, profile] :
         {std::tuple{1U, std::string("grey"), grey_}, std::tuple{4U, std::string("CMYK"), ink_}}) {
        SCOPED_TRACE(kind);
        const std::string bytes = JpegOf(Varying(samples), [](jpeg_compress_struct*) {});
        WriteBytes(in_, bytes);
        EXPECT_THAT(ConvertByEmbedded(),
                    Refuses(4, "in.jpg: holds " + kind + " pixels without a profile for them; give a " +
                                   "profile for " + kind + " with --profile"));
        EXPECT_THAT(ConvertByEmbedded({"--others", "skip"}), Says(0, "is left out (" + kind + ")"));
        EXPECT_THAT(Convert({"--force"}), Refuses(4, "holds " + kind + " pixels, not RGB"));
        EXPECT_EQ(Told({"inspect", in_})["convertible"], false);
        ASSERT_THAT(ConvertBy(profile), Succeeds());
        const Picture given = ReadJpeg(out_);
        const std::string data = std::string("ICC_PROFILE\0\1\1", 14) + FileBytes(profile);
        WriteBytes(in_, WithAtStart(bytes, SegmentBytes({0xe2, data})));
        ASSERT_THAT(ConvertByEmbedded(), Succeeds());
        EXPECT_EQ(ReadJpeg(out_) == given, true);
        EXPECT_EQ(Told({"inspect", in_})["convertible"], true);
    }
    WriteBytes(in_, JpegOf(Varying(4), [](jpeg_compress_struct* info) { info->write_Adobe_marker = FALSE; }));
    EXPECT_THAT(ConvertBy(ink_),
                Refuses(4, "holds CMYK pixels without the Adobe marker, which says how they are encoded"));
}

/// Damaged files are refused, or converted to a file that another reader decodes to the right size.
TEST(DamagedPicturesTest, AreRefusedOrGiveAValidFile) {
    const Folder folder;
    const std::string scans = folder / "scans", to = folder / "converted";
    const std::string photo = "convert-im6 " + Quoted(Input("photo-8.tif")) + " -resize 37x40! ";
    Shell(photo + Quoted(folder / "a.png") + "; " + photo + "-interlace PNG " + Quoted(folder / "b.png") + "; " +
          photo + "-colors 16 PNG8:" + Quoted(folder / "c.png") + "; " + photo + Quoted(folder / "d.jpg") + "; " +
          photo + "-interlace JPEG " + Quoted(folder / "e.jpg"));
    for (const std::string name : {"a.png", "b.png", "c.png", "d.jpg", "e.jpg"}) {
        const std::string bytes = FileBytes(folder / name);
        for (std::size_t n = 1; n < 16; ++n) {
            std::string flipped = bytes;
            flipped[n < 8 ? n * 9 : bytes.size() * n / 16] ^= static_cast<char>(1 << n % 8);
            WriteBytes(scans + "/" + std::to_string(n) + "-" + name, flipped);
            WriteBytes(scans + "/cut-" + std::to_string(n) + "-" + name, bytes.substr(0, bytes.size() * n / 16));
        }
    }
    const Outcome run = ConvertScan({scans, "-o", to});
    EXPECT_EQ(run.signal, 0);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, Not(HasSubstr("unexpected reason")));
    EXPECT_THAT(Shell("ls " + Quoted(to)), Not(HasSubstr("cut-")));
    EXPECT_THAT(Lines(Shell("identify -regard-warnings -format '%w x %h\\n' " + Quoted(to) + "/*.*")),
                AllOf(Not(testing::IsEmpty()), testing::Each("37 x 40")));
}

}  // namespace
}  // namespace hueweave::test
