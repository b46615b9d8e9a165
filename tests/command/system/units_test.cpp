// SPDX-License-Identifier: MIT
// A hash, text for a terminal, kinds of files, signals and threads.
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <latch>
#include <numeric>

#include "batch/session/ProfileFile.h"
#include "batch/session/Report.h"
#include "colour/library/Bake.h"
#include "colour/library/CompareLibrary.h"
#include "command/support/Command.h"
#include "command/support/OpenedTiff.h"
#include "system/JsonNames.h"
#include "system/Signals.h"
#include "system/StableHash.h"
#include "system/WorkUnits.h"
#include "system/files/FileKind.h"

namespace hueweave::tool {
namespace {

using test::Folder;
using std::string_view_literals::operator""sv;

TEST(StableHashTest, IsTheSameOnEveryMachine) {
    // FNV-1a of "" and of "a" are published: cbf29ce484222325 and af63dc4c8601ec8c.
    EXPECT_EQ(StableHash(""), 0xcbf29ce484222325U ^ 0xcbf29ce4U);
    EXPECT_EQ(StableHash("a"), 0xaf63dc4c8601ec8cU ^ 0xaf63dc4cU);
}

TEST(ReportTest, RemembersABoundedNumberOfNotes) {
    const auto noted = [](const std::vector<std::string>& notes) {
        testing::internal::CaptureStderr();
        Report report(false, false);
        for (const std::string& note : notes) report.Note(note);
        return test::Lines(testing::internal::GetCapturedStderr());
    };
    std::vector<std::string> notes{"first"};
    for (int n = 1; n < 4095; ++n) notes.push_back(std::to_string(n));
    notes.emplace_back("first");
    EXPECT_EQ(noted(notes).size(), 4095U) << "a note is not repeated";
    notes.emplace_back("the last one that is remembered");
    notes.emplace_back("first");
    const std::vector<std::string> lines = noted(notes);
    EXPECT_EQ(lines.size(), 4097U);
    EXPECT_EQ(lines.back(), "hueweave: note: first");
}

TEST(ProgressLineTest, FitsTheTerminal) {
    EXPECT_EQ(ProgressLine("scan.tif", 3, 40, 0.456, 0.12, 130, 80), "[3/40] scan.tif  46%  total  12%  2:10 left");
    EXPECT_EQ(ProgressLine("scan.tif", 1, 1, 0.5, 0.5, -1, 80), "scan.tif  50%");
    for (std::size_t columns = 0; columns < 60; ++columns) {
        EXPECT_LE(ProgressLine("a/very/long/path/to/scan.tif", 1, 9, 0.5, 0.5, 9, columns).size(), columns);
    }
    EXPECT_EQ(ProgressLine("a/very/long/path/to/scan.tif", 1, 1, 0.5, 0.5, -1, 20), "...to/scan.tif  50%");
    // A name is never cut inside a character.
    EXPECT_EQ(ProgressLine("\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9", 1, 1, 0.5, 0.5, -1, 15),
              "...\u00e9\u00e9\u00e9  50%");
    EXPECT_EQ(Duration(59.4), "0:59");
    EXPECT_EQ(Duration(3725), "1:02:05");
}

TEST(OneLineTest, ControlCharactersAndMarksOfDirectionDoNotReachTheTerminal) {
    const std::pair<std::string, std::string> rows[] = {
        {"a\nb\033[31mc\x7f", "a?b?[31mc?"},
        {"\x1e\x1f !~", "?? !~"},
        {"ökonomisch", "ökonomisch"},
        // The control characters from 0x80 on, in UTF-8, as single bytes and in invalid UTF-8.
        {"a\302\23331m\302\200\302\205\302\237", "a?31m???"},
        {"\23331m \x80\x9f \xe9\x9b \xc0\x9b \xe0\x82\x9b \xf0\x80\x82\x9b", "?31m ?? \xe9? \xc0? \xe0?? \xf0???"},
        {"\xed\x9b\x9b \xc3\x9b \xf0\x9f\x93\xb7", "\xed\x9b\x9b \xc3\x9b \xf0\x9f\x93\xb7"},
        {"caf\xe9", "caf\xe9"},
        {"\xe2\x80", "\xe2?"},
        // Marks of direction and separators of lines, and their neighbours.
        {"\u061c\u200e\u200f\u2028\u2029\u202a\u202b\u202c\u202d\u202e\u2066\u2067\u2068\u2069", "??????????????"},
        {"\u061b\u061d\u200d\u2010\u2027\u202f\u2065\u206a\u00a0",
         "\u061b\u061d\u200d\u2010\u2027\u202f\u2065\u206a\u00a0"}};
    for (const auto& [text, shown] : rows) EXPECT_EQ(OneLine(text), shown);
}

/// A file of other formats is named by its first bytes, whatever its name is.
TEST(FileKindTest, IsDetectedByTheFirstBytes) {
    const std::string dicom = std::string(128, '\0') + "DICM", icc = std::string(36, '\1') + "acsp";
    const std::pair<const char*, std::vector<std::string_view>> rows[] = {
        {"a JPEG file", {"\xff\xd8\xff\xe0"sv}},
        {"a GIF file", {"GIF89a\1\0"sv}},
        {"a PDF file", {"%PDF-1.7\n"sv}},
        {"a Photoshop file", {"8BPS\0\1"sv}},
        {"a HEIF file", {"\0\0\0\30ftypheic\0\0\0\0"sv, "\0\0\0\30ftypmif1\0\0\0\0"sv}},
        {"an AVIF file", {"\0\0\0\30ftypavif\0\0\0\0"sv}},
        {"a raw camera file",
         {"\0\0\0\30ftypcrx \0\0\0\0"sv, "FUJIFILMCCD-RAW 0201"sv, "IIRO\x08\0\0\0"sv, "IIU\0\x18\0\0\0"sv,
          "II\x1a\0\0\0HEAPCCDR"sv}},
        {"a WebP file", {"RIFF\0\1\0\0WEBPVP8 "sv}},
        {"a BMP file", {"BM\x36\0\1\0\0\0\0\0"sv}},
        {"a DICOM file", {dicom}},
        {"an ICC profile", {icc}},
        {"a ZIP archive", {"PK\x03\x04"sv}},
        {"empty", {""sv}},
        {"",
         {"\0\0\0\30ftypisom\0\0\0\0"sv, "RIFF\0\1\0\0WAVEfmt "sv, "BMI of a patient"sv, "\xff"sv, "II*\0\x08\0\0\0"sv,
          "a text"sv}}};
    const Folder folder;
    for (const auto& [kind, beginnings] : rows) {
        for (const std::string_view bytes : beginnings) {
            test::WriteBytes(folder / "x.tif", std::string(bytes));
            EXPECT_EQ(FileKind(FileAccess::OpenInput(folder / "x.tif")), kind) << bytes;
        }
    }
}

TEST(JsonLineTest, ControlCharactersAreEscapedAndTheNameIsTheSame) {
    nlohmann::ordered_json json;
    const std::string name = "a\u009b31m\u202e\x7f\n\u00e9";
    PutName(json, "output", name);
    EXPECT_EQ(JsonLine(json), "{\"output\":\"a\\u009b31m\\u202e\\u007f\\n\u00e9\"}");
    EXPECT_EQ(TakeName(nlohmann::json::parse(JsonLine(json)), "output"), name);
}

TEST(SignalsTest, EachOfThreeIsNotedUnlessItIsIgnored) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        for (const bool ignored : {false, true}) {
            const auto raised = [&] {
                std::signal(signal, ignored ? SIG_IGN : SIG_DFL);  // nohup ignores one
                WatchSignals();
                std::raise(signal);
                _exit(NotedSignal() == (ignored ? 0 : signal) ? 7 : 8);
            };
            EXPECT_EXIT(raised(), testing::ExitedWithCode(7), "") << signal;
        }
    }
}

