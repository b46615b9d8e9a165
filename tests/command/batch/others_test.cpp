// SPDX-License-Identifier: MIT
// Pages and files that are not RGB, and files that embed another profile than the one given.
#include "command/support/Batch.h"
#include "command/support/FileTest.h"
#include "command/support/Json.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

class UnconvertedPagesTest : public FileTest {};

TEST_F(UnconvertedPagesTest, PagesThatAreNotRgbAreKeptAndReported) {
    // The second page in $out.2, and the note.
    using Row = std::pair<std::string, std::string>;
    for (const auto& [recipe, note] :
         {Row{"-colorspace Gray -depth 16 tiff:$out.2", "page 2 is grey and stays unchanged"},
          Row{"-colorspace Gray tiff:$out.2; tiffset -s 254 1 $out.2", "page 2 is grey and stays unchanged"},
          Row{"-monochrome -compress Group4 tiff:$out.2", "page 2 is bilevel and stays unchanged"},
          Row{"-colors 64 -type Palette tiff:$out.2", "page 2 is palette and stays unchanged"},
          Row{"-colorspace Gray tiff:$out.1; tiffcp $out.1 $out.1 $out.2", "pages 2, 3 are grey and stay unchanged"}}) {
        SCOPED_TRACE(recipe);
        Make("convert-im6 $in " + recipe + "; tiffcp -c zip $in $out; tiffcp -a $out.2 $out");
        EXPECT_THAT(Convert({"--force"}), Says(0, note));
        for (const std::string page : {"0", "1"}) {
            for (const std::string& file : {in_, out_}) {
                Shell("tiffcp " + Quoted(file + "," + page) + " " + Quoted(file + "." + page));
            }
        }
        ExpectSrgb(out_ + ".0", in_ + ".0");
        EXPECT_EQ(FileBytes(in_ + ".1"), FileBytes(out_ + ".1"));
    }
}

TEST_F(UnconvertedPagesTest, ASubDirectoryWithoutPhotometricInterpretationIsKept) {
    TiffMaker tiff;
    const std::uint64_t below = tiff.Directory({TiffMaker::Long(256, 8), TiffMaker::Long(257, 1)});
    tiff.Page(And(TiffMaker::Small(tiff.Put(SmallPixels())), TiffMaker::Long(330, below)));
    tiff.Save(in_);
    EXPECT_THAT(Convert(), Says(0, "page 2 is of no stated kind and stays unchanged"));
    ExpectSrgb(out_, in_);
}

class OtherFilesTest : public BatchTest {
protected:
    OtherFilesTest() {
        const std::string photo = Quoted(Input("photo-8.tif"));
        Shell("cd " + Quoted(scans_) + "; convert-im6 " + photo + " -colorspace Gray grey.tif; convert-im6 " + photo +
              " -monochrome -compress Group4 deep/1.tif; cp deep/1.tif deep/2.tif");
    }
    /// Expects the statuses of the files that are RGB and of those that are not, and the copies of these or none.
    void ExpectOthers(const Outcome& run, const std::string& status) const {
        Words statuses{"converted", "converted", "converted", status, status, status}, all;
        for (const json& told : JsonLines(run.out)) all.push_back(told["status"]);
        EXPECT_THAT(all, testing::UnorderedElementsAreArray(statuses));
        for (const std::string name : {"/grey.tif", "/deep/1.tif", "/deep/2.tif"}) {
            ASSERT_EQ(Exists(out_ + name), status == "copied");
            EXPECT_TRUE(status != "copied" || FileBytes(out_ + name) == FileBytes(scans_ + name)) << name;
        }
        ExpectSrgb(out_ + "/a.tif", a_);
    }
};

TEST_F(OtherFilesTest, AreRefusedWithALineForEachKind) {
    const Outcome run = ConvertAll({"--json", "-j", "1"});
    EXPECT_THAT(run, Says(1,
                          "hueweave: 2 files refused: bilevel pixels, not RGB; the first is " + scans_ +
                              "/deep/1.tif; copy them with --others copy, or leave them out with --others skip\n",
                          "hueweave: 1 file refused: grey pixels, not RGB; the first is " + scans_,
                          "3 converted, 3 refused (2 bilevel, 1 grey), in "));
    EXPECT_EQ(Lines(run.err).size(), 7U) << run.err;  // three files, a note, two kinds, the counts
    ExpectOthers(run, "refused");
    EXPECT_THAT(ConvertAll({"--verbose", "--force"}), Says(1, "deep/2.tif: holds bilevel pixels, not RGB; "));
}

