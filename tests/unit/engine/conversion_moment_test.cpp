// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// When a file conversion does what, told by the lines that it prints: each test acts while one of them is written.
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>
#include <limits>
#include <streambuf>

#include "support/MiniTiff.h"
#include "unit/engine/HandTables.h"

namespace hueweave::test {
namespace {

/// Takes the place of the standard output, of the streams' as well as of stdio's. Calls `onPiece` with the number of
/// the piece, from 1 on, each time that one is flushed.
class OutputWatch : std::streambuf {
public:
    explicit OutputWatch(std::function<void(std::size_t)> onPiece) : onPiece_(std::move(onPiece)) {
        std::cout.flush();
        std::fflush(stdout);
        cookie_io_functions_t functions{};
        functions.write = [](void* watch, const char* text, std::size_t size) {
            static_cast<OutputWatch*>(watch)->Take(std::string(text, size));
            return static_cast<ssize_t>(size);
        };
        stream_ = fopencookie(this, "w", functions);
        if (stream_ == nullptr) throw std::runtime_error("no stream");
        stdout = stream_;
        std::cout.rdbuf(this);
    }
    OutputWatch(const OutputWatch&) = delete;
    OutputWatch& operator=(const OutputWatch&) = delete;
    ~OutputWatch() override {
        std::cout.rdbuf(before_);
        stdout = beforeStream_;
        std::fclose(stream_);
    }
    const std::vector<std::string>& Pieces() const { return pieces_; }

private:
    int_type overflow(int_type c) override {
        if (c != traits_type::eof()) pending_.push_back(static_cast<char>(c));
        return traits_type::not_eof(c);
    }
    int sync() override {
        Take(std::exchange(pending_, {}));
        return 0;
    }
    void Take(const std::string& piece) {
        if (piece.empty()) return;
        pieces_.push_back(piece);
        onPiece_(pieces_.size());
    }

    std::function<void(std::size_t)> onPiece_;
    std::streambuf* before_ = std::cout.rdbuf();
    std::FILE* beforeStream_ = stdout;
    std::FILE* stream_ = nullptr;
    std::string pending_;
    std::vector<std::string> pieces_;
};

/// True: 16-bit samples, in the file and in the engine.
class ConversionMomentTest : public testing::TestWithParam<bool> {
protected:
    ConversionMomentTest() { WriteFile(source_, Image().Build()); }
    MiniTiff Image() const {
        const Bytes bytes = wide_ ? WordBytes(samples_) : Bytes(samples_.begin(), samples_.end());
        return {7, 5, 3, wide_ ? 16U : 8U, bytes, Bytes(30, 0x49)};
    }
    /// The file that must come of it through the tables as they are now.
    Bytes Expected() const {
        const Samples converted = ReferenceRun(*engine_, samples_, wide_ ? 16 : 8);
        MiniTiff image = Image();
        image.icc.clear();
        image.pixels = wide_ ? WordBytes(converted) : Bytes(converted.begin(), converted.end());
        return image.Build();
    }
    /// Other output tables, so that every sample comes out as another.
    void ChangeTables() {
        for (auto* table : {engine_->Lut1DOutR, engine_->Lut1DOutG, engine_->Lut1DOutB}) {
            for (std::uint32_t v = 0; v < 65536; ++v) table[v] ^= 0x5a5aU;
        }
    }
    /// Converts the file and calls `act` while line number `line` is written.
    void Convert(std::size_t line, const std::function<void()>& act) {
        OutputWatch watch([&](std::size_t piece) {
            if (piece == line) act();
        });
        result_ = engine_->Conversion(source_.c_str(), dest_.c_str());
        pieces_ = watch.Pieces();
    }

