// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <filesystem>

#include "support/MiniTiff.h"
#include "unit/engine/HandTables.h"

namespace hueweave::test {
namespace {

const std::string kLog =
    "Start Conversion(Start) : New ID\n"
    "Start Conversion(Pause) : End Conversion(count : 0)\n"
    "Start Conversion(Stop) :  End Conversion(count : 0)\n";
const std::string kEmptyList = "*** Tiff::SaveFile() --> TiffTag EntryCounts is 0. ***\n";

class FileConversionTest : public testing::Test {
protected:
    /// Runs the conversion and returns what it prints; its result must be 0.
    std::string Run(const CIccEngineS& engine) {
        testing::internal::CaptureStdout();
        const int result = engine.Conversion(source_.c_str(), dest_.c_str());
        std::string printed = testing::internal::GetCapturedStdout();
        EXPECT_EQ(result, 0);
        return printed;
    }
    Bytes Result() const { return ReadFile(dest_); }

    TempDir dir_;
    std::string source_ = dir_.File("source.tif");
    std::string dest_ = dir_.File("dest.tif");
    std::unique_ptr<CIccEngineS> narrow_ = MakeHandEngine(false);
    std::unique_ptr<CIccEngineS> wide_ = MakeHandEngine(true);
};

Bytes AsBytes(const Samples& samples) { return Bytes(samples.begin(), samples.end()); }

TEST_F(FileConversionTest, EightBitFileLosesItsProfileAndKeepsEveryOtherTag) {
    const Samples samples = SomeSamples(3 * 7 * 5, 255);
    MiniTiff tiff{7, 5, 3, 8, AsBytes(samples), Bytes(100, 0x49)};
    WriteFile(source_, tiff.Build());
    const Bytes original = ReadFile(source_);
    EXPECT_EQ(Run(*narrow_), kLog);
    tiff.icc.clear();
    tiff.pixels = AsBytes(ReferenceRun(*narrow_, samples, 8));
    EXPECT_EQ(Result(), tiff.Build());
    EXPECT_EQ(ReadFile(source_), original) << "the source is only read";
}

TEST_F(FileConversionTest, SixteenBitFile) {
    const Samples samples = SomeSamples(3 * 4 * 9, 65535);
    MiniTiff tiff{4, 9, 3, 16, WordBytes(samples), {}};
    WriteFile(source_, tiff.Build());
    EXPECT_EQ(Run(*wide_), kLog);
    tiff.pixels = WordBytes(ReferenceRun(*wide_, samples, 16));
    EXPECT_EQ(Result(), tiff.Build());
}

TEST_F(FileConversionTest, SourceAndDestinationMayBeTheSameFile) {
    const Samples samples = SomeSamples(3 * 6, 255);
    MiniTiff tiff{3, 2, 3, 8, AsBytes(samples), Bytes(40, 0x49)};
    WriteFile(source_, tiff.Build());
    dest_ = source_;
    EXPECT_EQ(Run(*narrow_), kLog);
    tiff.icc.clear();
    tiff.pixels = AsBytes(ReferenceRun(*narrow_, samples, 8));
    EXPECT_EQ(Result(), tiff.Build());
}

TEST_F(FileConversionTest, WidthFollowsTheEngineAndNotTheFile) {
    // Sixteen-bit samples through an engine of bytes: the first width x height x 3 bytes change, one by one.
    const Samples samples = SomeSamples(3 * 10, 65535);
    MiniTiff tiff{5, 2, 3, 16, WordBytes(samples), {}};
    WriteFile(source_, tiff.Build());
    EXPECT_EQ(Run(*narrow_), kLog);
    const Samples half(tiff.pixels.begin(), tiff.pixels.begin() + 30);
    const Bytes converted = AsBytes(ReferenceRun(*narrow_, half, 8));
    std::copy(converted.begin(), converted.end(), tiff.pixels.begin());
    EXPECT_EQ(Result(), tiff.Build());
}

TEST_F(FileConversionTest, AnImageTooSmallForTheEngineIsConvertedAsFarAsItGoes) {
    // Bytes through an engine of words: 10 pixels of 3 bytes hold 5 pixels of 6.
    const Samples samples = SomeSamples(3 * 10, 255);
    MiniTiff tiff{5, 2, 3, 8, AsBytes(samples), {}};
    WriteFile(source_, tiff.Build());
    EXPECT_EQ(Run(*wide_), kLog);
    tiff.pixels = WordBytes(ReferenceRun(*wide_, WordsAt(tiff.pixels.data(), 15), 16));
    EXPECT_EQ(Result(), tiff.Build());
}

TEST_F(FileConversionTest, AGreyImageIsTakenAsColourAsFarAsItGoes) {
    const Samples samples = SomeSamples(25, 255);
    MiniTiff tiff{5, 5, 1, 8, AsBytes(samples), {}};
    WriteFile(source_, tiff.Build());
    EXPECT_EQ(Run(*narrow_), kLog);
    // 25 bytes: 8 pixels, and one byte that stays.
    tiff.pixels = AsBytes(ReferenceRun(*narrow_, samples, 8));
    EXPECT_EQ(tiff.pixels.back(), samples.back());
    EXPECT_EQ(Result(), tiff.Build());
}

TEST_F(FileConversionTest, DimensionsBeyondTheImageAreBoundedByIt) {
    const Samples samples = SomeSamples(12, 255);
    MiniTiff tiff{70000, 70000, 3, 8, AsBytes(samples), {}};
    WriteFile(source_, tiff.Build());
    EXPECT_EQ(Run(*narrow_), kLog);
    tiff.pixels = AsBytes(ReferenceRun(*narrow_, samples, 8));
    EXPECT_EQ(Result(), tiff.Build());
}

TEST_F(FileConversionTest, PixelsBeyondTheDimensionsStay) {
    const Samples samples = SomeSamples(30, 255);
    MiniTiff tiff{2, 3, 3, 8, AsBytes(samples), {}};
    WriteFile(source_, tiff.Build());
    EXPECT_EQ(Run(*narrow_), kLog);
    const Samples inside = ReferenceRun(*narrow_, Samples(samples.begin(), samples.begin() + 18), 8);
    std::copy(inside.begin(), inside.end(), tiff.pixels.begin());
    EXPECT_EQ(Result(), tiff.Build());
}

TEST_F(FileConversionTest, AFileOfNoPixelsIsSavedAndAllLinesArePrinted) {
    for (const auto& [width, height] : {std::pair{0U, 0U}, std::pair{5U, 0U}, std::pair{0U, 5U}}) {
        MiniTiff tiff{width, height, 3, 8, {}, Bytes(30, 0x49)};
        WriteFile(source_, tiff.Build());
        EXPECT_EQ(Run(*narrow_), kLog);
        tiff.icc.clear();
        EXPECT_EQ(Result(), tiff.Build());
    }
}

TEST_F(FileConversionTest, AMissingSourceLeavesAnEmptyDestination) {
    for (const auto* engine : {narrow_.get(), wide_.get()}) {
        EXPECT_EQ(Run(*engine), "*** " + source_ + " Open Error. ***\n" + kLog + kEmptyList);
        EXPECT_EQ(Result(), Bytes());
        std::filesystem::remove(dest_);
    }
}

TEST_F(FileConversionTest, AMissingSourceTruncatesAnOlderDestination) {
    WriteFile(dest_, Bytes(100, 1));
    EXPECT_EQ(Run(*narrow_), "*** " + source_ + " Open Error. ***\n" + kLog + kEmptyList);
    EXPECT_EQ(Result(), Bytes());
}

TEST_F(FileConversionTest, ARefusedHeaderGoesOnAsAMissingSourceButSilently) {
    const MiniTiff tiff{1, 1, 3, 8, {1, 2, 3}, {}};
    Bytes motorola = tiff.Build();
    motorola[0] = motorola[1] = 'M';
    WriteFile(source_, motorola);
    EXPECT_EQ(Run(*narrow_), kLog + kEmptyList);
    EXPECT_EQ(Result(), Bytes());
}

TEST_F(FileConversionTest, ADestinationThatCannotBeOpenedPrintsNothing) {
    const MiniTiff tiff{1, 1, 3, 8, {1, 2, 3}, {}};
    WriteFile(source_, tiff.Build());
    dest_ = dir_.File("absent/dest.tif");
    EXPECT_EQ(Run(*narrow_), kLog);
    EXPECT_FALSE(std::filesystem::exists(dest_));
}

TEST_F(FileConversionTest, AnEngineWithoutTablesCopiesThePixels) {
    const auto engine = std::make_unique<CIccEngineS>();
    MiniTiff tiff{2, 2, 3, 8, Bytes(12, 0x31), Bytes(20, 0x49)};
    WriteFile(source_, tiff.Build());
    EXPECT_EQ(Run(*engine), kLog);
    tiff.icc.clear();
    EXPECT_EQ(Result(), tiff.Build());
}

TEST_F(FileConversionTest, EachCallPrintsTheSameCounts) {
    const MiniTiff tiff{1, 1, 3, 8, {1, 2, 3}, {}};
    WriteFile(source_, tiff.Build());
    EXPECT_EQ(Run(*narrow_), kLog);
    EXPECT_EQ(Run(*narrow_), kLog);
    EXPECT_EQ(Run(*wide_), kLog);
}

}  // namespace
}  // namespace hueweave::test
