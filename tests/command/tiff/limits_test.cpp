// SPDX-License-Identifier: MIT
// The limits on the cost of a file, each tested from both sides. The largest accepted file stays within time and
// memory.
#include <unistd.h>

#include "command/support/DeviceProfiles.h"
#include "command/support/FileTest.h"
#include "command/support/Limits.h"
#include "command/support/OpenedTiff.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"
#include "tiff/Budget.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using tool::Budget;

TEST(BudgetTest, EachSumReachesItsLimitAndNoMore) {
    Budget budget("x.tif", 1000);
    const auto read = [&](std::uint64_t bytes) { return ReasonOf([&] { budget.AddRead(bytes); }); };
    // Eight times the file size and 64 MiB.
    EXPECT_EQ(read(std::uint64_t{64} << 20), "");
    EXPECT_EQ(read(8000), "");
    EXPECT_EQ(read(1), "has too many entries that share their values");
    Budget sparse("x.tif", std::uint64_t{1} << 62);
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
        Budget shared("x.tif", 1000);
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
    EXPECT_THAT(
        ConvertWithin(tiff, scanner_),
        Refuses(4,
                "in.tif: has more than 65536 directories; divide it into files of fewer pages, for example with "
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

TEST_F(LimitsTest, BytesOfAValue) {
    OneStrip(SmallPixels(), {}, {{40000, 7, 32 << 20, 8}, {40001, 7, (32 << 20) + 1, 8}}).Save(in_);
    ASSERT_EQ(truncate(in_.c_str(), 40 << 20), 0);
    const OpenedTiff opened(in_);
    const auto& directory = opened.structure.directories()[0];
    EXPECT_EQ(opened.structure.Data(*directory.Find(40000)).size(), std::size_t{32} << 20);
    EXPECT_THAT(ReasonOf([&] { opened.structure.Data(*directory.Find(40001)); }),
                HasSubstr("too large a value in tag 40001"));
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

}  // namespace
}  // namespace hueweave::test
