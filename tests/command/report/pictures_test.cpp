// SPDX-License-Identifier: MIT
// The pictures in the page of report: their pixels are those that convert reads and writes, whatever the layout of the
// file is, and the page says what it leaves out.
#include <algorithm>
#include <array>
#include <cmath>

#include "command/report/ReportPageFixture.h"
#include "command/support/JpegMaker.h"
#include "command/support/PngChunks.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

/// The colours of the map of clipped channels: by 1 for red, 2 for green and 4 for blue, as red, green, blue and alpha.
constexpr std::array<std::array<int, 4>, 8> kMap{{{0, 0, 0, 0},
                                                  {230, 50, 40, 255},
                                                  {20, 160, 60, 255},
                                                  {240, 180, 0, 255},
                                                  {50, 90, 240, 255},
                                                  {210, 60, 220, 255},
                                                  {0, 180, 200, 255},
                                                  {255, 255, 255, 255}}};

class ReportPicturesTest : public ReportPageFixture {
protected:
    /// Makes a file from the photographs $p8 and $p16 with a shell line to $out.
    std::string Make(const std::string& name, const std::string& line) const {
        const std::string out = folder_ / name;
        Shell("p8=" + Quoted(Input("photo-8.tif")) + "; p16=" + Quoted(Input("photo-16.tif")) + "; out=" + Quoted(out) +
              "; " + line);
        return out;
    }
    /// Plain YCbCr of any values, in one strip whose units share the chroma of 2 x 2 pixels.
    std::string MakeYCbCr(const std::string& name, std::uint64_t width, std::uint64_t height) const {
        std::string units;
        for (std::size_t i = 0; i < (width + 1) / 2 * ((height + 1) / 2) * 6; ++i) {
            units += static_cast<char>(i % 6 < 4 ? i * 31 + i / 911 : 128 + i / 701 % 60);
        }
        OneStrip(Deflated(units),
                 {.width = width, .height = height, .compression = 8, .rows = height, .photometric = 6},
                 {{530, 3, 2, 0, Little({2, 2}, 2)}})
            .Save(folder_ / name);
        return folder_ / name;
    }
    /// The pixels of a file as convert decodes them and writes them for this target, to a file of another format.
    Picture ByConvert(const std::string& file, const std::string& target, unsigned bits) const {
        const std::string format = file.ends_with(".png") ? "tiff" : "png", out = folder_ / ("out." + format);
        EXPECT_THAT(Hueweave({"convert", "-q", "--profile", profileOfAll_, "--to", target, "--format", format, file,
                              "-o", out, "--force"}),
                    Succeeds());
        Shell("convert-im6 " + Quoted(out) + " -alpha off -type TrueColor -compress none -depth " +
              std::to_string(bits) + " " + Quoted(folder_ / "pixels.tif"));
        return ReadPictures(folder_ / "pixels.tif")[0];
    }
    /// The image number `n` in a page, as a file.
    std::string ImageOf(const std::string& page, std::size_t n) const {
        std::size_t at = 0;
        for (std::size_t i = 0; i <= n; ++i) at = page.find("src=\"data:image/", at) + 1;
        const std::size_t from = page.find(',', at) + 1;
        WriteBytes(folder_ / "base64", page.substr(from, page.find('"', from) - from));
        Shell("base64 -d " + Quoted(folder_ / "base64") + " >" + Quoted(folder_ / "image"));
        return folder_ / "image";
    }
    const std::string profileOfAll_ = Input("scanner.icc");
};

unsigned EightBits(const Picture& picture, std::size_t i) {
    return picture.bits == 8 ? picture.values[i] : (picture.values[i] + 128U) / 257;
}

/// By channel: how often each sample of 8 bits occurs.
std::vector<std::vector<int>> HistogramOf(const Picture& picture) {
    std::vector<std::vector<int>> counts(3, std::vector<int>(256));
    for (std::size_t i = 0; i < picture.values.size(); ++i) ++counts[i % 3][EightBits(picture, i)];
    return counts;
}

/// Which channels of each pixel are at an end of their range.
std::vector<unsigned> ClippedOf(const Picture& picture) {
    std::vector<unsigned> channels(picture.values.size() / 3);
    for (std::size_t i = 0; i < picture.values.size(); ++i) {
        const unsigned sample = picture.values[i];
        if (sample == 0 || sample == (1U << picture.bits) - 1) channels[i / 3] |= 1U << i % 3;
    }
    return channels;
}

