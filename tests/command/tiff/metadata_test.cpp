// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// What stands in a file beside its pixels: metadata, further pages, masks, pages below pages, private tags.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstring>
#include <fstream>

#include "command/support/Command.h"
#include "command/support/ExifTool.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;

class MetadataTest : public testing::Test {
protected:
    Outcome Convert(std::vector<std::string> more = {}) {
        std::vector<std::string> words{"convert", "--profile", Input("scanner.icc"), in_, "-o", out_};
        words.insert(words.end(), more.begin(), more.end());
        return Hueweave(words);
    }
    Folder folder_;
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif";
};

using Words = std::vector<std::string>;
const Words kFields{"-IFD0:Artist=A. Person",
                    "-IFD0:Copyright=(c) A. Person",
                    "-IFD0:ModifyDate=2024:05:06 07:08:09",
                    "-ExifIFD:ISO=200",
                    "-ExifIFD:UserComment=scanned twice",
                    "-GPS:GPSLatitude=52.5",
                    "-GPS:GPSLatitudeRef=N",
                    "-IPTC:Keywords=harbour",
                    "-XMP-dc:Title=A harbour",
                    "-XMP-photoshop:City=Bergen",
                    "-IFD0:XResolution=4000",
                    "-IFD0:YResolution=4000",
                    "-IFD0:Orientation#=6"};

void SetFields(const std::string& path, Words fields) {
    fields.insert(fields.end(), {"-overwrite_original", path});
    EXPECT_EQ(ExifTool(fields), "    1 image files updated\n");
}

TEST_F(MetadataTest, TenFieldsAreKept) {
    for (const char* recipe :
         {"tiffcp -s -c none -r 16", "tiffcp -s -c lzw:2 -r 16", "tiffcp -B -t -w 64 -l 64 -c zip"}) {
        Shell(std::string(recipe) + " " + Quoted(Input("photo-16.tif")) + " " + Quoted(in_));
        SetFields(in_, kFields);
        ASSERT_EQ(Convert({"--force"}).status, 0);
        const auto told = [](const std::string& path) {
            return ExifTool({"-s", "-n", "-Artist", "-Copyright", "-ModifyDate", "-ISO", "-UserComment", "-GPSLatitude",
                             "-Keywords", "-Title", "-City", "-XResolution", "-Orientation", path});
        };
        EXPECT_EQ(Lines(told(out_)).size(), 11U) << told(out_);
        EXPECT_EQ(told(out_), told(in_));
        EXPECT_EQ(TagsOf(in_), TagsOf(out_));
    }
}

TEST_F(MetadataTest, AFieldThatHoldsNoMoreIsSaid) {
    Shell("tiffcp -s -c none -r 16 " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_));
    SetFields(in_, {"-ExifIFD:ColorSpace#=1"});
    const std::string said = "in.tif: its EXIF field ColorSpace stays at sRGB, which it is no more";
    EXPECT_THAT(Convert({"--to", "adobe-rgb"}).err, HasSubstr(said));
    EXPECT_THAT(Convert({"--force"}).err, testing::Not(HasSubstr(said)));
    SetFields(in_, {"-XMP-photoshop:ICCProfileName=Adobe RGB (1998)"});
    EXPECT_THAT(Convert({"--force"}).err,
                HasSubstr("in.tif: its XMP field photoshop:ICCProfile stays, and names the profile that was\n"));
    SetFields(in_, {"-XMP:all="});
    EXPECT_THAT(Convert({"--force"}).err, testing::Not(HasSubstr("XMP")));
    // So are tags of primaries and white, and what they mean without a profile.
    Shell("tiffset -s 318 0.3127 0.329 " + Quoted(in_));
    Shell("tiffset -u 319 " + Quoted(in_) + " 2>/dev/null");
    EXPECT_THAT(Convert({"--force"}).err,
                HasSubstr("in.tif: its tag of the old colours (318) stays; the embedded profile takes precedence over "
                          "it\n"));
    EXPECT_THAT(Convert({"--force", "--no-tag"}).err, HasSubstr("(318) stays and tells of the wrong ones\n"));
    Shell("tiffset -s 319 0.64 0.33 0.3 0.6 0.15 0.06 " + Quoted(in_));
    EXPECT_THAT(Convert({"--force"}).err, HasSubstr("its tags of the old colours (318, 319) stay; the embedded"));
    EXPECT_THAT(Convert({"--force", "--no-tag"}).err, HasSubstr("(318, 319) stay and tell of the wrong ones\n"));
}

