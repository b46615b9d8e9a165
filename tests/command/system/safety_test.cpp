// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The old file or the new one, whole: names that are taken, full disks, signals, and a kill at any moment.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <thread>

#include "command/support/Command.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using Names = std::vector<std::string>;

class SafetyTest : public testing::Test {
protected:
    SafetyTest() { Shell("tiffcp -s -c none -r 16 " + Quoted(Input("photo-16.tif")) + " " + Quoted(in_)); }
    std::vector<std::string> Words(std::vector<std::string> more) const {
        std::vector<std::string> words{HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc")};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    Outcome Convert(std::vector<std::string> more) const {
        return RunProgram({Words(std::move(more)), "", {}, {}, {}});
    }
    /// A file that takes the command a good part of a second.
    std::string Large() const {
        const std::string path = folder_ / "large.tif";
        std::filesystem::create_symlink(Input("large-16.tif"), path);
        return path;
    }
    Folder folder_;
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif";
};

TEST_F(SafetyTest, AnExistingFileIsKeptUnlessForced) {
    WriteBytes(out_, "precious");
    const Outcome run = Convert({in_, "-o", out_});
    EXPECT_EQ(run.status, 5);
    EXPECT_THAT(run.err, HasSubstr("out.tif: is there already; replace it with --force"));
    EXPECT_EQ(FileBytes(out_), "precious");
    EXPECT_EQ(Convert({in_, "-o", out_, "--force"}).status, 0);
    EXPECT_EQ(ByEngine(ReadPictures(in_)[0], Input("scanner.icc"), 0, 9).values, ReadPictures(out_)[0].values);
    EXPECT_EQ(NamesIn(folder_.path()), (Names{"in.tif", "out.tif"}));
}

TEST_F(SafetyTest, InPlaceAFileIsConvertedOnceByWhateverNames) {
    const std::string link = folder_ / "link.tif", below = folder_ / "below", before = FileBytes(in_);
    std::filesystem::create_symlink("in.tif", link);
    std::filesystem::create_directory_symlink(".", below);
    const Picture once = ByEngine(ReadPictures(in_)[0], Input("scanner.icc"), 0, 9);
    for (const std::string& same : {in_, link, below + "/in.tif", folder_.path() + "/./in.tif"}) {
        WriteBytes(in_, before);
        const Outcome run = Convert({in_, same, "--in-place", "--force", "-j", "1"});
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.err, HasSubstr(same + ": is the same file as " + in_ + "; convert it once")) << run.err;
        EXPECT_EQ(once.values, ReadPictures(in_)[0].values) << same;
    }
}

