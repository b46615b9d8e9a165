// SPDX-License-Identifier: MIT
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

using testing::HasSubstr;

constexpr std::size_t kMiB = std::size_t{1} << 20;

/// Pages of 4 x 4 pixels, all with an entry of this tag and type that points to the same bytes.
TiffMaker PagesThatShare(int pages, unsigned tag, unsigned type, const std::string& shared) {
    TiffMaker tiff;
    const std::uint64_t pixels = tiff.Put(SmallPixels());
    const std::uint64_t count = type == 4 ? shared.size() / 4 : shared.size();
    const Entries entries = And(TiffMaker::Small(pixels), {tag, type, count, tiff.Put(shared)});
    for (int i = 0; i < pages; ++i) tiff.Page(entries);
    return tiff;
}

TiffMaker PagesThatShareNumbers(unsigned tag) { return PagesThatShare(4000, tag, 4, std::string(8 * kMiB, '\1')); }

TiffMaker StripsThatShare(std::uint64_t strips, const std::string& data) {
    TiffMaker tiff;
    const std::vector<std::uint64_t> offsets(strips, tiff.Put(data)), counts(strips, data.size());
    tiff.Page(TiffMaker::Rgb({1, strips, offsets, counts, 8, 3, 1, 1}));
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
    {"SharedFillOrder", [] { return PagesThatShareNumbers(266); }, "page 1 has tag 266 with 2097152 values"},
    {"SharedSampleFormat", [] { return PagesThatShareNumbers(339); }, "page 1 has tag 339 with 2097152 values"},
    {"SharedSubIfds", [] { return PagesThatShareNumbers(330); }, "has too many directories in tag 330"},
    {"StripsShareABomb", [] { return StripsThatShare(1000, Deflated(std::string(256 * kMiB, '\0'))); },
     "has strips or tiles that share far more data than their pixels need"},
    {"StripsShareASmallBomb", [] { return StripsThatShare(300, Deflated(std::string(2 * kMiB, '\0'))); },
     "its Deflate data continue far beyond the image"},
    {"GiantTile", [] { return OneStrip(Deflated("x"), {.compression = 8, .tileWidth = 40000, .tileHeight = 40000}); },
     "has tiles that "},
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
        ASSERT_THAT(HueweaveWithinLimits(Words{"convert", "--precision", "library", in_, "-o", out_, "--force"} + more),
                    Succeeds());
        const Outcome told = HueweaveWithinLimits({"inspect", in_});
        EXPECT_EQ(told.status, 0) << told.err;
        EXPECT_THAT(told.out,
                    testing::AnyOf(HasSubstr("convertible: true"), HasSubstr("in.tif: embeds no profile; give")));
    }
};

TEST_F(SharedTest, AProfileOfManyPagesIsHeldAndWrittenOnce) {
    const std::string profile = PaddedProfile(8 * kMiB);
    PagesThatShare(2000, 34675, 7, profile).Save(in_);
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

TEST_F(SharedTest, XmpAndResourcesOfManyPagesAreReadAndWrittenOnce) {
    const Words scanner{"--profile", Input("scanner.icc")};
    PagesThatShare(4000, 700, 1, std::string(4 * kMiB, ' ')).Save(in_);
    ExpectConverted(scanner);
    // A profile as resource 1039, twice, and 8 MiB of another resource.
    const std::string icc = Resource(1039, "", FileBytes(Input("scanner.icc")));
    PagesThatShare(2000, 34377, 7, icc + icc + Resource(1040, "", std::string(8 * kMiB, 'x'))).Save(in_);
    ExpectConverted(scanner);
    EXPECT_LT(FileBytes(out_).size(), FileBytes(in_).size() + 10 * kMiB);
    EXPECT_EQ(ReadPictures(out_).size(), 2000U);
}

}  // namespace
}  // namespace hueweave::test
