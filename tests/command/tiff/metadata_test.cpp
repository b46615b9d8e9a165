// SPDX-License-Identifier: MIT
// Data besides the pixels: metadata, further pages, masks, SubIFDs, private tags.
#include <tiffio.h>

#include <fstream>
#include <memory>

#include "command/support/ExifTool.h"
#include "command/support/FileTest.h"
#include "command/support/OpenedTiff.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

class MetadataTest : public FileTest {
protected:
    /// Returns the fields.
    Words SetFields(const Words& fields) const {
        EXPECT_EQ(ExifTool(fields + Words{"-overwrite_original", in_}), "    1 image files updated\n");
        return fields;
    }
    std::string Told(const Words& more = {}) const { return Convert(Words{"--force"} + more).err; }
};

TEST_F(MetadataTest, TenFieldsAreKept) {
    for (const char* recipe :
         {"tiffcp -s -c none -r 16", "tiffcp -s -c lzw:2 -r 16", "tiffcp -B -t -w 64 -l 64 -c zip"}) {
        Make(std::string(recipe) + " $in $out", Input("photo-16.tif"));
        const Words fields = SetFields(
            {"-IFD0:Artist=A. Person", "-IFD0:Copyright=(c) A. Person", "-IFD0:ModifyDate=2024:05:06 07:08:09",
             "-ExifIFD:ISO=200", "-ExifIFD:UserComment=scanned twice", "-GPS:GPSLatitude=52.5", "-GPS:GPSLatitudeRef=N",
             "-IPTC:Keywords=harbour", "-XMP-dc:Title=A harbour", "-XMP-photoshop:City=Bergen",
             "-IFD0:XResolution=4000", "-IFD0:YResolution=4000", "-IFD0:Orientation#=6"});
        ASSERT_THAT(Convert({"--force"}), Succeeds());
        const std::string tags = TagsOf(out_);
        for (const std::string& field : fields) {
            EXPECT_THAT(tags, HasSubstr(": " + field.substr(field.find('=') + 1) + "\n"));
        }
        EXPECT_EQ(TagsOf(in_), tags);
        ExpectSrgb(out_, Input("photo-16.tif"));
    }
}

TEST_F(MetadataTest, AFieldThatNoLongerAppliesIsReported) {
    Make("tiffcp -s -c none -r 16 $in $out");
    SetFields({"-ExifIFD:ColorSpace#=1"});
    const std::string said = "in.tif: its EXIF field ColorSpace stays at sRGB, which no longer applies";
    EXPECT_THAT(Told({"--to", "adobe-rgb"}), HasSubstr(said));
    EXPECT_THAT(Told(), Not(HasSubstr(said)));
    SetFields({"-XMP-photoshop:ICCProfileName=Adobe RGB (1998)"});
    EXPECT_THAT(Told(), HasSubstr("in.tif: its XMP field photoshop:ICCProfile stays, and names the old profile\n"));
    SetFields({"-XMP:all="});
    EXPECT_THAT(Told(), Not(HasSubstr("XMP")));
    // Tags of primaries and white are reported as well, and so is that without a profile they no longer apply.
    Shell("tiffset -s 318 0.3127 0.329 " + Quoted(in_));
    Shell("tiffset -u 319 " + Quoted(in_) + " 2>/dev/null");
    EXPECT_THAT(Told(), HasSubstr("in.tif: its tag of the old colours (318) stays; the embedded profile takes "
                                  "precedence over it\n"));
    EXPECT_THAT(Told({"--no-tag"}), HasSubstr("(318) stays and no longer applies\n"));
    Shell("tiffset -s 319 0.64 0.33 0.3 0.6 0.15 0.06 " + Quoted(in_));
    EXPECT_THAT(Told(), HasSubstr("its tags of the old colours (318, 319) stay; the embedded"));
    EXPECT_THAT(Told({"--no-tag"}), HasSubstr("(318, 319) stay and no longer apply\n"));
}

TEST_F(MetadataTest, PrivateTagsAndBytesThatNoTagPointsAtAreKept) {
    Make(
        "{ cat $in; printf 'bytes that only their maker knows of'; } > $out; tiffset -s 65000 'a private note' $out "
        "2>/dev/null || true");
    ASSERT_THAT(Convert(), Succeeds());
    const std::size_t at = FileBytes(in_).find("bytes that only");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(FileBytes(out_).find("bytes that only"), at) << "an offset to them would be wrong";
}

TEST_F(MetadataTest, JpegBecomesDeflateAndIsReported) {
    for (const char* recipe : {"tiffcp -s -c jpeg:90 -r 16", "tiffcp -s -c jpeg:r:90 -r 16",
                               "tiffcp -t -w 64 -l 64 -c jpeg:90", "tiffcp -B -8 -s -c jpeg:90 -r 16"}) {
        Make(std::string(recipe) + " $in $out");
        ASSERT_THAT(Convert({"--force"}), Says(0, "JPEG image data are written as Deflate"));
        ExpectSrgb(out_, in_);
        EXPECT_THAT(Shell("tiffinfo " + Quoted(out_)), AllOf(HasSubstr("Compression Scheme: AdobeDeflate"),
                                                             HasSubstr("Photometric Interpretation: RGB color")));
        // ImageMagick, which has its own reader, sees the same image as in a file written by libtiff.
        const std::string plain = folder_ / "plain.tif";
        Shell("tiffcp -c none " + Quoted(out_) + " " + Quoted(plain));
        EXPECT_EQ(Shell("compare-im6 -metric AE " + Quoted(out_) + " " + Quoted(plain) + " null: 2>&1"), "0");
    }
}

