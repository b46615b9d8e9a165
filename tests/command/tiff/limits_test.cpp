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
    Outcome ConvertWithin(const TiffMaker& tiff, const Words& more) const {
        tiff.Save(in_);
        return HueweaveWithinLimits(Words{"convert", "--precision", "library", in_, "-o", out_, "--force", "-j", "4"} +
                                    more);
    }
    void ExpectConverted(const TiffMaker& tiff, const Words& more) const {
        EXPECT_THAT(ConvertWithin(tiff, more), Succeeds());
    }
    void ExpectRefused(const TiffMaker& tiff, const Words& more, int status, const std::string& reason) const {
        EXPECT_THAT(ConvertWithin(tiff, more), Refuses(status, reason));
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
    ExpectRefused(tiff, scanner_, 4,
                  "in.tif: has more than 65536 directories; divide it into files of fewer pages, for example with "
                  "tiffsplit");
}

TEST_F(LimitsTest, EntriesOfADirectory) {
    Entries more;
    while (more.size() < 65534 - TiffMaker::Small(0).size()) {
        more.push_back(TiffMaker::Short(60000 + static_cast<unsigned>(more.size()) % 2000, 7));
    }
    ExpectConverted(OneStrip(SmallPixels(), {}, more), scanner_);
    // With the profile, the directory has as many entries as possible.
    EXPECT_EQ(OpenedTiff(out_).structure.directories()[0].entries.size(), 65535U);
    const TiffMaker full = OneStrip(SmallPixels(), {}, And(more, TiffMaker::Short(65000, 7)));
    ExpectRefused(full, scanner_, 4, "has no room for one more entry in a directory");
    ExpectConverted(full, scanner_ + Words{"--no-tag"});
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
    ExpectConverted(next(), scanner_);
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
    ExpectConverted(make(2097152), scanner_);
    ExpectRefused(make(2097153), scanner_, 4, "has more than 2097152 strips or tiles");
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
    ExpectConverted(make(2 * 48 + (1 << 20)), scanner_);
    EXPECT_EQ(ReadPictures(out_)[0].values, ToSrgb(SmallPicture()).values);
    ExpectRefused(make(2 * 48 + (1 << 20) + 1), scanner_, 4, "its Deflate data continue far beyond the image");
}

TEST_F(LimitsTest, ProfilesOfAFile) {
    const auto make = [](int profiles) {
        TiffMaker tiff;
        const Entries small = TiffMaker::Small(tiff.Put(SmallPixels()));
        // Each profile occurs more than once, as separate copies.
        for (int i = 0; i < 100; ++i) {
            const std::string profile = PaddedProfile(0, i % profiles);
            tiff.Page(And(small, {34675, 7, profile.size(), 0, profile}));
        }
        return tiff;
    };
    ExpectConverted(make(16), {});
    ExpectRefused(make(17), {}, 3, "embeds more than 16 different profiles");
    ExpectConverted(make(17), scanner_);
}

TEST_F(LimitsTest, BytesOfProfiles) {
    const auto make = [](const std::vector<std::size_t>& sizes) {
        TiffMaker tiff;
        const Entries small = TiffMaker::Small(tiff.Put(SmallPixels()));
        for (const std::size_t size : sizes) {
            tiff.Page(And(small, {34675, 7, size, 0, PaddedProfile(size - PaddedProfile(0).size())}));
        }
        return tiff;
    };
    constexpr std::size_t kMost = std::size_t{32} << 20;
    ExpectConverted(make({kMost}), {});
    ExpectConverted(make({kMost / 2 - 1, kMost / 2 + 1}), {});
    ExpectRefused(make({kMost + 1}), {}, 3, "embeds a profile of more than 32 MiB");
    ExpectRefused(make({kMost / 2, kMost / 2 + 1}), {}, 3,
                  "embeds more than 16 different profiles, or more than 32 MiB of them");
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
    const std::string plain = folder_ / "plain.tif";
    const auto told = [&](const std::string& recipe) {
        Make("tiffcp " + recipe + " $in $out", plain);
        const Outcome run = HueweaveWithinLimits({"verify", Input("scanner.icc"), "--image", in_, "--json"});
        EXPECT_EQ(run.status, 0) << run.err;
        return run.out;
    };
    // 17.3 MB of pixels each; up to 16 MiB are held whole. tiffcp makes planes of 8 bits only.
    for (const auto& [photo, size] :
         {std::pair{"photo-16.tif", "1800x1600!"}, std::pair{"photo-8.tif", "2500x2300!"}}) {
        Shell("convert-im6 " + Input(photo) + " -scale " + size + " -compress none " + plain);
        const std::string wanted = told("-s -c none -r 16");
        for (const char* recipe : {"-s -c none -r 3000", "-s -c zip:2 -r 3000", "-s -c lzw -r 3000"}) {
            EXPECT_EQ(told(recipe), wanted) << recipe;
        }
        if (size[0] == '2') {
            EXPECT_EQ(told("-p separate -s -c zip -r 3000"), wanted);
        }
    }
}

}  // namespace
}  // namespace hueweave::test
