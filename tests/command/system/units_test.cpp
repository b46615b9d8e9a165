// SPDX-License-Identifier: MIT
// Hashes, text for a terminal, signals and threads.
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <latch>
#include <numeric>

#include "batch/session/ProfileFile.h"
#include "colour/library/Bake.h"
#include "colour/library/CompareLibrary.h"
#include "command/support/Command.h"
#include "command/support/OpenedTiff.h"
#include "command/support/TiffMaker.h"
#include "system/JsonNames.h"
#include "system/Refusal.h"
#include "system/Sha256.h"
#include "system/Signals.h"
#include "system/WorkUnits.h"

namespace hueweave::tool {
namespace {

using test::Folder;

TEST(Sha256Test, AgreesWithSha256sumAtEveryLengthAndInPieces) {
    const Folder folder;
    std::string text;
    for (int i = 0; i < 1000; ++i) text += static_cast<char>(i * 37 + i / 7);
    std::string sums;
    for (const std::size_t length : {0U, 1U, 55U, 56U, 63U, 64U, 65U, 119U, 120U, 127U, 128U, 129U, 1000U}) {
        Sha256 whole, pieces;
        whole.Add(text.substr(0, length));
        for (std::size_t at = 0; at < length; at += 13)
            pieces.Add(text.substr(at, std::min<std::size_t>(13, length - at)));
        test::WriteBytes(folder / "text", text.substr(0, length));
        const std::string wanted = test::Shell("sha256sum " + (folder / "text")).substr(0, 64);
        EXPECT_EQ(whole.Hex(), wanted) << length;
        EXPECT_EQ(pieces.Hex(), wanted) << length;
    }
}

TEST(OneLineTest, ControlCharactersAndMarksOfDirectionDoNotReachTheTerminal) {
    EXPECT_EQ(OneLine("a\nb\033[31mc\x7f"), "a?b?[31mc?");
    EXPECT_EQ(OneLine("\x1e\x1f !~"), "?? !~");
    EXPECT_EQ(OneLine("ökonomisch"), "ökonomisch");
    // The control characters from 0x80 on, in UTF-8, as single bytes and in invalid UTF-8.
    EXPECT_EQ(OneLine("a\xc2\x9b"
                      "31m\xc2\x80\xc2\x85\xc2\x9f"),
              "a?31m???");
    EXPECT_EQ(OneLine("\x9b"
                      "31m \x80\x9f \xe9\x9b \xc0\x9b \xe0\x82\x9b \xf0\x80\x82\x9b"),
              "?31m ?? \xe9? \xc0? \xe0?? \xf0???");
    EXPECT_EQ(OneLine("\xed\x9b\x9b \xc3\x9b \xf0\x9f\x93\xb7"), "\xed\x9b\x9b \xc3\x9b \xf0\x9f\x93\xb7");
    EXPECT_EQ(OneLine("caf\xe9"), "caf\xe9");
    EXPECT_EQ(OneLine("\xe2\x80"), "\xe2?");
    // Marks of direction and separators of lines, and their neighbours.
    for (const char* mark : {"\u061c", "\u200e", "\u200f", "\u2028", "\u2029", "\u202a", "\u202b", "\u202c", "\u202d",
                             "\u202e", "\u2066", "\u2067", "\u2068", "\u2069"}) {
        EXPECT_EQ(OneLine(std::string("a") + mark + "fit.b"), "a?fit.b") << mark;
    }
    for (const char* letter :
         {"\u061b", "\u061d", "\u200d", "\u2010", "\u2027", "\u202f", "\u2065", "\u206a", "\u00a0"}) {
        EXPECT_EQ(OneLine(letter), letter);
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
    const Folder folder;
    test::TiffMaker tiff;
    const std::uint64_t pixels = tiff.Put(test::SmallPixels());
    for (int i = 0; i < 3; ++i) tiff.Page(test::TiffMaker::Small(pixels));
    tiff.Save(folder / "in.tif");
    const test::OpenedTiff opened(folder / "in.tif");
    const DeviceProfile profile = LoadProfile(test::Input("scanner.icc"));
    const auto colours = colour::GridColours(2);
    colour::Rendering rendering;
    rendering.space = colour::FindSpace("srgb");
    const std::pair<const char*, std::function<void()>> works[] = {
        {"read",
         [&] {
             opened.file.Read({0, 1});
         }},
        {"structure", [&] { const TiffStructure read(opened.file); }},
        {"pages", [&] { ReadPages(opened.structure); }},
        {"comparison",
         [&] { colour::CompareLibrary(profile.data, profile.data, rendering, 16, colours, ThrowIfInterrupted); }},
        {"baking", [&] { colour::BakeProfile(profile.data, ThrowIfInterrupted); }}};
    for (const auto& [name, work] : works) {
        const auto interrupted = [&run = work] {
            WatchSignals();
            std::raise(SIGTERM);
            try {
                run();
            } catch (const Interrupted&) {
                _exit(7);
            }
            _exit(9);
        };
        EXPECT_EXIT(interrupted(), testing::ExitedWithCode(7), "") << name;
    }
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
