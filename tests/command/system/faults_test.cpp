// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Every call of the system fails in turn. Whatever the call, the file that stood there stays, or the new one is whole.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <thread>

#include "command/support/Command.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

struct FaultRow {
    const char* name;
    const char* call;
    int error;
    int status;             ///< 0 where the command goes on in another way
    const char* also = "";  ///< what fails beside it, each time
};
void PrintTo(const FaultRow& row, std::ostream* out) { *out << row.name; }

constexpr const char* kNoUnnamed = "tmpfile:0:95,";  ///< a file system without files that have no name

const FaultRow kFaultRows[] = {
    {"FullDisk", "pwrite", ENOSPC, 5},
    {"FullDiskNamed", "pwrite", ENOSPC, 5, kNoUnnamed},
    {"Quota", "pwrite", EDQUOT, 5},
    {"BadDisk", "pwrite", EIO, 5},
    {"BadSource", "pread", EIO, 4},
    {"InterruptedRead", "pread", EINTR, 0},
    {"InterruptedWrite", "pwrite", EINTR, 0},
    {"ShortRead", "pread", 0, 0},
    {"ShortWrite", "pwrite", 0, 0},
    {"NoTruncation", "ftruncate", EIO, 5},
    {"NoUnnamedFiles", "tmpfile", EOPNOTSUPP, 0},
    {"NoRights", "tmpfile", EACCES, 5},
    {"NoLink", "linkat", ENOENT, 5},
    {"NoRename", "renameat2", EIO, 5, kNoUnnamed},
    {"NoSeekForHoles", "lseek", EINVAL, 0},
};

class FaultTest : public testing::TestWithParam<FaultRow> {
protected:
    FaultTest() { Shell("tiffcp -s -c zip -r 120 " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_)); }
    /// Runs it with the n-th call failing.
    Outcome Convert(int n, std::vector<std::string> more) {
        std::vector<std::string> words{HUEWEAVE_COMMAND, "convert", "-j", "2", "--profile", Input("scanner.icc"), in_};
        words.insert(words.end(), more.begin(), more.end());
        const std::string fault = std::string(GetParam().also) + GetParam().call + ":" + std::to_string(n) + ":" +
                                  std::to_string(GetParam().error);
        std::filesystem::remove(seen_);
        return RunProgram({std::move(words), "", Faults(fault, seen_), {}, {}});
    }
    bool Struck() const { return !FileBytes(seen_).empty(); }
    Folder folder_, other_;
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif", seen_ = other_ / "seen";
};

TEST_P(FaultTest, TheOldFileOrTheNewOneWhateverFails) {
    const Picture before = ReadPictures(in_)[0];
    const auto wanted = ByEngine(before, Input("scanner.icc"), 0, 8).values;
    const std::string source = FileBytes(in_);
    int struck = 0, failed = 0;
    for (const bool force : {false, true}) {
        for (int n = 1;; ++n) {
            ASSERT_LT(n, 500);
            std::filesystem::remove(out_);
            if (force) WriteBytes(out_, "precious");
            const Outcome run = force ? Convert(n, {"-o", out_, "--force"}) : Convert(n, {"-o", out_});
            if (run.status == 0) {
                EXPECT_EQ(ReadPictures(out_)[0].values, wanted) << n;
                EXPECT_EQ(NamesIn(folder_.path()), (std::vector<std::string>{"in.tif", "out.tif"}));
            } else {
                ++failed;
                // The first reads are those of the profile.
                EXPECT_THAT(run.status, testing::AnyOf(GetParam().status, GetParam().status == 4 ? 3 : 5)) << run.err;
                EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
                EXPECT_EQ(Exists(out_), force);
                if (force) {
                    EXPECT_EQ(FileBytes(out_), "precious");
                }
                EXPECT_EQ(NamesIn(folder_.path()).size(), force ? 2U : 1U);
            }
            EXPECT_EQ(FileBytes(in_), source);
            if (!Struck()) break;
            ++struck;
            EXPECT_EQ(run.status == 0, GetParam().status == 0) << n << run.err;
        }
    }
    EXPECT_GT(struck, 0);
    EXPECT_EQ(failed > 0, GetParam().status != 0);
}

TEST_P(FaultTest, InPlaceTooTheOldFileStays) {
    const std::string source = FileBytes(in_);
    const Outcome run = Convert(1, {"--in-place"});
    ASSERT_TRUE(Struck());
    EXPECT_EQ(FileBytes(in_) == source, run.status != 0) << run.err;
    EXPECT_EQ(NamesIn(folder_.path()), (std::vector<std::string>{"in.tif"}));
}

INSTANTIATE_TEST_SUITE_P(Every, FaultTest, testing::ValuesIn(kFaultRows),
                         [](const auto& row) { return std::string(row.param.name); });

class NamedTest : public testing::Test {};

TEST_F(NamedTest, AWriteOfRowsThatACoderPassesOverIsRefused) {
    const Folder folder;
    const std::string in = folder / "in.tif", out = folder / "out.tif";
    // A strip of 4.5 MB is written by rows with the least memory allowed, first to a file of its own.
    Shell("convert-im6 " + Quoted(Input("photo-16.tif")) + " -scale 1000x750! -compress none " + Quoted(out) +
          " && tiffcp -s -c lzw -r 750 " + Quoted(out) + " " + Quoted(in) + " && rm " + Quoted(out));
    const Folder other;
    const std::string seen = other / "seen";
    int struck = 0;
    for (int n = 1;; ++n) {
        const Outcome run = RunProgram({{HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"), "--max-memory",
                                         "32M", in, "-o", out, "-q"},
                                        "",
                                        Faults("pwrite:" + std::to_string(n) + ":28", seen),
                                        {},
                                        {}});
        if (FileBytes(seen).empty()) break;
        ++struck;
        EXPECT_EQ(run.status, 5) << n;
        EXPECT_THAT(run.err, testing::HasSubstr("cannot be written (No space left on device)")) << n;
        EXPECT_EQ(NamesIn(folder.path()), (std::vector<std::string>{"in.tif"})) << n;
        std::filesystem::remove(out);
    }
    EXPECT_GT(struck, 20);
}

