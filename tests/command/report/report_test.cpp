// SPDX-License-Identifier: MIT
// The page of report: its numbers, and text of strangers in it. tests/report uses it in a browser.
#include <unistd.h>

#include "command/report/ReportPageFixture.h"
#include "command/support/DeviceProfiles.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

class ReportPageTest : public ReportPageFixture {};

TEST_F(ReportPageTest, HasTheNumbersOfInspectAndVerifyAndTheColoursOutsideTheSpace) {
    const Words profile{Input("wide.icc")};
    const json numbers = NumbersOf(PageOf(profile));
    json inspected = Told(Words{"inspect"} + profile);
    inspected.erase("file");
    EXPECT_EQ(numbers["inspect"], inspected);
    EXPECT_EQ(numbers["verify"], Told(Words{"verify"} + profile));
    // The differences of each five units of L*, together of all colours.
    const json& course = numbers["differences"]["exact"]["course"];
    ASSERT_EQ(course.size(), 20U);
    std::uint64_t colours = 0;
    for (std::size_t n = 0; n < course.size(); ++n) {
        EXPECT_EQ(course[n]["L"], 5 * n);
        colours += course[n]["colours"].get<std::uint64_t>();
    }
    EXPECT_EQ(colours, numbers["verify"]["colours"]);
    EXPECT_EQ(numbers["profile"]["file"], Input("wide.icc"));
    // Of the corners of AdobeRGB, only black and white are inside sRGB. Each corner belongs to three faces.
    const json& solid = numbers["gamut"]["device"];
    const std::string outside = solid["outside"];
    const std::size_t side = solid["face_points"];
    ASSERT_EQ(outside.size(), 6 * side * side);
    std::size_t corners = 0;
    for (std::size_t face = 0; face < 6; ++face) {
        for (const std::size_t corner : {std::size_t{0}, side - 1, side * (side - 1), side * side - 1}) {
            corners += outside[face * side * side + corner] == '1';
        }
    }
    EXPECT_EQ(corners, 18U);
}

TEST_F(ReportPageTest, HasTheToneOfAGamma) {
    WriteDeviceProfile(profile_, Form::Matrix4);  // gamma 1.8
    const std::string page = PageOf({profile_, "--intent", "relative"});
    const json tone = NumbersOf(page)["tone"];
    ASSERT_EQ(tone["L"].size(), 257U);
    for (const std::size_t n : {0U, 32U, 128U, 200U, 256U}) {
        const double light = std::pow(static_cast<double>(n) / 256, 1.8);
        const double lightness = light > 216.0 / 24389 ? 116 * std::cbrt(light) - 16 : light * 24389 / 27;
        EXPECT_NEAR(tone["L"][n], lightness, 0.02) << n;
        EXPECT_NEAR(tone["a"][n], 0, 0.05) << n;
        EXPECT_NEAR(tone["b"][n], 0, 0.05) << n;
    }
    // The plot begins in its corner for 0 and L* = 0 and ends in the opposite one for 255 and L* = 100.
    const std::size_t from = page.find("points=\"58.0,312.0 ");
    ASSERT_NE(from, page.npos);
    EXPECT_TRUE(page.substr(0, page.find("\"/>", from)).ends_with(" 626.0,14.0 "));
    // All labels are inside the plots, which are 360 units high.
    std::size_t labels = 0;
    for (std::size_t at = 0; (at = page.find("\" y=\"", at)) != page.npos; ++at, ++labels) {
        EXPECT_LT(std::stod(page.substr(at + 5, 6)), 360) << page.substr(at, 60);
    }
    EXPECT_GT(labels, 20U);
}

TEST_F(ReportPageTest, HasTheCommandLineWithoutDefaults) {
    const std::string profile = Input("matrix.icc");
    const Words others{"--to", "adobe-rgb", "--intent", "saturation"};
    for (const auto& [given, shown] :
         {std::pair{Words{}, Words{}}, {{"--to", "srgb", "--intent", "perceptual"}, {}}, {others, others}}) {
        EXPECT_EQ(NumbersOf(PageOf(Words{profile} + given))["program"]["command"],
                  json(Words{"hueweave", "report", profile} + shown + Words{"-o", page_}));
    }
}

TEST_F(ReportPageTest, CountsEachPixelOfAPicture) {
    const std::string image = folder_ / "image.tif";
    // Two black pixels, one of the largest red, and one within the range.
    OneStrip(std::string("\0\0\0\0\0\0\xff\0\0\x80\x80\x80", 12), {.width = 4, .height = 1}).Save(image);
    const std::string page = PageOf({Input("matrix.icc"), image, "--to", Input("matrix.icc")});
    const json picture = NumbersOf(page)["pictures"][0];
    EXPECT_THAT(picture, Has({{"way", "copy"}, {"clipped", 3}, {"low", {2, 3, 3}}, {"high", {1, 0, 0}}}));
    EXPECT_EQ(picture["before"], picture["after"]);
    EXPECT_EQ(picture["before"][0][255], 1);
    EXPECT_EQ(picture["before"][1][128], 1);
    EXPECT_EQ(CountOf(MarkupOf(page), "src=\"data:image/jpeg;base64,"), 2U);
    EXPECT_EQ(CountOf(MarkupOf(page), "src=\"data:image/png;base64,"), 1U);
}

TEST_F(ReportPageTest, ReducesALargePicture) {
    const std::string large = folder_ / "large.tif";
    Shell("convert-im6 -size 2400x30 gradient:red-blue -depth 8 -type truecolor -compress none " + Quoted(large));
    EXPECT_THAT(NumbersOf(PageOf({Input("matrix.icc"), large}))["pictures"][0],
                Has({{"shown", {1600, 20}}, {"pixels", 72000}}));
}

