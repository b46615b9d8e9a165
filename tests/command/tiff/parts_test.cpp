// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Parts of the command by themselves.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <csignal>
#include <latch>
#include <mutex>
#include <numeric>

#include "batch/session/InputList.h"
#include "batch/session/Report.h"
#include "colour/profile/Lcms.h"
#include "colour/profile/OutputProfile.h"
#include "colour/profile/Spaces.h"
#include "command/support/Command.h"
#include "system/JsonNames.h"
#include "system/Refusal.h"
#include "system/Sha256.h"
#include "system/Signals.h"
#include "system/WorkUnits.h"
#include "tiff/TiffStructure.h"

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

TEST(SpacesTest, AdobeRgbIsGamma18TakenBackToLight) {
    EXPECT_EQ(colour::AdobeFromGamma18(0), 0);
    EXPECT_EQ(colour::AdobeFromGamma18(65535), 65535);
    // A linear grey of 0.18: by gamma 1.8 it is 0.18^0.5556, by AdobeRGB 0.18^(256/563).
    const auto sample = static_cast<std::uint16_t>(std::lround(65535 * std::pow(0.18, 0.5556)));
    EXPECT_NEAR(colour::AdobeFromGamma18(sample), 65535 * std::pow(0.18, 256.0 / 563.0), 1.0);
}

TEST(InvertTableTest, FindsTheLightOfEachSample) {
    std::vector<std::uint32_t> table(65536);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = static_cast<std::uint32_t>(std::lround(255 * std::sqrt(static_cast<double>(i) / 65535)));
    }
    const auto inverse = colour::InvertTable(table.data(), 255, 256);
    ASSERT_TRUE(inverse.has_value());
    for (std::size_t n = 1; n < 255; ++n) {
        const double sample = static_cast<double>(n) / 255;
        EXPECT_NEAR((*inverse)[n], sample * sample, 0.0001) << n;
    }
    EXPECT_EQ(inverse->front(), 0.0);
    EXPECT_EQ(inverse->back(), 1.0);
    table[30000] = 0;
    EXPECT_FALSE(colour::InvertTable(table.data(), 255, 256).has_value());
    EXPECT_FALSE(colour::InvertTable(std::vector<std::uint32_t>(65536, 7).data(), 255, 256).has_value());
}

TEST(StableHashTest, IsTheSameOnEveryMachine) {
    // FNV-1a of "" and of "a" are published: cbf29ce484222325 and af63dc4c8601ec8c.
    EXPECT_EQ(StableHash(""), 0xcbf29ce484222325U ^ 0xcbf29ce4U);
    EXPECT_EQ(StableHash("a"), 0xaf63dc4c8601ec8cU ^ 0xaf63dc4cU);
}

TEST(ProgressLineTest, FitsTheTerminal) {
    EXPECT_EQ(ProgressLine("scan.tif", 3, 40, 0.456, 0.12, 130, 80), "[3/40] scan.tif  46%  total  12%  2:10 left");
    EXPECT_EQ(ProgressLine("scan.tif", 1, 1, 0.5, 0.5, -1, 80), "scan.tif  50%");
    for (std::size_t columns = 0; columns < 60; ++columns) {
        EXPECT_LE(ProgressLine("a/very/long/path/to/scan.tif", 1, 9, 0.5, 0.5, 9, columns).size(), columns);
    }
    EXPECT_EQ(ProgressLine("a/very/long/path/to/scan.tif", 1, 1, 0.5, 0.5, -1, 20), "...to/scan.tif  50%");
    // A name is not cut within a letter.
    EXPECT_EQ(ProgressLine("\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9", 1, 1, 0.5, 0.5, -1, 15),
              "...\u00e9\u00e9\u00e9  50%");
    EXPECT_EQ(Duration(59.4), "0:59");
    EXPECT_EQ(Duration(3725), "1:02:05");
}

