// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// What tries to leave the sandbox is stopped, and what the command line asks for works in it. escape.c tries.
#include <gmock/gmock.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <sstream>

#include "command/support/Command.h"
#include "command/support/Kind.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using Names = std::vector<std::string>;
namespace fs = std::filesystem;

/// What the kernel under the tests has.
long LandlockVersion() {
    return std::max(0L, syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION));
}
bool HasSeccomp() { return prctl(PR_GET_SECCOMP, 0, 0, 0, 0) >= 0; }

enum class By { Landlock, Seccomp, Tracing };

/// A way out: what stops it with which error, and what the kernel says to it otherwise.
struct WayOut {
    const char* name;
    By by;
    int stopped, free = 0;
};
constexpr WayOut kWaysOut[] = {
    {"read", By::Landlock, EACCES},
    {"list", By::Landlock, EACCES},
    {"append", By::Landlock, EACCES},
    {"make", By::Landlock, EACCES},
    {"unnamed", By::Landlock, EACCES},
    {"folder", By::Landlock, EACCES},
    {"symlink", By::Landlock, EACCES},
    {"fifo", By::Landlock, EACCES},
    {"remove", By::Landlock, EACCES},
    {"rename", By::Landlock, EACCES},
    {"mode", By::Seccomp, EPERM},
    {"length", By::Seccomp, EPERM},
    {"internet", By::Seccomp, EPERM},
    {"local", By::Seccomp, EPERM},
    {"pair", By::Seccomp, EPERM},
    {"exec", By::Seccomp, EPERM, ENOENT},
    {"execat", By::Seccomp, EPERM, ENOENT},
    {"fork", By::Tracing, EPERM},
    {"clone3", By::Tracing, ENOSYS, EINVAL},
    {"signal", By::Seccomp, EPERM},
    {"memory", By::Seccomp, EPERM},
    {"view", By::Seccomp, EPERM},
    {"typing", By::Seccomp, EPERM, ENOTTY},
    {"trace", By::Tracing, EPERM},
};

/// What the kernel gives the sandbox, or what is left of that.
struct Kernel {
    bool landlock = LandlockVersion() > 0, seccomp = HasSeccomp();
    bool Stops(By by) const {
#ifdef __SANITIZE_ADDRESS__
        if (by == By::Tracing) return false;  // the sanitizer's runtime does it itself
#endif
        return by == By::Landlock ? landlock : seccomp;
    }
};
constexpr Kernel kNothing{false, false};

struct Task {
    const char* name;
    int at;  ///< the call of pread in which it tries
    Names words;
};
void PrintTo(const Task& task, std::ostream* out) { *out << task.name; }