TEST_F(MetadataTest, ATransparencyMaskStaysAsItIs) {
    Make(
        "convert-im6 -size 210x238 pattern:checkerboard -monochrome -compress none tiff:$out.2; "
        "tiffset -s 254 4 $out.2; tiffset -s 262 4 $out.2; tiffcp -c zip $in $out; tiffcp -a -c none $out.2 $out");
    ASSERT_THAT(Convert(), Succeeds());
    const auto before = ReadPictures(in_), after = ReadPictures(out_);
    EXPECT_EQ(ToSrgb(before[0]).values, after[0].values);
    EXPECT_EQ(TagsOf(in_), TagsOf(out_));
    const auto mask = [](const std::string& path) { return Shell("convert-im6 " + Quoted(path + "[1]") + " gray:-"); };
    EXPECT_EQ(mask(out_) == mask(in_), true);
}

TEST_F(MetadataTest, AMaskOfOneByteBetweenTwoStripsStaysAsItIs) {
    // The gap between the strips is no larger than padding; black strips outgrow their old places.
    TiffMaker tiff;
    const std::string strip = Deflated(std::string(std::size_t{16} * 8 * 3, '\0'));
    const std::uint64_t above = tiff.Put(strip), mask = tiff.Put("\x5a"), below = tiff.Put(strip);
    ASSERT_LE(below - above - strip.size(), 3U);
    tiff.Page(TiffMaker::Rgb({16, 16, {above, below}, {strip.size(), strip.size()}, 8, 3, 1, 8}));
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
        const Entries grey = With(With(TiffMaker::Small(pixels), TiffMaker::Short(258, 8)), TiffMaker::Short(277, 1));
        tiff.Page(With(With(grey, TiffMaker::Short(262, 4)), TiffMaker::Short(broken, 0)));
        tiff.Page(TiffMaker::Small(pixels));
        tiff.Save(in_);
        ExpectRefusal("page 1 is a mask without pixels; get a complete copy of the file");
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

TEST_F(MetadataTest, NoTagRemovesTheOldProfileToo) {
    Make("convert-im6 $in -profile " + Quoted(Input("scanner.icc")) + " $out", Input("photo-16.tif"));
    ASSERT_THAT(Hueweave({"convert", "--precision", "library", in_, "-o", out_, "--no-tag"}), Succeeds());
    EXPECT_EQ(ReadPictures(out_)[0].icc, "");
    ExpectSrgb(out_, in_);
    EXPECT_EQ(TagsOf(in_), TagsOf(out_));
}

TEST_F(MetadataTest, ADeclaredAlphaThatIsMissingIsIgnored) {
    Make("tiffcp -p separate -s -c none $in $out; tiffset -s 338 1 1 $out");
    ASSERT_THAT(Convert(), Succeeds());
    ExpectSrgb(out_, Input("photo-8.tif"));
}

TEST_F(MetadataTest, ABigTiffMayHaveOffsetsBeyondFourGigabytes) {
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
    /// Expects a file with these resources to be converted to one with `head` and `tail`, and between them the profile
    /// of the output under this name if there was one. Returns the messages.
    std::string ExpectResources(const std::string& before, const std::string& head, const std::string& tail,
                                const std::string& name = "") const {
        OneStrip(SmallPixels(), {}, {{34377, 7, before.size(), 0, before}}).Save(in_);
        EXPECT_THAT(Convert({"--force", "--no-tag"}), Succeeds());
        EXPECT_EQ(Resources(), head + tail);
        const Outcome run = Convert({"--force"});
        EXPECT_THAT(run, Succeeds());
        const std::string icc = ReadPictures(out_)[0].icc;
        EXPECT_FALSE(icc.empty() || icc == FileBytes(Input("scanner.icc")));
        EXPECT_EQ(Resources(), before == head + tail ? before : head + Resource(1039, name, icc) + tail);
        return run.err;
    }
    /// The resources of the output.
    std::string Resources() const {
        const std::unique_ptr<TIFF, TiffCloser> file(TIFFOpen(out_.c_str(), "r"));
        std::uint32_t size = 0;
        const char* data = nullptr;
        return TIFFGetField(file.get(), TIFFTAG_PHOTOSHOP, &size, &data) != 0 ? std::string(data, size) : "";
    }
    const std::string url_ = Resource(1035, "place", "x:y"), size_ = Resource(1005, "", std::string(16, 'r'));
};

TEST_F(PhotoshopTest, TheFirstProfileIsReplacedAndOthersAreRemoved) {
    const std::string old = Resource(1039, "", FileBytes(Input("scanner.icc")));
    ExpectResources(Resource(1039, "a name", "one") + url_ + old + size_, "", url_ + size_, "a name");
    ExpectResources(Resource(1039, "", "an old profile"), "", "");
    EXPECT_THAT(ExpectResources(size_ + url_, size_, url_), Not(HasSubstr("thumbnail")));
    ExpectResources(size_ + old + url_, size_, url_);
    // exiftool, which parses these resources itself, sees the same profile in both places.
    const auto told = Lines(ExifTool({"-a", "-s3", "-ICC_Profile:ProfileDescription", out_}));
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0], told[1]);
}

