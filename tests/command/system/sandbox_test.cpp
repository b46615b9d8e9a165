// SPDX-License-Identifier: MIT
// The sandbox: each of its two parts alone, in a child process, and in the command, where attempts to leave it are
// stopped and everything that the command line asks for works. escape.c makes the attempts.
#include <asm/unistd.h>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <sstream>

#include "command/support/Picture.h"
#include "system/sandbox/Sandbox.h"

namespace hueweave::test {
namespace {

using tool::AllowedPaths;
using tool::Use;

/// The features of the running kernel.
long LandlockVersion() {
    return std::max(0L, syscall(__NR_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION));
}
bool HasSeccomp() { return prctl(PR_GET_SECCOMP, 0, 0, 0, 0) >= 0; }

/// A call, and the error that it gives in the sandbox; 0 for none.
struct Attempt {
    std::function<long()> call;
    int error;
    const char* name;
};

/// Makes the attempts in a process that `restrict` has restricted, and expects the errors of the first `judged`.
void ExpectErrors(const std::function<void()>& restrict, const std::vector<Attempt>& attempts, std::size_t judged) {
    const auto attemptAll = [&] {
        prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        restrict();
        int wrong = 0;
        for (std::size_t i = 0; i < attempts.size(); ++i) {
            const int error = attempts[i].call() < 0 ? errno : 0;
            if (i >= judged || error == attempts[i].error) continue;
            std::fprintf(stderr, "%s: error %d\n", attempts[i].name, error);
            ++wrong;
        }
        _exit(wrong);
    };
    EXPECT_EXIT(attemptAll(), testing::ExitedWithCode(0), "");
}

void ExpectErrorsOfCalls(const std::vector<Attempt>& attempts, void (*restrict)() = tool::RestrictCalls) {
    ExpectErrors(restrict, attempts, HasSeccomp() ? attempts.size() : 0);
}

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
    NAMED(settimeofday), NAMED(inotify_init1), NAMED(inotify_add_watch), NAMED(inotify_rm_watch),
#ifdef __x86_64__
    NAMED(chmod), NAMED(chown), NAMED(lchown), NAMED(utimes)
#endif
};
// clang-format on
#undef NAMED

TEST(RestrictCallsTest, SystemCallsOutOfTheProcessAreRefused) {
    std::vector<Attempt> attempts;
    for (const auto& [name, number] : kForbidden) {
        attempts.push_back({[call = number] { return syscall(call, -1L, -1L, -1L, -1L, -1L, -1L); }, EPERM, name});
    }
    ExpectErrorsOfCalls(attempts);
}

TEST(RestrictCallsTest, AWatchMayChooseItsFoldersButOpensNoOtherQueue) {
    ExpectErrorsOfCalls({{[] { return syscall(__NR_inotify_add_watch, -1L, 0L, 0x100L); }, EBADF, "a folder is added"},
                         {[] { return syscall(__NR_inotify_rm_watch, -1L, 0L); }, EBADF, "a folder is removed"},
                         {[] { return syscall(__NR_inotify_init1, -1L); }, EPERM, "another queue"},
                         {[] { return syscall(__NR_socket, -1L, -1L, -1L); }, EPERM, "a socket"}},
                        tool::RestrictCallsExceptWatching);
}

TEST(RestrictCallsTest, ArgumentsDecideWhereACallHasOtherUses) {
    const pid_t self = getpid();
    ExpectErrorsOfCalls({
        {[=] { return kill(self, 0); }, EPERM, "a signal to another"},
        {[] { return kill(getpid(), 0); }, 0, "a signal to itself"},
        {[=] { return syscall(__NR_tgkill, self, self, 0); }, EPERM, "a signal to a thread of another"},
        {[] { return syscall(__NR_tgkill, getpid(), getpid(), 0); }, 0, "a signal to a thread of its own"},
        {[=] { return syscall(__NR_prlimit64, self, 0, nullptr, nullptr); }, EPERM, "limits of another"},
        {[] { return syscall(__NR_prlimit64, 0, 0, nullptr, nullptr); }, 0, "limits of its own"},
        {[] { return ioctl(-1, TIOCSTI, "x"); }, EPERM, "typing"},
        {[] { return ioctl(-1, TIOCLINUX, "x"); }, EPERM, "pasting"},
        {[] { return ioctl(-1, TIOCGWINSZ, nullptr); }, EBADF, "another question to a terminal"},
        {[] { return syscall(452, -1, -1, -1, -1); }, ENOSYS, "modes by a call that older kernels do not have"},
        {[] { return syscall(463, -1, -1, -1, -1, -1, -1); }, ENOSYS, "the first call that is younger than the list"},
        {[] { return syscall(__NR_close, -1); }, EBADF, "a call that is older"},
    });
}

TEST(RestrictCallsTest, OnlyThreadsCanBeStarted) {
    const auto start = [] {
        const long child = syscall(__NR_clone, static_cast<long>(SIGCHLD), 0, 0, 0, 0);
        if (child == 0) _exit(0);
        return child;
    };
    // The runtime of a sanitizer starts a process itself.
    constexpr bool kAllowed = tool::kSanitized;
    ExpectErrorsOfCalls({
        {[] { return syscall(__NR_clone3, nullptr, 0); }, kAllowed ? EINVAL : ENOSYS, "clone3"},
        {[] { return syscall(__NR_ptrace, -1, -1, -1, -1); }, kAllowed ? ESRCH : EPERM, "ptrace"},
        {start, kAllowed ? 0 : EPERM, "clone"},
    });
}

TEST(RestrictFilesTest, InputsAreReadOnlyAndUnnamedFilesInaccessible) {
    const long version = LandlockVersion();
    const Folder folder;
    const std::string inputs = folder / "inputs", file = inputs + "/a", other = folder / "b", below = folder / "below";
    for (const std::string& made : {inputs, inputs + "/below", below}) mkdir(made.c_str(), 0700);
    for (const std::string& made : {file, other}) WriteBytes(made, "precious");
    const auto opened = [](const std::string& path, int flags) {
        const int descriptor = open(path.c_str(), flags, 0600);
        if (descriptor >= 0) close(descriptor);
        return descriptor;
    };
    const std::vector<Attempt> attempts{
        {[&] { return opened(file, O_RDONLY); }, 0, "read"},
        {[&] { return opened(inputs, O_RDONLY | O_DIRECTORY); }, 0, "list"},
        {[&] { return opened(file, O_WRONLY); }, EACCES, "write"},
        {[&] { return opened(file, O_RDONLY | O_TRUNC); }, version < 3 ? 0 : EACCES, "truncate"},
        {[&] { return opened(inputs + "/made", O_WRONLY | O_CREAT); }, EACCES, "make"},
        {[&] { return unlink(file.c_str()); }, EACCES, "remove"},
        {[&] { return rmdir((inputs + "/below").c_str()); }, EACCES, "remove a folder"},
        {[&] { return opened(other, O_RDONLY); }, EACCES, "read elsewhere"},
        {[&] { return opened(below, O_RDONLY | O_DIRECTORY); }, EACCES, "list elsewhere"},
        {[&] { return rmdir(below.c_str()); }, EACCES, "remove a folder elsewhere"},
        {[&] { return mknod((below + "/socket").c_str(), S_IFSOCK | 0600, 0); }, EACCES, "make a socket"},
        {[&] { return mkfifo((below + "/fifo").c_str(), 0600); }, EACCES, "make a pipe"},
        {[&] { return symlink("/etc/passwd", (below + "/link").c_str()); }, EACCES, "make a link"},
        {[&] { return rename(other.c_str(), (folder / "renamed").c_str()); }, EACCES, "rename"},
        {[&] { return opened(below, O_WRONLY | O_TMPFILE); }, EACCES, "make an unnamed file"},
    };
    const AllowedPaths allowed{{inputs, Use::Read}};
    ExpectErrors([&] { tool::RestrictFiles(allowed); }, attempts, version > 0 ? attempts.size() : 2);
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

class SandboxTest : public testing::Test {
protected:
    SandboxTest() { Begin(); }
    void Begin() {
        fs::remove_all(folder_.path());
        fs::create_directories(scans_);
        fs::create_directories(out_);
        Shell("tiffcp -s -c zip -r 16 " + Quoted(Input("photo-8.tif")) + " " + Quoted(scans_ + "/a.tif"));
        for (const char* name : {"secret", "victim"}) WriteBytes(folder_ / name, "precious");
    }
    Outcome Run(const Words& words, int at, const std::string& kernel = "99") {
        return Hueweave(words, {.setenv = {{"LD_PRELOAD", HUEWEAVE_ESCAPE},
                                           // Leaks cannot be detected while traced.
                                           {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"},
                                           {"HUEWEAVE_ESCAPE_AT", std::to_string(at)},
                                           {"HUEWEAVE_ESCAPE_TO", "2"},
                                           {"HUEWEAVE_KERNEL", kernel},
                                           {"HUEWEAVE_OUTSIDE", folder_.path()},
                                           {"TMPDIR", out_}},
                                .inChild = [this] { fs::current_path(folder_.path()); }});
    }
    /// Checks that the command has succeeded, and that each way out has ended as expected.
    void Expect(const Outcome& run, const Kernel& kernel, bool privileges) {
        EXPECT_THAT(run, Succeeds());
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

const Words kConvertScan{"convert", "-q", "--profile", Input("scanner.icc")};

TEST_F(SandboxTest, EscapesAreStoppedAndGetThroughWithoutIt) {
    // The number of the pread call that makes the attempts, and the command.
    const std::pair<int, Words> tasks[] = {
        {6, kConvertScan + Words{"scans/a.tif", "-o", "out/a.tif"}},
        {6, kConvertScan + Words{"scans", "-o", "out", "-j2", "--resume"}},
        {6, kConvertScan + Words{"scans/a.tif", "--in-place"}},
        {6, kConvertScan + Words{"scans/a.tif", "-o", "out/a.tif", "--dry-run"}},
        {2, {"inspect", "scans/a.tif"}},
        {1, {"bake", Input("matrix.icc"), "-o", "out/baked", "-q"}},
        {1, {"verify", Input("xyz.icc"), "--points", "3"}},
        {6, {"verify", Input("scanner.icc"), "--image", "scans/a.tif"}},
    };
    for (const auto& [at, words] : tasks) {
        SCOPED_TRACE(testing::PrintToString(words));
        Begin();
        Expect(Run(words, at), {}, false);
        if (Kernel().landlock && Kernel().seccomp) {
            EXPECT_EQ(NamesIn(folder_.path()), (Words{"out", "scans", "secret", "victim"}));
            EXPECT_EQ(FileBytes(folder_ / "secret"), "precious");
        }
        Begin();
        Expect(Run(words + Words{"--no-sandbox"}, at), kNothing, true);
        EXPECT_EQ(FileBytes(folder_ / "secret"), "pre");
    }
}

TEST_F(SandboxTest, OlderKernelsConvertTheSame) {
    const Words words = kConvertScan + Words{"--precision", "library", scans_, "-o", out_, "--force"};
    // Each version of Landlock added access rights; 0 is a kernel without it, where the attempts succeed.
    for (long version = LandlockVersion(); version >= 0; --version) {
        Expect(Run(words, 6, std::to_string(version)), version > 0 ? Kernel{} : kNothing, false);
        ExpectConverted(out_ + "/a.tif");
    }
}

TEST_F(SandboxTest, LinksAreFollowed) {
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
