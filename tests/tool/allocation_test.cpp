// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Allocations fail in turn, one of them or all from one on. The result is whole or not there, and nothing crashes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "Command.h"

namespace hueweave::test {
namespace {

// Sanitizers have an allocator of their own.
#ifndef __SANITIZE_ADDRESS__

struct Row {
    const char* name;
    std::vector<std::string> words;
    bool writes;  ///< a file; else standard output is the result
};
void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class AllocationTest : public testing::TestWithParam<Row> {
protected:
    Outcome Run(const std::string& fails) const {
        std::filesystem::remove(out_);
        std::vector<std::string> words{HUEWEAVE_COMMAND};
        words.insert(words.end(), GetParam().words.begin(), GetParam().words.end());
        if (GetParam().writes) words.insert(words.end(), {"-q", "-o", out_});
        return RunProgram({words,
                           "",
                           {{"LD_PRELOAD", HUEWEAVE_ALLOCATION_FAULTS},
                            {"HUEWEAVE_ALLOCATION", fails},
                            {"HUEWEAVE_ALLOCATIONS_SEEN", fails.empty() ? seen_ : ""}},
                           {},
                           {}});
    }
    std::string Result(const Outcome& run) const { return GetParam().writes ? FileBytes(out_) : run.out; }
    Folder folder_, other_;
    std::string out_ = folder_ / "out", seen_ = other_ / "seen";
};

TEST_P(AllocationTest, TheResultIsWholeOrNotThere) {
    const Outcome sound = Run("");
    ASSERT_EQ(sound.status, 0) << sound.err;
    const std::string wanted = Result(sound);
    const int all = std::stoi(FileBytes(seen_));
    EXPECT_GT(all, 1000);
    // Spread over all calls with a step that shares no factor with loops of even length; docs/reliability.md tells of
    // a run over every one.
    const int step = all / 100 | 1;
    int refused = 0;
    for (const char* onwards : {"", "+"}) {
        for (int call = 1; call <= all; call += step) {
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
    EXPECT_GT(refused, 100);
}

const Row kRows[] = {
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
