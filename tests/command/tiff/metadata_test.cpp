// SPDX-License-Identifier: MIT
// Data besides the pixels: metadata, further pages, masks, SubIFDs, private tags.
#include <tiffio.h>

#include <fstream>
#include <memory>

#include "command/support/ExifTool.h"
#include "command/support/FileTest.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class MetadataTest : public FileTest {};

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

void SetFields(const std::string& path, const Words& fields) {
    EXPECT_EQ(ExifTool(fields + Words{"-overwrite_original", path}), "    1 image files updated\n");
}

TEST_F(MetadataTest, TenFieldsAreKept) {
    for (const char* recipe :
         {"tiffcp -s -c none -r 16", "tiffcp -s -c lzw:2 -r 16", "tiffcp -B -t -w 64 -l 64 -c zip"}) {
        Make(std::string(recipe) + " $in $out", Input("photo-16.tif"));
        SetFields(in_, kFields);
        ASSERT_EQ(Convert({"--force"}).status, 0);
        const std::string tags = TagsOf(out_);
        for (const char* value : {"A. Person", "(c) A. Person", "2024:05:06 07:08:09", ": 200\n", "scanned twice",
                                  "52.5", ": harbour\n", "A harbour", "Bergen", ": 4000\n", ": 6\n"}) {
            EXPECT_THAT(tags, HasSubstr(value));
        }
        EXPECT_EQ(TagsOf(in_), tags);
        ExpectSrgb(out_, Input("photo-16.tif"));
    }
}

TEST_F(MetadataTest, AFieldThatHoldsNoMoreIsSaid) {
    Make("tiffcp -s -c none -r 16 $in $out");
    SetFields(in_, {"-ExifIFD:ColorSpace#=1"});
    const std::string said = "in.tif: its EXIF field ColorSpace stays at sRGB, which no longer applies";
    EXPECT_THAT(Convert({"--to", "adobe-rgb"}).err, HasSubstr(said));
    EXPECT_THAT(Convert({"--force"}).err, Not(HasSubstr(said)));
    SetFields(in_, {"-XMP-photoshop:ICCProfileName=Adobe RGB (1998)"});
    EXPECT_THAT(Convert({"--force"}).err,
                HasSubstr("in.tif: its XMP field photoshop:ICCProfile stays, and names the old profile\n"));
    SetFields(in_, {"-XMP:all="});
    EXPECT_THAT(Convert({"--force"}).err, Not(HasSubstr("XMP")));
    // Tags of primaries and white are reported as well, and so is that without a profile they no longer apply.
    Shell("tiffset -s 318 0.3127 0.329 " + Quoted(in_));
    Shell("tiffset -u 319 " + Quoted(in_) + " 2>/dev/null");
    EXPECT_THAT(Convert({"--force"}).err,
                HasSubstr("in.tif: its tag of the old colours (318) stays; the embedded profile takes precedence over "
                          "it\n"));
    EXPECT_THAT(Convert({"--force", "--no-tag"}).err, HasSubstr("(318) stays and no longer applies\n"));
    Shell("tiffset -s 319 0.64 0.33 0.3 0.6 0.15 0.06 " + Quoted(in_));
    EXPECT_THAT(Convert({"--force"}).err, HasSubstr("its tags of the old colours (318, 319) stay; the embedded"));
    EXPECT_THAT(Convert({"--force", "--no-tag"}).err, HasSubstr("(318, 319) stay and no longer apply\n"));
}

