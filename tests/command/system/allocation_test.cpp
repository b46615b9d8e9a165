// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Allocations fail in turn, one of them or all from one on. The result is whole or not there, and nothing crashes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "command/support/Command.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

// Sanitizers have an allocator of their own.
#ifndef __SANITIZE_ADDRESS__

struct AllocationRow {
    const char* name;
    std::vector<std::string> words;
    bool writes;  ///< a file; else standard output is the result
};
void PrintTo(const AllocationRow& row, std::ostream* out) { *out << row.name; }

/// That memory is short, in one line.
bool TellsOfMemory(const std::string& text) {
    const bool one = Lines(text).size() == 1;
    return one && (text.find(": needs more memory than there is; lower -j\n") != text.npos ||
                   text == "hueweave: there is not enough memory; lower -j\n" ||
                   text.find("(Cannot allocate memory)") != text.npos);
}

/// Whether there is a file to replace.
bool Replaces(const std::vector<std::string>& words) {
    return std::find(words.begin(), words.end(), "--force") != words.end();
}

class AllocationRuns {
protected:
    /// Runs the command with these allocations failing. Without any, their number is in `all_`.
    Outcome RunFailing(std::vector<std::string> words, const std::string& fails) {
        std::filesystem::remove(out_);
        if (Replaces(words)) WriteBytes(out_, "old");
        words.insert(words.begin(), HUEWEAVE_COMMAND);
        const Outcome run = RunProgram({words,
                                        "",
                                        {{"LD_PRELOAD", HUEWEAVE_ALLOCATION_FAULTS},
                                         {"HUEWEAVE_ALLOCATION", fails},
                                         {"HUEWEAVE_ALLOCATIONS_SEEN", fails.empty() ? seen_ : ""}},
                                        {},
                                        {}});
        if (fails.empty()) all_ = std::stoi(FileBytes(seen_));
        return run;
    }
    Outcome RunFailing(const AllocationRow& row, const std::string& fails) {
        std::vector<std::string> words = row.words;
        if (row.writes) words.insert(words.end(), {"-q", "-o", out_});
        return RunFailing(words, fails);
    }
    std::string Result(const AllocationRow& row, const Outcome& run) const {
        return row.writes ? FileBytes(out_) : run.out;
    }
    Folder folder_, other_;
    std::string out_ = folder_ / "out", seen_ = other_ / "seen";
    int all_ = 0;
};

class AllocationTest : public testing::TestWithParam<AllocationRow>, public AllocationRuns {};

TEST_P(AllocationTest, TheResultIsWholeOrNotThere) {
    const Outcome sound = RunFailing(GetParam(), "");
    ASSERT_EQ(sound.status, 0) << sound.err;
    const std::string wanted = Result(GetParam(), sound);
    EXPECT_GT(all_, 1000);
    // Spread over all calls, with an odd step so as not to keep time with loops; `make faults` tries every one.
    const int step = all_ / 12 | 1;
    int refused = 0;
    for (const char* onwards : {"", "+"}) {
        for (int call = 1; call <= all_; call += step) {
            const Outcome run = RunFailing(GetParam(), std::to_string(call) + onwards);
            EXPECT_EQ(run.signal, 0) << call << onwards;
            if (run.status == 0) {
                EXPECT_EQ(Result(GetParam(), run), wanted) << call << onwards;
                continue;
            }
            ++refused;
            EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
            // What was named stays, and is whole: the last calls are those of the report.
            if (GetParam().writes && Exists(out_)) {
                EXPECT_EQ(FileBytes(out_), wanted) << call << onwards;
            }
        }
    }
    EXPECT_GT(refused, 12);
}

class CoderAllocationTest : public AllocationTest {};