TEST_F(PhotoshopTest, AThumbnailOfTheOldColoursIsReported) {
    for (const unsigned number : {1033U, 1036U}) {
        const std::string thumbnail = Resource(number, "", std::string(300, 't'));
        EXPECT_THAT(ExpectResources(thumbnail + url_, thumbnail, url_),
                    HasSubstr("in.tif: its thumbnail of Photoshop (resource 1036 of tag 34377) stays in the old "
                              "colours"));
    }
}

TEST_F(PhotoshopTest, TrailingDataAfterTheResourcesAreKept) {
    const std::string odd = Resource(1005, "", "odd"), old = Resource(1039, "a name", "old");
    const std::string part("8BIM\4\17\0\0\0\0\0\6short", 17);
    for (const std::size_t size : {4U, 6U, 10U, 11U, 17U}) {
        ExpectResources(odd + old + part.substr(0, size), odd, part.substr(0, size), "a name");
    }
    // The padding after the last resource may be missing.
    ExpectResources((odd + old).substr(0, (odd + old).size() - 1), odd, "", "a name");
}

/// Tags of old-style JPEG on a page of JPEG data, which is written as Deflate.
class OldJpegTest : public FileTest {
protected:
    OldJpegTest() {
        Make("convert-im6 $in -crop 16x16+0+0 +repage -sampling-factor 1x1 jpeg:$out");
        jpeg_ = FileBytes(in_);
    }
    /// A page whose only strip is the JPEG data at this place.
    Entries Page(std::uint64_t at) const {
        const Entries rgb = TiffMaker::Rgb({16, 16, {at}, {jpeg_.size()}, 7, 3, 1, 16});
        return And(With(rgb, TiffMaker::Short(262, 6)), {530, 3, 2, 0, Little({1, 1}, 2)});
    }
    /// The tags of the first page of the output.
    std::vector<unsigned> Converted(const TiffMaker& tiff) const {
        tiff.Save(in_);
        EXPECT_THAT(Convert(), Succeeds());
        std::vector<unsigned> tags;
        const OpenedTiff read(out_);
        for (const tool::TiffEntry& entry : read.structure.directories()[0].entries) tags.push_back(entry.tag);
        EXPECT_EQ(ExifTool({"-q", "-q", "-s3", "-Error", out_}), "");
        return tags;
    }
    std::string jpeg_;
};

const std::vector<unsigned> kDeflatePage{256, 257, 258, 259, 262, 273, 277, 278, 279, 284, 317, 34675};

TEST_F(OldJpegTest, TagsAreRemovedWithTheirData) {
    TiffMaker tiff;
    const std::uint64_t at = tiff.Put(jpeg_);
    Entries page = Page(at);
    page.push_back(TiffMaker::Long(513, at));
    page.push_back(TiffMaker::Long(514, jpeg_.size()));
    for (const unsigned tag : {512U, 515U, 517U, 518U, 519U, 520U, 521U}) page.push_back(TiffMaker::Short(tag, 1));
    tiff.Page(page);
    EXPECT_EQ(Converted(tiff), kDeflatePage);
}

TEST_F(OldJpegTest, APreviewElsewhereStays) {
    TiffMaker tiff;
    const std::uint64_t preview = tiff.Put(jpeg_), at = tiff.Put(jpeg_);
    tiff.Page(And(And(Page(at), TiffMaker::Long(513, preview)), TiffMaker::Long(514, jpeg_.size())));
    std::vector<unsigned> tags = kDeflatePage;
    tags.insert(tags.end() - 1, {513, 514});
    EXPECT_EQ(Converted(tiff), tags);
    EXPECT_EQ(FileBytes(out_).substr(preview, jpeg_.size()), jpeg_);
}

TEST_F(OldJpegTest, DataThatAnotherPageRefersToStay) {
    TiffMaker tiff;
    const std::uint64_t at = tiff.Put(jpeg_);
    tiff.Page(Page(at));
    // A thumbnail that is not RGB, and has no strips.
    tiff.Page({TiffMaker::Long(254, 1), TiffMaker::Long(256, 16), TiffMaker::Long(257, 16), TiffMaker::Short(259, 6),
               TiffMaker::Short(262, 6), TiffMaker::Long(513, at), TiffMaker::Long(514, jpeg_.size())});
    EXPECT_EQ(Converted(tiff), kDeflatePage);
    EXPECT_EQ(FileBytes(out_).substr(at, jpeg_.size()), jpeg_);
}

}  // namespace
}  // namespace hueweave::test
