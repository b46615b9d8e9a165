// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The sandbox: each of its two parts alone, in a child process, and in the command, where attempts to leave it are
// stopped and everything that the command line asks for works. escape.c makes the attempts.
#include <asm/unistd.h>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <sstream>

#include "command/support/Command.h"
#include "command/support/Picture.h"
#include "system/Sandbox.h"

namespace hueweave::test {
namespace {

namespace fs = std::filesystem;
using tool::AllowedPaths;
using tool::Use;

/// The features of the running kernel.
long LandlockVersion() {
    return std::max(0L, syscall(__NR_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION));
}
bool HasSeccomp() { return prctl(PR_GET_SECCOMP, 0, 0, 0, 0) >= 0; }

/// The results of `attempt`, 0 or an errno, for each number below `count`, in a process that `restrict` has restricted.
std::vector<int> InChild(const std::function<void()>& restrict, std::size_t count,
                         const std::function<int(std::size_t)>& attempt) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        restrict();
        for (std::size_t i = 0; i < count; ++i) {
            const int error = attempt(i);
            if (write(ends[1], &error, sizeof error) != sizeof error) _exit(1);
        }
        _exit(0);
    }
    close(ends[1]);
    std::vector<int> errors;
    for (int error = 0; read(ends[0], &error, sizeof error) == sizeof error;) errors.push_back(error);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(errors.size(), count);
    errors.resize(count, -1);
    return errors;
}

int ErrorOf(long result) { return result < 0 ? errno : 0; }

