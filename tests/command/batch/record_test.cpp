// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The record of a folder that somebody else prepared, and lists of names and curves that never end.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "batch/session/LineReader.h"
#include "batch/session/Resume.h"
#include "command/support/Batch.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using tool::LineReader;
using tool::RecordEntries;
namespace fs = std::filesystem;

class RecordTest : public BatchTest {
protected:
    RecordTest() { fs::create_directory(out_); }
    /// A run that must not use the record: all is converted and the reason is said once; with --resume it is refused.
    void ExpectUnused(const std::string& reason) const {
        const std::string about = record_ + ": " + reason;
        const Outcome run = Timed({scans_, "-o", out_});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(Outputs(), (std::set<std::string>{"a.tif", "b.TIFF", "deep/a.tif"}));
        const std::string note = "note: " + about + " and is not written to; --resume will not know of this run";
        const auto lines = Lines(run.err);
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [&](const std::string& line) { return line.find(note) != std::string::npos; }),
                  1)
            << run.err;
        for (const std::string& name : Outputs()) fs::remove(out_ + "/" + name);
        for (const char* dry : {"-q", "--dry-run"}) {
            const Outcome resumed = Timed({scans_, "-o", out_, "--resume", dry});
            EXPECT_EQ(resumed.status, 5);
            EXPECT_EQ(resumed.err,
                      "hueweave: " + about + ", and tells of no earlier run; remove it, or leave out --resume\n");
            EXPECT_EQ(Outputs(), std::set<std::string>{});
        }
    }
    Outcome Timed(std::vector<std::string> more) const {
        std::vector<std::string> words{"timeout", "60", HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc")};
        words.insert(words.end(), more.begin(), more.end());
        return RunProgram({words, "", {}, {}, {}});
    }
    std::string record_ = out_ + "/.hueweave.jsonl", victim_ = folder_ / ".bashrc";
};

TEST_F(RecordTest, IsNotWrittenThroughASymbolicLink) {
    fs::copy_file(scans_ + "/a.tif", scans_ + "/$(touch X).tif");
    fs::remove(scans_ + "/a.tif");
    WriteBytes(victim_, "# mine\n");
    fs::create_symlink("../.bashrc", record_);
    const Outcome run = Timed({scans_, "-o", out_});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(FileBytes(victim_), "# mine\n");
    EXPECT_TRUE(fs::is_symlink(record_));
    EXPECT_EQ(Outputs().count("$(touch X).tif"), 1U);
}

TEST_F(RecordTest, AnythingButAPlainFileIsNotUsed) {
    WriteBytes(victim_, "# mine\n");
    fs::create_symlink("../.bashrc", record_);
    ExpectUnused("is a symbolic link");
    fs::remove(record_);
    fs::create_symlink("/dev/zero", record_);
    ExpectUnused("is a symbolic link");
    fs::remove(record_);
    fs::create_symlink("../nothing", record_);
    ExpectUnused("is a symbolic link");
    EXPECT_FALSE(Exists(folder_ / "nothing"));
    fs::remove(record_);
    fs::create_hard_link(victim_, record_);
    ExpectUnused("has further names (hard links)");
    fs::remove(record_);
    mkfifo(record_.c_str(), 0600);
    ExpectUnused("is not a regular file");
    fs::remove(record_);
    fs::create_directory(record_);
    ExpectUnused("is not a regular file");
    EXPECT_EQ(FileBytes(victim_), "# mine\n");
}

#ifdef __SANITIZE_ADDRESS__
constexpr long kRecordKb = 1024 * 1024;  // the sanitizer's own memory counts
#else
constexpr long kRecordKb = 160000;
#endif

TEST_F(RecordTest, TakesBoundedMemoryWhateverItsSize) {
    WriteBytes(record_, "");
    fs::resize_file(record_, std::uintmax_t{256} << 20);  // one line of zeros, as a file with a hole
    Outcome run = Timed({scans_, "-o", out_, "--resume"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_LT(run.peakKb, kRecordKb);
    for (const std::string& name : Outputs()) fs::remove(out_ + "/" + name);
    fs::resize_file(record_, (std::uintmax_t{256} << 20) + 1);
    run = Timed({scans_, "-o", out_, "--resume"});
    EXPECT_EQ(run.status, 5);
    EXPECT_THAT(run.err, HasSubstr(".hueweave.jsonl: is larger than any record, and tells of no earlier run; remove"));
}

TEST_F(RecordTest, ThatOfARunThatDidNothingStaysWhereOthersWroteToItOrPutAnother) {
    const std::string copy = out_ + "/copy";
    const auto after = [&](const std::function<void()>& meanwhile) {
        {
            tool::ResumeRecord record(out_, false);
            record.Add("a.tif", "fingerprint", tool::FileAccess::OpenInput(scans_ + "/a.tif"));
            meanwhile();
        }
        return Exists(record_);
    };
    EXPECT_FALSE(after([] {}));
    EXPECT_TRUE(after([&] { WriteBytes(record_, FileBytes(record_) + "\n"); }));
    fs::remove(record_);
    EXPECT_TRUE(after([&] {
        fs::copy_file(record_, copy);
        fs::rename(copy, record_);
    }));
}

TEST_F(RecordTest, ALineThatDoesNotReachTheDiskIsSaid) {
    const Outcome run = RunProgram(
        {{HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"), scans_ + "/a.tif", "-o", out_ + "/"},
         "",
         Faults("fdatasync:0:5"),
         {},
         {}});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err,
                HasSubstr(".hueweave.jsonl: cannot be written (Input/output error); --resume will not know of a.tif"));
}

TEST_F(RecordTest, AListOfInputsOrCurvesNeedNotEnd) {
    Outcome run = Timed({"--files-from", "/dev/zero", "-o", out_});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "hueweave: /dev/zero: holds a name that is too long for a file; give one name a line\n");
    run = Timed({scans_, "--curve", "/dev/zero", "-o", out_});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("hueweave: /dev/zero: row 1 is no curve row; "));
}