/// The root mean square of the differences in 8 bits.
double Difference(const Picture& shown, const Picture& wanted) {
    EXPECT_EQ(shown.values.size(), wanted.values.size());
    double sum = 0;
    for (std::size_t i = 0; i < shown.values.size(); ++i) {
        sum += std::pow(static_cast<double>(shown.values[i]) - EightBits(wanted, i), 2);
    }
    return std::sqrt(sum / static_cast<double>(shown.values.size()));
}

TEST_F(ReportPicturesTest, HaveThePixelsOfConvert) {
    const std::string large = "convert-im6 $p16 -scale 700x510! ";
    // Strips of more than 2 MiB are decoded by rows with the least memory allowed.
    const Words files{
        Make("tiles.tif", "tiffcp -t -w 64 -l 48 -c jpeg:90 $p8 $out"),
        MakeYCbCr("ycbcr.tif", 30, 21),
        Make("alpha.tif", "cp " + Quoted(Input("alpha-8.tif")) + " $out"),
        Make("palette.tif", "convert-im6 $p8 -colors 40 -type palette $out"),
        Make("palette.png", "convert-im6 $p8 -colors 40 -interlace line PNG8:$out"),
        Make("photo.jpg", "convert-im6 $p8 -interlace line $out"),
        Make("rows.tif", large + "-compress none $out.x && tiffcp -s -c lzw -r 510 $out.x $out"),
        Make("planes.tif", large + "-interlace plane -define tiff:rows-per-strip=510 -compress zip $out"),
        Make("jpeg-rows.tif",
             "convert-im6 $p8 -scale 1000x720! -compress none $out.x && tiffcp -s -r 720 -c jpeg:90 $out.x $out"),
        MakeYCbCr("ycbcr-rows.tif", 800, 701)};
    const std::string page = PageOf(Words{profileOfAll_, "--max-memory", "32M"} + files);
    const json pictures = NumbersOf(page)["pictures"];
    for (std::size_t n = 0; n < files.size(); ++n) {
        SCOPED_TRACE(files[n]);
        const unsigned bits = pictures[n]["bits"];
        const Picture read = ByConvert(files[n], profileOfAll_, bits), converted = ByConvert(files[n], "srgb", bits);
        EXPECT_EQ(pictures[n]["before"], HistogramOf(read));
        EXPECT_EQ(pictures[n]["after"], HistogramOf(converted));
        const auto clipped = ClippedOf(converted);
        EXPECT_EQ(pictures[n]["clipped"], std::count_if(clipped.begin(), clipped.end(), [](auto c) { return c != 0; }));
        // The copies are JPEG; those of dithered pictures differ most, by 7. A row in the wrong place makes 20 or more.
        EXPECT_LT(Difference(ReadJpeg(ImageOf(page, 3 * n)), read), 10);
        EXPECT_LT(Difference(ReadJpeg(ImageOf(page, 3 * n + 1)), converted), 10);
        Shell("convert-im6 " + Quoted(ImageOf(page, 3 * n + 2)) + " -depth 8 rgba:" + Quoted(folder_ / "map"));
        const std::string map = FileBytes(folder_ / "map");
        ASSERT_EQ(map.size(), 4 * clipped.size());
        for (std::size_t i = 0; i < map.size(); ++i) {
            ASSERT_EQ(static_cast<unsigned char>(map[i]), kMap[clipped[i / 4]][i % 4]) << i / 4;
        }
    }
}