// Called with -1 for every argument, which has no effect where the calls are allowed.
#define NAMED(call) \
    { #call, __NR_##call }
// clang-format off
constexpr std::pair<const char*, long> kForbidden[] = {
    NAMED(socket), NAMED(socketpair), NAMED(connect), NAMED(bind), NAMED(listen), NAMED(accept4), NAMED(sendto),
    NAMED(sendmsg), NAMED(sendmmsg), NAMED(shmget), NAMED(semget), NAMED(mq_open), NAMED(tkill), NAMED(pidfd_open),
    NAMED(pidfd_send_signal), NAMED(rt_sigqueueinfo), NAMED(rt_tgsigqueueinfo), NAMED(execve), NAMED(execveat),
    NAMED(process_vm_readv), NAMED(process_vm_writev), NAMED(kcmp), NAMED(perf_event_open), NAMED(io_uring_setup),
    NAMED(io_uring_enter), NAMED(fchmodat), NAMED(fchownat), NAMED(truncate), NAMED(setxattr), NAMED(lsetxattr),
    NAMED(removexattr), NAMED(lremovexattr), NAMED(utimensat), NAMED(name_to_handle_at), NAMED(unshare), NAMED(setns),
    NAMED(mount), NAMED(umount2), NAMED(userfaultfd), NAMED(keyctl), NAMED(add_key), NAMED(personality),
    NAMED(vmsplice), NAMED(move_pages), NAMED(chroot), NAMED(bpf), NAMED(fsopen), NAMED(sethostname),
    NAMED(settimeofday),
#ifdef __x86_64__
    NAMED(chmod), NAMED(chown), NAMED(lchown), NAMED(utimes)
#endif
};
// clang-format on
#undef NAMED

TEST(RestrictCallsTest, WaysOutOfTheProcessAreRefused) {
    const auto errors = InChild(tool::RestrictCalls, std::size(kForbidden), [](std::size_t i) {
        return ErrorOf(syscall(kForbidden[i].second, -1L, -1L, -1L, -1L, -1L, -1L));
    });
    for (std::size_t i = 0; HasSeccomp() && i < errors.size(); ++i) EXPECT_EQ(errors[i], EPERM) << kForbidden[i].first;
}

/// A call that is refused or allowed depending on its arguments, or reported as missing.
struct Chosen {
    const char* name;
    std::function<long()> call;
    int error;
};

TEST(RestrictCallsTest, ArgumentsDecideWhereACallHasOtherUses) {
    const pid_t self = getpid();
    const Chosen chosen[] = {
        {"a signal to another", [=] { return kill(self, 0); }, EPERM},
        {"a signal to itself", [] { return kill(getpid(), 0); }, 0},
        {"a signal to a thread of another", [=] { return syscall(__NR_tgkill, self, self, 0); }, EPERM},
        {"a signal to a thread of its own", [] { return syscall(__NR_tgkill, getpid(), getpid(), 0); }, 0},
        {"limits of another", [=] { return syscall(__NR_prlimit64, self, 0, nullptr, nullptr); }, EPERM},
        {"limits of its own", [] { return syscall(__NR_prlimit64, 0, 0, nullptr, nullptr); }, 0},
        {"typing", [] { return ioctl(-1, TIOCSTI, "x"); }, EPERM},
        {"pasting", [] { return ioctl(-1, TIOCLINUX, "x"); }, EPERM},
        {"another question to a terminal", [] { return ioctl(-1, TIOCGWINSZ, nullptr); }, EBADF},
        {"modes by a call that older kernels do not have", [] { return syscall(452, -1, -1, -1, -1); }, ENOSYS},
        {"the first call that is younger than the list", [] { return syscall(463, -1, -1, -1, -1, -1, -1); }, ENOSYS},
        {"a call that is older", [] { return syscall(__NR_close, -1); }, EBADF},
    };
    const auto errors =
        InChild(tool::RestrictCalls, std::size(chosen), [&](std::size_t i) { return ErrorOf(chosen[i].call()); });
    for (std::size_t i = 0; HasSeccomp() && i < errors.size(); ++i) {
        EXPECT_EQ(errors[i], chosen[i].error) << chosen[i].name;
    }
}

TEST(RestrictCallsTest, ThreadsAreAllThatIsStarted) {
    const auto errors = InChild(tool::RestrictCalls, 3, [](std::size_t i) {
        if (i == 0) return ErrorOf(syscall(__NR_clone3, nullptr, 0));
        if (i == 1) return ErrorOf(syscall(__NR_ptrace, -1, -1, -1, -1));
        const long child = syscall(__NR_clone, static_cast<long>(SIGCHLD), 0, 0, 0, 0);
        if (child == 0) _exit(0);
        return ErrorOf(child);
    });
    // The runtime of a sanitizer starts a process itself.
    const bool refused = HasSeccomp() && !tool::kSanitized;
    EXPECT_EQ(errors, refused ? (std::vector<int>{ENOSYS, EPERM, EPERM}) : (std::vector<int>{EINVAL, ESRCH, 0}));
}

TEST(RestrictFilesTest, WhatIsReadIsNotWrittenAndWhatIsNotNamedIsNotThere) {
    const long version = LandlockVersion();
    const Folder folder;
    const std::string inputs = folder / "inputs", file = inputs + "/a", other = folder / "b", below = folder / "below";
    for (const std::string& made : {inputs, inputs + "/below", below}) mkdir(made.c_str(), 0700);
    for (const std::string& made : {file, other}) WriteBytes(made, "precious");
    const auto opened = [](const std::string& path, int flags) {
        const int descriptor = open(path.c_str(), flags, 0600);
        const int error = ErrorOf(descriptor);
        close(descriptor);
        return error;
    };
    const std::pair<std::function<int()>, int> attempts[] = {
        {[&] { return opened(file, O_RDONLY); }, 0},
        {[&] { return opened(inputs, O_RDONLY | O_DIRECTORY); }, 0},
        {[&] { return opened(file, O_WRONLY); }, EACCES},
        {[&] { return version < 3 ? EACCES : opened(file, O_RDONLY | O_TRUNC); }, EACCES},
        {[&] { return opened(inputs + "/made", O_WRONLY | O_CREAT); }, EACCES},
        {[&] { return ErrorOf(unlink(file.c_str())); }, EACCES},
        {[&] { return ErrorOf(rmdir((inputs + "/below").c_str())); }, EACCES},
        {[&] { return opened(other, O_RDONLY); }, EACCES},
        {[&] { return opened(below, O_RDONLY | O_DIRECTORY); }, EACCES},
        {[&] { return ErrorOf(rmdir(below.c_str())); }, EACCES},
        {[&] { return ErrorOf(mknod((below + "/socket").c_str(), S_IFSOCK | 0600, 0)); }, EACCES},
        {[&] { return ErrorOf(mkfifo((below + "/fifo").c_str(), 0600)); }, EACCES},
        {[&] { return ErrorOf(symlink("/etc/passwd", (below + "/link").c_str())); }, EACCES},
        {[&] { return ErrorOf(rename(other.c_str(), (folder / "renamed").c_str())); }, EACCES},
        {[&] { return opened(below, O_WRONLY | O_TMPFILE); }, EACCES},
    };
    const AllowedPaths allowed{{inputs, Use::Read}};
    const auto errors = InChild([&] { tool::RestrictFiles(allowed); }, std::size(attempts),
                                [&](std::size_t i) { return attempts[i].first(); });
    for (std::size_t i = 0; i < (version > 0 ? errors.size() : 2); ++i) {
        EXPECT_EQ(errors[i], attempts[i].second) << "attempt " << i;
    }
}

enum class By { Landlock, Seccomp, Tracing };

/// A way out: what stops it and with which error, and the kernel's answer if nothing does.
struct WayOut {
    const char* name;
    By by;
    int stopped, free = 0;
};
constexpr WayOut kWaysOut[] = {
    {"read", By::Landlock, EACCES}, {"list", By::Landlock, EACCES},   {"append", By::Landlock, EACCES},
    {"make", By::Landlock, EACCES}, {"folder", By::Landlock, EACCES}, {"remove", By::Landlock, EACCES},
    {"length", By::Seccomp, EPERM}, {"internet", By::Seccomp, EPERM}, {"exec", By::Seccomp, EPERM, ENOENT},
    {"fork", By::Tracing, EPERM},   {"signal", By::Seccomp, EPERM},   {"memory", By::Seccomp, EPERM},
    {"trace", By::Tracing, EPERM},
};

/// The kernel features that the sandbox uses, or a subset of them.
struct Kernel {
    bool landlock = LandlockVersion() > 0, seccomp = HasSeccomp();
    bool Stops(By by) const {
#ifdef __SANITIZE_ADDRESS__
        if (by == By::Tracing) return false;  // the runtime of the sanitizer does it itself
#endif
        return by == By::Landlock ? landlock : seccomp;
    }
};
constexpr Kernel kNothing{false, false};

struct Task {
    const char* name;
    int at;  ///< the number of the pread call that makes the attempt
    Words words;
};
void PrintTo(const Task& task, std::ostream* out) { *out << task.name; }

class SandboxTest : public testing::Test {
protected:
    SandboxTest() {
        fs::create_directories(scans_);
        fs::create_directories(out_);
        Shell("tiffcp -s -c zip -r 16 " + Quoted(Input("photo-8.tif")) + " " + Quoted(scans_ + "/a.tif"));
        for (const char* name : {"secret", "victim"}) WriteBytes(folder_ / name, "precious");
    }
    Outcome Run(const Words& words, int at, const std::string& kernel = "") {
        std::map<std::string, std::string> environment{
            {"LD_PRELOAD", HUEWEAVE_ESCAPE},
            {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"},  // not possible while traced
            {"HUEWEAVE_ESCAPE_AT", std::to_string(at)},
            {"HUEWEAVE_ESCAPE_TO", "2"},
            {"HUEWEAVE_OUTSIDE", folder_.path()},
            {"TMPDIR", out_}};
        if (!kernel.empty()) environment["HUEWEAVE_KERNEL"] = kernel;
        return Hueweave(words, {.setenv = environment, .inChild = [this] {
                                    if (chdir(folder_.path().c_str()) != 0) _exit(126);
                                }});
    }
    /// Checks that each way out ended as expected.
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
    void ExpectConverted(const std::string& path) { ExpectSrgb(path, Input("photo-8.tif")); }
    Folder folder_;
    std::string scans_ = folder_ / "scans", out_ = folder_ / "out";
};

class EscapeTest : public SandboxTest, public testing::WithParamInterface<Task> {};

TEST_P(EscapeTest, IsStopped) {
    const Outcome run = Run(GetParam().words, GetParam().at);
    EXPECT_EQ(run.status, 0) << run.err;
    Expect(run, {}, false);
    if (Kernel().landlock && Kernel().seccomp) {
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"out", "scans", "secret", "victim"}));
        EXPECT_EQ(FileBytes(folder_ / "secret"), "precious");
    }
}

