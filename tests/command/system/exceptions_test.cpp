// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// What happens to one file of many stays with that file; and signals are heeded however slow a file is.
#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "command/support/Batch.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

class ExceptionsTest : public BatchTest {
protected:
    Outcome Run(std::vector<std::string> more, const std::string& faults,
                const std::function<void(pid_t)>& meanwhile = {}) const {
        std::vector<std::string> words{HUEWEAVE_COMMAND, "convert", "-j", "1", "--profile", Input("scanner.icc")};
        words.insert(words.end(), more.begin(), more.end());
        return RunProgram({words, "", Faults(faults), {}, meanwhile});
    }
};

TEST_F(ExceptionsTest, EndWithTheFileThatTheyCameFrom) {
    const std::pair<std::string, std::string> rows[] = {
        {"-3", ": tells of sizes that no memory can hold; get a whole copy of the file"},
        {"-4", ": needs more memory than there is; lower -j"},
        {"-5", ": cannot be worked on, for a reason that was not foreseen (odd); please report it, with the file"}};
    for (const auto& [what, reason] : rows) {
        // The profile is read at once, so that the fourth read is of the first file.
        Outcome run = Run({scans_, "-o", out_, "--json"}, "pread:4:" + what);
        EXPECT_EQ(run.status, 1) << run.err << run.signal;
        EXPECT_EQ(Outputs(), (std::set<std::string>{"b.TIFF", "deep/a.tif"}));
        EXPECT_THAT(run.err, HasSubstr("hueweave: " + scans_ + "/a.tif" + reason + "\n"));
        EXPECT_THAT(run.err, HasSubstr("2 converted, 1 refused"));
        const auto told = nlohmann::json::parse(Lines(run.out).at(0));
        EXPECT_EQ(told["status"], "refused");
        EXPECT_EQ(told["reason"], scans_ + "/a.tif" + reason);
        fs::remove_all(out_);
        run = Run({scans_ + "/a.tif", "-o", out_}, "pread:4:" + what);
        EXPECT_EQ(run.status, 4);
        EXPECT_EQ(run.err, "hueweave: " + scans_ + "/a.tif" + reason + "\n");
        EXPECT_FALSE(Exists(out_));
    }
}

TEST_F(ExceptionsTest, InspectGoesOnWithTheNextFile) {
    // The third read is of the structure of the first file.
    for (const std::string what : {"-3", "-4", "-5"}) {
        const Outcome run = RunProgram({{HUEWEAVE_COMMAND, "inspect", scans_ + "/a.tif", scans_ + "/b.TIFF"},
                                        "",
                                        Faults("pread:3:" + what),
                                        {},
                                        {}});
        EXPECT_EQ(run.status, 1) << run.err;
        EXPECT_THAT(run.err, testing::StartsWith("hueweave: " + scans_ + "/a.tif: "));
        EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
        EXPECT_THAT(run.out, HasSubstr("file: " + scans_ + "/b.TIFF\n"));
    }
    // A message that cannot be written is no reason to leave out the next file either.
    const std::string words = "inspect " + Quoted(scans_ + "/notes.txt") + " " + Quoted(scans_ + "/b.TIFF");
    const Outcome run = RunProgram({{"sh", "-c", HUEWEAVE_COMMAND " " + words + " 2>/dev/full"}, "", {}, {}, {}});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, HasSubstr("file: " + scans_ + "/b.TIFF\n"));
}

TEST_F(ExceptionsTest, InspectTellsNothingOfWhatCouldNotBeRead) {
    // However late the read that fails: the pages may be known by then, but not whether they can be converted.
    int refused = 0;
    for (int n = 1; n <= 9; ++n) {
        const Outcome run = RunProgram({{HUEWEAVE_COMMAND, "inspect", scans_ + "/a.tif"},
                                        "",
                                        Faults("pread:" + std::to_string(n) + ":5"),
                                        {},
                                        {}});
        if (run.status == 0) {
            EXPECT_THAT(run.out, HasSubstr("convertible: true\n")) << n;
            continue;
        }
        ++refused;
        EXPECT_EQ(run.status, 4) << n;
        EXPECT_THAT(run.err, HasSubstr("a.tif: cannot be read (Input/output error)")) << n;
        EXPECT_EQ(run.out, "") << n;
    }
    EXPECT_GT(refused, 5);
}

TEST_F(ExceptionsTest, ASignalEndsTheReadingOfASlowFile) {
    // Each page costs two reads or more, each of 50 ms as on a network: 15 seconds until the structure is known.
    const std::string one = Quoted(scans_ + "/deep/a.tif"), pages = folder_ / "pages.tif";
    std::string all;
    for (int i = 0; i < 150; ++i) all += " " + one;
    Shell("tiffcp" + all + " " + Quoted(pages));
    const Outcome run = Run({pages, "-o", out_}, "pread:0:-2,pread64:0:-2", [](pid_t child) {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        Terminate(child);
    });
    EXPECT_EQ(run.signal, SIGTERM);
    EXPECT_FALSE(Exists(out_));
}

}  // namespace
}  // namespace hueweave::test
