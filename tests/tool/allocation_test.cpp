// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Allocations fail in turn, one of them or all from one on. The result is whole or not there, and nothing crashes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "Command.h"
#include "Picture.h"

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

class AllocationTest : public testing::TestWithParam<AllocationRow> {
protected:
    /// Runs the command with these allocations failing. Without any, their number is in `all_`.
    Outcome Run(std::vector<std::string> words, const std::string& fails) {
        std::filesystem::remove(out_);
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
    Outcome Run(const std::string& fails) {
        std::vector<std::string> words = GetParam().words;
        if (GetParam().writes) words.insert(words.end(), {"-q", "-o", out_});
        return Run(words, fails);
    }
    std::string Result(const Outcome& run) const { return GetParam().writes ? FileBytes(out_) : run.out; }
    Folder folder_, other_;
    std::string out_ = folder_ / "out", seen_ = other_ / "seen";
    int all_ = 0;
};

TEST_P(AllocationTest, TheResultIsWholeOrNotThere) {
    const Outcome sound = Run("");
    ASSERT_EQ(sound.status, 0) << sound.err;
    const std::string wanted = Result(sound);
    EXPECT_GT(all_, 1000);
    // Spread over all calls, with an odd step so as not to keep time with loops; `make faults` tries every one.
    const int step = all_ / 12 | 1;
    int refused = 0;
    for (const char* onwards : {"", "+"}) {
        for (int call = 1; call <= all_; call += step) {
            const Outcome run = Run(std::to_string(call) + onwards);
            EXPECT_EQ(run.signal, 0) << call << onwards;
            if (run.status == 0) {
                EXPECT_EQ(Result(run), wanted) << call << onwards;
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
    ASSERT_EQ(Run(words, "").status, 0);
    const auto wanted = ReadPictures(out_)[0].values;
    // The coders are opened late: what comes before is the profile's. `make faults` tries every call.
    for (int call = all_ - 320; call <= all_; call += 11) {
        const Outcome run = Run(words, std::to_string(call));
        EXPECT_EQ(run.signal, 0) << call;
        if (!Exists(out_)) {
            EXPECT_NE(run.status, 0) << call;
            continue;
        }
        EXPECT_EQ(ReadPictures(out_)[0].values, wanted) << call;
    }
}

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
