// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The two parts of the sandbox by themselves, each in a process of its own: what they refuse, and with which error.
#include <asm/unistd.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>

#include "command/support/Command.h"
#include "system/Sandbox.h"

namespace hueweave::test {
namespace {

using tool::AllowedPaths;
using tool::Use;

/// What `attempt` tells for each number below `count`, 0 or an errno, in a process that `restrict` has closed.
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

// Called with -1 for every argument, which does nothing where they are allowed.
#define NAMED(call) \
    { #call, __NR_##call }
constexpr std::pair<const char*, long> kForbidden[] = {NAMED(socket),
                                                       NAMED(socketpair),
                                                       NAMED(connect),
                                                       NAMED(bind),
                                                       NAMED(listen),
                                                       NAMED(accept4),
                                                       NAMED(sendto),
                                                       NAMED(sendmsg),
                                                       NAMED(sendmmsg),
                                                       NAMED(shmget),
                                                       NAMED(semget),
                                                       NAMED(mq_open),
                                                       NAMED(tkill),
                                                       NAMED(pidfd_open),
                                                       NAMED(pidfd_send_signal),
                                                       NAMED(rt_sigqueueinfo),
                                                       NAMED(rt_tgsigqueueinfo),
                                                       NAMED(execve),
                                                       NAMED(execveat),
                                                       NAMED(process_vm_readv),
                                                       NAMED(process_vm_writev),
                                                       NAMED(kcmp),
                                                       NAMED(perf_event_open),
                                                       NAMED(io_uring_setup),
                                                       NAMED(io_uring_enter),
                                                       NAMED(fchmodat),
                                                       NAMED(fchownat),
                                                       NAMED(truncate),
                                                       NAMED(setxattr),
                                                       NAMED(lsetxattr),
                                                       NAMED(removexattr),
                                                       NAMED(lremovexattr),
                                                       NAMED(utimensat),
                                                       NAMED(name_to_handle_at),
                                                       NAMED(unshare),
                                                       NAMED(setns),
                                                       NAMED(mount),
                                                       NAMED(umount2),
                                                       NAMED(userfaultfd),
                                                       NAMED(keyctl),
                                                       NAMED(add_key),
                                                       NAMED(personality),
                                                       NAMED(vmsplice),
                                                       NAMED(move_pages),
                                                       NAMED(chroot),
                                                       NAMED(bpf),
                                                       NAMED(fsopen),
                                                       NAMED(sethostname),
                                                       NAMED(settimeofday),
#ifdef __x86_64__
                                                       NAMED(chmod),
                                                       NAMED(chown),
                                                       NAMED(lchown),
                                                       NAMED(utimes)
#endif
};
#undef NAMED

bool HasFilters() { return prctl(PR_GET_SECCOMP, 0, 0, 0, 0) >= 0; }

TEST(RestrictCallsTest, WaysOutOfTheProcessAreRefused) {
    const auto errors = InChild(tool::RestrictCalls, std::size(kForbidden), [](std::size_t i) {
        return ErrorOf(syscall(kForbidden[i].second, -1L, -1L, -1L, -1L, -1L, -1L));
    });
    for (std::size_t i = 0; i < errors.size(); ++i) {
        if (HasFilters()) {
            EXPECT_EQ(errors[i], EPERM) << kForbidden[i].first;
        }
    }
}

/// A call that is refused or allowed by its arguments, or tells that it is not there.
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
    for (std::size_t i = 0; i < errors.size(); ++i) {
        if (HasFilters()) {
            EXPECT_EQ(errors[i], chosen[i].error) << chosen[i].name;
        }
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
    const bool refused = HasFilters() && !tool::kSanitized;
    EXPECT_EQ(errors, refused ? (std::vector<int>{ENOSYS, EPERM, EPERM}) : (std::vector<int>{EINVAL, ESRCH, 0}));
}

TEST(RestrictFilesTest, WhatIsReadIsNotWrittenAndWhatIsNotNamedIsNotThere) {
    const long version = syscall(__NR_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
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
    };
    const AllowedPaths allowed{{inputs, Use::Read}};
    const auto errors = InChild([&] { tool::RestrictFiles(allowed); }, std::size(attempts),
                                [&](std::size_t i) { return attempts[i].first(); });
    for (std::size_t i = 0; i < (version > 0 ? errors.size() : 2); ++i) {
        EXPECT_EQ(errors[i], attempts[i].second) << "attempt " << i;
    }
}

}  // namespace
}  // namespace hueweave::test