TEST_F(MetadataTest, ThePixelsOfAFileWithMetadataAreTheSameAsWithout) {
    Shell("tiffcp -s -c zip:2 -r 16 " + Quoted(Input("photo-16.tif")) + " " + Quoted(in_));
    const auto plain = ReadPictures(in_);
    SetFields(in_, kFields);
    ASSERT_EQ(Convert().status, 0);
    EXPECT_EQ(ByEngine(plain[0], Input("scanner.icc"), 0, 9).values, ReadPictures(out_)[0].values);
}

TEST_F(MetadataTest, PrivateTagsAndBytesThatNoTagPointsAtAreKept) {
    std::string bytes = FileBytes(Input("photo-8.tif"));
    bytes += "bytes that only their maker knows of";
    WriteBytes(in_, bytes);
    Shell("tiffset -s 65000 'a private note' " + Quoted(in_) + " 2>/dev/null || true");
    ASSERT_EQ(Convert().status, 0);
    const std::string after = FileBytes(out_), before = FileBytes(in_);
    const std::size_t at = before.find("bytes that only");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(after.find("bytes that only"), at) << "an offset to them would be wrong";
}

TEST_F(MetadataTest, JpegBecomesDeflateAndIsSaid) {
    for (const char* recipe : {"tiffcp -s -c jpeg:90 -r 16", "tiffcp -s -c jpeg:r:90 -r 16",
                               "tiffcp -t -w 64 -l 64 -c jpeg:90", "tiffcp -B -8 -s -c jpeg:90 -r 16"}) {
        Shell(std::string(recipe) + " " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_));
        const Outcome run = Convert({"--force"});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(run.err, HasSubstr("JPEG image data are written as Deflate"));
        const Picture before = ReadPictures(in_)[0];
        EXPECT_EQ(ByEngine(before, Input("scanner.icc"), 0, 8).values, ReadPictures(out_)[0].values) << recipe;
        EXPECT_THAT(Shell("tiffinfo " + Quoted(out_)), HasSubstr("Compression Scheme: AdobeDeflate"));
        EXPECT_THAT(Shell("tiffinfo " + Quoted(out_)), HasSubstr("Photometric Interpretation: RGB color"));
        // ImageMagick, which reads files by itself, sees the same picture in it as in one that libtiff wrote.
        const std::string plain = folder_ / "plain.tif";
        Shell("tiffcp -c none " + Quoted(out_) + " " + Quoted(plain));
        EXPECT_EQ(Shell("compare-im6 -metric AE " + Quoted(out_) + " " + Quoted(plain) + " null: 2>&1"), "0");
    }
}

TEST_F(MetadataTest, EveryPageIsConvertedByItsOwnProfile) {
    const std::string one = folder_ / "one.tif", two = folder_ / "two.tif";
    Shell("convert-im6 " + Quoted(Input("photo-8.tif")) + " -profile " + Quoted(Input("scanner.icc")) +
          " -compress zip " + Quoted(one));
    Shell("convert-im6 " + Quoted(Input("photo-16.tif")) + " -crop 50x60+3+4 +repage -profile " +
          Quoted(Input("matrix.icc")) + " -compress none " + Quoted(two));
    Shell("tiffcp " + Quoted(one) + " " + Quoted(two) + " " + Quoted(in_));
    const Outcome run = Hueweave({"convert", in_, "-o", out_});
    ASSERT_EQ(run.status, 0) << run.err;
    const auto before = ReadPictures(in_), after = ReadPictures(out_);
    ASSERT_EQ(after.size(), 2U);
    EXPECT_EQ(ByEngine(before[0], Input("scanner.icc"), 0, 8).values, after[0].values);
    const std::string baked = folder_ / "baked.icc";
    ASSERT_EQ(Hueweave({"bake", Input("matrix.icc"), "-o", baked}).status, 0);
    EXPECT_EQ(ByEngine(before[1], baked, 0, 9).values, after[1].values);
    EXPECT_NE(after[0].icc, before[0].icc);
}

TEST_F(MetadataTest, ATransparencyMaskStaysAsItIs) {
    const std::string mask = folder_ / "mask.tif";
    Shell("convert-im6 -size 210x238 pattern:checkerboard -monochrome -compress none " + Quoted(mask));
    Shell("tiffset -s 254 4 " + Quoted(mask) + "; tiffset -s 262 4 " + Quoted(mask));
    Shell("tiffcp -c zip " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_) + "; tiffcp -a -c none " + Quoted(mask) +
          " " + Quoted(in_));
    const Outcome run = Convert();
    ASSERT_EQ(run.status, 0) << run.err;
    const auto before = ReadPictures(in_), after = ReadPictures(out_);
    EXPECT_EQ(ByEngine(before[0], Input("scanner.icc"), 0, 8).values, after[0].values);
    EXPECT_EQ(TagsOf(in_), TagsOf(out_));
    const std::string raw = "convert-im6 " + Quoted(in_ + "[1]") + " gray:- | sha256sum";
    EXPECT_EQ(Shell(raw), Shell("convert-im6 " + Quoted(out_ + "[1]") + " gray:- | sha256sum"));
}