TEST_F(ReportPicturesTest, ReportWhatTheyLeaveOut) {
    const std::string alpha = "Samples besides the colours, such as transparency, are not shown.";
    const std::string transparent = "Transparency is not shown: every pixel has its stored colour.";
    const std::string stored = "The picture is shown as it is stored, not turned upright.";
    const std::string deep = "Samples of 16 bits are shown and plotted with 8 bits.";
    const std::string turned = " && exiftool -q -overwrite_original -n -Orientation=6 $out";
    const std::vector<std::pair<std::string, Words>> rows{
        {Input("photo-8.tif"), {}},
        {Input("photo-16.tif"), {deep}},
        {Input("alpha-16.tif"), {alpha, deep}},
        {Make("alpha.png", "convert-im6 $p8 -alpha set -channel A -evaluate set 50% $out"), {transparent}},
        {Make("key.png", "convert-im6 $p8 -colors 9 -fuzz 100% -transparent black PNG8:$out"), {transparent}},
        {Make("turned.tif", "cp $p8 $out" + turned), {stored}},
        {Make("turned.jpg", "convert-im6 $p8 $out" + turned), {stored}},
        {Make("turned.png", "convert-im6 $p8 $out" + turned), {stored}},
        {Make("pages.tif",
              "convert-im6 $p8 -colorspace gray $out.g && convert-im6 $p8 -colors 9 -type palette $out.p && "
              "tiffcp $out.g $p8 $out.p $out"),
         {"Of the 3 images in the file, only that of page 2 is shown and counted, the first one with RGB pixels."}}};
    Words words{profileOfAll_};
    for (const auto& row : rows) words.push_back(row.first);
    const std::string page = PageOf(words);
    const json pictures = NumbersOf(page)["pictures"];
    std::size_t paragraphs = 0;
    for (std::size_t n = 0; n < rows.size(); ++n) {
        EXPECT_EQ(pictures[n]["notes"], rows[n].second) << rows[n].first;
        if (rows[n].second.empty()) continue;
        ++paragraphs;
        EXPECT_THAT(page, HasSubstr("<p class=\"note\">" + rows[n].second[0])) << rows[n].first;
    }
    EXPECT_EQ(CountOf(page, "<p class=\"note\">"), paragraphs);
    // The facts are those of the page that is shown.
    EXPECT_EQ(pictures.back()["page"], 2);
    const std::string last = page.substr(page.rfind("<h3>The file</h3>"));
    EXPECT_THAT(last, HasSubstr("<dt>Colours</dt><dd>RGB</dd>"));
    EXPECT_THAT(last, HasSubstr("<dt>Pages</dt><dd>3</dd>"));
}

TEST_F(ReportPicturesTest, OfOtherKindsAreRefused) {
    for (const auto& [name, how, kind] :
         std::vector<std::array<std::string, 3>>{{"grey.tif", "-colorspace gray", "grey"},
                                                 {"grey.png", "-colorspace gray", "grey"},
                                                 {"grey.jpg", "-colorspace gray", "grey"},
                                                 {"cmyk.jpg", "-colorspace CMYK", "CMYK"},
                                                 {"bilevel.tif", "-monochrome -compress group4", "bilevel"}}) {
        const std::string picture = Make(name, "convert-im6 $p8 " + how + " $out");
        EXPECT_THAT(Hueweave({"report", profileOfAll_, picture, "-o", page_}),
                    Refuses(4, name + ": holds " + kind + " pixels, not RGB; "));
        EXPECT_FALSE(Exists(page_)) << name;
    }
}

TEST_F(ReportPicturesTest, StayWithinTheMemoryLimit) {
    TiffMaker::Shape tile{.width = 3400, .height = 3400, .compression = 8, .tileWidth = 3408, .tileHeight = 3408};
    const std::string tiles = folder_ / "tiles.tif", jpeg = folder_ / "scans.jpg", png = folder_ / "interlaced.png";
    OneStrip("not Deflate", tile).Save(tiles);
    // A progressive image of 16 x 16 pixels that declares 3,400 x 3,400.
    std::string scans = FileBytes(Make("small.jpg", "convert-im6 -size 16x16 xc:teal -interlace line $out"));
    scans.replace(scans.find("\xff\xc2") + 5, 4, BigEndian(3400, 2) + BigEndian(3400, 2));
    WriteBytes(jpeg, scans);
    WriteBytes(png, PngOf({{"IHDR", BigEndian(3400) + BigEndian(3400) + std::string("\10\2\0\0\1", 5)},
                           {"IDAT", ""},
                           {"IEND", ""}}));
    const Words words{"report", profileOfAll_, "-o", page_, "--max-memory", "32M"};
    for (const auto& [file, what] : {std::pair{tiles, "tiles"}, {jpeg, "several scans"}, {png, "interlaced rows"}}) {
        const std::string reason = std::string("has ") + what + " that do not fit in the memory allowed";
        EXPECT_THAT(Hueweave(words + Words{file}), Refuses(4, reason + "; raise --max-memory"));
        EXPECT_FALSE(Exists(page_)) << what;
    }
    // By default it is enough for the tile, whose data are at fault then.
    EXPECT_THAT(Hueweave({"report", profileOfAll_, "-o", page_, tiles}), Refuses(4, "tiles.tif: contains damaged"));
}

}  // namespace
}  // namespace hueweave::test
