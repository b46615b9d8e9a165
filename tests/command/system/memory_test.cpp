// SPDX-License-Identifier: MIT
// Memory stays within its limit whatever the image layout, the compression ratio and the number of threads; and where
// allocations fail, the output is complete or absent, and nothing crashes.
#include <algorithm>

#include "command/support/DeviceProfiles.h"
#include "command/support/FileTest.h"
#include "command/support/Limits.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

constexpr long kMostKb = MemoryKb(64L * 1024 + kCountsKb);

class MemoryTest : public FileTest {
protected:
    /// 72 MB of pixels: smooth ones, or noise that does not compress.
    void MakeSmooth() const { Shell("ln -sf " + Quoted(Input("large-16.tif")) + " " + plain_); }
    void MakeNoise(const std::string& size) const {
        Shell("convert-im6 -size " + size + " xc:gray -seed 1 +noise Random -type TrueColor -depth 16 " +
              "-compress none -define tiff:rows-per-strip=64 " + plain_);
    }
    Outcome ConvertAs(const std::string& recipe, const Words& more = {}) {
        Make(recipe + " $in $out", plain_);
        return Convert(Words{"--force", "-q"} + more);
    }
    void ExpectWithinTheLimit(const std::string& recipe, const std::string& threads) {
        const Outcome run = ConvertAs(recipe, {"-j", threads});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_LT(run.peakKb, kMostKb) << recipe;
        EXPECT_EQ(ReadPictures(plain_)[0].values.size(), ReadPictures(out_)[0].values.size());
    }
    const std::string plain_ = folder_ / "plain.tif";
};

TEST_F(MemoryTest, StaysWithinTheLimitForAnyLayoutAndNumberOfThreads) {
    MakeSmooth();
    for (const char* recipe : {"tiffcp -s -c none -r 3000", "tiffcp -s -c lzw:2 -r 3000", "tiffcp -s -c zip -r 64",
                               "tiffcp -t -w 256 -l 256 -c zip"}) {
        ExpectWithinTheLimit(recipe, "2");
    }
    ExpectWithinTheLimit("cp", "500");
    fs::remove(plain_);
    MakeNoise("4000x3000");
    for (const char* scheme : {"lzw", "packbits"}) {
        ExpectWithinTheLimit("tiffcp -s -r 3000 -c " + std::string(scheme), "1");
    }
    MakeNoise("2000x256");
    for (const char* scheme : {"zstd", "lzma"}) {  // their coders take much memory themselves
        ExpectWithinTheLimit("tiffcp -s -r 16 -c " + std::string(scheme), "16");
    }
}

TEST_F(MemoryTest, PixelsThatBecomeRgbCountToo) {
    // 20 MB of CMYK in one strip, the RGB pixels and the buffers of both coders do not fit: a few rows are held at a
    // time.
    const std::string ink = folder_ / "ink.icc";
    WriteCmykProfile(ink);
    const TiffMaker::Shape shape{
        .width = 2500, .height = 2000, .compression = 8, .samples = 4, .rows = 2000, .photometric = 5};
    OneStrip(Deflated(std::string(std::size_t{4} * 2500 * 2000, '\x40')), shape).Save(in_);
    const Outcome run = Hueweave({"convert", "-j", "1", "--profile", ink, in_, "-o", out_});
    ASSERT_THAT(run, Succeeds());
    EXPECT_LT(run.peakKb, MemoryKb(32L * 1024 + kCountsKb));
}

TEST_F(MemoryTest, WhatDoesNotFitIsRefused) {
    MakeSmooth();
    const auto refused = [&](const std::string& recipe, const std::string& what) {
        EXPECT_THAT(ConvertAs(recipe),
                    Says(4, "has " + what + " that do not fit in the memory allowed; raise --max-memory"));
        EXPECT_FALSE(Exists(out_));
        EXPECT_EQ(ConvertAs(recipe, {"--max-memory", "1G"}).status, 0);
        Shell("rm " + Quoted(out_));
    };
    refused("tiffcp -t -w 4096 -l 3072 -c zip", "tiles");
    // A row is never divided.
    const std::string raw = folder_ / "raw";
    fs::remove(plain_);
    Shell("truncate -s 72000000 " + Quoted(raw) + "; raw2tiff -w 12000000 -l 1 -b 3 -d short -p rgb -c none -r 1 " +
          Quoted(raw) + " " + Quoted(plain_));
    for (const char* scheme : {"none", "zip"}) {
        refused("tiffcp -s -r 1 -c " + std::string(scheme), "rows");
        EXPECT_LT(ConvertAs("cp").peakKb, kMostKb);
    }
    MakeSmooth();
    // Strips with reversed bit order are held whole.
    refused("tiffcp -f lsb2msb -s -r 3000 -c none", "strips");
}

// Sanitizers replace the allocator.
#ifndef __SANITIZE_ADDRESS__

/// Allocations fail in turn, either one of them or all from one on.
struct AllocationRow {
    const char* name;
    Words words;      ///< "IN" is the file that `recipe` makes
    bool writes;      ///< writes a file; else standard output is the result
    int first, step;  ///< first counts from the end of the run if negative; `make faults` tries every call
    int refusals;     ///< the number of refusals must be greater
    std::string recipe{};
};
void PrintTo(const AllocationRow& row, std::ostream* out) { *out << row.name; }