TEST_F(MetadataTest, AMaskOfOneByteBetweenTwoStripsStaysAsItIs) {
    // The stretch between the strips is no larger than padding would be; black strips outgrow their places.
    TiffMaker tiff;
    const std::string strip = Deflated(std::string(std::size_t{16} * 8 * 3, '\0'));
    const std::uint64_t above = tiff.Put(strip), mask = tiff.Put("\x5a"), below = tiff.Put(strip);
    ASSERT_LE(below - above - strip.size(), 3U);
    tiff.Page(TiffMaker::Rgb({.width = 16,
                              .height = 16,
                              .offsets = {above, below},
                              .counts = {strip.size(), strip.size()},
                              .compression = 8,
                              .rows = 8}));
    tiff.Page({TiffMaker::Long(254, 4), TiffMaker::Long(256, 8), TiffMaker::Long(257, 1), TiffMaker::Short(258, 1),
               TiffMaker::Short(262, 4), TiffMaker::Long(273, mask), TiffMaker::Long(279, 1)});
    tiff.Save(in_);
    const Outcome run = Convert();
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(ByEngine(ReadPictures(in_)[0], Input("scanner.icc"), 0, 8).values, ReadPictures(out_)[0].values);
    const std::string written = FileBytes(out_);
    EXPECT_EQ(written.substr(mask, 1), "\x5a");
    EXPECT_NE(written.substr(above, strip.size()), strip);
}

TEST_F(MetadataTest, AMaskWithoutPixelsIsRefused) {
    // libtiff does not open a file that begins with one.
    for (const unsigned broken : {256U, 257U, 258U, 277U}) {
        TiffMaker tiff;
        const std::uint64_t pixels = tiff.Put(SmallPixels());
        std::vector<TiffMaker::Entry> mask{
            TiffMaker::Long(256, 4),      TiffMaker::Long(257, 4),  TiffMaker::Short(258, 8), TiffMaker::Short(262, 4),
            TiffMaker::Long(273, pixels), TiffMaker::Short(277, 1), TiffMaker::Long(279, 16)};
        for (TiffMaker::Entry& entry : mask) {
            if (entry.tag == broken) entry.value = 0;
        }
        tiff.Page(mask);
        tiff.Page(TiffMaker::Small(pixels));
        tiff.Save(in_);
        const Outcome run = Convert();
        EXPECT_EQ(run.status, 4) << broken;
        EXPECT_THAT(run.err, HasSubstr("page 1 is a mask without pixels; get a whole copy of the file")) << broken;
    }
}

TEST_F(MetadataTest, PagesBelowAPageAreConvertedByItsProfile) {
    // A page with two smaller copies of itself in SubIFDs, and after it a second page; profiles in the pages alone.
    const auto write = [&](bool big) {
        const std::string icc = FileBytes(Input("scanner.icc"));
        TIFF* file = TIFFOpen(in_.c_str(), big ? "w8b" : "wl");
        std::vector<unsigned char> row(300);
        for (const unsigned size : {100U, 50U, 25U, 80U}) {
            const bool below = size < 80;
            TIFFSetField(file, TIFFTAG_IMAGEWIDTH, size);
            TIFFSetField(file, TIFFTAG_IMAGELENGTH, size);
            TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 8);
            TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 3);
            TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
            TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
            TIFFSetField(file, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
            TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, 10);
            if (below) TIFFSetField(file, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
            const std::uint64_t none[2] = {0, 0};
            if (size == 100) TIFFSetField(file, TIFFTAG_SUBIFD, 2, none);
            if (!below) TIFFSetField(file, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(icc.size()), icc.data());
            for (unsigned y = 0; y < size; ++y) {
                for (unsigned i = 0; i < 3 * size; ++i) row[i] = static_cast<unsigned char>(i * y + size);
                TIFFWriteScanline(file, row.data(), y, 0);
            }
            TIFFWriteDirectory(file);
        }
        TIFFClose(file);
    };
    const auto all = [](const std::string& path) {
        std::vector<Picture> pictures = ReadPictures(path);
        TIFF* file = TIFFOpen(path.c_str(), "r");
        std::uint16_t count = 0;
        const std::uint64_t* offsets = nullptr;
        TIFFGetField(file, TIFFTAG_SUBIFD, &count, &offsets);
        for (const std::uint64_t offset : std::vector<std::uint64_t>(offsets, offsets + count)) {
            TIFFSetSubDirectory(file, offset);
            pictures.push_back(ReadPicture(file));
        }
        TIFFClose(file);
        return pictures;
    };
    for (const bool big : {false, true}) {
        write(big);
        const Outcome run = Hueweave({"convert", in_, "-o", out_, "--force"});
        ASSERT_EQ(run.status, 0) << run.err;
        const auto before = all(in_), after = all(out_);
        ASSERT_EQ(before.size(), 4U);
        ASSERT_EQ(after.size(), 4U);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(ByEngine(before[i], Input("scanner.icc"), 0, 8).values, after[i].values) << i;
            EXPECT_FALSE(after[i].icc.empty());
        }
        EXPECT_EQ(Lines(Shell("tiffinfo " + Quoted(out_) + " 2>&1 | grep -ci -e warning -e error || :"))[0], "0");
    }
}