TEST_F(MetadataTest, PrivateTagsAndBytesThatNoTagPointsAtAreKept) {
    WriteBytes(in_, FileBytes(Input("photo-8.tif")) + "bytes that only their maker knows of");
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
        Make(std::string(recipe) + " $in $out");
        const Outcome run = Convert({"--force"});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(run.err, HasSubstr("JPEG image data are written as Deflate"));
        ExpectSrgb(out_, in_);
        const std::string told = Shell("tiffinfo " + Quoted(out_));
        EXPECT_THAT(told, HasSubstr("Compression Scheme: AdobeDeflate"));
        EXPECT_THAT(told, HasSubstr("Photometric Interpretation: RGB color"));
        // ImageMagick, which has its own reader, sees the same image as in a file written by libtiff.
        const std::string plain = folder_ / "plain.tif";
        Shell("tiffcp -c none " + Quoted(out_) + " " + Quoted(plain));
        EXPECT_EQ(Shell("compare-im6 -metric AE " + Quoted(out_) + " " + Quoted(plain) + " null: 2>&1"), "0");
    }
}

TEST_F(MetadataTest, ATransparencyMaskStaysAsItIs) {
    const std::string mask = folder_ / "mask.tif";
    Shell("convert-im6 -size 210x238 pattern:checkerboard -monochrome -compress none " + Quoted(mask));
    Shell("tiffset -s 254 4 " + Quoted(mask) + "; tiffset -s 262 4 " + Quoted(mask));
    Shell("tiffcp -c zip " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_) + "; tiffcp -a -c none " + Quoted(mask) +
          " " + Quoted(in_));
    ASSERT_THAT(Convert(), Succeeds());
    const auto before = ReadPictures(in_), after = ReadPictures(out_);
    EXPECT_EQ(ToSrgb(before[0]).values, after[0].values);
    EXPECT_EQ(TagsOf(in_), TagsOf(out_));
    const std::string raw = "convert-im6 " + Quoted(in_ + "[1]") + " gray:- | sha256sum";
    EXPECT_EQ(Shell(raw), Shell("convert-im6 " + Quoted(out_ + "[1]") + " gray:- | sha256sum"));
}

TEST_F(MetadataTest, AMaskOfOneByteBetweenTwoStripsStaysAsItIs) {
    // The gap between the strips is no larger than padding; black strips outgrow their old places.
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
    ASSERT_THAT(Convert(), Succeeds());
    ExpectSrgb(out_, in_);
    const std::string written = FileBytes(out_);
    EXPECT_EQ(written.substr(mask, 1), "\x5a");
    EXPECT_NE(written.substr(above, strip.size()), strip);
}

TEST_F(MetadataTest, AMaskWithoutPixelsIsRefused) {
    // libtiff does not open a file that begins with such a page.
    for (const unsigned broken : {256U, 257U, 258U, 277U}) {
        TiffMaker tiff;
        const std::uint64_t pixels = tiff.Put(SmallPixels());
        const Entries mask =
            With(With(With(TiffMaker::Small(pixels), TiffMaker::Short(258, 8)), TiffMaker::Short(262, 4)),
                 TiffMaker::Short(277, 1));
        tiff.Page(With(mask, TiffMaker::Short(broken, 0)));
        tiff.Page(TiffMaker::Small(pixels));
        tiff.Save(in_);
        ExpectRefusal("page 1 is a mask without pixels; get a whole copy of the file");
    }
}