TEST_P(CoderAllocationTest, WhatIsWrittenIsDecodedToTheSamePixels) {
    const std::string in = other_ / "in.tif";
    Shell(GetParam().words[0] + " " + Quoted(in));
    const std::vector<std::string> words{"convert", "-j1", "--profile", Input("scanner.icc"), in, "-q", "-o", out_};
    ASSERT_EQ(RunFailing(words, "").status, 0);
    const auto wanted = ReadPictures(out_)[0].values;
    // The coders are opened late: what comes before is the profile's. `make faults` tries every call.
    for (int call = all_ - 320; call <= all_; call += 11) {
        const Outcome run = RunFailing(words, std::to_string(call));
        EXPECT_EQ(run.signal, 0) << call;
        if (!Exists(out_)) {
            EXPECT_NE(run.status, 0) << call;
            EXPECT_TRUE(TellsOfMemory(run.err)) << call << run.err;
            continue;
        }
        EXPECT_EQ(ReadPictures(out_)[0].values, wanted) << call;
    }
}

/// Every call in a stretch of them.
struct Stretch {
    AllocationRow row;
    int first;     ///< from the end of the run where it is below 0
    int step = 1;  ///< `make faults` tries all calls of all commands
};
void PrintTo(const Stretch& stretch, std::ostream* out) { *out << stretch.row.name; }

class ShortMemoryTest : public testing::TestWithParam<Stretch>, public AllocationRuns {};

TEST_P(ShortMemoryTest, IsTheReasonThatIsToldAndNothingIsLeft) {
    const AllocationRow& row = GetParam().row;
    ASSERT_EQ(RunFailing(row, "").status, 0);
    int refused = 0;
    for (int call = GetParam().first < 0 ? all_ + GetParam().first : GetParam().first; call <= all_;
         call += GetParam().step) {
        const Outcome run = RunFailing(row, std::to_string(call));
        EXPECT_EQ(run.signal, 0) << call << run.err;
        if (run.status == 0) continue;
        ++refused;
        EXPECT_TRUE(TellsOfMemory(run.err)) << call << run.err;
        // With status 5 the file is there, and the line about it is lost.
        const bool there = Replaces(row.words) || (row.writes && run.status == 5);
        EXPECT_EQ(NamesIn(folder_.path()).size(), there ? 1U : 0U) << call << run.err;
    }
    EXPECT_GT(refused, 20);
}

const Stretch kStretches[] = {
    {{"Deflate", {"convert", "-j1", "--json", "--profile", Input("scanner.icc"), Input("alpha-8.tif")}, true}, -330, 2},
    {{"Replace", {"convert", "-j1", "--force", "--profile", Input("scanner.icc"), Input("photo-8.tif")}, true}, -60},
    {{"Inspect", {"inspect", "--json", Input("scanner.icc")}, false}, 1, 17},
};
INSTANTIATE_TEST_SUITE_P(Every, ShortMemoryTest, testing::ValuesIn(kStretches),
                         [](const auto& row) { return std::string(row.param.row.name); });

const AllocationRow kCoders[] = {
    {"Lzw", {"tiffcp -s -c lzw:2 -r 64 " + Quoted(Input("photo-16.tif"))}, true},
    {"Jpeg", {"tiffcp -t -w 128 -l 128 -c jpeg:90 " + Quoted(Input("photo-8.tif"))}, true},
    {"Zstd", {"tiffcp -s -c zstd -r 64 " + Quoted(Input("photo-16.tif"))}, true},
};
INSTANTIATE_TEST_SUITE_P(Every, CoderAllocationTest, testing::ValuesIn(kCoders),
                         [](const auto& row) { return std::string(row.param.name); });

const AllocationRow kRows[] = {
    {"ConvertWithAProfileThatIsBaked",
     {"convert", "-j1", "--profile", Input("screen.icc"), Input("photo-16.tif")},
     true},
    {"ConvertByATable", {"convert", "-j2", "--profile", Input("scanner.icc"), Input("photo-8.tif")}, true},
    {"Bake", {"bake", Input("matrix.icc")}, true},
    {"Verify", {"verify", Input("xyz.icc"), "--points", "3"}, false},
};
INSTANTIATE_TEST_SUITE_P(Every, AllocationTest, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

#endif

}  // namespace
}  // namespace hueweave::test
