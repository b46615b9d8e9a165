// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Files that announce far more than they hold cost little: they are refused on one line, or converted, within seconds
// and 256 MiB, by every command that reads images.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "command/support/Limits.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

using Entry = TiffMaker::Entry;
using testing::HasSubstr;

constexpr std::size_t kMiB = std::size_t{1} << 20;

TiffMaker OnePage(const std::vector<Entry>& more) {
    TiffMaker tiff;
    auto entries = TiffMaker::Small(tiff.Put(SmallPixels()));
    entries.insert(entries.end(), more.begin(), more.end());
    tiff.Page(entries);
    return tiff;
}

/// Pages of 4 x 4 pixels, all with the entries that `more` returns for the place of `shared`.
TiffMaker PagesThatShare(int pages, const std::string& shared,
                         const std::function<std::vector<Entry>(std::uint64_t)>& more) {
    TiffMaker tiff;
    const std::uint64_t pixels = tiff.Put(SmallPixels()), at = tiff.Put(shared);
    for (int i = 0; i < pages; ++i) {
        auto entries = TiffMaker::Small(pixels);
        const auto further = more(at);
        entries.insert(entries.end(), further.begin(), further.end());
        tiff.Page(entries);
    }
    return tiff;
}

TiffMaker PagesThatShareANumber(unsigned tag) {
    const std::string ones = Little(std::vector<std::uint64_t>(2 * kMiB, 1), 4);
    return PagesThatShare(4000, ones, [=](std::uint64_t at) { return std::vector<Entry>{{tag, 4, 2 * kMiB, at}}; });
}

TiffMaker StripsThatShare(std::uint64_t strips, const std::string& data) {
    TiffMaker tiff;
    TiffMaker::Shape shape{1, strips, {}, {}, 8, 3, 1, 1};
    shape.offsets.assign(strips, tiff.Put(data));
    shape.counts.assign(strips, data.size());
    tiff.Page(TiffMaker::Rgb(shape));
    return tiff;
}

TiffMaker OneTile(std::uint64_t width, std::uint64_t height, unsigned planar) {
    TiffMaker tiff;
    const std::string data = Deflated("x");
    TiffMaker::Shape shape{1, 1, {}, {}, 8, 3, planar, 1, width, height};
    shape.offsets.assign(planar == 1 ? 1 : 3, tiff.Put(data));
    shape.counts.assign(shape.offsets.size(), data.size());
    tiff.Page(TiffMaker::Rgb(shape));
    return tiff;
}

/// Directories of 65,535 entries each, every one four bytes behind the one before.
TiffMaker OverlappingPages() {
    constexpr std::size_t kCount = 2000, kReach = 2 + 12 * 65535;
    TiffMaker tiff;
    std::string& bytes = tiff.bytes();
    bytes.resize(8 + 4 * kCount + kReach + 4);
    for (std::size_t i = 0; i < kCount; ++i) {
        bytes.replace(8 + 4 * i, 4, std::string("\xff\xff\0\0", 4));
        tiff.Patch(8 + 4 * i + kReach, i + 1 < kCount ? 12 + 4 * i : 0);
    }
    tiff.First(8);
    return tiff;
}

TiffMaker OverlappingMetadata(unsigned tag, unsigned count) {
    TiffMaker tiff;
    const std::uint64_t pixels = tiff.Put(SmallPixels());
    std::string block;
    for (unsigned i = 0; i < (2 + 12 * 65535 + 4 + 4 * count) / 4 + 2; ++i) block.append("\xff\xff\0\0", 4);
    tiff.bytes().resize((tiff.bytes().size() + 3) / 4 * 4);
    const std::uint64_t base = tiff.Put(block);
    std::vector<std::uint64_t> places;
    for (unsigned i = 0; i < count; ++i) places.push_back(base + 4 * i);
    auto entries = TiffMaker::Small(pixels);
    entries.push_back(TiffMaker::Longs(tag, places));
    tiff.Page(entries);
    return tiff;
}

TiffMaker StripArraysThatPagesShare() {
    TiffMaker tiff;
    constexpr std::uint64_t kStrips = kMiB;
    const std::uint64_t pixels = tiff.Put(SmallPixels());
    const std::uint64_t places = tiff.Put(Little(std::vector<std::uint64_t>(kStrips, pixels), 4));
    const std::uint64_t sizes = tiff.Put(std::string(kStrips, '\3'));
    for (int i = 0; i < 4000; ++i) {
        auto entries = TiffMaker::Rgb({1, kStrips, {}, {}, 1, 3, 1, 1});
        entries.push_back({273, 4, kStrips, places});
        entries.push_back({279, 1, kStrips, sizes});
        tiff.Page(entries);
    }
    return tiff;
}