TEST(SignalsTest, EndReadingAndComputing) {
    const test::OpenedTiff opened(test::Input("photo-8.tif"));
    const DeviceProfile profile = LoadProfile(test::Input("scanner.icc"));
    const auto colours = colour::GridColours(2);
    colour::Rendering rendering;
    rendering.space = colour::FindSpace("srgb");
    const auto expectInterrupted = [](const char* name, const auto& work) {
        const auto interrupted = [&] {
            WatchSignals();
            std::raise(SIGTERM);
            try {
                work();
            } catch (const Interrupted&) {
                _exit(7);
            }
            _exit(9);
        };
        EXPECT_EXIT(interrupted(), testing::ExitedWithCode(7), "") << name;
    };
    expectInterrupted("read", [&] { opened.file.Read({0, 1}); });
    expectInterrupted("structure", [&] { const TiffStructure read(opened.file); });
    expectInterrupted("pages", [&] { ReadPages(opened.structure); });
    expectInterrupted("comparison", [&] {
        colour::CompareLibrary(profile.data, profile.data, rendering, 16, colours, ThrowIfInterrupted);
    });
    expectInterrupted("baking", [&] { colour::BakeProfile(profile.data, ThrowIfInterrupted); });
}

TEST(WorkUnitsTest, PartsComeInOrderWhateverTheThreads) {
    for (const unsigned threads : {1U, 2U, 7U}) {
        WorkUnits units(100);
        std::vector<std::uint64_t> measured, placed;
        units.Run(threads, [&]() -> WorkUnits::Work {
            return [&](std::uint64_t unit) {
                units.InOrder(WorkUnits::Measuring, unit, [&] { measured.push_back(unit); });
                units.InOrder(WorkUnits::Placing, unit, [&] { placed.push_back(unit); });
            };
        });
        std::vector<std::uint64_t> wanted(100);
        std::iota(wanted.begin(), wanted.end(), 0U);
        EXPECT_EQ(measured, wanted);
        EXPECT_EQ(placed, wanted);
    }
}

TEST(WorkUnitsTest, AFailureEndsAllThreadsAndIsPassedOn) {
    WorkUnits units(1000);
    std::atomic<int> begun{0};
    const auto run = [&] {
        units.Run(4, [&]() -> WorkUnits::Work {
            return [&](std::uint64_t unit) {
                ++begun;
                if (unit == 10) throw Refusal(Exit::Output, "x", "failed", "");
                units.InOrder(WorkUnits::Placing, unit, [] {});
            };
        });
    };
    EXPECT_THROW(run(), Refusal);
    EXPECT_LT(begun, 1000);
}

TEST(WorkUnitsTest, ThreadsThatAreLeftOverAreDividedAmongTheUnits) {
    // All units are claimed before the first is done.
    const auto shares = [](std::uint64_t count, unsigned threads) {
        std::vector<unsigned> given(count);
        std::latch taken(static_cast<std::ptrdiff_t>(count));
        WorkUnits units(count);
        units.Run(threads, [&]() -> WorkUnits::Work {
            return [&](WorkUnits::Unit unit) {
                given[unit.number] = unit.threads;
                taken.arrive_and_wait();
            };
        });
        return given;
    };
    using Shares = std::vector<unsigned>;
    EXPECT_EQ(shares(1, 8), (Shares{8}));
    EXPECT_EQ(shares(2, 8), (Shares{4, 4}));
    EXPECT_EQ(shares(3, 8), (Shares{2, 3, 3}));
    EXPECT_EQ(shares(3, 3), (Shares{1, 1, 1}));
}

}  // namespace
}  // namespace hueweave::tool
