// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Memory stays within its limit whatever the layout of the image, how well it shrinks, and the number of threads.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "command/support/Command.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;

#ifdef __SANITIZE_ADDRESS__
constexpr long kMostKb = 1024 * 1024;  // the sanitizer's own memory counts
#elif defined(HUEWEAVE_COUNTS_LINES)
constexpr long kMostKb = (64 + 24) * 1024;  // `hueweave --version` takes 21 MiB more where lines are counted
#else
constexpr long kMostKb = 64 * 1024;
#endif

class MemoryTest : public testing::Test {
protected:
    /// 72 MB of pixels: smooth ones, or noise that does not shrink.
    void Make(bool noise, const std::string& size = "4000x3000") {
        std::filesystem::remove(plain_);
        if (!noise) return std::filesystem::create_symlink(Input("large-16.tif"), plain_);
        Shell("convert-im6 -size " + size + " xc:gray -seed 1 +noise Random -type TrueColor -depth 16 " +
              "-compress none -define tiff:rows-per-strip=64 " + Quoted(plain_));
    }
    Outcome Convert(const std::string& recipe, std::vector<std::string> more = {}) {
        Shell(recipe + " " + Quoted(plain_) + " " + Quoted(in_));
        std::vector<std::string> words{"convert", "--profile", Input("scanner.icc"), in_, "-o", out_, "--force", "-q"};
        words.insert(words.end(), more.begin(), more.end());
        return Hueweave(words);
    }
    void ExpectWithinTheLimit(const std::string& recipe, const std::string& threads) {
        const Outcome run = Convert(recipe, {"-j", threads});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_LT(run.peakKb, kMostKb) << recipe;
        EXPECT_EQ(ReadPictures(plain_)[0].values.size(), ReadPictures(out_)[0].values.size());
    }
    Folder folder_;
    std::string plain_ = folder_ / "plain.tif", in_ = folder_ / "in.tif", out_ = folder_ / "out.tif";
};

TEST_F(MemoryTest, WhateverTheLayout) {
    Make(false);
    for (const char* recipe : {"tiffcp -s -c none -r 3000", "tiffcp -s -c lzw:2 -r 3000", "tiffcp -s -c zip -r 64",
                               "tiffcp -t -w 256 -l 256 -c zip"}) {
        ExpectWithinTheLimit(recipe, "2");
    }
}

TEST_F(MemoryTest, WhateverTheNumberOfThreads) {
    Make(false);
    ExpectWithinTheLimit("cp", "500");
}

TEST_F(MemoryTest, WhereDataDoNotShrink) {
    Make(true);
    for (const char* scheme : {"lzw", "packbits"}) {
        ExpectWithinTheLimit("tiffcp -s -r 3000 -c " + std::string(scheme), "1");
    }
}

TEST_F(MemoryTest, WhereTheCodersTakeMuchThemselves) {
    Make(true, "2000x256");
    for (const char* scheme : {"zstd", "lzma"}) {
        ExpectWithinTheLimit("tiffcp -s -r 16 -c " + std::string(scheme), "16");
    }
}

TEST_F(MemoryTest, WhatDoesNotFitIsRefused) {
    Make(false);
    const auto refused = [&](const std::string& recipe, const std::string& what) {
        const Outcome run = Convert(recipe);
        EXPECT_EQ(run.status, 4);
        EXPECT_THAT(run.err, HasSubstr("has " + what + " that do not fit in the memory allowed; raise --max-memory"));
        EXPECT_FALSE(Exists(out_));
        EXPECT_EQ(Convert(recipe, {"--max-memory", "1G"}).status, 0);
        Shell("rm " + Quoted(out_));
    };
    refused("tiffcp -t -w 4096 -l 3072 -c zip", "tiles");
    // Rows are never divided.
    const std::string raw = folder_ / "raw";
    std::filesystem::remove(plain_);
    Shell("truncate -s 72000000 " + Quoted(raw) + "; raw2tiff -w 12000000 -l 1 -b 3 -d short -p rgb -c none -r 1 " +
          Quoted(raw) + " " + Quoted(plain_));
    for (const char* scheme : {"none", "zip"}) {
        refused("tiffcp -s -r 1 -c " + std::string(scheme), "rows");
        EXPECT_LT(Convert("cp").peakKb, kMostKb);
    }
    Make(false);
    // Strips whose bits have to be turned around are held whole.
    refused("tiffcp -f lsb2msb -s -r 3000 -c none", "strips");
}

}  // namespace
}  // namespace hueweave::test