TiffMaker PagesInACircle() {
    TiffMaker tiff = OnePage({});
    const std::uint64_t first = tiff.Page(TiffMaker::Small(8));
    tiff.Page(TiffMaker::Small(8));
    tiff.Patch(tiff.bytes().size() - 4, first);
    return tiff;
}

TiffMaker PageThatIsMetadata() {
    TiffMaker tiff;
    const std::uint64_t pixels = tiff.Put(SmallPixels());
    const std::uint64_t other = tiff.Directory(TiffMaker::Small(pixels));
    auto entries = TiffMaker::Small(pixels);
    entries.push_back(TiffMaker::Long(34665, other));
    tiff.First(tiff.Directory(entries, other));
    return tiff;
}

TiffMaker DirectoryInTheHeader() {
    TiffMaker tiff = OnePage({});
    tiff.First(6);  // the upper half of its own place: no entries
    return tiff;
}

struct CostlyFile {
    const char* name;
    std::function<TiffMaker()> make;
    const char* reason;  ///< of the refusal
};
void PrintTo(const CostlyFile& row, std::ostream* out) { *out << row.name; }

const CostlyFile kRefused[] = {
    {"SubIfdsTwice",
     [] {
         return OnePage({TiffMaker::Long(330, 0), {330, 0, 0, 0}});
     },
     "has tag 330 twice"},
    {"SubIfdsOfNoType",
     [] {
         return OnePage({{330, 0, 0, 0}});
     },
     "has no whole numbers in tag 330"},
    {"PagesOverEachOther", OverlappingPages, "has directories that lie over each other"},
    {"ExifOverEachOther", [] { return OverlappingMetadata(34665, 2000); }, "has directories that lie over each other"},
    {"GpsOverEachOther", [] { return OverlappingMetadata(34853, 2000); }, "has directories that lie over each other"},
    {"TooManyExif", [] { return OverlappingMetadata(34665, 200000); }, "has too many directories in tag 34665"},
    {"DirectoryInTheHeader", DirectoryInTheHeader, "has directories that lie over each other"},
    {"PagesInACircle", PagesInACircle, "has pages that lead back to earlier ones"},
    {"PageThatIsMetadata", PageThatIsMetadata, "has a directory that is an image and metadata at once"},
    {"SharedFillOrder", [] { return PagesThatShareANumber(266); }, "page 1 has tag 266 with 2097152 values"},
    {"SharedSampleFormat", [] { return PagesThatShareANumber(339); }, "page 1 has tag 339 with 2097152 values"},
    {"SharedSubIfds", [] { return PagesThatShareANumber(330); }, "has too many directories in tag 330"},
    {"SharedStripArrays", StripArraysThatPagesShare, "has more than 2097152 strips or tiles"},
    {"StripsShareABomb", [] { return StripsThatShare(1000, DeflatedZeros(256 * kMiB)); },
     "has strips or tiles that share far more data than their pixels take"},
    {"StripsShareASmallBomb", [] { return StripsThatShare(300, DeflatedZeros(2 * kMiB)); },
     "its Deflate data go on far beyond the picture"},
    {"OneStripIsABomb", [] { return StripsThatShare(1, DeflatedZeros(256 * kMiB)); },
     "its Deflate data go on far beyond the picture"},
    {"TileWhoseSizeWraps", [] { return OneTile(2147483632, 1717986928, 2); },
     "has strips or tiles of an impossible size"},
    {"GiantTile", [] { return OneTile(40000, 40000, 1); }, "has tiles that "},
};

class RefusedTest : public testing::TestWithParam<CostlyFile> {};

TEST_P(RefusedTest, ByEveryCommandWithinLimits) {
    const Folder folder;
    const std::string in = folder / "in.tif", out = folder / "out.tif";
    GetParam().make().Save(in);
    const std::string before = FileBytes(in);
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"convert", "--profile", Input("scanner.icc"), in, "-o", out, "-j", "4"},
          {"convert", "--profile", Input("scanner.icc"), in, "--in-place"},
          {"verify", Input("scanner.icc"), "--image", in}}) {
        const Outcome run = HueweaveWithinLimits(words);
        EXPECT_EQ(run.status, 4) << words[0];
        EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
        EXPECT_THAT(run.err, HasSubstr("in.tif: "));
        EXPECT_THAT(run.err, HasSubstr(GetParam().reason));
        EXPECT_THAT(run.err, HasSubstr("; ")) << "no remedy";
        EXPECT_EQ(NamesIn(folder.path()), (std::vector<std::string>{"in.tif"}));
    }
    EXPECT_EQ(FileBytes(in), before);
    const Outcome told = HueweaveWithinLimits({"inspect", in});
    EXPECT_THAT(told.status, testing::AnyOf(0, 4)) << told.err;
}