TEST_P(EscapeTest, GetsThroughWithoutTheSandbox) {
    const Outcome run = Run(GetParam().words + Words{"--no-sandbox"}, GetParam().at);
    EXPECT_EQ(run.status, 0) << run.err;
    Expect(run, kNothing, true);
    EXPECT_EQ(FileBytes(folder_ / "secret"), "pre");
}

const Words kConvertScan{"convert", "-q", "--profile", Input("scanner.icc")};
const Task kTasks[] = {
    {"Convert", 6, kConvertScan + Words{"scans/a.tif", "-o", "out/a.tif"}},
    {"Folders", 6, kConvertScan + Words{"scans", "-o", "out", "-j2", "--resume"}},
    {"InPlace", 6, kConvertScan + Words{"scans/a.tif", "--in-place"}},
    {"DryRun", 6, kConvertScan + Words{"scans/a.tif", "-o", "out/a.tif", "--dry-run"}},
    {"Inspect", 2, {"inspect", "scans/a.tif"}},
    {"Bake", 1, {"bake", Input("matrix.icc"), "-o", "out/baked", "-q"}},
    {"Verify", 1, {"verify", Input("xyz.icc"), "--points", "3"}},
    {"VerifyImage", 6, {"verify", Input("scanner.icc"), "--image", "scans/a.tif"}},
};
INSTANTIATE_TEST_SUITE_P(Every, EscapeTest, testing::ValuesIn(kTasks), NameOfRow);

