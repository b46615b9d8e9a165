// SPDX-License-Identifier: MIT
// Allocations fail in turn, either one of them or all from one on. The output is complete or absent, and nothing
// crashes.
#include <algorithm>
#include <filesystem>

#include "command/support/Command.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

// Sanitizers replace the allocator.
#ifndef __SANITIZE_ADDRESS__

struct AllocationRow {
    const char* name;
    Words words;      ///< "IN" is the file that `recipe` makes
    bool writes;      ///< writes a file; else standard output is the result
    int first, step;  ///< first counts from the end of the run if negative; `make faults` tries every call
    int refusals;     ///< the number of refusals must be greater
    std::string recipe{};
};
void PrintTo(const AllocationRow& row, std::ostream* out) { *out << row.name; }

class AllocationTest : public testing::TestWithParam<AllocationRow> {
protected:
    AllocationTest() {
        std::replace(words_.begin(), words_.end(), std::string("IN"), in_);
        if (GetParam().writes) words_.insert(words_.end(), {"-q", "-o", out_});
        if (!GetParam().recipe.empty()) Shell("cd " + Quoted(Input("")) + "; " + GetParam().recipe + " " + in_);
    }
    /// Runs the command with these allocations failing. Without any, stores the number of allocations in `all_`.
    Outcome RunFailing(const std::string& fails) {
        std::filesystem::remove(out_);
        if (replaces_) WriteBytes(out_, "old");
        const Outcome run = Hueweave(words_, {.setenv = {{"LD_PRELOAD", HUEWEAVE_ALLOCATION_FAULTS},
                                                         {"HUEWEAVE_ALLOCATION", fails},
                                                         {"HUEWEAVE_ALLOCATIONS_SEEN", fails.empty() ? seen_ : ""}}});
        if (fails.empty()) all_ = std::stoi(FileBytes(seen_));
        return run;
    }
    /// The bytes of the output; its pixels where a coder can fall back to another method without memory.
    std::string Result(const Outcome& run) const {
        if (!GetParam().writes) return run.out;
        return GetParam().recipe.empty() ? FileBytes(out_) : testing::PrintToString(ReadPictures(out_)[0].values);
    }
    /// Expects one line that says that memory is short.
    static bool TellsOfMemory(const std::string& text) {
        return Lines(text).size() == 1 &&
               (text.find(": needs more memory than is available; lower -j\n") != text.npos ||
                text == "hueweave: not enough memory; lower -j\n" ||
                text.find("(Cannot allocate memory)") != text.npos);
    }
    /// Checks the message and the files of a failed run. With status 5 the file is there, and the line about it is
    /// lost.
    void ExpectRefusal(const Outcome& run, const std::string& wanted, bool one) {
        EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
        EXPECT_TRUE(TellsOfMemory(run.err) || !one) << run.err;
        EXPECT_TRUE(Exists(out_) || !replaces_);
        EXPECT_EQ(NamesIn(folder_.path()), Exists(out_) ? Words{"out.tif"} : Words{});
        if (Exists(out_) && FileBytes(out_) != "old") {
            EXPECT_EQ(Result(run), wanted);
            EXPECT_TRUE(run.status == 5 || !one) << run.err;
        }
    }
    Folder folder_, other_;
    const std::string in_ = other_ / "in", out_ = folder_ / "out.tif", seen_ = other_ / "seen";
    Words words_ = GetParam().words;
    const bool replaces_ = std::count(words_.begin(), words_.end(), "--force") != 0;
    int all_ = 0;
};

TEST_P(AllocationTest, TheResultIsWholeOrNotThere) {
    const Outcome sound = RunFailing("");
    ASSERT_EQ(sound.status, 0) << sound.err;
    const std::string wanted = Result(sound);
    // Single failures over all calls, with an odd step so as not to coincide with the period of a loop; then all calls
    // from one on.
    const auto& [name, words, writes, first, step, refusals, recipe] = GetParam();
    int refused = 0;
    for (const std::string onwards : {"", "+"}) {
        if (onwards == "+" && step != 0) break;
        for (int call = first < 0 ? all_ + first : first; call <= all_; call += step != 0 ? step : all_ / 12 | 1) {
            SCOPED_TRACE(std::to_string(call) + onwards);
            const Outcome run = RunFailing(std::to_string(call) + onwards);
            EXPECT_EQ(run.signal, 0);
            if (run.status == 0) {
                EXPECT_EQ(Result(run), wanted);
            } else {
                ExpectRefusal(run, wanted, onwards.empty());
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, refusals);
}

const Words kConvert{"convert", "-j1", "--profile", Input("scanner.icc")};
const AllocationRow kRows[] = {
    {"ConvertBaked", {"convert", "-j1", "--profile", Input("screen.icc"), Input("photo-16.tif")}, true, 1, 0, 12},
    {"ConvertByATable", {"convert", "-j2", "--profile", Input("scanner.icc"), Input("photo-8.tif")}, true, 1, 0, 12},
    {"Bake", {"bake", Input("matrix.icc")}, true, 1, 0, 12},
    {"Report", {"report", Input("matrix.icc"), Input("photo-8.tif")}, true, 1, 6871, 2},
    {"Verify", {"verify", Input("xyz.icc"), "--points", "3"}, false, 1, 0, 12},
    {"Json", kConvert + Words{"--json", Input("alpha-8.tif")}, true, -330, 2, 20},
    {"Replace", kConvert + Words{"--force", Input("photo-8.tif")}, true, -60, 1, 20},
    {"Inspect", {"inspect", "--json", Input("scanner.icc")}, false, 1, 17, 20},
    // The coders are opened late: all calls before concern the profile.
    {"Lzw", kConvert + Words{"IN"}, true, -320, 11, 0, "tiffcp -s -c lzw:2 -r 64 photo-16.tif"},
    {"Jpeg", kConvert + Words{"IN"}, true, -320, 11, 0, "tiffcp -t -w 128 -l 128 -c jpeg:90 photo-8.tif"},
    {"PngToTiff", kConvert + Words{"IN", "--format", "tiff"}, true, -320, 11, 0,
     "sh -c 'convert-im6 photo-8.tif png:$0'"},
    {"Zstd", kConvert + Words{"IN"}, true, -320, 11, 0, "tiffcp -s -c zstd -r 64 photo-16.tif"},
};
INSTANTIATE_TEST_SUITE_P(Every, AllocationTest, testing::ValuesIn(kRows), NameOfRow);

#endif

}  // namespace
}  // namespace hueweave::test