INSTANTIATE_TEST_SUITE_P(Every, RefusedTest, testing::ValuesIn(kRefused),
                         [](const auto& row) { return std::string(row.param.name); });

class SharedTest : public testing::Test {
protected:
    /// Converts; the files cost no more than others do.
    void Convert(const std::vector<std::string>& more = {}) {
        std::vector<std::string> words{"convert", in_, "-o", out_, "--force"};
        words.insert(words.end(), more.begin(), more.end());
        const Outcome run = HueweaveWithinLimits(words);
        ASSERT_EQ(run.status, 0) << run.err;
        const Outcome told = HueweaveWithinLimits({"inspect", in_});
        EXPECT_EQ(told.status, 0) << told.err;
        EXPECT_THAT(told.out, HasSubstr("convertible: true"));
    }
    Folder folder_;
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif";
};

TEST_F(SharedTest, AProfileOfManyPagesIsHeldAndWrittenOnce) {
    std::string profile = FileBytes(Input("scanner.icc")) + std::string(8 * kMiB, '\0');
    for (std::size_t i = 0; i < 4; ++i) profile[i] = static_cast<char>(profile.size() >> (24 - 8 * i));
    PagesThatShare(2000, profile, [&](std::uint64_t at) {
        return std::vector<Entry>{{34675, 7, profile.size(), at}};
    }).Save(in_);
    Convert();
    const auto after = ReadPictures(out_);
    ASSERT_EQ(after.size(), 2000U);
    Picture wanted{4, 4, 3, 8, {}, ""};
    for (const char sample : SmallPixels()) wanted.values.push_back(static_cast<unsigned char>(sample));
    wanted = ByEngine(wanted, Input("scanner.icc"), 0, 8);
    for (const Picture& page : after) {
        ASSERT_EQ(page.values, wanted.values);
        ASSERT_FALSE(page.icc.empty());
        ASSERT_EQ(page.icc, after[0].icc);
    }
    // The pixels of each page are its own now.
    EXPECT_LT(FileBytes(out_).size(), FileBytes(in_).size() + 2000 * 48 + 2 * after[0].icc.size());
}

TEST_F(SharedTest, XmpOfManyPagesIsLookedThroughOnce) {
    const std::string xmp(4 * kMiB, ' ');
    PagesThatShare(4000, xmp, [&](std::uint64_t at) { return std::vector<Entry>{{700, 1, xmp.size(), at}}; }).Save(in_);
    Convert({"--profile", Input("scanner.icc")});
}

TEST_F(SharedTest, ResourcesOfManyPagesAreWrittenOnce) {
    // A profile as resource 1039, twice, and 8 MiB of another resource.
    const auto resource = [](char low, const std::string& data) {
        std::string text("8BIM\4", 5);
        text += low + std::string(2, '\0');
        for (int i = 3; i >= 0; --i) text += static_cast<char>(data.size() >> 8 * i);
        return text + data;
    };
    const std::string icc = FileBytes(Input("scanner.icc"));
    const std::string all =
        resource('\x0f', icc) + resource('\x0f', icc) + resource('\x10', std::string(8 * kMiB, 'x'));
    PagesThatShare(2000, all, [&](std::uint64_t at) {
        return std::vector<Entry>{{34377, 7, all.size(), at}};
    }).Save(in_);
    Convert({"--profile", Input("scanner.icc")});
    EXPECT_LT(FileBytes(out_).size(), FileBytes(in_).size() + 10 * kMiB);
    EXPECT_EQ(ReadPictures(out_).size(), 2000U);
}

TEST_F(SharedTest, ABatchGoesOnAfterEachOfThem) {
    OneTile(2147483632, 1717986928, 2).Save(in_);
    Shell("cp " + Quoted(Input("photo-8.tif")) + " " + Quoted(folder_ / "photo.tif"));
    OnePage({{330, 0, 0, 0}}).Save(folder_ / "other.tif");
    const Outcome run = HueweaveWithinLimits(
        {"convert", "--profile", Input("scanner.icc"), folder_.path(), "-o", folder_ / "out", "-q"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(Lines(run.err).size(), 2U) << run.err;
    EXPECT_EQ(ReadPictures(folder_ / "out/photo.tif").size(), 1U);
    EXPECT_FALSE(Exists(folder_ / "out/in.tif"));
}

}  // namespace
}  // namespace hueweave::test