TEST_F(SandboxTest, OlderKernelsConvertTheSame) {
    const Words words = kConvertScan + Words{"--precision", "library", scans_, "-o", out_, "--force"};
    // Each version of Landlock added access rights.
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
    // The output folder and one of its subfolders are links to other places, and so are the inputs.
    fs::create_directory_symlink(out_, link);
    fs::create_directory_symlink(elsewhere, out_ + "/sub");
    const auto convert = [&](const Words& words) { EXPECT_THAT(ConvertScan(words), Succeeds()); };
    convert({inputs, "-o", link, "--follow"});
    ExpectConverted(out_ + "/b.tif");
    ExpectConverted(elsewhere + "/a.tif");
    // An output that is a link, and an input converted in place.
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
    WriteBytes(scans_ + "/bad.tif", "no image");
    EXPECT_EQ(ConvertScan({scans_ + "/bad.tif", scans_ + "/gone.tif", "-o", deep}).status, 4);
    EXPECT_FALSE(Exists(folder_ / "new")) << "what stays empty";
    EXPECT_EQ(ConvertScan({scans_, "-o", deep}).status, 1);
    ExpectConverted(deep + "/a.tif");
}

TEST_F(SandboxTest, StreamsGoThroughTheTemporaryFolderAlone) {
    const std::string temporary = folder_ / "temporary", in = folder_ / "in.tif";
    fs::create_directory(temporary);
    // Strips larger than the memory for them are decoded by rows, which needs temporary files as well.
    Shell("convert-im6 " + Quoted(Input("photo-16.tif")) +
          " -scale 2600x2000! -compress zip -define tiff:rows-per-strip=2000 " + Quoted(in));
    const Outcome run = ConvertScan({"-", "-q", "-o", "-", "--max-memory", "32M"},
                                    {.input = in, .setenv = {{"TMPDIR", temporary}}, .inChild = [] {
                                         HeedModes();
                                         if (chdir("/proc") != 0) _exit(126);  // where no file can be created
                                     }});
    ASSERT_EQ(run.status, 0) << run.err;
    WriteBytes(out_ + "/piped.tif", run.out);
    ExpectSrgb(out_ + "/piped.tif", in);
    EXPECT_EQ(NamesIn(temporary), Words{});
}

}  // namespace
}  // namespace hueweave::test
