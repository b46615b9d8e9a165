// SPDX-License-Identifier: MIT
// Memory stays within its limit whatever the image layout, the compression ratio and the number of threads.
#include <filesystem>

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

TEST_F(MemoryTest, WhateverTheLayoutAndTheNumberOfThreads) {
    MakeSmooth();
    for (const char* recipe : {"tiffcp -s -c none -r 3000", "tiffcp -s -c lzw:2 -r 3000", "tiffcp -s -c zip -r 64",
                               "tiffcp -t -w 256 -l 256 -c zip"}) {
        ExpectWithinTheLimit(recipe, "2");
    }
    ExpectWithinTheLimit("cp", "500");
    std::filesystem::remove(plain_);
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
    // 20 MB of CMYK in one strip, which with the RGB pixels and the buffers of both coders do not fit: only a few rows
    // at a time are in memory.
    const std::string ink = folder_ / "ink.icc";
    WriteCmykProfile(ink);
    Entries page = TiffMaker::Rgb({.width = 2500, .height = 2000, .compression = 8, .samples = 4, .rows = 2000});
    TiffMaker tiff;
    const std::string strip = Deflated(std::string(std::size_t{4} * 2500 * 2000, '\x40'));
    page = And(And(With(page, TiffMaker::Short(262, 5)), TiffMaker::Longs(273, {tiff.Put(strip)})),
               TiffMaker::Longs(279, {strip.size()}));
    tiff.Page(page);
    tiff.Save(in_);
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
    std::filesystem::remove(plain_);
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

}  // namespace
}  // namespace hueweave::test