TEST_F(SafetyTest, TwoOutputsThatALinkMakesOne) {
    const std::string out = folder_ / "out", other = folder_ / "other.tif";
    std::filesystem::create_directory(out);
    std::filesystem::copy_file(in_, other);
    WriteBytes(out + "/in.tif", "old");
    std::filesystem::create_symlink("in.tif", out + "/other.tif");
    const Outcome run = Convert({in_, other, "-o", out, "--force"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("other.tif: would be written to " + out + "/other.tif, as " + in_)) << run.err;
    EXPECT_EQ(ByEngine(ReadPictures(in_)[0], Input("scanner.icc"), 0, 9).values,
              ReadPictures(out + "/in.tif")[0].values);
}

TEST_F(SafetyTest, TheInputIsNeverTheOutput) {
    const std::string before = FileBytes(in_), link = folder_ / "link.tif", hard = folder_ / "hard.tif";
    std::filesystem::create_symlink("in.tif", link);
    std::filesystem::create_hard_link(in_, hard);
    for (const std::string& same : {in_, folder_.path() + "/./in.tif", link, hard}) {
        for (const bool force : {false, true}) {
            const Outcome run = force ? Convert({in_, "-o", same, "--force"}) : Convert({in_, "-o", same});
            EXPECT_EQ(run.status, 5) << same;
            EXPECT_THAT(run.err, HasSubstr("is an input itself"));
            EXPECT_THAT(run.err, HasSubstr("--in-place"));
        }
    }
    EXPECT_EQ(FileBytes(in_), before);
    // Nor is one input the output of another.
    const std::string other = folder_ / "other.tif";
    std::filesystem::copy_file(in_, other);
    std::filesystem::create_directory(folder_ / "deep");
    std::filesystem::rename(other, folder_ / "deep/in.tif");
    const Outcome run = Convert({folder_ / "deep/in.tif", in_, "-o", folder_ / "deep", "--force"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(FileBytes(folder_ / "deep/in.tif"), before);
}

TEST_F(SafetyTest, AFileGivenAsAnOptionIsNeverTheOutput) {
    const std::string profile = folder_ / "mine.icc", curve = folder_ / "curve.csv", list = folder_ / "list";
    std::filesystem::copy_file(Input("scanner.icc"), profile);
    std::string rows;
    for (int i = 0; i < 256; ++i) rows += std::to_string(i) + "," + std::to_string(i) + "," + std::to_string(i) + "\n";
    WriteBytes(curve, rows);
    std::filesystem::create_directory(folder_ / "in");
    const std::string source = folder_ / "in/list";
    std::filesystem::copy_file(in_, source);
    WriteBytes(list, source + "\n");
    const auto expect = [&](const std::string& output, const std::string& option, Names words) {
        const std::string before = FileBytes(output);
        words.insert(words.begin(), {HUEWEAVE_COMMAND, "convert", "--force", "--profile", profile});
        const Outcome run = RunProgram({words, "", {}, {}, {}});
        EXPECT_GT(run.status, 0);
        EXPECT_THAT(run.err, HasSubstr(output + ": is the file given as " + option + "; choose another name"));
        EXPECT_EQ(FileBytes(output), before);
    };
    std::filesystem::create_hard_link(profile, folder_ / "hard.icc");
    expect(profile, "--profile", {in_, "-o", profile});
    expect(folder_ / "hard.icc", "--profile", {in_, "-o", folder_ / "hard.icc"});
    expect(curve, "--curve", {in_, "-o", curve, "--curve", curve});
    expect(list, "--files-from", {"--files-from", list, "-o", folder_.path()});
}

TEST_F(SafetyTest, InPlaceReplacesAndKeepsTheMode) {
    const Picture before = ReadPictures(in_)[0];
    chmod(in_.c_str(), 0640);
    const std::string link = folder_ / "link.tif";
    std::filesystem::create_symlink("in.tif", link);
    ASSERT_EQ(Convert({link, "--in-place"}).status, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(ByEngine(before, Input("scanner.icc"), 0, 9).values, ReadPictures(in_)[0].values);
    struct stat status {};
    stat(in_.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
    EXPECT_EQ(NamesIn(folder_.path()), (Names{"in.tif", "link.tif"}));
    // A second name goes on to lead to what was there, and that is said.
    std::filesystem::create_hard_link(in_, folder_ / "second.tif");
    const Outcome run = Convert({in_, "--in-place", "--force"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, HasSubstr("in.tif: has further names (hard links), which keep what it was"));
}

TEST_F(SafetyTest, InPlaceARefusalLeavesTheFile) {
    std::string bytes = FileBytes(in_);
    bytes.resize(bytes.size() / 2);
    WriteBytes(in_, bytes);
    EXPECT_EQ(Convert({in_, "--in-place"}).status, 4);
    EXPECT_EQ(FileBytes(in_), bytes);
    EXPECT_EQ(NamesIn(folder_.path()), (Names{"in.tif"}));
}

TEST_F(SafetyTest, AFolderThatIsMissingOrReadOnly) {
    Outcome run = Convert({in_, "-o", folder_ / "missing/out.tif"});
    EXPECT_EQ(run.status, 5);
    EXPECT_THAT(run.err, HasSubstr("No such file or directory"));
    const std::string shut = folder_ / "shut";
    std::filesystem::create_directory(shut);
    chmod(shut.c_str(), 0555);
    run = RunProgram({Words({in_, "-o", shut + "/out.tif"}), "", {}, HeedModes, {}});
    EXPECT_EQ(run.status, 5) << run.err;
    EXPECT_THAT(run.err, HasSubstr("Permission denied"));
    EXPECT_EQ(NamesIn(shut), Names{});
}

// Where lines are counted, the limit would cut the files of the counts as well.
#ifndef HUEWEAVE_COUNTS_LINES
TEST_F(SafetyTest, ALimitOnTheSizeOfFilesIsAnErrorAndNoDeath) {
    const auto limit = [](rlim_t bytes) {
        return [bytes] {
            const struct rlimit most { bytes, bytes };
            setrlimit(RLIMIT_FSIZE, &most);
        };
    };
    for (const rlim_t bytes : {100000U, 200000U, 300000U}) {
        const Outcome run = RunProgram({Words({in_, "-o", out_}), "", {}, limit(bytes), {}});
        EXPECT_EQ(run.status, 5) << bytes << " " << run.signal;
        EXPECT_THAT(run.err, HasSubstr("out.tif: cannot be written (File too large); free some space"));
        EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
        EXPECT_EQ(NamesIn(folder_.path()), (Names{"in.tif"}));
    }
    WriteBytes(out_, "precious");
    const Outcome run = RunProgram({Words({in_, "-o", out_, "--force"}), "", {}, limit(100000), {}});
    EXPECT_EQ(run.status, 5);
    EXPECT_EQ(FileBytes(out_), "precious");
}
#endif

TEST_F(SafetyTest, AFullDisk) {
    const std::string disk = folder_ / "disk";
    std::filesystem::create_directory(disk);
    // A small file system of the test's own. Where the system allows none, its writes are made to fail.
    const std::string mount = "mount -t tmpfs -o size=200k none " + Quoted(disk);
    std::vector<std::string> words{"sh", "-c"};
    std::string before = "LD_PRELOAD=" + Quoted(HUEWEAVE_FAULTS) + " HUEWEAVE_FAULT=pwrite:4:28 ";
    std::string taken = "writes that fail";
    for (const auto& way : {Names{"unshare", "--user", "--map-root-user", "--mount"}, Names{"unshare", "--mount"}}) {
        Names trial = way;
        trial.insert(trial.end(), {"sh", "-c", mount});
        if (RunProgram({trial, "", {}, {}, {}}).status != 0) continue;
        words.insert(words.begin(), way.begin(), way.end());
        taken = "a file system of 200 KiB";
        before = mount + "; cp " + Quoted(in_) + " " + Quoted(disk + "/small.tif") + " 2>/dev/null || :; ";
        break;
    }
    words.push_back(before + HUEWEAVE_COMMAND + " convert --profile " + Quoted(Input("scanner.icc")) + " " +
                    Quoted(in_) + " -o " + Quoted(disk + "/out.tif") + " && echo done || echo status $?; ls -A " +
                    Quoted(disk) + " | grep -v small.tif");
    RecordProperty("full_disk", taken);  // which of the two it was
    std::cout << "full disk by " << taken << "\n";
    const Outcome run = RunProgram({words, "", {{"ASAN_OPTIONS", "verify_asan_link_order=0"}}, {}, {}});
    EXPECT_EQ(run.out, "status 5\n") << run.err;
    EXPECT_THAT(run.err, HasSubstr("out.tif: cannot be written (No space left on device); free some space"));
}

TEST_F(SafetyTest, SignalsEndItAndNothingIsLeft) {
    const std::string large = Large();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        for (const int delay : {2, 10, 30}) {
            const auto interrupt = [&](pid_t child) {
                std::this_thread::sleep_for(std::chrono::milliseconds(delay));
                kill(child, signal);
            };
            const Outcome run = RunProgram({Words({large, "-o", out_, "-j", "2"}), "", {}, {}, interrupt});
            if (run.signal == 0) {
                EXPECT_EQ(run.status, 0) << run.err;  // it was done before
                EXPECT_EQ(ReadPictures(out_).size(), 1U);
                std::filesystem::remove(out_);
            } else {
                EXPECT_EQ(run.signal, signal) << run.err;
            }
            EXPECT_EQ(NamesIn(folder_.path()), (Names{"in.tif", "large.tif"}));
        }
    }
}

TEST_F(SafetyTest, AKillAtAnyMomentLeavesTheOldFileOrTheNewOne) {
    const std::string large = Large();
    ASSERT_EQ(Convert({large, "-o", out_}).status, 0);
    const std::string wanted = FileBytes(out_);
    EXPECT_EQ(ByEngine(ReadPictures(large)[0], Input("scanner.icc"), 0, 9).values, ReadPictures(out_)[0].values);
    int killed = 0, done = 0;
    // Milliseconds, until it is let through. `make faults` kills at hundreds of moments.
    for (int delay = 0; done == 0; delay += delay < 40 ? 8 : delay / 2) {
        ASSERT_LT(delay, 100000);
        WriteBytes(out_, "the old file");
        const auto murder = [&](pid_t child) {
            std::this_thread::sleep_for(std::chrono::milliseconds(delay));
            kill(child, SIGKILL);
        };
        const Outcome run = RunProgram({Words({large, "-o", out_, "--force"}), "", {}, {}, murder});
        const std::string bytes = FileBytes(out_);
        if (bytes == "the old file") {
            ++killed;
            EXPECT_EQ(run.signal, SIGKILL);
        } else {
            ++done;
            EXPECT_EQ(bytes == wanted, true) << delay;
        }
    }
    EXPECT_GT(killed, 0);
    EXPECT_GT(done, 0);
    // Without a name while it is written, the new file is gone with the process.
    EXPECT_EQ(NamesIn(folder_.path()), (Names{"in.tif", "large.tif", "out.tif"}));
}

TEST_F(SafetyTest, AClosedPipeIsAnError) {
    const Outcome run =
        RunProgram({{"bash", "-c",
                     "set -o pipefail; " HUEWEAVE_COMMAND " convert --profile " + Quoted(Input("scanner.icc")) + " " +
                         Quoted(Large()) + " -o - | head -c 10 >/dev/null"},
                    "",
                    {},
                    {},
                    {}});
    EXPECT_EQ(run.status, 5);
    EXPECT_THAT(run.err, HasSubstr("standard output: cannot be written (Broken pipe)"));
}

TEST_F(SafetyTest, AFullStandardOutputIsAnError) {
    const Outcome run = RunProgram({{"sh", "-c", HUEWEAVE_COMMAND " spaces > /dev/full"}, "", {}, {}, {}});
    EXPECT_EQ(run.status, 5);
    const Outcome asJson = RunProgram({{"sh", "-c",
                                        HUEWEAVE_COMMAND " convert --json --profile " + Quoted(Input("scanner.icc")) +
                                            " " + Quoted(in_) + " -o " + Quoted(out_) + " > /dev/full"},
                                       "",
                                       {},
                                       {},
                                       {}});
    EXPECT_EQ(asJson.status, 5);
}

TEST_F(SafetyTest, StandardInputAndOutput) {
    ASSERT_EQ(Convert({in_, "-o", out_}).status, 0);
    const Outcome run = RunProgram({Words({"-", "-o", "-"}), in_, {}, {}, {}});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, FileBytes(out_));
    const std::string pipe = Shell("cat " + Quoted(in_) + " | " HUEWEAVE_COMMAND " convert --profile " +
                                   Quoted(Input("scanner.icc")) + " - -o - | cat");
    EXPECT_EQ(pipe, FileBytes(out_));
    EXPECT_EQ(RunProgram({Words({"-", "-o", "-"}), "", {}, {}, {}}).status, 4);
}

TEST_F(SafetyTest, AHostWithoutThreadsIsSlowerAndNoMore) {
    const Outcome run = RunProgram({Words({in_, "-o", out_, "-j", "8"}), "", Faults("pthread_create:0:11"), {}, {}});
    EXPECT_EQ(run.status, 0) << run.err << run.signal;
    EXPECT_EQ(ByEngine(ReadPictures(in_)[0], Input("scanner.icc"), 0, 9).values, ReadPictures(out_)[0].values);
}

TEST_F(SafetyTest, NoImageIsWrittenToATerminal) {
    std::string command;
    for (const std::string& word : Words({in_, "-o", "-"})) command += Quoted(word) + " ";
    const Outcome run = RunProgram({{"script", "-qec", command, "/dev/null"}, "", {{"TERM", "dumb"}}, {}, {}});
    EXPECT_EQ(run.status, 5);
    EXPECT_THAT(run.out, HasSubstr("standard output: is a terminal; write to a file with -o, or into a pipe"));
    EXPECT_LT(run.out.size(), 200U);
}

TEST_F(SafetyTest, DevicesAndPipesAreNoInputsAndNoOutputs) {
    EXPECT_EQ(Convert({"/dev/zero", "-o", out_}).status, 4);
    const std::string pipe = folder_ / "pipe";
    mkfifo(pipe.c_str(), 0600);
    EXPECT_EQ(Convert({pipe, "-o", out_}).status, 4);
    EXPECT_EQ(Convert({in_, "-o", pipe, "--force"}).status, 5);
    EXPECT_EQ(Convert({in_, "-o", "/dev/null", "--force"}).status, 5);
}

}  // namespace
}  // namespace hueweave::test
