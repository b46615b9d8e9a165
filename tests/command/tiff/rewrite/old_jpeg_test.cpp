// SPDX-License-Identifier: MIT
// Tags of old-style JPEG on a page of JPEG data, which is written as Deflate.
#include "command/support/ExifTool.h"
#include "command/support/FileTest.h"
#include "command/support/OpenedTiff.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

class OldJpegTest : public FileTest {
protected:
    OldJpegTest() {
        const std::string jpeg = folder_ / "x.jpg";
        Shell("convert-im6 " + Quoted(Input("photo-8.tif")) + " -crop 16x16+0+0 +repage -sampling-factor 1x1 " +
              Quoted(jpeg));
        jpeg_ = FileBytes(jpeg);
    }
    /// A page whose only strip is the JPEG data at this place.
    Entries Page(std::uint64_t at) const {
        const Entries rgb = TiffMaker::Rgb(
            {.width = 16, .height = 16, .offsets = {at}, .counts = {jpeg_.size()}, .compression = 7, .rows = 16});
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

TEST_F(OldJpegTest, GoWithTheDataThatTheyReferTo) {
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