TEST_F(NamedTest, SignalsLeaveNoTemporaryWhereFilesWantAName) {
    const Folder folder;
    const std::string large = folder / "large.tif", out = folder / "out.tif";
    Shell("convert-im6 " + Quoted(Input("photo-16.tif")) +
          " -scale 4000x3000! -compress zip -define tiff:rows-per-strip=64 " + Quoted(large));
    int ended = 0;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        for (const int delay : {20, 40, 80}) {
            const Outcome run = RunProgram(
                {{HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"), large, "-o", out, "--force"},
                 "",
                 Faults("tmpfile:0:95"),
                 {},
                 [&](pid_t child) {
                     std::this_thread::sleep_for(std::chrono::milliseconds(delay));
                     kill(child, signal);
                 }});
            ended += run.signal == signal;
            std::filesystem::remove(out);
            EXPECT_EQ(NamesIn(folder.path()), (std::vector<std::string>{"large.tif"}));
        }
    }
    EXPECT_GT(ended, 0);
}

TEST_F(NamedTest, NamesOfAnotherRunAreNotInTheWay) {
    const Folder folder;
    const std::string in = folder / "in.tif", out = folder / "out.tif";
    Shell("tiffcp -s -c none -r 16 " + Quoted(Input("photo-8.tif")) + " " + Quoted(in));
    const auto leave =
        [&] {  // with the process number of the command to come, and with locks, as of a run that goes on
            for (int i = 0; i < 3; ++i) {
                const std::string name = ".hueweave-" + std::to_string(getpid()) + "-" + std::to_string(i) + ".tmp";
                flock(open((folder / name).c_str(), O_CREAT | O_WRONLY, 0600), LOCK_EX);
            }
        };
    for (const char* fault : {"", "tmpfile:0:95"}) {
        const Outcome run = RunProgram(
            {{HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"), in, "-o", out, "--force", "-q"},
             "",
             Faults(fault),
             leave,
             {}});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(ByEngine(ReadPictures(in)[0], Input("scanner.icc"), 0, 8).values, ReadPictures(out)[0].values);
        EXPECT_EQ(Lines(Shell("ls -A " + Quoted(folder.path()))).size(), 5U) << "three that were left, and two";
        Shell("rm " + Quoted(folder.path()) + "/.hueweave-*");
    }
}

class ScarceTest : public testing::Test {
protected:
    ScarceTest() {
        std::filesystem::create_directory(scans_);
        for (int i = 0; i < kFiles; ++i) {
            std::filesystem::copy_file(Input("photo-16.tif"), scans_ + "/" + std::to_string(i) + ".tif");
        }
    }
    /// Many threads where a resource is scarce: no file is worse for it than not converted, and they can be later.
    void ExpectNothingWorseThanRefusals(int resource, rlim_t limit) {
        std::vector<std::string> words{
            HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"), scans_, "-o", out_, "-q", "-j"};
        auto many = words, few = words;
        many.push_back("64");
        few.insert(few.end(), {"2", "--resume"});
        const Outcome run = RunProgram({many,
                                        "",
                                        {},
                                        [&] {
                                            const rlimit value{limit, limit};
                                            setrlimit(static_cast<__rlimit_resource_t>(resource), &value);
                                        },
                                        {}});
        EXPECT_EQ(run.signal, 0) << limit;
        for (const std::string& line : Lines(run.err)) {
            EXPECT_THAT(line, testing::AnyOf(testing::HasSubstr("lower -j"), testing::HasSubstr("--resume will not")));
        }
        const Outcome rest = RunProgram({few, "", {}, {}, {}});
        EXPECT_EQ(rest.status, 0) << rest.err;
        const Picture wanted = ByEngine(ReadPictures(Input("photo-16.tif"))[0], Input("scanner.icc"), 0, 9);
        for (int i = 0; i < kFiles; ++i) {
            EXPECT_EQ(wanted.values, ReadPictures(out_ + "/" + std::to_string(i) + ".tif")[0].values);
        }
        std::filesystem::remove_all(out_);
    }
    static constexpr int kFiles = 24;
    Folder folder_;
    std::string scans_ = folder_ / "scans", out_ = folder_ / "out";
};

// Not with sanitizers: they take more of the address space than there is memory, and without a descriptor left they
// cannot look at an object and call it a bad one.
#ifndef __SANITIZE_ADDRESS__
TEST_F(ScarceTest, OpenFiles) {
    for (const rlim_t limit : {12U, 16U, 24U, 40U}) ExpectNothingWorseThanRefusals(RLIMIT_NOFILE, limit);
}

TEST_F(ScarceTest, Memory) {
    for (const rlim_t megabytes : {60U, 70U, 80U, 120U}) ExpectNothingWorseThanRefusals(RLIMIT_AS, megabytes << 20);
}
#endif

}  // namespace
}  // namespace hueweave::test