TEST_F(MetadataTest, PagesBelowAPageAreConvertedByItsProfile) {
    // A page with two more in SubIFDs, followed by a second page; only the pages have profiles.
    const std::string icc = FileBytes(Input("scanner.icc"));
    const auto all = [](const std::string& path) {
        std::vector<Picture> pictures = ReadPictures(path);
        const std::unique_ptr<TIFF, TiffCloser> file(TIFFOpen(path.c_str(), "r"));
        std::uint16_t count = 0;
        const std::uint64_t* offsets = nullptr;
        TIFFGetField(file.get(), TIFFTAG_SUBIFD, &count, &offsets);
        for (const std::uint64_t offset : std::vector<std::uint64_t>(offsets, offsets + count)) {
            TIFFSetSubDirectory(file.get(), offset);
            pictures.push_back(ReadPicture(file.get()));
        }
        return pictures;
    };
    const std::pair<bool, unsigned> kinds[] = {{false, 4}, {false, 13}, {true, 4}, {true, 13}, {true, 16}, {true, 18}};
    for (const auto& [big, type] : kinds) {
        SCOPED_TRACE(type);
        TiffMaker tiff(big);
        const auto page = [&](char first) {
            const std::string data = Deflated(first + SmallPixels().substr(1));
            return TiffMaker::Rgb({.offsets = {tiff.Put(data)}, .counts = {data.size()}, .compression = 8});
        };
        const TiffMaker::Entry profile{34675, 7, icc.size(), 0, icc};
        const std::uint64_t one = tiff.Directory(And(page(1), TiffMaker::Long(254, 1))), two = tiff.Directory(page(2));
        tiff.Page(And(And(page(0), profile), {330, type, 2, 0, Little({one, two}, type < 16 ? 4 : 8)}));
        tiff.Page(And(page(3), profile));
        tiff.Save(in_);
        ASSERT_THAT(Hueweave({"convert", "--precision", "library", in_, "-o", out_, "--force"}), Succeeds());
        const auto before = all(in_), after = all(out_);
        ASSERT_EQ(before.size(), 4U);
        ASSERT_EQ(after.size(), 4U);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_THAT(after[i].values, EqualTo(ToSrgb(before[i]).values)) << i;
            EXPECT_FALSE(after[i].icc.empty());
        }
        EXPECT_EQ(Shell("tiffinfo " + Quoted(out_) + " 2>&1 | grep -ci -e warning -e error || :"), "0\n");
    }
}

TEST_F(MetadataTest, WithoutATagTheOldProfileIsGoneToo) {
    Shell("convert-im6 " + Quoted(Input("photo-16.tif")) + " -profile " + Quoted(Input("scanner.icc")) + " " +
          Quoted(in_));
    ASSERT_EQ(Hueweave({"convert", "--precision", "library", in_, "-o", out_, "--no-tag"}).status, 0);
    EXPECT_EQ(ReadPictures(out_)[0].icc, "");
    ExpectSrgb(out_, in_);
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
    white.values.assign(white.values.size(), 255);
    const Picture wanted = ToSrgb(white);
    for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(after.values[c], (wanted.values[c] * 128 + 127) / 255);
    EXPECT_EQ(after.values[3], 128);
}

TEST_F(MetadataTest, AnAlphaThatIsToldOfAndNotThereIsNone) {
    Make("tiffcp -p separate -s -c none $in $out");
    Shell("tiffset -s 338 1 1 " + Quoted(in_));
    ASSERT_THAT(Convert(), Succeeds());
    ExpectSrgb(out_, Input("photo-8.tif"));
}

TEST_F(MetadataTest, APlaceBeyondFourGigabytesIsNoLimitInABigTiff) {
    constexpr std::uint64_t kFar = 4400000000;  // in a file with a hole
    TiffMaker tiff(true);
    tiff.Page(With(TiffMaker::Small(0), {273, 16, 1, kFar}));
    tiff.Save(in_);
    std::fstream(in_, std::ios::in | std::ios::out | std::ios::binary).seekp(kFar) << SmallPixels();
    ASSERT_THAT(Convert(), Succeeds());
    ExpectSrgb(out_, in_);
    EXPECT_EQ(ReadPictures(out_)[0].values, ToSrgb(SmallPicture()).values);
    EXPECT_EQ(TagsOf(in_), TagsOf(out_));
    EXPECT_LT(std::stol(Shell("du -k " + Quoted(out_) + " | cut -f1")), 2048) << "holes stay holes";
}

