// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Files that announce far more than they hold cost little: every command that reads images refuses them in one line, or
// converts them, within seconds and 256 MiB.
#include <functional>

#include "command/support/DeviceProfiles.h"
#include "command/support/FileTest.h"
#include "command/support/Limits.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

using Entry = TiffMaker::Entry;
using testing::HasSubstr;

constexpr std::size_t kMiB = std::size_t{1} << 20;

/// Pages of 4 x 4 pixels, all with an entry of this tag that points to the same value.
TiffMaker PagesThatShare(int pages, Entry entry, const std::string& shared) {
    TiffMaker tiff;
    const std::uint64_t pixels = tiff.Put(SmallPixels());
    entry.value = tiff.Put(shared);
    for (int i = 0; i < pages; ++i) tiff.Page(And(TiffMaker::Small(pixels), entry));
    return tiff;
}

TiffMaker PagesThatShareANumber(unsigned tag) {
    const std::string ones = Little(std::vector<std::uint64_t>(2 * kMiB, 1), 4);
    return PagesThatShare(4000, {tag, 4, 2 * kMiB, 0}, ones);
}

TiffMaker StripsThatShare(std::uint64_t strips, const std::string& data) {
    TiffMaker tiff;
    const std::vector<std::uint64_t> offsets(strips, tiff.Put(data)), counts(strips, data.size());
    tiff.Page(TiffMaker::Rgb({1, strips, offsets, counts, 8, 3, 1, 1}));
    return tiff;
}

TiffMaker OneTile(std::uint64_t width, std::uint64_t height, unsigned planar) {
    TiffMaker tiff;
    const std::string data = Deflated("x");
    const std::vector<std::uint64_t> offsets(planar == 1 ? 1 : 3, tiff.Put(data)), counts(offsets.size(), data.size());
    tiff.Page(TiffMaker::Rgb({1, 1, offsets, counts, 8, 3, planar, 1, width, height}));
    return tiff;
}

/// Directories of 65,535 entries each, every one four bytes after the one before.
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
    tiff.Page(And(TiffMaker::Small(pixels), TiffMaker::Longs(tag, places)));
    return tiff;
}

TiffMaker StripArraysThatPagesShare() {
    TiffMaker tiff;
    constexpr std::uint64_t kStrips = kMiB;
    const std::uint64_t pixels = tiff.Put(SmallPixels());
    const std::uint64_t places = tiff.Put(Little(std::vector<std::uint64_t>(kStrips, pixels), 4));
    const std::uint64_t sizes = tiff.Put(std::string(kStrips, '\3'));
    const Entries arrays = And(TiffMaker::Rgb({1, kStrips, {}, {}, 1, 3, 1, 1}), {273, 4, kStrips, places});
    for (int i = 0; i < 4000; ++i) tiff.Page(And(arrays, {279, 1, kStrips, sizes}));
    return tiff;
}

struct CostlyFile {
    const char* name;
    std::function<TiffMaker()> make;
    const char* reason;  ///< the reason of the refusal
};
void PrintTo(const CostlyFile& row, std::ostream* out) { *out << row.name; }

const CostlyFile kRefused[] = {
    {"PagesOverEachOther", OverlappingPages, "has overlapping directories"},
    {"ExifOverEachOther", [] { return OverlappingMetadata(34665, 2000); }, "has overlapping directories"},
    {"GpsOverEachOther", [] { return OverlappingMetadata(34853, 2000); }, "has overlapping directories"},
    {"TooManyExif", [] { return OverlappingMetadata(34665, 200000); }, "has too many directories in tag 34665"},
    {"SharedFillOrder", [] { return PagesThatShareANumber(266); }, "page 1 has tag 266 with 2097152 values"},
    {"SharedSampleFormat", [] { return PagesThatShareANumber(339); }, "page 1 has tag 339 with 2097152 values"},
    {"SharedSubIfds", [] { return PagesThatShareANumber(330); }, "has too many directories in tag 330"},
    {"SharedStripArrays", StripArraysThatPagesShare, "has more than 2097152 strips or tiles"},
    {"StripsShareABomb", [] { return StripsThatShare(1000, Deflated(std::string(256 * kMiB, '\0'))); },
     "has strips or tiles that share far more data than their pixels need"},
    {"StripsShareASmallBomb", [] { return StripsThatShare(300, Deflated(std::string(2 * kMiB, '\0'))); },
     "its Deflate data continue far beyond the image"},
    {"OneStripIsABomb", [] { return StripsThatShare(1, Deflated(std::string(256 * kMiB, '\0'))); },
     "its Deflate data continue far beyond the image"},
    {"TileWhoseSizeWraps", [] { return OneTile(2147483632, 1717986928, 2); },
     "has strips or tiles of an impossible size"},
    {"GiantTile", [] { return OneTile(40000, 40000, 1); }, "has tiles that "},
};

