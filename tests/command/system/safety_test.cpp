// SPDX-License-Identifier: MIT
// The old file or the new one, complete: inputs that are outputs too, full disks, signals, and unusual files.
#include <sys/stat.h>
#include <unistd.h>

#include "command/support/FileTest.h"
#include "command/support/Picture.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

class SafetyTest : public FileTest {
protected:
    SafetyTest() { Make("tiffcp -s -c none -r 16 $in $out", Input("photo-16.tif")); }
};

TEST_F(SafetyTest, InPlaceAFileIsConvertedOnceUnderAnyNames) {
    const std::string link = folder_ / "link.tif", below = folder_ / "below", before = FileBytes(in_);
    fs::create_symlink("in.tif", link);
    fs::create_directory_symlink(".", below);
    const Picture once = ToSrgb(ReadPictures(in_)[0]);
    for (const std::string& same : {in_, link, below + "/in.tif", folder_.path() + "/./in.tif"}) {
        WriteBytes(in_, before);
        EXPECT_THAT(ConvertScan({in_, same, "--in-place", "--force", "-j", "1"}),
                    Says(1, same + ": is the same file as " + in_ + "; convert it once"));
        EXPECT_THAT(ReadPictures(in_)[0].values, EqualTo(once.values)) << same;
    }
}

TEST_F(SafetyTest, TwoOutputsLinkedToOneFileAreRefused) {
    const std::string out = folder_ / "out", other = folder_ / "other.tif";
    fs::copy_file(in_, other);
    WriteBytes(out + "/in.tif", "old");
    fs::create_symlink("in.tif", out + "/other.tif");
    EXPECT_THAT(ConvertScan({in_, other, "-o", out, "--force"}),
                Says(1, "other.tif: would be written to " + out + "/other.tif, as " + in_));
    ExpectSrgb(out + "/in.tif", in_);
}

TEST_F(SafetyTest, TheInputIsNeverTheOutput) {
    const std::string before = FileBytes(in_), link = folder_ / "link.tif", hard = folder_ / "hard.tif";
    fs::create_symlink("in.tif", link);
    fs::create_hard_link(in_, hard);
    for (const std::string& same : {in_, folder_.path() + "/./in.tif", link, hard}) {
        for (const Words& more : {Words{}, Words{"--force"}}) {
            EXPECT_THAT(ConvertScan(Words{in_, "-o", same} + more), Says(5, "is an input itself", "--in-place"));
        }
    }
    EXPECT_EQ(FileBytes(in_), before);
    // No input may be the output of another input.
    WriteBytes(folder_ / "deep/in.tif", before);
    EXPECT_EQ(ConvertScan({folder_ / "deep/in.tif", in_, "-o", folder_ / "deep", "--force"}).status, 5);
    EXPECT_EQ(FileBytes(folder_ / "deep/in.tif"), before);
}

TEST_F(SafetyTest, AFileGivenAsAnOptionIsNeverTheOutput) {
    const std::string profile = folder_ / "mine.tif", curve = folder_ / "curve.tif", list = folder_ / "list";
    const std::string hard = folder_ / "hard.tif", target = folder_ / "to.tif", source = folder_ / "in/list";
    fs::copy_file(Input("scanner.icc"), profile);
    fs::create_hard_link(profile, hard);
    fs::copy_file(Input("wide.icc"), target);
    Shell("for i in $(seq 0 255); do echo $i,$i,$i; done > " + Quoted(curve));
    WriteBytes(source, FileBytes(in_));
    WriteBytes(list, source + "\n");
    for (const auto& [output, option, words] : {std::tuple{profile, "--profile", Words{in_, "-o", profile}},
                                                {hard, "--profile", {in_, "-o", hard}},
                                                {curve, "--curve", {in_, "-o", curve, "--curve", curve}},
                                                {target, "--to", {in_, "-o", target, "--to", target}},
                                                {list, "--files-from", {"--files-from", list, "-o", folder_.path()}}}) {
        const std::string before = FileBytes(output);
        const Outcome run = Hueweave(Words{"convert", "--force", "--profile", profile} + words);
        EXPECT_GT(run.status, 0);
        EXPECT_THAT(run.err, HasSubstr(output + ": is the file given as " + option + "; choose another name"));
        EXPECT_EQ(FileBytes(output), before);
    }
}