/// Photoshop's resources in tag 34377: a second copy of the profile, and a thumbnail.
class PhotoshopTest : public FileTest {
protected:
    /// Expects a file with these resources to be converted to one whose resources are `after`, where NEW is the profile
    /// of the output; and without a profile to one whose resources are `bare`. Returns the messages.
    std::string ExpectResources(const std::string& before, const std::string& after, const std::string& bare) {
        OneStrip(SmallPixels(), {}, {{34377, 7, before.size(), 0, before}}).Save(in_);
        EXPECT_THAT(Convert({"--force", "--no-tag"}), Succeeds());
        EXPECT_EQ(Resources(), bare);
        const Outcome run = Convert({"--force"});
        EXPECT_THAT(run, Succeeds());
        const std::string icc = ReadPictures(out_)[0].icc, mark = Resource(1039, name_, "NEW");
        EXPECT_FALSE(icc.empty() || icc == FileBytes(Input("scanner.icc")));
        std::string wanted = after;
        const std::size_t at = wanted.find(mark);
        if (at != std::string::npos) wanted.replace(at, mark.size(), Resource(1039, name_, icc));
        EXPECT_EQ(Resources(), wanted);
        return run.err;
    }
    /// The resources of the output.
    std::string Resources() const {
        const std::unique_ptr<TIFF, TiffCloser> file(TIFFOpen(out_.c_str(), "r"));
        std::uint32_t size = 0;
        const char* data = nullptr;
        return TIFFGetField(file.get(), TIFFTAG_PHOTOSHOP, &size, &data) != 0 ? std::string(data, size) : "";
    }
    std::string name_;  ///< of the resource with the profile
    const std::string url_ = Resource(1035, "place", "x:y"), size_ = Resource(1005, "", std::string(16, 'r'));
};

TEST_F(PhotoshopTest, TheFirstProfileIsReplacedAndOthersAreRemoved) {
    const std::string placed = Resource(1039, "", "NEW"), old = Resource(1039, "", FileBytes(Input("scanner.icc")));
    ExpectResources(Resource(1039, "", "one") + url_ + Resource(1039, "", "another") + size_, placed + url_ + size_,
                    url_ + size_);
    ExpectResources(Resource(1039, "", "an old profile"), placed, "");
    EXPECT_THAT(ExpectResources(size_ + url_, size_ + url_, size_ + url_), Not(HasSubstr("thumbnail")));
    ExpectResources(size_ + old + url_, size_ + placed + url_, size_ + url_);
    // exiftool, which parses these resources itself, sees the same profile in both places.
    const auto told = Lines(ExifTool({"-a", "-s3", "-ICC_Profile:ProfileDescription", out_}));
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0], told[1]);
}

TEST_F(PhotoshopTest, AThumbnailOfTheOldColoursIsSaid) {
    for (const unsigned number : {1033U, 1036U}) {
        const std::string resources = Resource(number, "", std::string(300, 't')) + url_;
        EXPECT_THAT(ExpectResources(resources, resources, resources),
                    HasSubstr("in.tif: its thumbnail of Photoshop (resource 1036 of tag 34377) stays in the old "
                              "colours"));
    }
}

TEST_F(PhotoshopTest, WhatIsNoResourceStaysAsItIs) {
    name_ = "a name";
    const std::string odd = Resource(1005, "", "odd"), old = Resource(1039, name_, "old");
    for (const std::string& tail :
         {std::string("no resource"), std::string("8BIM"), std::string("8BIM\4\17", 6),
          std::string("8BIM\4\17\0\0\0\0", 10), std::string("8BIM\4\17\0\0\0\0\0", 11),
          std::string("8BIM\4\17\0\0\0\0\0\6short", 17), std::string("8BIM\4\17\0\0\xff\xff\xff\xff data", 17),
          std::string("8BIM\4\17\xff", 7)}) {
        ExpectResources(odd + old + tail, odd + Resource(1039, name_, "NEW") + tail, odd + tail);
    }
    // The padding after the last resource may be missing.
    ExpectResources((odd + old).substr(0, (odd + old).size() - 1), odd + Resource(1039, name_, "NEW"), odd);
}

}  // namespace
}  // namespace hueweave::test