    const bool wide_ = GetParam();
    const Samples samples_ = SomeSamples(105, wide_ ? 65535 : 255);
    std::unique_ptr<CIccEngineS> engine_ = MakeHandEngine(wide_);
    TempDir dir_;
    std::string source_ = dir_.File("source.tif");
    std::string dest_ = dir_.File("dest.tif");
    int result_ = -2;
    std::vector<std::string> pieces_;
};

TEST_P(ConversionMomentTest, EachLineIsFlushedByItself) {
    Convert(0, [] {});
    EXPECT_EQ(result_, 0);
    const std::vector<std::string> lines = {"Start Conversion(Start) : New ID\n",
                                            "Start Conversion(Pause) : End Conversion(count : 0)\n",
                                            "Start Conversion(Stop) :  End Conversion(count : 0)\n"};
    EXPECT_EQ(pieces_, lines);
    EXPECT_EQ(ReadFile(dest_), Expected());
}

TEST_P(ConversionMomentTest, TheStartIsPrintedBeforeThePixels) {
    Convert(1, [&] { ChangeTables(); });
    EXPECT_EQ(ReadFile(dest_), Expected());
}

TEST_P(ConversionMomentTest, ThePauseIsPrintedAfterThePixels) {
    const Bytes expected = Expected();
    Convert(2, [&] { ChangeTables(); });
    ASSERT_NE(Expected(), expected);
    EXPECT_EQ(ReadFile(dest_), expected);
}

TEST_P(ConversionMomentTest, TheSourceIsReadBeforeTheStart) {
    const Bytes expected = Expected();
    Convert(1, [&] { WriteFile(source_, Bytes(1000, 7)); });
    EXPECT_EQ(ReadFile(dest_), expected);
    WriteFile(source_, Image().Build());
    Convert(1, [&] { std::filesystem::remove(source_); });
    EXPECT_EQ(ReadFile(dest_), expected);
}

TEST_P(ConversionMomentTest, NothingIsSavedBeforeTheStop) {
    for (std::size_t line = 1; line <= 3; ++line) {
        std::filesystem::remove(dest_);
        bool there = true;
        Convert(line, [&] { there = std::filesystem::exists(dest_); });
        EXPECT_FALSE(there) << "line " << line;
        EXPECT_EQ(ReadFile(dest_), Expected());
    }
    // What lies there already is emptied after the last line alone.
    const Bytes older(10, 1);
    WriteFile(dest_, older);
    Bytes found;
    Convert(3, [&] { found = ReadFile(dest_); });
    EXPECT_EQ(found, older);
    EXPECT_EQ(ReadFile(dest_), Expected());
}

TEST_P(ConversionMomentTest, TheEngineStaysAsItWas) {
    const Stages before = StagesOf(*engine_);
    engine_->Unit.BuildResult = 4711;
    Convert(0, [] {});
    EXPECT_TRUE(StagesOf(*engine_) == before);
    const auto& unit = engine_->Unit;
    EXPECT_EQ(unit.InputSpace, wide_ ? 1 : 0);
    EXPECT_EQ(unit.OutputSpace, wide_ ? 9 : 8);
    EXPECT_EQ(unit.BuildResult, 4711);
    EXPECT_EQ(unit.PixelCount, 0);
    EXPECT_EQ(unit.WorkCount, 0);
    EXPECT_EQ(unit.Source, nullptr);
    EXPECT_EQ(unit.Dest, nullptr);
    EXPECT_EQ(unit.ProfileName, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Widths, ConversionMomentTest, testing::Bool(),
                         [](const auto& param) { return std::string(param.param ? "Words" : "Bytes"); });

/// Encodings that only `SetIntent` stores: a pixel of theirs is three bytes, in a file as in memory.
class OddEncodingTest : public testing::TestWithParam<int> {};

TEST_P(OddEncodingTest, TakesEveryPixelOfAFileAsBytes) {
    const TempDir dir;
    const auto engine = MakeHandEngine(false);
    engine->Unit.InputSpace = Space(GetParam());
    const Samples samples = SomeSamples(3 * 7 * 5, 255);
    MiniTiff image{7, 5, 3, 8, Bytes(samples.begin(), samples.end()), {}};
    WriteFile(dir.File("source.tif"), image.Build());
    testing::internal::CaptureStdout();
    EXPECT_EQ(engine->Conversion(dir.File("source.tif").c_str(), dir.File("dest.tif").c_str()), 0);
    testing::internal::GetCapturedStdout();
    const Samples converted = ReferenceRun(*engine, samples, 8);
    image.pixels.assign(converted.begin(), converted.end());
    EXPECT_EQ(ReadFile(dir.File("dest.tif")), image.Build());
}

INSTANTIATE_TEST_SUITE_P(Some, OddEncodingTest,
                         testing::Values(0, 2, 3, 5, 9, 65534, 65535, -1, std::numeric_limits<int>::min()));

}  // namespace
}  // namespace hueweave::test