TEST_F(SafetyTest, InPlaceAnotherNameKeepsTheOldContents) {
    const std::string before = FileBytes(in_);
    fs::create_hard_link(in_, folder_ / "second.tif");
    EXPECT_THAT(ConvertScan({in_, "--in-place"}),
                Says(0, "in.tif: has other names (hard links), which keep the old contents"));
    EXPECT_EQ(FileBytes(folder_ / "second.tif"), before);
}

// In a build that measures coverage, the limit would truncate the coverage files as well.
#ifndef HUEWEAVE_COUNTS_LINES
TEST_F(SafetyTest, AFileSizeLimitIsAnErrorAndNotACrash) {
    for (const rlim_t bytes : {100000U, 200000U, 300000U}) {
        const Outcome run = Convert({}, {.limits = {{RLIMIT_FSIZE, bytes}}});
        EXPECT_THAT(run, Refuses(5, "out.tif: cannot be written (File too large); free some space"));
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
    }
    WriteBytes(out_, "precious");
    EXPECT_EQ(Convert({"--force"}, {.limits = {{RLIMIT_FSIZE, 100000}}}).status, 5);
    EXPECT_EQ(FileBytes(out_), "precious");
}
#endif

TEST_F(SafetyTest, SignalsEndItAndNothingIsLeft) {
    // A file that takes a considerable part of a second to convert.
    const std::string large = folder_ / "large.tif";
    fs::create_symlink(Input("large-16.tif"), large);
    // Also on a file system without unnamed files.
    for (const char* fault : {"", "tmpfile:0:95"}) {
        int ended = 0;
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            for (const unsigned delay : {2000U, 10000U, 30000U, 80000U}) {  // microseconds
                const auto interrupt = [=](pid_t child) { usleep(delay), kill(child, signal); };
                const Outcome run =
                    ConvertScan({large, "-o", out_, "-j", "2"}, {.setenv = Faults(fault), .meanwhile = interrupt});
                if (run.signal == 0) {
                    EXPECT_EQ(run.status, 0) << run.err;  // it finished before the signal
                    EXPECT_EQ(ReadPictures(out_).size(), 1U);
                    fs::remove(out_);
                } else {
                    ++ended;
                    EXPECT_EQ(run.signal, signal) << run.err;
                }
                EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif", "large.tif"}));
            }
        }
        EXPECT_GT(ended, 0) << fault;
    }
}

TEST_F(SafetyTest, StandardInputAndOutput) {
    ASSERT_EQ(Convert().status, 0);
    EXPECT_EQ(Shell("cat " + Quoted(in_) + " | " + ConvertLine("- -o -") + " | cat"), FileBytes(out_));
    EXPECT_EQ(ConvertScan({"-", "-o", "-"}).status, 4);
}

TEST_F(SafetyTest, AHostWithoutThreadsIsSlowerAndNoMore) {
    EXPECT_THAT(Convert({"-j", "8"}, {.setenv = Faults("pthread_create:0:11")}), Succeeds());
    ExpectSrgb(out_, in_);
}

TEST_F(SafetyTest, NoImageIsWrittenToATerminal) {
    const Outcome run = RunProgram(
        {.words = {"script", "-qec", ConvertLine(Quoted(in_) + " -o -"), "/dev/null"}, .setenv = {{"TERM", "dumb"}}});
    EXPECT_THAT(run, Prints(5, "standard output: is a terminal; write to a file with -o, or into a pipe"));
    EXPECT_LT(run.out.size(), 200U);
}

TEST_F(SafetyTest, DevicesAndPipesAreNoInputsAndNoOutputs) {
    EXPECT_EQ(ConvertScan({"/dev/zero", "-o", out_}).status, 4);
    const std::string pipe = folder_ / "pipe.tif";
    mkfifo(pipe.c_str(), 0600);
    EXPECT_EQ(ConvertScan({pipe, "-o", out_}).status, 4);
    EXPECT_EQ(ConvertScan({in_, "-o", pipe, "--force"}).status, 5);
    const std::string null = folder_ / "null.tif";
    fs::create_symlink("/dev/null", null);
    EXPECT_EQ(ConvertScan({in_, "-o", null, "--force"}).status, 5);
}

}  // namespace
}  // namespace hueweave::test