TEST_F(MetadataTest, WithoutATagTheOldProfileIsGoneToo) {
    Shell("convert-im6 " + Quoted(Input("photo-16.tif")) + " -profile " + Quoted(Input("scanner.icc")) + " " +
          Quoted(in_));
    ASSERT_EQ(Hueweave({"convert", in_, "-o", out_, "--no-tag"}).status, 0);
    EXPECT_EQ(ReadPictures(out_)[0].icc, "");
    EXPECT_EQ(ByEngine(ReadPictures(in_)[0], Input("scanner.icc"), 0, 9).values, ReadPictures(out_)[0].values);
    EXPECT_EQ(TagsOf(in_), TagsOf(out_));
}

TEST_F(MetadataTest, AnAssociatedAlphaIsTakenOutOfTheColoursAndMultipliedInAgain) {
    // Half transparent white, stored as half white.
    Shell("convert-im6 -size 16x16 'xc:rgba(128,128,128,0.5019608)' -depth 8 -type TrueColorAlpha -compress none " +
          Quoted(in_));
    Shell("tiffset -s 338 1 1 " + Quoted(in_));
    const Picture before = ReadPictures(in_)[0];
    ASSERT_EQ(before.samples, 4U);
    ASSERT_EQ(before.values[3], 128);
    ASSERT_EQ(Convert().status, 0);
    const Picture after = ReadPictures(out_)[0];
    Picture white = before;
    for (auto& value : white.values) value = 255;
    const Picture wanted = ByEngine(white, Input("scanner.icc"), 0, 8);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(after.values[static_cast<size_t>(c)], (wanted.values[static_cast<size_t>(c)] * 128 + 127) / 255);
    EXPECT_EQ(after.values[3], 128);
}

TEST_F(MetadataTest, AnAlphaThatIsToldOfAndNotThereIsNone) {
    Shell("tiffcp -p separate -s -c none " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_));
    Shell("tiffset -s 338 1 1 " + Quoted(in_));
    const Outcome run = Convert();
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(ReadPictures(out_)[0].values,
              ByEngine(ReadPictures(Input("photo-8.tif"))[0], Input("scanner.icc"), 0, 8).values);
}

TEST_F(MetadataTest, APlaceBeyondFourGigabytesIsNoLimitInABigTiff) {
    // The image data of a small BigTIFF, moved past 4 GiB: a sparse file.
    Shell("tiffcp -8 -s -c none -r 238 " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_));
    const Picture before = ReadPictures(in_)[0];
    std::string bytes = FileBytes(in_);
    const std::uint64_t far = 4400000000;
    const auto number = [&](std::size_t at) {
        std::uint64_t value = 0;
        std::memcpy(&value, &bytes[at], 8);
        return value;
    };
    std::size_t entry = number(8) + 8;
    while (bytes.compare(entry, 2, "\x11\x01") != 0) entry += 20;  // tag 273
    const std::string image = bytes.substr(number(entry + 12), before.values.size());
    std::memcpy(&bytes[entry + 12], &far, 8);
    WriteBytes(in_, bytes);
    std::fstream file(in_, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(far)) << image;
    file.close();
    ASSERT_EQ(ReadPictures(in_)[0].values, before.values);
    const Outcome run = Convert();
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(ByEngine(before, Input("scanner.icc"), 0, 8).values, ReadPictures(out_)[0].values);
    EXPECT_EQ(TagsOf(in_), TagsOf(out_));
    EXPECT_LT(std::stol(Shell("du -k " + Quoted(out_) + " | cut -f1")), 2048) << "holes stay holes";
}

}  // namespace
}  // namespace hueweave::test