TEST_F(ReportPageTest, ShowsNamesAsText) {
    const std::vector<std::string> names{"<script>alert(1)<:script>",
                                         "\"><img src=x onerror=alert(1)>",
                                         "<!--",
                                         "{{json}}",
                                         "a & b",
                                         "' onload='x",
                                         "\\u003cb>",
                                         "\xff\xfe",
                                         "\xe2\x80\xa8line\xe2\x80\xaemirror"};
    Words words{Input("matrix.icc")};
    for (const std::string& name : names) {
        words.push_back(folder_ / name);
        OneStrip("abc", {.width = 1, .height = 1}).Save(words.back());
    }
    const std::string page = PageOf(words);
    const std::string markup = MarkupOf(page);
    for (const char* part :
         {"<script", "</script", "<!--", "<img src", "onload='", "a & b", "\xe2\x80\xa8", "\xe2\x80\xae", "\xff"}) {
        EXPECT_EQ(CountOf(markup, part), 0U) << part;
    }
    EXPECT_EQ(CountOf(markup, "<img "), 3 * names.size());
    // A name stands in the list of parts, in the heading, with the facts of the file, and in the command line.
    EXPECT_EQ(CountOf(markup, "{{json}}"), 4U);
    // The numbers end where they should, and hold the names.
    const json pictures = NumbersOf(page)["pictures"];
    ASSERT_EQ(pictures.size(), names.size());
    for (std::size_t n = 0; n < names.size(); ++n) {
        if (names[n] == "\xff\xfe") {
            EXPECT_TRUE(pictures[n].contains("file_hex"));
        } else {
            EXPECT_EQ(pictures[n]["file"], folder_ / names[n]);
        }
    }
}

TEST_F(ReportPageTest, RefusesWithoutWriting) {
    const std::string text = folder_ / "text.txt";
    WriteBytes(text, "no chart and no picture");
    const Words profile{"report", Input("matrix.icc")};
    for (const auto& [words, status, reason] :
         std::vector<std::tuple<Words, int, std::string>>{{{text, "-o", page_}, 4, "not a TIFF, PNG or JPEG file"},
                                                          {{"--chart", text, "-o", page_}, 4, "text.txt"},
                                                          {{in_, "-o", in_, "--force"}, 5, "is an input itself"},
                                                          {{"-o", folder_ / "none/page.html"}, 5, "none"}}) {
        EXPECT_THAT(Hueweave(profile + words), Refuses(status, reason));
        EXPECT_FALSE(Exists(page_)) << reason;
    }
    WriteBytes(page_, "mine");
    EXPECT_THAT(Hueweave(profile + Words{"-o", page_}), Refuses(5, "exists already"));
    EXPECT_EQ(FileBytes(page_), "mine");
}

TEST_F(ReportPageTest, IsCompleteOrAbsentWhateverFails) {
    const std::string image = folder_ / "image.tif", seen = folder_ / "seen";
    OneStrip(std::string(12, 'x'), {.width = 2, .height = 2}).Save(image);
    const std::string whole = PageOf({Input("matrix.icc"), image});
    // A fault, whether there is an old page and --force, and the status, which is -1 where the command is killed.
    for (const auto& [fault, isReplaced, status] : {std::tuple{"pwrite:1:28", false, 5},
                                                    {"pwrite:1:28", true, 5},
                                                    {"pwrite:1:-6", true, -1},
                                                    {"pwrite:1:0", true, 0},
                                                    {"sync:1:5", false, 5},
                                                    {"pread:6:5", true, 4}}) {
        SCOPED_TRACE(fault);
        fs::remove(page_);
        if (isReplaced) WriteBytes(page_, "mine");
        WriteBytes(seen, "");
        Words words{"report", Input("matrix.icc"), image, "-o", page_};
        if (isReplaced) words.emplace_back("--force");
        const Outcome run = Hueweave(words, {.setenv = Faults(fault, seen)});
        EXPECT_EQ(FileBytes(seen), "x");
        EXPECT_EQ(run.status, status) << run.err;
        const std::string kept = isReplaced ? "mine" : "";
        EXPECT_EQ(Exists(page_) ? FileBytes(page_) : "", status == 0 ? whole : kept);
        EXPECT_EQ(NamesIn(folder_.path()).size(), isReplaced || status == 0 ? 3U : 2U);
    }
}

TEST_F(ReportPageTest, NeedsNoStandardStreams) {
    const auto closeAll = [] {
        for (const int stream : {0, 1, 2}) close(stream);
    };
    EXPECT_THAT(Hueweave({"report", Input("matrix.icc"), "-o", page_}, {.inChild = closeAll}), Succeeds());
    EXPECT_EQ(NumbersOf(FileBytes(page_))["profile"]["file"], Input("matrix.icc"));
}

TEST_F(ReportPageTest, JudgesAChartByAllGuidelines) {
    const Words check{"check", "--profile", Input("scanner.icc"), Input("scanner.ti3")};
    const json chart = NumbersOf(PageOf({Input("scanner.icc"), "--chart", Input("scanner.ti3")}))["chart"];
    const json wanted = Told(check);
    EXPECT_EQ(chart["all"], wanted["all"]);
    EXPECT_EQ(chart["neutral"], wanted["neutral"]);
    EXPECT_EQ(chart["worst"].size(), wanted["all"]["patches"]);
    EXPECT_EQ(chart["guidelines"].size(), 6U);
    for (const json& guideline : chart["guidelines"]) {
        const json judged = Told(check + Words{"--guideline", guideline["name"]})["guideline"];
        for (const char* const key : {"met", "mean", "within"}) EXPECT_EQ(guideline[key], judged[key]);
    }
}

}  // namespace
}  // namespace hueweave::test