TEST_F(OtherFilesTest, AreCopied) {
    EXPECT_THAT(ConvertAll({"--others", "copy", "--dry-run"}), Says(0, "3 would be copied (2 bilevel, 1 grey)"));
    const Outcome run = ConvertAll({"--others", "copy", "--json"});
    EXPECT_THAT(run, Says(0, "3 converted, 3 copied (2 bilevel, 1 grey), in "));
    ExpectOthers(run, "copied");
    EXPECT_THAT(ConvertAll({"--others", "copy", "--resume"}), Says(0, "0 converted, 6 done already"));
}

TEST_F(OtherFilesTest, AreLeftOut) {
    const Outcome run = ConvertAll({"--others", "skip", "--json"});
    EXPECT_THAT(run, Says(0, "3 converted, 3 left out (2 bilevel, 1 grey), in "));
    ExpectOthers(run, "left out");
    const std::string before = FileBytes(scans_ + "/grey.tif");
    EXPECT_THAT(ConvertScan({scans_, "--in-place", "--others", "copy"}),
                Says(0, "3 converted, 3 left out (2 bilevel, 1 grey)"));
    EXPECT_EQ(FileBytes(scans_ + "/grey.tif"), before);
}

TEST_F(OtherFilesTest, OneFileIsReported) {
    const std::string grey = scans_ + "/grey.tif", out = folder_ / "out.tif";
    EXPECT_THAT(ConvertScan({grey, "-o", out}), Refuses(4, "grey.tif: holds grey pixels, not RGB; "));
    EXPECT_THAT(ConvertScan({grey, "-o", out, "--others", "skip"}), Says(0, "grey.tif is left out (grey)"));
    EXPECT_THAT(ConvertScan({grey, "-o", out, "--others", "copy"}), Says(0, " -> " + out + " (copied, grey)"));
    EXPECT_EQ(FileBytes(out), FileBytes(grey));
}

TEST_F(OtherFilesTest, TheStatusIsTheirsIfAllAreRefused) {
    fs::remove(scans_ + "/deep/a.tif");
    const std::string missing = scans_ + "/missing.tif";
    EXPECT_EQ(ConvertScan({missing, "-o", out_ + "/"}).status, 4);
    EXPECT_EQ(ConvertScan({scans_ + "/deep", "-o", out_}).status, 4);
    EXPECT_EQ(Hueweave({"convert", a_, scans_ + "/b.TIFF", "-o", out_}).status, 3);
    EXPECT_EQ(Hueweave({"convert", a_, scans_ + "/grey.tif", "-o", out_}).status, 4) << "of two kinds";
    EXPECT_EQ(ConvertScan({missing, a_, "-o", out_}).status, 1);
    EXPECT_EQ(Outputs(), Names{"a.tif"});
}

class OtherProfileTest : public BatchTest {};

TEST_F(OtherProfileTest, EarlierOutputsAreLeftAlone) {
    for (const Words& precision : {Words{"exact"}, Words{"library"}}) {
        SCOPED_TRACE(precision[0]);
        const Words convert = Words{"convert", "--profile", Input("scanner.icc"), "--precision"} + precision;
        const std::string once = folder_ / precision[0], copies = folder_ / precision[0] + "-copies";
        ASSERT_THAT(Hueweave(convert + Words{scans_, "-o", once}), Succeeds());
        const std::string before = FileBytes(once + "/a.tif");
        EXPECT_THAT(Hueweave(convert + Words{once, "-o", copies}), Says(0, "a.tif (is in srgb already)"));
        EXPECT_EQ(FileBytes(copies + "/a.tif"), before);
        EXPECT_THAT(Hueweave(convert + Words{once, "--in-place"}),
                    Says(0, "a.tif is in srgb already; --source given converts it again"));
        EXPECT_EQ(FileBytes(once + "/a.tif"), before);
        EXPECT_THAT(Hueweave(convert + Words{once, "--in-place", "--source", "given"}), Says(0, "3 converted"));
        EXPECT_NE(FileBytes(once + "/a.tif"), before);
    }
}

TEST_F(OtherProfileTest, AnotherProfileIsRefusedUntilOneIsChosen) {
    ASSERT_THAT(ConvertAll({"--to", "adobe-rgb"}), Succeeds());
    const std::string again = folder_ / "again";
    EXPECT_THAT(
        ConvertScan({out_, "-o", again}),
        Says(3, "hueweave: 3 files refused: another embedded profile than " + Input("scanner.icc") + "; the first is ",
             "; choose with --source given or --source embedded\n", "0 converted, 3 refused (3 with another profile)"));
    EXPECT_THAT(ConvertScan({out_, "-o", again, "--source", "embedded"}), Says(0, "3 converted"));
    EXPECT_THAT(Hueweave({"convert", scans_, "-o", again, "--force"}),
                Says(3, "3 files refused: no embedded profile; the first is "));
}

}  // namespace
}  // namespace hueweave::test