class AllocationTest : public testing::TestWithParam<AllocationRow> {
protected:
    AllocationTest() {
        std::replace(words_.begin(), words_.end(), std::string("IN"), in_);
        if (GetParam().writes) words_.insert(words_.end(), {"-q", "-o", out_});
        if (!GetParam().recipe.empty()) Shell("cd " + Quoted(Input("")) + "; " + GetParam().recipe + " " + in_);
    }
    /// Runs the command with these allocations failing. Without any, stores the number of allocations in `all_`.
    Outcome RunFailing(const std::string& fails) {
        fs::remove(out_);
        if (replaces_) WriteBytes(out_, "old");
        const Outcome run = Hueweave(words_, {.setenv = {{"LD_PRELOAD", HUEWEAVE_ALLOCATION_FAULTS},
                                                         {"HUEWEAVE_ALLOCATION", fails},
                                                         {"HUEWEAVE_ALLOCATIONS_SEEN", fails.empty() ? seen_ : ""}}});
        if (fails.empty()) all_ = std::stoi(FileBytes(seen_));
        return run;
    }
    /// The bytes of the output; its pixels where a coder can fall back to another method without memory.
    std::string Result(const Outcome& run) const {
        if (!GetParam().writes) return run.out;
        return GetParam().recipe.empty() ? FileBytes(out_) : testing::PrintToString(ReadPictures(out_)[0].values);
    }
    Folder folder_, other_;
    const std::string in_ = other_ / "in", out_ = folder_ / "out.tif", seen_ = other_ / "seen";
    Words words_ = GetParam().words;
    const bool replaces_ = std::count(words_.begin(), words_.end(), "--force") != 0;
    int all_ = 0;
};

TEST_P(AllocationTest, TheResultIsCompleteOrAbsent) {
    const Outcome sound = RunFailing("");
    ASSERT_EQ(sound.status, 0) << sound.err;
    const std::string wanted = Result(sound);
    // Single failures, with an odd step so as not to coincide with the period of a loop; then all calls from one on.
    const auto& [name, words, writes, first, step, refusals, recipe] = GetParam();
    int refused = 0;
    for (const std::string onwards : {"", "+"}) {
        if (onwards == "+" && step != 0) break;
        for (int call = first < 0 ? all_ + first : first; call <= all_; call += step != 0 ? step : all_ / 12 | 1) {
            SCOPED_TRACE(std::to_string(call) + onwards);
            const Outcome run = RunFailing(std::to_string(call) + onwards);
            EXPECT_EQ(run.signal, 0);
            if (run.status == 0) {
                EXPECT_EQ(Result(run), wanted);
                continue;
            }
            ++refused;
            EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
            if (onwards.empty()) {
                EXPECT_THAT(run.err, testing::AnyOf(HasSubstr(": needs more memory than is available; lower -j\n"),
                                                    "hueweave: not enough memory; lower -j\n",
                                                    HasSubstr("(Cannot allocate memory)")));
            }
            EXPECT_TRUE(Exists(out_) || !replaces_);
            EXPECT_EQ(NamesIn(folder_.path()), Exists(out_) ? Words{"out.tif"} : Words{});
            // With status 5 the file is there, and the line about it is lost.
            if (Exists(out_) && FileBytes(out_) != "old") {
                EXPECT_EQ(Result(run), wanted);
                EXPECT_TRUE(run.status == 5 || onwards == "+") << run.err;
            }
        }
    }
    EXPECT_GT(refused, refusals);
}

const Words kConvert{"convert", "-j1", "--profile", Input("scanner.icc")};
const AllocationRow kRows[] = {
    {"ConvertBaked", {"convert", "-j1", "--profile", Input("screen.icc"), Input("photo-16.tif")}, true, 1, 0, 12},
    {"ConvertByATable", {"convert", "-j2", "--profile", Input("scanner.icc"), Input("photo-8.tif")}, true, 1, 0, 12},
    {"Bake", {"bake", Input("matrix.icc")}, true, 1, 0, 12},
    {"Report", {"report", Input("matrix.icc"), Input("photo-8.tif")}, true, 1, 6871, 2},
    {"Verify", {"verify", Input("xyz.icc"), "--points", "3"}, false, 1, 0, 12},
    {"Json", kConvert + Words{"--json", Input("alpha-8.tif")}, true, -330, 2, 20},
    {"Replace", kConvert + Words{"--force", Input("photo-8.tif")}, true, -60, 1, 20},
    {"Inspect", {"inspect", "--json", Input("scanner.icc")}, false, 1, 17, 20},
    // The coders are opened late: all calls before concern the profile.
    {"Lzw", kConvert + Words{"IN"}, true, -320, 11, 0, "tiffcp -s -c lzw:2 -r 64 photo-16.tif"},
    {"Jpeg", kConvert + Words{"IN"}, true, -320, 11, 0, "tiffcp -t -w 128 -l 128 -c jpeg:90 photo-8.tif"},
    {"PngToTiff", kConvert + Words{"IN", "--format", "tiff"}, true, -320, 11, 0,
     "sh -c 'convert-im6 photo-8.tif png:$0'"},
    {"Zstd", kConvert + Words{"IN"}, true, -320, 11, 0, "tiffcp -s -c zstd -r 64 photo-16.tif"},
};
INSTANTIATE_TEST_SUITE_P(Every, AllocationTest, testing::ValuesIn(kRows), NameOfRow);

#endif

}  // namespace
}  // namespace hueweave::test
