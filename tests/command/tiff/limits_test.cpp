// SPDX-License-Identifier: MIT
// The limits on the cost of a file, each tested from both sides: the largest accepted file stays within time and
// memory. Files that announce far more than they hold cost little: every command that reads images refuses them in one
// line, or converts them, within seconds and 256 MiB.
#include "command/support/Limits.h"
#include "command/support/DeviceProfiles.h"
#include "command/support/FileTest.h"
#include "command/support/OpenedTiff.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"
#include "tiff/Budget.h"

namespace hueweave::test {
namespace {

TEST(BudgetTest, EachSumReachesItsLimitAndNoMore) {
    tool::Budget budget("x.tif", 1000);
    const auto read = [&](std::uint64_t bytes) { return ReasonOf([&] { budget.AddRead(bytes); }); };
    // Eight times the file size and 64 MiB.
    EXPECT_EQ(read(std::uint64_t{64} << 20), "");
    EXPECT_EQ(read(8000), "");
    EXPECT_EQ(read(1), "has too many entries that share their values");
    tool::Budget sparse("x.tif", std::uint64_t{1} << 62);
    EXPECT_EQ(ReasonOf([&] { sparse.AddRead(std::uint64_t{1} << 62); }), "");

    const auto segments = [&](std::uint64_t count, std::uint64_t decoded) {
        return ReasonOf([&] { budget.AddSegments(count, decoded); });
    };
    EXPECT_EQ(segments(65535, std::uint64_t{1} << 44), "");
    EXPECT_EQ(segments(1, std::uint64_t{1} << 44), "");
    EXPECT_EQ(segments(1, 1), "declares more pixels than any file can hold");
    EXPECT_EQ(segments(0, 1), "");
    EXPECT_EQ(segments(2097152 - 65537, 0), "");
    for (const std::uint64_t more : {std::uint64_t{1}, UINT64_MAX}) {
        EXPECT_EQ(segments(more, 0), "has more than 2097152 strips or tiles");
    }
    // The file size, twice the image size and 1 MiB.
    for (const std::uint64_t more : {std::uint64_t{1}, UINT64_MAX}) {
        tool::Budget shared("x.tif", 1000);
        shared.AddSegments(3, 100);
        shared.AddEncoded(1000 + 2 * 300 + (1 << 20));
        EXPECT_EQ(ReasonOf([&] { shared.AddEncoded(more); }),
                  "has strips or tiles that share far more data than their pixels need");
    }
}

class LimitsTest : public FileTest {
protected:
    /// The reason why the structure or the pages of the file are refused.
    std::string Read(const TiffMaker& tiff) const {
        tiff.Save(in_);
        return ReasonOf([&] { ReadPages(OpenedTiff(in_).structure); });
    }
    Outcome ConvertWithin(const TiffMaker& tiff, const Words& more = {}) const {
        tiff.Save(in_);
        return HueweaveWithinLimits(Words{"convert", "--precision", "library", in_, "-o", out_, "--force", "-j", "4"} +
                                    more);
    }
    const Words scanner_{"--profile", Input("scanner.icc"), "--source", "given"};
};

TEST_F(LimitsTest, DirectoriesOfAFile) {
    TiffMaker tiff;
    const Entries entries = TiffMaker::Small(tiff.Put(SmallPixels()));
    for (int i = 0; i < 65536; ++i) tiff.Page(entries);
    EXPECT_EQ(Read(tiff), "");
    EXPECT_THAT(HueweaveWithinLimits({"inspect", in_}).out, HasSubstr("embeds no profile; give"));
    tiff.Page(entries);
    EXPECT_THAT(ConvertWithin(tiff, scanner_),
                Refuses(4,
                        "in.tif: has more than 65536 directories; split it into files of fewer pages, for example with "
                        "tiffsplit"));
}

TEST_F(LimitsTest, EntriesOfADirectory) {
    Entries more;
    while (more.size() < 65534 - TiffMaker::Small(0).size()) {
        more.push_back(TiffMaker::Short(60000 + static_cast<unsigned>(more.size()) % 2000, 7));
    }
    EXPECT_THAT(ConvertWithin(OneStrip(SmallPixels(), {}, more), scanner_), Succeeds());
    // With the profile, the directory has as many entries as possible.
    EXPECT_EQ(OpenedTiff(out_).structure.directories()[0].entries.size(), 65535U);
    const TiffMaker full = OneStrip(SmallPixels(), {}, And(more, TiffMaker::Short(65000, 7)));
    EXPECT_THAT(ConvertWithin(full, scanner_), Refuses(4, "has no room for one more entry in a directory"));
    EXPECT_THAT(ConvertWithin(full, scanner_ + Words{"--no-tag"}), Succeeds());
}

TEST_F(LimitsTest, DirectoriesBelowDirectories) {
    TiffMaker tiff;
    const Entries small = TiffMaker::Small(tiff.Put(SmallPixels()));
    std::uint64_t below = tiff.Directory(small);
    const auto next = [&] {
        below = tiff.Directory(And(small, TiffMaker::Long(330, below)));
        tiff.First(below);
        return tiff;
    };
    for (int depth = 2; depth < 9; ++depth) next();
    EXPECT_THAT(ConvertWithin(next(), scanner_), Succeeds());
    EXPECT_NE(Read(next()), "");
}

TEST_F(LimitsTest, StripsOfAFile) {
    const auto make = [](std::uint64_t strips) {
        TiffMaker tiff;
        const std::uint64_t pixel = tiff.Put("\x40\x80\xc0");
        Entries entries = TiffMaker::Rgb({1, strips, {}, {}, 1, 3, 1, 1});
        entries.push_back({273, 3, strips, tiff.Put(Little(std::vector<std::uint64_t>(strips, pixel), 2))});
        entries.push_back({279, 1, strips, tiff.Put(std::string(strips, '\3'))});
        tiff.Page(entries);
        return tiff;
    };
    EXPECT_THAT(ConvertWithin(make(2097152), scanner_), Succeeds());
    EXPECT_THAT(ConvertWithin(make(2097153), scanner_), Refuses(4, "has more than 2097152 strips or tiles"));
}

TEST_F(LimitsTest, BytesOfATile) {
    constexpr std::uint64_t kSide = 1 << 22;  // the limit is its square
    for (const auto& [width, height] : {std::pair{kSide, kSide}, {kSide, kSide + 16}, {2147483632, 1717986928}}) {
        TiffMaker tiff;
        const std::uint64_t data = tiff.Put(Deflated("x"));
        tiff.Page(TiffMaker::Rgb({1, 1, {data, data, data}, {9, 9, 9}, 8, 3, 2, 1, width, height}));
        EXPECT_EQ(Read(tiff), height == kSide ? "" : "has strips or tiles of an impossible size");
    }
}

TEST_F(LimitsTest, DataThatDecodeToMoreThanThePicture) {
    // Limit: twice the image size of 48 bytes plus 1 MiB.
    const auto make = [](std::size_t size) {
        return OneStrip(Deflated(SmallPixels() + std::string(size - 48, '\0')), {.compression = 8});
    };
    EXPECT_THAT(ConvertWithin(make(2 * 48 + (1 << 20)), scanner_), Succeeds());
    EXPECT_EQ(ReadPictures(out_)[0].values, ToSrgb(SmallPicture()).values);
    EXPECT_THAT(ConvertWithin(make(2 * 48 + (1 << 20) + 1), scanner_),
                Refuses(4, "its Deflate data continue far beyond the image"));
}

/// A page for each of these profiles.
TiffMaker PagesWith(const std::vector<std::string>& profiles) {
    TiffMaker tiff;
    const Entries small = TiffMaker::Small(tiff.Put(SmallPixels()));
    for (const std::string& profile : profiles) tiff.Page(And(small, {34675, 7, profile.size(), 0, profile}));
    return tiff;
}

TEST_F(LimitsTest, ProfilesOfAFile) {
    // Each profile occurs more than once, as separate copies.
    const auto make = [](int different) {
        std::vector<std::string> profiles;
        for (int i = 0; i < 100; ++i) profiles.push_back(PaddedProfile(0, i % different));
        return PagesWith(profiles);
    };
    EXPECT_THAT(ConvertWithin(make(16)), Succeeds());
    EXPECT_THAT(ConvertWithin(make(17)), Refuses(3, "embeds more than 16 different profiles"));
    EXPECT_THAT(ConvertWithin(make(17), scanner_), Succeeds());
}

TEST_F(LimitsTest, BytesOfProfiles) {
    const auto of = [](std::size_t size) { return PaddedProfile(size - PaddedProfile(0).size()); };
    constexpr std::size_t kMost = std::size_t{32} << 20, kHalf = kMost / 2;
    EXPECT_THAT(ConvertWithin(PagesWith({of(kMost)})), Succeeds());
    EXPECT_THAT(ConvertWithin(PagesWith({of(kHalf - 1), of(kHalf + 1)})), Succeeds());
    EXPECT_THAT(ConvertWithin(PagesWith({of(kMost + 1)})), Refuses(3, "embeds a profile of more than 32 MiB"));
    EXPECT_THAT(ConvertWithin(PagesWith({of(kHalf), of(kHalf + 1)})),
                Refuses(3, "embeds more than 16 different profiles, or more than 32 MiB of them"));
}

TEST_F(LimitsTest, TilesOfAPictureThatIsVerified) {
    // Limit: 128 MiB for a tile and its data.
    const auto verify = [&](std::uint64_t side, const std::string& data) {
        OneStrip(data, {.width = 1, .height = 1, .compression = 8, .rows = 1, .tileWidth = side, .tileHeight = side})
            .Save(in_);
        return HueweaveWithinLimits({"verify", Input("scanner.icc"), "--image", in_});
    };
    EXPECT_EQ(verify(6672, Deflated(std::string(6672UL * 6672 * 3, '\0'))).status, 0);
    for (const auto& [side, bytes] : {std::pair{6704U, 1U}, {6672U, 700000U}}) {
        EXPECT_THAT(verify(side, std::string(bytes, '\0')), Refuses(4, "has tiles that take more than 128 MiB"));
    }
}

TEST_F(LimitsTest, AStripOfAnySizeIsVerifiedByRows) {
    // One strip, plain and compressed, interleaved and in planes: the same colours as in small strips.
    const auto told = [&](const std::string& recipe) {
        Make("tiffcp " + recipe + " $in $out", folder_ / "plain.tif");
        const Outcome run = HueweaveWithinLimits({"verify", Input("scanner.icc"), "--image", in_, "--json"});
        EXPECT_THAT(run, Succeeds());
        return run.out;
    };
    // 17.3 MB of pixels each; up to 16 MiB are held whole. tiffcp makes planes of 8 bits only.
    const Words recipes{"-s -c none -r 3000", "-s -c zip:2 -r 3000", "-s -c lzw -r 3000"};
    for (const auto& [photo, size, all] :
         {std::tuple{"photo-16.tif", "1800x1600!", recipes},
          std::tuple{"photo-8.tif", "2500x2300!", recipes + Words{"-p separate -s -c zip -r 3000"}}}) {
        Shell("convert-im6 " + Quoted(Input(photo)) + " -scale " + size + " -compress none " +
              Quoted(folder_ / "plain.tif"));
        const std::string wanted = told("-s -c none -r 16");
        for (const std::string& recipe : all) EXPECT_EQ(told(recipe), wanted) << recipe;
    }
}

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

class ExpensiveFilesTest : public FileTest, public testing::WithParamInterface<CostlyFile> {};

TEST_P(ExpensiveFilesTest, AreRefusedByEveryCommandWithinLimits) {
    GetParam().make().Save(in_);
    const std::string before = FileBytes(in_);
    for (const Words& words : {Words{"convert", "--profile", Input("scanner.icc"), in_, "-o", out_, "-j", "4"},
                               Words{"convert", "--profile", Input("scanner.icc"), in_, "--in-place"},
                               Words{"verify", Input("scanner.icc"), "--image", in_}}) {
        EXPECT_THAT(HueweaveWithinLimits(words), AllOf(Refuses(4, GetParam().reason), Says(4, "in.tif: ")));
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
    }
    EXPECT_EQ(FileBytes(in_), before);
    EXPECT_THAT(HueweaveWithinLimits({"inspect", in_}), testing::AnyOf(Says(0), Says(4)));
}

INSTANTIATE_TEST_SUITE_P(Every, ExpensiveFilesTest, testing::ValuesIn(kRefused), NameOfRow);

class SharedMetadataTest : public LimitsTest {
protected:
    void ExpectConverted(const TiffMaker& tiff, const Words& more = {}) {
        ASSERT_THAT(ConvertWithin(tiff, more), Succeeds());
        EXPECT_THAT(HueweaveWithinLimits({"inspect", in_}),
                    testing::AnyOf(Prints(0, "convertible: true"), Prints(0, "in.tif: embeds no profile; give")));
    }
};

TEST_F(SharedMetadataTest, AProfileOfManyPagesIsHeldAndWrittenOnce) {
    ExpectConverted(PagesThatShare(2000, 34675, 7, PaddedProfile(8 * kMiB)));
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

TEST_F(SharedMetadataTest, XmpAndResourcesOfManyPagesAreReadAndWrittenOnce) {
    const Words scanner{"--profile", Input("scanner.icc")};
    ExpectConverted(PagesThatShare(4000, 700, 1, std::string(4 * kMiB, ' ')), scanner);
    // A profile as resource 1039, twice, and 8 MiB of another resource.
    const std::string icc = Resource(1039, "", FileBytes(Input("scanner.icc")));
    const std::string other = Resource(1040, "", std::string(8 * kMiB, 'x'));
    ExpectConverted(PagesThatShare(2000, 34377, 7, icc + icc + other), scanner);
    EXPECT_LT(FileBytes(out_).size(), FileBytes(in_).size() + 10 * kMiB);
    EXPECT_EQ(ReadPictures(out_).size(), 2000U);
}

}  // namespace
}  // namespace hueweave::test