TEST(OneLineTest, ControlCharactersDoNotReachTheTerminal) {
    EXPECT_EQ(OneLine("a\nb\033[31mc\x7f"), "a?b?[31mc?");
    EXPECT_EQ(OneLine("\x1e\x1f !~"), "?? !~");
    EXPECT_EQ(OneLine("ökonomisch"), "ökonomisch");
    // The second half of the control characters, in UTF-8 and as bytes of themselves or within what is no UTF-8.
    EXPECT_EQ(OneLine("a\xc2\x9b"
                      "31m\xc2\x80\xc2\x85\xc2\x9f"),
              "a?31m???");
    EXPECT_EQ(OneLine("\x9b"
                      "31m \x80\x9f \xe9\x9b \xc0\x9b \xe0\x82\x9b \xf0\x80\x82\x9b"),
              "?31m ?? \xe9? \xc0? \xe0?? \xf0???");
    EXPECT_EQ(OneLine("\xed\x9b\x9b \xc3\x9b \xf0\x9f\x93\xb7"), "\xed\x9b\x9b \xc3\x9b \xf0\x9f\x93\xb7");
    EXPECT_EQ(OneLine("caf\xe9"), "caf\xe9");
    EXPECT_EQ(OneLine("\xe2\x80"), "\xe2?");
}

TEST(OneLineTest, MarksOfDirectionAndSeparatorsDoNotReachTheTerminal) {
    for (const char* mark : {"\u061c", "\u200e", "\u200f", "\u2028", "\u2029", "\u202a", "\u202b", "\u202c", "\u202d",
                             "\u202e", "\u2066", "\u2067", "\u2068", "\u2069"}) {
        EXPECT_EQ(OneLine(std::string("a") + mark + "fit.b"), "a?fit.b") << mark;
    }
    for (const char* letter :
         {"\u061b", "\u061d", "\u200d", "\u2010", "\u2027", "\u202f", "\u2065", "\u206a", "\u00a0"}) {
        EXPECT_EQ(OneLine(letter), letter);
    }
}

TEST(LcmsWorkTest, AllItsMemoryIsFreedWithIt) {
    const auto work = [] {
        colour::LcmsWork lcms;
        lcms.Write(lcms.NewProfile(4.3, cmsSigDisplayClass, cmsSigXYZData), cmsSigRedTRCTag, lcms.Gamma(2.2));
    };
    for (int i = 0; i < 10; ++i) work();  // what is kept for the next one
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < 100; ++i) work();
    EXPECT_EQ(mallinfo2().uordblks, before);
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

TEST(SignalsTest, ASignalEndsEveryRead) {
    const Folder folder;
    test::WriteBytes(folder / "file", "x");
    const FileAccess file = FileAccess::OpenInput(folder / "file");
    const auto read = [&] {
        WatchSignals();
        file.Read({0, 1});
        std::raise(SIGTERM);
        try {
            file.Read({0, 1});
        } catch (const Interrupted&) {
            _exit(7);
        }
    };
    EXPECT_EXIT(read(), testing::ExitedWithCode(7), "");
}

TEST(JsonLineTest, ControlCharactersAreEscapedAndTheNameIsTheSame) {
    nlohmann::ordered_json json;
    const std::string name = "a\u009b31m\u202e\x7f\n\u00e9";
    PutName(json, "output", name);
    EXPECT_EQ(JsonLine(json), "{\"output\":\"a\\u009b31m\\u202e\\u007f\\n\u00e9\"}");
    EXPECT_EQ(TakeName(nlohmann::json::parse(JsonLine(json)), "output"), name);
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
    // All units are taken before the first is done.
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

TEST(TiffStructureTest, NoDamageLeadsOutOfTheFile) {
    // Every byte of the structure of a small file, changed in two ways: refused or read, and never past the end.
    const Folder folder;
    const std::string path = folder / "small.tif";
    test::Shell("convert-im6 -size 4x4 xc:red -type TrueColor -depth 8 -compress none " + path +
                "; tiffset -s 315 'a name' " + path);
    const std::string whole = test::FileBytes(path);
    int refused = 0, read = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int change : {0x80, 0xff}) {
            std::string bytes = whole;
            bytes[at] = static_cast<char>(bytes[at] ^ change);
            test::WriteBytes(path, bytes);
            const FileAccess file = FileAccess::OpenInput(path);
            try {
                const TiffStructure structure(file);
                for (const auto& directory : structure.directories()) {
                    for (const auto& entry : directory.entries)
                        read += static_cast<int>(structure.Data(entry).size() > 0);
                }
            } catch (const Refusal&) {
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, 50);
    EXPECT_GT(read, 500);
}

}  // namespace
}  // namespace hueweave::tool
