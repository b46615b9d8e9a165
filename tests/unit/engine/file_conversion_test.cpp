// SPDX-License-Identifier: MIT
// Whole TIFF files through an engine: what is converted and saved, what is printed, and when.
#include <climits>
#include <filesystem>
#include <functional>
#include <iostream>
#include <streambuf>

#include "support/MiniTiff.h"
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

const std::vector<std::string> kLines = {"Start Conversion(Start) : New ID\n",
                                         "Start Conversion(Pause) : End Conversion(count : 0)\n",
                                         "Start Conversion(Stop) :  End Conversion(count : 0)\n"};

/// The suite pipeline converts files of all kinds.
class FileConversion : public testing::Test {
protected:
    /// Converts a file of `tiff` and expects the same file with the first `bytes` bytes of its pixels converted.
    void ExpectConverted(const CIccEngineS& engine, MiniTiff tiff, std::size_t bytes) {
        WriteFile(source_, tiff.Build());
        ExpectLines(engine, dest_);
        const auto end = tiff.pixels.begin() + static_cast<std::ptrdiff_t>(bytes);
        std::ranges::copy(ReferenceRun(engine, Bytes(tiff.pixels.begin(), end)), tiff.pixels.begin());
        EXPECT_THAT(ReadFile(dest_), EqualsBytes(tiff.Build()));
    }
    void ExpectLines(const CIccEngineS& engine, const std::string& dest) {
        testing::internal::CaptureStdout();
        const int result = engine.Conversion(source_.c_str(), dest.c_str());
        EXPECT_EQ(testing::internal::GetCapturedStdout(), kLines[0] + kLines[1] + kLines[2]);
        EXPECT_EQ(result, 0);
    }
    TempDir dir_;
    std::string source_ = dir_.File("source.tif"), dest_ = dir_.File("dest.tif");
};

TEST_F(FileConversion, UsesTheSampleWidthOfTheEngine) {
    const auto narrow = MakeHandEngine(false), wide = MakeHandEngine(true);
    // 16-bit samples through an 8-bit engine: the first width x height x 3 bytes change, each by itself.
    ExpectConverted(*narrow, {5, 2, 3, 16, SomePixels(10, true), {}}, 30);
    // 8-bit samples through a 16-bit engine: 10 pixels of 3 bytes hold 5 pixels of 6.
    ExpectConverted(*wide, {5, 2, 3, 8, SomePixels(10, false), {}}, 30);
    // Encodings that only `SetIntent` stores: their pixels are three bytes, in a file as in memory.
    for (const int input : {2, 3, 5, 9, 65534, 65535, -1, INT_MIN}) {
        narrow->Unit.InputSpace = Space(input);
        ExpectConverted(*narrow, {7, 5, 3, 8, SomePixels(35, false), {}}, 105);
    }
}

TEST_F(FileConversion, PrintsNothingOfADestinationThatCannotBeOpened) {
    WriteFile(source_, MiniTiff{1, 1, 3, 8, {1, 2, 3}, {}}.Build());
    ExpectLines(*MakeHandEngine(false), dir_.File("absent/dest.tif"));
    EXPECT_FALSE(std::filesystem::exists(dir_.File("absent")));
}

/// Replaces the standard output. Calls `onPiece` with the number of each piece, from 1 on, when it is flushed.
class OutputWatch : std::streambuf {
public:
    explicit OutputWatch(std::function<void(std::size_t)> onPiece) : onPiece_(std::move(onPiece)) {
        std::cout.rdbuf(this);
    }
    OutputWatch(const OutputWatch&) = delete;
    OutputWatch& operator=(const OutputWatch&) = delete;
    ~OutputWatch() override { std::cout.rdbuf(before_); }
    const std::vector<std::string>& Pieces() const { return pieces_; }

private:
    int_type overflow(int_type c) override {
        if (c != traits_type::eof()) pending_.push_back(static_cast<char>(c));
        return traits_type::not_eof(c);
    }
    int sync() override {
        if (pending_.empty()) return 0;
        pieces_.push_back(std::exchange(pending_, {}));
        onPiece_(pieces_.size());
        return 0;
    }

    std::function<void(std::size_t)> onPiece_;
    std::streambuf* before_ = std::cout.rdbuf();
    std::string pending_;
    std::vector<std::string> pieces_;
};

/// Each test acts while one of the three lines is written. True means 16-bit samples, in the file and in the engine.
class FileConversionOrder : public FileConversion, public testing::WithParamInterface<bool> {
protected:
    FileConversionOrder() { WriteFile(source_, image_.Build()); }
    /// The file expected from the current tables.
    Bytes Expected() const {
        MiniTiff image = image_;
        image.icc.clear();
        image.pixels = ReferenceRun(*engine_, image.pixels);
        return image.Build();
    }
    /// Changes the output tables so that every sample is converted differently.
    void ChangeTables() {
        for (auto* table : {engine_->Lut1DOutR, engine_->Lut1DOutG, engine_->Lut1DOutB}) {
            for (std::uint32_t v = 0; v < 65536; ++v) table[v] ^= 0x5a5aU;
        }
    }
    /// Converts the file and calls `act` while line number `line` is written.
    void Convert(std::size_t line, const std::function<void()>& act) {
        std::vector<std::string> pieces;
        {
            OutputWatch watch([&](std::size_t piece) {
                if (piece == line) act();
            });
            engine_->Conversion(source_.c_str(), dest_.c_str());
            pieces = watch.Pieces();
        }
        EXPECT_EQ(pieces, kLines) << "each line is flushed by itself";
    }

    const bool wide_ = GetParam();
    const MiniTiff image_{7, 5, 3, wide_ ? 16U : 8U, SomePixels(35, wide_), Bytes(30, 0x49)};
    std::unique_ptr<CIccEngineS> engine_ = MakeHandEngine(wide_);
};

TEST_P(FileConversionOrder, ReadsTheSourceBeforeTheFirstLine) {
    const Bytes expected = Expected();
    Convert(1, [&] { WriteFile(source_, Bytes(1000, 7)); });
    EXPECT_THAT(ReadFile(dest_), EqualsBytes(expected));
    WriteFile(source_, image_.Build());
    Convert(1, [&] { std::filesystem::remove(source_); });
    EXPECT_THAT(ReadFile(dest_), EqualsBytes(expected));
}

TEST_P(FileConversionOrder, ConvertsBetweenTheFirstAndTheSecondLine) {
    Convert(1, [&] { ChangeTables(); });
    const Bytes expected = Expected();
    EXPECT_THAT(ReadFile(dest_), EqualsBytes(expected));
    Convert(2, [&] { ChangeTables(); });
    ASSERT_NE(Expected(), expected);
    EXPECT_THAT(ReadFile(dest_), EqualsBytes(expected));
}

TEST_P(FileConversionOrder, SavesAfterTheLastLine) {
    const Bytes older(10, 1);
    for (std::size_t line = 1; line <= 3; ++line) {
        SCOPED_TRACE(line);
        std::filesystem::remove(dest_);
        bool there = true;
        Convert(line, [&] { there = std::filesystem::exists(dest_); });
        EXPECT_FALSE(there);
        WriteFile(dest_, older);
        Bytes found;
        Convert(line, [&] { found = ReadFile(dest_); });
        EXPECT_EQ(found, older);
        EXPECT_THAT(ReadFile(dest_), EqualsBytes(Expected()));
    }
}

INSTANTIATE_TEST_SUITE_P(Widths, FileConversionOrder, testing::Bool(),
                         [](const auto& param) { return std::string(param.param ? "Words" : "Bytes"); });

}  // namespace
}  // namespace hueweave::test