class CostlyTest : public FileTest, public testing::WithParamInterface<CostlyFile> {};

TEST_P(CostlyTest, IsRefusedByEveryCommandWithinLimits) {
    GetParam().make().Save(in_);
    const std::string before = FileBytes(in_);
    for (const Words& words : {Words{"convert", "--profile", Input("scanner.icc"), in_, "-o", out_, "-j", "4"},
                               Words{"convert", "--profile", Input("scanner.icc"), in_, "--in-place"},
                               Words{"verify", Input("scanner.icc"), "--image", in_}}) {
        const Outcome run = HueweaveWithinLimits(words);
        EXPECT_THAT(run, Refuses(4, GetParam().reason));
        EXPECT_THAT(run.err, HasSubstr("in.tif: "));
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
    }
    EXPECT_EQ(FileBytes(in_), before);
    const Outcome told = HueweaveWithinLimits({"inspect", in_});
    EXPECT_THAT(told.status, testing::AnyOf(0, 4)) << told.err;
}

INSTANTIATE_TEST_SUITE_P(Every, CostlyTest, testing::ValuesIn(kRefused), NameOfRow);

class SharedTest : public FileTest {
protected:
    /// Expects the file to stay within the limits of every file.
    void ExpectConverted(const Words& more = {}) {
        ASSERT_THAT(HueweaveWithinLimits(Words{"convert", "--precision", "library", in_, "-o", out_} + more),
                    Succeeds());
        const Outcome told = HueweaveWithinLimits({"inspect", in_});
        EXPECT_EQ(told.status, 0) << told.err;
        EXPECT_THAT(told.out, HasSubstr("convertible: true"));
    }
};

TEST_F(SharedTest, AProfileOfManyPagesIsHeldAndWrittenOnce) {
    const std::string profile = PaddedProfile(8 * kMiB);
    PagesThatShare(2000, {34675, 7, profile.size(), 0}, profile).Save(in_);
    ExpectConverted();
    const auto after = ReadPictures(out_);
    ASSERT_EQ(after.size(), 2000U);
    const Picture wanted = ToSrgb(SmallPicture());
    for (const Picture& page : after) {
        ASSERT_EQ(page.values, wanted.values);
        ASSERT_FALSE(page.icc.empty());
        ASSERT_EQ(page.icc, after[0].icc);
    }
    // Each page of the output has its own pixels.
    EXPECT_LT(FileBytes(out_).size(), FileBytes(in_).size() + 2000 * 48 + 2 * after[0].icc.size());
}

TEST_F(SharedTest, XmpOfManyPagesIsLookedThroughOnce) {
    const std::string xmp(4 * kMiB, ' ');
    PagesThatShare(4000, {700, 1, xmp.size(), 0}, xmp).Save(in_);
    ExpectConverted({"--profile", Input("scanner.icc")});
}

TEST_F(SharedTest, ResourcesOfManyPagesAreWrittenOnce) {
    // A profile as resource 1039, twice, and 8 MiB of another resource.
    const std::string icc = Resource(1039, "", FileBytes(Input("scanner.icc")));
    const std::string all = icc + icc + Resource(1040, "", std::string(8 * kMiB, 'x'));
    PagesThatShare(2000, {34377, 7, all.size(), 0}, all).Save(in_);
    ExpectConverted({"--profile", Input("scanner.icc")});
    EXPECT_LT(FileBytes(out_).size(), FileBytes(in_).size() + 10 * kMiB);
    EXPECT_EQ(ReadPictures(out_).size(), 2000U);
}

}  // namespace
}  // namespace hueweave::test
