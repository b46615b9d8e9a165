// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The limits on the cost of a file, each tested from both sides. The largest accepted file stays within time and
// memory.
#include <unistd.h>

#include <csignal>
#include <functional>

#include "batch/session/ProfileFile.h"
#include "colour/library/Bake.h"
#include "colour/library/CompareLibrary.h"
#include "command/support/DeviceProfiles.h"
#include "command/support/FileTest.h"
#include "command/support/Limits.h"
#include "command/support/OpenedTiff.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"
#include "system/Signals.h"
#include "tiff/Budget.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using tool::Budget;
using tool::TiffStructure;

TEST(BudgetTest, BytesOfValues) {
    // Limit: eight times the file size plus 64 MiB.
    for (const bool beyond : {false, true}) {
        Budget budget("x.tif", 1000);
        budget.AddRead(std::uint64_t{64} << 20);
        budget.AddRead(7999);
        EXPECT_EQ(LineOf([&] { budget.AddRead(beyond ? 2 : 1); }),
                  beyond ? "x.tif: has too many entries that share their values; get a whole copy of the file" : "");
    }
    Budget sparse("x.tif", std::uint64_t{1} << 62);
    EXPECT_EQ(ReasonOf([&] { sparse.AddRead(std::uint64_t{1} << 62); }), "");
}

TEST(BudgetTest, StripsAndTiles) {
    Budget budget("x.tif", 1000);
    budget.AddSegments(2097151, 1);
    budget.AddSegments(1, 1);
    EXPECT_THAT(ReasonOf([&] { budget.AddSegments(1, 1); }), HasSubstr("more than 2097152 strips or tiles"));
    EXPECT_THAT(ReasonOf([&] { budget.AddSegments(UINT64_MAX, 1); }), HasSubstr("strips or tiles"));
}

TEST(BudgetTest, Pixels) {
    Budget budget("x.tif", 1000);
    budget.AddSegments(65535, std::uint64_t{1} << 44);
    budget.AddSegments(1, std::uint64_t{1} << 44);
    EXPECT_THAT(ReasonOf([&] { budget.AddSegments(1, 1); }), HasSubstr("more pixels than any file can hold"));
    EXPECT_EQ(ReasonOf([&] { budget.AddSegments(1, 0); }), "");
    EXPECT_EQ(ReasonOf([&] { budget.AddSegments(0, 1); }), "");
}

TEST(BudgetTest, DataThatStripsShare) {
    // Limit: the file size, twice the image size and 1 MiB.
    const std::uint64_t most = 1000 + 2 * 300 + (1 << 20);
    for (const bool beyond : {false, true}) {
        Budget budget("x.tif", 1000);
        budget.AddSegments(3, 100);
        budget.AddEncoded(most - 10);
        EXPECT_EQ(ReasonOf([&] { budget.AddEncoded(beyond ? 11 : 10); }) != "", beyond);
        EXPECT_NE(ReasonOf([&] { budget.AddEncoded(UINT64_MAX); }), "");
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
    EXPECT_THAT(HueweaveWithinLimits({"inspect", in_}).out, HasSubstr("convertible: true"));
    tiff.Page(entries);
    tiff.Save(in_);
    EXPECT_EQ(
        LineOf([&] { OpenedTiff read(in_); }),
        in_ + ": has more than 65536 directories; divide it into files of fewer pages, for example with tiffsplit");
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
    for (const bool beyond : {false, true}) {
        TiffMaker tiff;
        const std::uint64_t data = tiff.Put(Deflated("x"));
        tiff.Page(TiffMaker::Rgb(
            {1, 1, {data, data, data}, {9, 9, 9}, 8, 3, 2, 1, 1 << 22, (1U << 22) + (beyond ? 16U : 0U)}));
        EXPECT_EQ(Read(tiff) != "", beyond);
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
    const auto make = [](std::size_t size) {
        const std::string profile = PaddedProfile(size - PaddedProfile(0).size());
        return OneStrip(SmallPixels(), {}, {{34675, 7, size, 0, profile}});
    };
    ExpectConverted(make(std::size_t{32} << 20), {});
    ExpectRefused(make((std::size_t{32} << 20) + 1), {}, 3, "embeds a profile of more than 32 MiB");
}

TEST_F(LimitsTest, TilesOfAPictureThatIsVerified) {
    // Limit: 128 MiB for a tile and its data.
    const auto verify = [&](std::uint64_t side) {
        OneStrip(Deflated(std::string(side * side * 3, '\0')),
                 {.width = 1, .height = 1, .compression = 8, .rows = 1, .tileWidth = side, .tileHeight = side})
            .Save(in_);
        return HueweaveWithinLimits({"verify", Input("scanner.icc"), "--image", in_});
    };
    EXPECT_EQ(verify(6672).status, 0);
    EXPECT_THAT(verify(6704), Refuses(4, "has tiles that take more than 128 MiB"));
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

TEST_F(LimitsTest, ASignalEndsReadingAndComputing) {
    TiffMaker tiff;
    const std::uint64_t pixels = tiff.Put(SmallPixels());
    for (int i = 0; i < 3; ++i) tiff.Page(TiffMaker::Small(pixels));
    tiff.Save(in_);
    const OpenedTiff opened(in_);
    const tool::DeviceProfile profile = tool::LoadProfile(Input("scanner.icc"));
    const auto colours = colour::GridColours(2);
    colour::Rendering rendering;
    rendering.space = colour::FindSpace("srgb");
    const std::pair<const char*, std::function<void()>> works[] = {
        {"structure", [&] { const TiffStructure read(opened.file); }},
        {"pages", [&] { ReadPages(opened.structure); }},
        {"comparison",
         [&] { colour::CompareLibrary(profile.data, profile.data, rendering, 16, colours, tool::ThrowIfInterrupted); }},
        {"baking", [&] { colour::BakeProfile(profile.data, tool::ThrowIfInterrupted); }}};
    for (const auto& [name, work] : works) {
        const auto interrupted = [&run = work] {
            tool::WatchSignals();
            std::raise(SIGTERM);
            try {
                run();
            } catch (const tool::Interrupted&) {
                _exit(7);
            }
            _exit(9);
        };
        EXPECT_EXIT(interrupted(), testing::ExitedWithCode(7), "") << name;
    }
}

}  // namespace
}  // namespace hueweave::test