TEST_F(RecordTest, ASignalEndsTheWaitingForAListThatNobodyWrites) {
    const std::string pipe = folder_ / "pipe";
    mkfifo(pipe.c_str(), 0600);
    for (const char* option : {"--files-from", "--curve"}) {
        const Outcome run =
            RunProgram({{HUEWEAVE_COMMAND, "convert", scans_, option, pipe, "-o", out_}, "", {}, {}, [](pid_t child) {
                            WaitUntilIdle(child);
                            Terminate(child);
                        }});
        EXPECT_EQ(run.signal, SIGTERM) << run.err;
    }
    // One that is written late, or by a process, is read.
    const std::string line = "(sleep 0.3; echo " + Quoted(scans_ + "/a.tif") + ") > " + Quoted(pipe) +
                             " & " HUEWEAVE_COMMAND " convert --profile " + Quoted(Input("scanner.icc")) +
                             " --files-from " + Quoted(pipe) + " -o " + Quoted(out_);
    Shell(line);
    Shell("bash -c '" HUEWEAVE_COMMAND " convert --profile \"$1\" --files-from <(echo \"$2\") -o \"$3\"' x " +
          Quoted(Input("scanner.icc")) + " " + Quoted(scans_ + "/b.TIFF") + " " + Quoted(out_));
    EXPECT_EQ(Outputs(), (std::set<std::string>{"a.tif", "b.TIFF"}));
}

TEST(RecordEntriesTest, LinesThatAreNoneOfOursCountForNothing) {
    RecordEntries entries;
    for (const std::string line :
         {"", "{", "[]", "null", "{\"output\":1}", R"({"output":"a","fingerprint":"f","size":1e300,"modified":2})",
          R"({"output":"a","fingerprint":"f","size":1.0,"modified":2})",
          R"({"output":"a","fingerprint":["f"],"size":1,"modified":2})",
          R"({"fingerprint":"f","size":1,"modified":2})"}) {
        entries.Take(line);
    }
    entries.Take(std::string(30000, '[') + std::string(30000, ']'));
    EXPECT_FALSE(entries.Has("a", "f", {1, 2}));
    entries.Take(R"({"output":"a","fingerprint":"f","size":1,"modified":2})");
    entries.Take(R"({"output":"a","fingerprint":"f","size":3,"modified":4})");
    EXPECT_TRUE(entries.Has("a", "f", {1, 2}));
    EXPECT_TRUE(entries.Has("a", "f", {3, 4}));
    EXPECT_FALSE(entries.Has("a", "f", {1, 4}));
    EXPECT_FALSE(entries.Has("a", "g", {1, 2}));
    EXPECT_FALSE(entries.Has("b", "f", {1, 2}));
}

TEST(LineReaderTest, LinesAreWholeOrCutAndTheRestIsPassedOver) {
    const Folder folder;
    const std::string path = folder / "lines", large(200000, 'x');
    const auto read = [&](const std::string& bytes, std::size_t longest) {
        WriteBytes(path, bytes);
        const tool::FileAccess file = LineReader::Open(path);
        LineReader lines(file.descriptor(), '\n', longest);
        std::vector<std::string> all;
        for (std::string line; lines.Next(line);) all.push_back(line);
        EXPECT_EQ(lines.error(), 0);
        return all;
    };
    using List = std::vector<std::string>;
    EXPECT_EQ(read("", 5), List{});
    EXPECT_EQ(read("a\n\nbc", 5), (List{"a", "", "bc"}));
    EXPECT_EQ(read("12345\n123456\n1234567\na\n", 5), (List{"12345", "123456", "123456", "a"}));
    EXPECT_EQ(read(large + "\nb\n", 5), (List{"xxxxxx", "b"}));
    EXPECT_EQ(read("a\n" + large, 5), (List{"a", "xxxxxx"}));
    EXPECT_EQ(read(large + "\n" + large, 200000), (List{large, large}));
    // A block of 64 KiB ends within the line, where it is as long as a line may be.
    EXPECT_EQ(read(std::string((std::size_t{64} << 10) - 5, '\n') + "123456\n", 5).back(), "123456");
    LineReader none(-1, '\n', 5);
    std::string line;
    EXPECT_FALSE(none.Next(line));
    EXPECT_EQ(none.error(), EBADF);
}

}  // namespace
}  // namespace hueweave::test