class SandboxTest : public testing::Test {
protected:
    SandboxTest() {
        fs::create_directories(scans_);
        fs::create_directories(out_);
        Shell("tiffcp -s -c zip -r 16 " + Quoted(Input("photo-8.tif")) + " " + Quoted(scans_ + "/a.tif"));
        for (const char* name : {"secret", "victim", "other"}) WriteBytes(folder_ / name, "precious");
    }
    Outcome Run(Names words, int at, const std::string& kernel = "") {
        std::map<std::string, std::string> environment{
            {"LD_PRELOAD", HUEWEAVE_ESCAPE},
            {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"},  // not while traced
            {"HUEWEAVE_ESCAPE_AT", std::to_string(at)},
            {"HUEWEAVE_ESCAPE_TO", "2"},
            {"HUEWEAVE_OUTSIDE", folder_.path()},
            {"TMPDIR", out_}};
        if (!kernel.empty()) environment["HUEWEAVE_KERNEL"] = kernel;
        words.insert(words.begin(), HUEWEAVE_COMMAND);
        return RunProgram({words, "", environment, {}, {}});
    }
    /// Whether each way out ended as it has to.
    void Expect(const Outcome& run, const Kernel& kernel, bool privileges) {
        std::map<std::string, int> told;
        std::istringstream lines(run.err);
        std::string name;
        for (int error = 0; lines >> name >> error;) told[name] = error;
        EXPECT_EQ(told["privileges"], privileges ? 0 : 1);
        for (const WayOut& way : kWaysOut) {
            ASSERT_TRUE(told.contains(way.name)) << way.name << "\n" << run.err;
            EXPECT_EQ(told[way.name], kernel.Stops(way.by) ? way.stopped : way.free) << way.name;
        }
    }
    void ExpectConverted(const std::string& path) {
        EXPECT_EQ(ReadPictures(path)[0].values,
                  ByEngine(ReadPictures(Input("photo-8.tif"))[0], Input("scanner.icc"), 0, 8).values);
    }
    Folder folder_;
    std::string scans_ = folder_ / "scans", out_ = folder_ / "out";
};

class EscapeTest : public SandboxTest, public testing::WithParamInterface<Task> {
protected:
    Names Words() const {
        Names words = GetParam().words;
        for (std::string& word : words) {
            if (word.starts_with("IN")) word = scans_ + word.substr(2);
            if (word.starts_with("OUT")) word = out_ + word.substr(3);
            if (word.ends_with(".icc") && !word.starts_with("/")) word = Input(word);
        }
        return words;
    }
};

TEST_P(EscapeTest, IsStopped) {
    const Outcome run = Run(Words(), GetParam().at);
    EXPECT_EQ(run.status, 0) << run.err;
    Expect(run, {}, false);
    if (Kernel().landlock && Kernel().seccomp) {
        EXPECT_EQ(NamesIn(folder_.path()), (Names{"other", "out", "scans", "secret", "victim"}));
        EXPECT_EQ(FileBytes(folder_ / "secret"), "precious");
    }
}

TEST_P(EscapeTest, GetsThroughWithoutTheSandbox) {
    Names words = Words();
    words.push_back("--no-sandbox");
    const Outcome run = Run(words, GetParam().at);
    EXPECT_EQ(run.status, 0) << run.err;
    Expect(run, kNothing, true);
    EXPECT_EQ(FileBytes(folder_ / "secret"), "pre");
}

const Task kTasks[] = {
    {"Convert", 6, {"convert", "--profile", "scanner.icc", "IN/a.tif", "-o", "OUT/a.tif", "-q"}},
    {"Folders", 6, {"convert", "--profile", "scanner.icc", "IN", "-o", "OUT", "-j2", "--resume", "-q"}},
    {"InPlace", 6, {"convert", "--profile", "scanner.icc", "IN/a.tif", "--in-place", "-q"}},
    {"DryRun", 6, {"convert", "--profile", "scanner.icc", "IN/a.tif", "-o", "OUT/a.tif", "-q", "--dry-run"}},
    {"Inspect", 2, {"inspect", "IN/a.tif"}},
    {"Bake", 1, {"bake", "matrix.icc", "-o", "OUT/baked", "-q"}},
    {"Verify", 1, {"verify", "xyz.icc", "--points", "3"}},
    {"VerifyImage", 6, {"verify", "scanner.icc", "--image", "IN/a.tif"}},
};
INSTANTIATE_TEST_SUITE_P(Every, EscapeTest, testing::ValuesIn(kTasks),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(SandboxTest, OlderKernelsConvertTheSame) {
    const Names words{"convert", "--profile", Input("scanner.icc"), scans_, "-o", out_, "-q", "--force"};
    // Each version of Landlock brought rights of its own.
    for (long version = 1; version <= LandlockVersion(); ++version) {
        const Outcome run = Run(words, 6, std::to_string(version));
        EXPECT_EQ(run.status, 0) << run.err;
        Expect(run, {}, false);
        ExpectConverted(out_ + "/a.tif");
    }
    const Outcome run = Run(words, 6, "0");
    EXPECT_EQ(run.status, 0) << run.err;
    Expect(run, kNothing, false);
    ExpectConverted(out_ + "/a.tif");
}

TEST_F(SandboxTest, LinksLeadWhereTheyLead) {
    const std::string elsewhere = folder_ / "elsewhere", inputs = folder_ / "inputs", link = folder_ / "link";
    fs::create_directories(elsewhere + "/deep");
    fs::create_directory(inputs);
    fs::create_symlink(scans_ + "/a.tif", inputs + "/b.tif");
    fs::create_directory_symlink(scans_, inputs + "/sub");
    // The folder itself and one below it stand elsewhere; so do the inputs.
    fs::create_directory_symlink(out_, link);
    fs::create_directory_symlink(elsewhere, out_ + "/sub");
    const Names words{"convert", "--profile", Input("scanner.icc"), "-q"};
    const auto convert = [&](Names more) {
        more.insert(more.begin(), words.begin(), words.end());
        const Outcome run = Hueweave(more);
        EXPECT_EQ(run.status, 0) << run.err;
    };
    convert({inputs, "-o", link});
    ExpectConverted(out_ + "/b.tif");
    ExpectConverted(elsewhere + "/a.tif");
    // An output that is a link, and an input in place.
    fs::create_symlink("../elsewhere/a.tif", out_ + "/c.tif");
    WriteBytes(elsewhere + "/a.tif", "old");
    convert({scans_ + "/a.tif", "-o", out_ + "/c.tif", "--force"});
    EXPECT_TRUE(fs::is_symlink(out_ + "/c.tif"));
    ExpectConverted(elsewhere + "/a.tif");
    convert({inputs + "/b.tif", "--in-place"});
    EXPECT_TRUE(fs::is_symlink(inputs + "/b.tif"));
    ExpectConverted(scans_ + "/a.tif");
}

TEST_F(SandboxTest, FoldersAreMadeAndGoAgain) {
    const std::string deep = folder_ / "new/deep/er";
    const Names words{"convert", "--profile", Input("scanner.icc"), "-q", "-o", deep};
    Names bad = words, good = words;
    WriteBytes(scans_ + "/bad.tif", "no image");
    bad.insert(bad.end(), {scans_ + "/bad.tif", scans_ + "/gone.tif"});
    EXPECT_EQ(Hueweave(bad).status, 1);
    EXPECT_FALSE(Exists(folder_ / "new")) << "what stays empty";
    good.push_back(scans_);
    EXPECT_EQ(Hueweave(good).status, 1);
    ExpectConverted(deep + "/a.tif");
}

TEST_F(SandboxTest, StreamsGoThroughTheTemporaryFolderAlone) {
    const std::string temporary = folder_ / "temporary", in = folder_ / "in.tif";
    fs::create_directory(temporary);
    // Strips that are larger than the memory for them are decoded by rows, which takes temporary files as well.
    Shell("convert-im6 " + Quoted(Input("photo-16.tif")) +
          " -scale 2600x2000! -compress zip -define tiff:rows-per-strip=2000 " + Quoted(in));
    const Outcome run = RunProgram(
        {{HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"), "-", "-q", "-o", "-", "--max-memory", "32M"},
         in,
         {{"TMPDIR", temporary}},
         [] {
             HeedModes();
             if (chdir("/proc") != 0) _exit(126);  // where no file can be made
         },
         {}});
    ASSERT_EQ(run.status, 0) << run.err;
    WriteBytes(out_ + "/piped.tif", run.out);
    EXPECT_EQ(ReadPictures(out_ + "/piped.tif")[0].values,
              ByEngine(ReadPictures(in)[0], Input("scanner.icc"), 0, 9).values);
    EXPECT_EQ(NamesIn(temporary), Names{});
}

}  // namespace
}  // namespace hueweave::test
