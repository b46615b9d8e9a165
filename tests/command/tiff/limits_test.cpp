// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// What a file may cost: each limit from both sides. The largest file that is taken stays within time and memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "batch/session/ProfileFile.h"
#include "colour/library/Bake.h"
#include "colour/library/Compare.h"
#include "command/support/Limits.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"
#include "system/Refusal.h"
#include "system/Signals.h"
#include "tiff/TiffPage.h"

namespace hueweave::test {
namespace {

using Entry = TiffMaker::Entry;
using testing::HasSubstr;
using tool::Budget;
using tool::FileAccess;
using tool::TiffStructure;
namespace limit = tool::limit;

/// The reason for which `what` refuses; empty if it does not.
template <typename What>
std::string ReasonOf(const What& what) {
    try {
        what();
    } catch (const tool::Refusal& refusal) {
        return refusal.what();
    }
    return {};
}

TEST(BudgetTest, Directories) {
    Budget budget("x.tif", 1000);
    for (int i = 0; i < 65536; ++i) budget.AddDirectory(16);
    EXPECT_EQ(
        ReasonOf([&] { budget.AddDirectory(0); }),
        "x.tif: has more than 65536 directories; divide it into files of fewer pages, for example with tiffsplit");
}

TEST(BudgetTest, Entries) {
    Budget budget("x.tif", 1000);
    for (int i = 0; i < 16; ++i) budget.AddDirectory(65535);
    EXPECT_EQ(ReasonOf([&] { budget.AddDirectory(16); }), "");
    EXPECT_THAT(ReasonOf([&] { budget.AddDirectory(1); }), HasSubstr("more than 1048576 entries in its directories"));
}

TEST(BudgetTest, BytesOfValues) {
    // Eight times the file, and 64 MiB.
    for (const bool beyond : {false, true}) {
        Budget budget("x.tif", 1000);
        budget.AddRead(std::uint64_t{64} << 20);
        budget.AddRead(7999);
        EXPECT_EQ(ReasonOf([&] { budget.AddRead(beyond ? 2 : 1); }),
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
    EXPECT_THAT(ReasonOf([&] { budget.AddSegments(1, 1); }), HasSubstr("more pixels than any file holds"));
    EXPECT_EQ(ReasonOf([&] { budget.AddSegments(1, 0); }), "");
    EXPECT_EQ(ReasonOf([&] { budget.AddSegments(0, 1); }), "");
}

TEST(BudgetTest, DataThatStripsShare) {
    // The file, twice the picture, and 1 MiB.
    const std::uint64_t most = 1000 + 2 * 300 + (1 << 20);
    for (const bool beyond : {false, true}) {
        Budget budget("x.tif", 1000);
        budget.AddSegments(3, 100);
        budget.AddEncoded(most - 10);
        EXPECT_EQ(ReasonOf([&] { budget.AddEncoded(beyond ? 11 : 10); }) != "", beyond);
        EXPECT_NE(ReasonOf([&] { budget.AddEncoded(UINT64_MAX); }), "");
    }
}

class LimitsTest : public testing::Test {
protected:
    std::string Read() {
        return ReasonOf([&] {
            const FileAccess file = FileAccess::OpenInput(in_);
            const TiffStructure structure(file);
            ReadPages(structure);
        });
    }
    Outcome Convert(const std::vector<std::string>& more = {"-j", "4"}) {
        std::vector<std::string> words{"convert", in_, "-o", out_, "--force"};
        words.insert(words.end(), more.begin(), more.end());
        return HueweaveWithinLimits(words);
    }
    Folder folder_;
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif";
};

TEST_F(LimitsTest, DirectoriesOfAFile) {
    TiffMaker tiff;
    const std::uint64_t pixels = tiff.Put(SmallPixels());
    const auto entries = TiffMaker::Small(pixels);
    for (int i = 0; i < 65536; ++i) tiff.Page(entries);
    tiff.Save(in_);
    EXPECT_EQ(Read(), "");
    const Outcome told = HueweaveWithinLimits({"inspect", in_});
    EXPECT_THAT(told.out, HasSubstr("convertible: true"));
    tiff.Page(entries);
    tiff.Save(in_);
    EXPECT_THAT(Read(), HasSubstr("more than 65536 directories"));
}

TEST_F(LimitsTest, EntriesOfADirectory) {
    TiffMaker tiff;
    auto entries = TiffMaker::Small(tiff.Put(SmallPixels()));
    while (entries.size() < 65534)
        entries.push_back(TiffMaker::Short(60000 + static_cast<unsigned>(entries.size()) % 2000, 7));
    tiff.Page(entries);
    tiff.Save(in_);
    EXPECT_EQ(Read(), "");
    const Outcome run = Convert({"--profile", Input("scanner.icc")});
    EXPECT_EQ(run.status, 0) << run.err;
    // With the profile, all that a directory holds.
    const FileAccess file = FileAccess::OpenInput(out_);
    EXPECT_EQ(TiffStructure(file).directories()[0].entries.size(), 65535U);
    entries.push_back(TiffMaker::Short(65000, 7));
    TiffMaker full;
    full.Put(SmallPixels());
    full.Page(entries);
    full.Save(in_);
    const Outcome beyond = Convert({"--profile", Input("scanner.icc")});
    EXPECT_EQ(beyond.status, 4);
    EXPECT_THAT(beyond.err, HasSubstr("has no room for one more entry in a directory"));
    EXPECT_EQ(Convert({"--profile", Input("scanner.icc"), "--no-tag"}).status, 0);
}

TEST_F(LimitsTest, DirectoriesBelowDirectories) {
    for (const bool beyond : {false, true}) {
        TiffMaker tiff;
        const std::uint64_t pixels = tiff.Put(SmallPixels());
        std::uint64_t below = 0;
        for (int depth = 0; depth < (beyond ? 10 : 9); ++depth) {
            auto entries = TiffMaker::Small(pixels);
            if (below != 0) entries.push_back(TiffMaker::Long(330, below));
            below = tiff.Directory(entries);
        }
        tiff.First(below);
        tiff.Save(in_);
        EXPECT_EQ(Read() != "", beyond);
        EXPECT_EQ(Convert({"--profile", Input("scanner.icc")}).status, beyond ? 4 : 0);
    }
}

TEST_F(LimitsTest, BytesOfAValue) {
    TiffMaker tiff;
    auto entries = TiffMaker::Small(tiff.Put(SmallPixels()));
    entries.push_back({40000, 7, 32 << 20, 8});
    entries.push_back({40001, 7, (32 << 20) + 1, 8});
    tiff.Page(entries);
    tiff.Save(in_);
    ASSERT_EQ(truncate(in_.c_str(), 40 << 20), 0);
    const FileAccess file = FileAccess::OpenInput(in_);
    const TiffStructure structure(file);
    const auto& directory = structure.directories()[0];
    EXPECT_EQ(structure.Data(*directory.Find(40000)).size(), std::size_t{32} << 20);
    EXPECT_THAT(ReasonOf([&] { structure.Data(*directory.Find(40001)); }), HasSubstr("a value too large in tag 40001"));
}

TEST_F(LimitsTest, StripsOfAFile) {
    for (const bool beyond : {false, true}) {
        const std::uint64_t strips = (std::uint64_t{2} << 20) + (beyond ? 1 : 0);
        TiffMaker tiff;
        const std::uint64_t pixel = tiff.Put("\x40\x80\xc0");
        auto entries = TiffMaker::Rgb({1, strips, {}, {}, 1, 3, 1, 1});
        entries.push_back({273, 3, strips, tiff.Put(Little(std::vector<std::uint64_t>(strips, pixel), 2))});
        entries.push_back({279, 1, strips, tiff.Put(std::string(strips, '\3'))});
        tiff.Page(entries);
        tiff.Save(in_);
        const Outcome run = Convert({"--profile", Input("scanner.icc"), "-j", "2"});
        EXPECT_EQ(run.status, beyond ? 4 : 0) << run.err;
    }
}

TEST_F(LimitsTest, BytesOfATile) {
    for (const bool beyond : {false, true}) {
        TiffMaker tiff;
        const std::uint64_t data = tiff.Put(Deflated("x"));
        TiffMaker::Shape shape{
            1, 1, {data, data, data}, {9, 9, 9}, 8, 3, 2, 1, 1 << 22, (1U << 22) + (beyond ? 16U : 0U)};
        tiff.Page(TiffMaker::Rgb(shape));
        tiff.Save(in_);
        EXPECT_EQ(Read() != "", beyond);
    }
}

TEST_F(LimitsTest, DataThatDecodeToMoreThanThePicture) {
    // Twice the picture of 48 bytes, and 1 MiB.
    const auto make = [&](std::uint64_t size) {
        TiffMaker tiff;
        const std::string data = Deflated(SmallPixels() + std::string(size - 48, '\0'));
        TiffMaker::Shape shape{4, 4, {tiff.Put(data)}, {data.size()}, 8};
        tiff.Page(TiffMaker::Rgb(shape));
        tiff.Save(in_);
    };
    make(2 * 48 + (1 << 20));
    EXPECT_EQ(Convert({"--profile", Input("scanner.icc")}).status, 0);
    Picture wanted{4, 4, 3, 8, {}, ""};
    for (const char sample : SmallPixels()) wanted.values.push_back(static_cast<unsigned char>(sample));
    EXPECT_EQ(ReadPictures(out_)[0].values, ByEngine(wanted, Input("scanner.icc"), 0, 8).values);
    make(2 * 48 + (1 << 20) + 1);
    const Outcome run = Convert({"--profile", Input("scanner.icc")});
    EXPECT_EQ(run.status, 4);
    EXPECT_THAT(run.err, HasSubstr("its Deflate data go on far beyond the picture"));
}

/// A profile like another, with further bytes, and a mark in its date.
std::string ProfileOfSize(std::size_t more, int mark) {
    std::string profile = FileBytes(Input("scanner.icc")) + std::string(more, '\0');
    profile[35] = static_cast<char>(mark % 60);
    for (std::size_t i = 0; i < 4; ++i) profile[i] = static_cast<char>(profile.size() >> (24 - 8 * i));
    return profile;
}

TEST_F(LimitsTest, ProfilesOfAFile) {
    const auto make = [&](int profiles) {
        TiffMaker tiff;
        const std::uint64_t pixels = tiff.Put(SmallPixels());
        // Each of the profiles comes more than once, as a copy of its own.
        for (int i = 0; i < 100; ++i) {
            const std::string profile = ProfileOfSize(0, i % profiles);
            auto entries = TiffMaker::Small(pixels);
            entries.push_back({34675, 7, profile.size(), 0, profile});
            tiff.Page(entries);
        }
        tiff.Save(in_);
    };
    make(16);
    EXPECT_EQ(Convert().status, 0);
    make(17);
    const Outcome run = Convert();
    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.err, HasSubstr("embeds more than 16 different profiles"));
    EXPECT_EQ(Convert({"--profile", Input("scanner.icc")}).status, 0);
}

TEST_F(LimitsTest, BytesOfProfiles) {
    const auto make = [&](std::size_t size) {
        TiffMaker tiff;
        auto entries = TiffMaker::Small(tiff.Put(SmallPixels()));
        const std::string profile = ProfileOfSize(size - ProfileOfSize(0, 0).size(), 0);
        entries.push_back({34675, 7, profile.size(), 0, profile});
        tiff.Page(entries);
        tiff.Save(in_);
    };
    make(std::size_t{32} << 20);
    EXPECT_EQ(Convert().status, 0);
    make((std::size_t{32} << 20) + 1);
    const Outcome run = Convert();
    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.err, HasSubstr("embeds a profile of more than 32 MiB"));
}

TEST_F(LimitsTest, TilesOfAPictureThatIsVerified) {
    // 128 MiB for a tile and its data.
    const auto verify = [&](std::uint64_t side) {
        TiffMaker tiff;
        const std::string data = DeflatedZeros(side * side * 3);
        TiffMaker::Shape shape{1, 1, {tiff.Put(data)}, {data.size()}, 8, 3, 1, 1, side, side};
        tiff.Page(TiffMaker::Rgb(shape));
        tiff.Save(in_);
        return HueweaveWithinLimits({"verify", Input("scanner.icc"), "--image", in_});
    };
    EXPECT_EQ(verify(6672).status, 0);
    const Outcome run = verify(6704);
    EXPECT_EQ(run.status, 4);
    EXPECT_THAT(run.err, HasSubstr("has tiles that take more than 128 MiB"));
}

TEST_F(LimitsTest, AStripOfAnySizeIsVerifiedByRows) {
    // One strip, plain and coded, interleaved and in planes: the same colours as in small strips.
    const std::string plain = folder_ / "plain.tif";
    const auto told = [&](const std::string& recipe) {
        Shell("tiffcp " + recipe + " " + Quoted(plain) + " " + Quoted(in_));
        const Outcome run = HueweaveWithinLimits({"verify", Input("scanner.icc"), "--image", in_, "--json"});
        EXPECT_EQ(run.status, 0) << run.err;
        return run.out;
    };
    for (const char* depth : {"8", "16"}) {
        // 17.3 MB of pixels each; up to 16 MiB are held whole.
        const std::string size = std::string(depth) == "8" ? "2500x2300!" : "1800x1600!";
        Shell("convert-im6 " + Quoted(Input("photo-" + std::string(depth) + ".tif")) + " -scale " + size +
              " -compress none " + Quoted(plain));
        const std::string wanted = told("-s -c none -r 16");
        for (const char* recipe : {"-s -c none -r 3000", "-s -c zip:2 -r 3000", "-s -c lzw -r 3000"}) {
            EXPECT_EQ(told(recipe), wanted) << recipe;
        }
        if (std::string(depth) == "8") {  // of which tiffcp makes planes
            EXPECT_EQ(told("-p separate -s -c zip -r 3000"), wanted);
        }
    }
}

/// Does the work in a process of its own that has noted a signal before; ends it with 7 if the work then stops.
template <class Work>
[[noreturn]] void DoInterrupted(const Work& work) {
    tool::WatchSignals();
    try {
        work();
    } catch (const tool::Interrupted&) {
        _exit(7);
    } catch (...) {
        _exit(8);
    }
    _exit(9);
}

TEST_F(LimitsTest, ASignalEndsTheReadingOfAFilesStructure) {
    TiffMaker tiff;
    const std::uint64_t pixels = tiff.Put(SmallPixels());
    for (int i = 0; i < 3; ++i) tiff.Page(TiffMaker::Small(pixels));
    tiff.Save(in_);
    const FileAccess file = FileAccess::OpenInput(in_);
    EXPECT_EXIT(DoInterrupted([&] {
                    std::raise(SIGTERM);
                    const TiffStructure structure(file);
                }),
                testing::ExitedWithCode(7), "");
    EXPECT_EXIT(DoInterrupted([&] {
                    const TiffStructure structure(file);
                    std::raise(SIGTERM);
                    ReadPages(structure);
                }),
                testing::ExitedWithCode(7), "");
}

TEST_F(LimitsTest, ASignalEndsComputations) {
    const tool::DeviceProfile profile = tool::LoadProfile(Input("scanner.icc"));
    colour::Rendering rendering;
    rendering.space = colour::FindSpace("srgb");
    EXPECT_EXIT(DoInterrupted([&] {
                    const auto colours = colour::GridColours(2);
                    std::raise(SIGTERM);
                    colour::Compare(profile.data, profile.data, rendering, 16, colours, tool::ThrowIfInterrupted);
                }),
                testing::ExitedWithCode(7), "");
    EXPECT_EXIT(DoInterrupted([&] {
                    std::raise(SIGTERM);
                    colour::BakeProfile(profile.data, tool::ThrowIfInterrupted);
                }),
                testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace hueweave::test
