// SPDX-License-Identifier: MIT
// Restricts system calls with seccomp, by a list of calls that are refused.
//
// A list of allowed calls would be stricter, but would end a run whenever another version of the C library, an
// allocator or a decoder used a different call for the same purpose. Landlock restricts file access; the other ways out
// of the process are few and known. Calls newer than this list are refused as unknown, so new kernels do not open new
// ways.
//
// The filter is built here. Only the header of libseccomp is used, for the numbers of the calls on each processor: the
// library does not handle failed allocations, and this code allocates nothing.
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "system/sandbox/Sandbox.h"

namespace hueweave::tool {
namespace {

constexpr int kRefused[] = {
    // Networks and communication with other processes. Standard streams that are sockets can still be read and written.
    SCMP_SYS(socket), SCMP_SYS(socketpair), SCMP_SYS(connect), SCMP_SYS(bind), SCMP_SYS(listen), SCMP_SYS(accept),
    SCMP_SYS(accept4), SCMP_SYS(sendto), SCMP_SYS(sendmsg), SCMP_SYS(sendmmsg), SCMP_SYS(shmget), SCMP_SYS(shmat),
    SCMP_SYS(msgget), SCMP_SYS(semget), SCMP_SYS(mq_open),
    // Signals to other processes by calls whose target cannot be compared.
    SCMP_SYS(tkill), SCMP_SYS(pidfd_open), SCMP_SYS(pidfd_send_signal), SCMP_SYS(pidfd_getfd),
    SCMP_SYS(rt_sigqueueinfo), SCMP_SYS(rt_tgsigqueueinfo),
    // Starting programs.
    SCMP_SYS(execve), SCMP_SYS(execveat), SCMP_SYS(uselib),
    // Access to other processes.
    SCMP_SYS(process_vm_readv), SCMP_SYS(process_vm_writev), SCMP_SYS(process_madvise), SCMP_SYS(kcmp),
    SCMP_SYS(perf_event_open), SCMP_SYS(lookup_dcookie),
    // Queues that perform calls refused here.
    SCMP_SYS(io_uring_setup), SCMP_SYS(io_uring_enter), SCMP_SYS(io_uring_register),
    // Attributes of files that the command did not open: Landlock has no rights for them. The command itself changes
    // modes, owners and lengths by descriptor.
    SCMP_SYS(chmod), SCMP_SYS(fchmodat), SCMP_SYS(chown), SCMP_SYS(lchown), SCMP_SYS(fchownat), SCMP_SYS(truncate),
    SCMP_SYS(setxattr), SCMP_SYS(lsetxattr), SCMP_SYS(removexattr), SCMP_SYS(lremovexattr), SCMP_SYS(utime),
    SCMP_SYS(utimes), SCMP_SYS(futimesat), SCMP_SYS(utimensat), SCMP_SYS(name_to_handle_at),
    SCMP_SYS(open_by_handle_at), SCMP_SYS(fanotify_init), SCMP_SYS(inotify_init), SCMP_SYS(inotify_init1),
    SCMP_SYS(quotactl), SCMP_SYS(quotactl_fd),
    // Namespaces and mounts.
    SCMP_SYS(unshare), SCMP_SYS(setns), SCMP_SYS(chroot), SCMP_SYS(pivot_root), SCMP_SYS(mount), SCMP_SYS(umount),
    SCMP_SYS(umount2), SCMP_SYS(mount_setattr), SCMP_SYS(move_mount), SCMP_SYS(open_tree), SCMP_SYS(fsopen),
    SCMP_SYS(fsconfig), SCMP_SYS(fsmount), SCMP_SYS(fspick),
    // Parts of the kernel with a large attack surface that the command does not need.
    SCMP_SYS(bpf), SCMP_SYS(userfaultfd), SCMP_SYS(keyctl), SCMP_SYS(add_key), SCMP_SYS(request_key),
    SCMP_SYS(modify_ldt), SCMP_SYS(personality), SCMP_SYS(vmsplice), SCMP_SYS(migrate_pages), SCMP_SYS(move_pages),
    // Control of the machine.
    SCMP_SYS(init_module), SCMP_SYS(finit_module), SCMP_SYS(delete_module), SCMP_SYS(kexec_load),
    SCMP_SYS(kexec_file_load), SCMP_SYS(reboot), SCMP_SYS(swapon), SCMP_SYS(swapoff), SCMP_SYS(acct), SCMP_SYS(syslog),
    SCMP_SYS(iopl), SCMP_SYS(ioperm), SCMP_SYS(vhangup), SCMP_SYS(sethostname), SCMP_SYS(setdomainname),
    SCMP_SYS(settimeofday), SCMP_SYS(stime), SCMP_SYS(clock_settime), SCMP_SYS(clock_adjtime), SCMP_SYS(adjtimex),
    SCMP_SYS(nfsservctl), SCMP_SYS(vm86), SCMP_SYS(vm86old)};

// They show what other programs do in folders that can be read.
constexpr int kWatching[] = {SCMP_SYS(inotify_add_watch), SCMP_SYS(inotify_rm_watch)};

// From 424 on, call numbers are the same on all processors. libseccomp has no name for this one.
constexpr int kFchmodat2 = 452;
constexpr std::uint32_t kFirstYounger = 463;

// Programs for another architecture, such as 32-bit programs, use other call numbers.
#if defined(__x86_64__) && !defined(__ILP32__)
constexpr std::uint32_t kProcessor = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__) && !defined(__ILP32__)
constexpr std::uint32_t kProcessor = std::endian::native == std::endian::little ? AUDIT_ARCH_AARCH64 : 0;
#elif defined(__s390x__)
constexpr std::uint32_t kProcessor = AUDIT_ARCH_S390X;
#elif defined(__riscv) && __riscv_xlen == 64
constexpr std::uint32_t kProcessor = AUDIT_ARCH_RISCV64;
#else
constexpr std::uint32_t kProcessor = 0;  // other processors have no filter
#endif

constexpr std::uint32_t Error(int error) { return SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error); }

/// A filter under construction. Its instructions are those of the kernel's packet filters.
class Filter {
public:
    Filter() {
        Load(offsetof(seccomp_data, arch));
        Add(BPF_JMP | BPF_JEQ | BPF_K, kProcessor, 1);
        Return(SECCOMP_RET_KILL_PROCESS);
        Load(offsetof(seccomp_data, nr));
        // Call numbers of the x86-64 ABI with 32-bit pointers are larger still.
        Add(BPF_JMP | BPF_JGE | BPF_K, kFirstYounger, 0, 1);
        Return(Error(ENOSYS));
    }
    void Refuse(int call, int error = EPERM) {
        if (call < 0) return;  // the call does not exist on this processor
        IfCall(call, 1);
        Return(Error(error));
    }
    /// Refuses the call unless the argument has this value in its low half, which is the only one that the kernel uses.
    void RefuseUnless(int call, unsigned argument, std::uint32_t value) {
        IfArgument(call, argument, BPF_JEQ, value, true);
    }
    void RefuseIf(int call, unsigned argument, std::uint32_t value) {
        IfArgument(call, argument, BPF_JEQ, value, false);
    }
    void RefuseUnlessSet(int call, unsigned argument, std::uint32_t bit) {
        IfArgument(call, argument, BPF_JSET, bit, true);
    }
    void Install() {
        Return(SECCOMP_RET_ALLOW);
        const sock_fprog program{size_, code_.data()};
        // By default, older kernels disable speculative store bypass with any filter, which slows down the pixel loops.
        // The flag prevents this; the oldest kernels do not support it.
        if (::syscall(SCMP_SYS(seccomp), SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_SPEC_ALLOW, &program) != 0) {
            ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0);
        }
    }

private:
    void Add(unsigned code, std::uint32_t value, std::uint8_t ifTrue = 0, std::uint8_t ifFalse = 0) {
        code_.at(size_++) = {static_cast<std::uint16_t>(code), ifTrue, ifFalse, value};
    }
    void Load(std::size_t offset) { Add(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)); }
    void Return(std::uint32_t action) { Add(BPF_RET | BPF_K, action); }
    void IfCall(int call, std::uint8_t length) {
        Add(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, length);
    }
    void IfArgument(int call, unsigned argument, unsigned test, std::uint32_t value, bool allowed) {
        if (call < 0) return;
        constexpr std::size_t kLowHalf = std::endian::native == std::endian::little ? 0 : 4;
        IfCall(call, 4);
        Load(offsetof(seccomp_data, args) + 8 * argument + kLowHalf);
        Add(BPF_JMP | test | BPF_K, value, allowed ? 1 : 0, allowed ? 0 : 1);
        Return(Error(EPERM));
        Load(offsetof(seccomp_data, nr));  // for the next comparison
    }

    std::array<sock_filter, 512> code_{};
    std::uint16_t size_ = 0;
};

/// Allows starting threads only.
void RefuseProcesses(Filter& filter) {
    // The arguments of clone3 are in memory, where a filter cannot check them. The C library falls back to clone.
    filter.Refuse(SCMP_SYS(clone3), ENOSYS);
    filter.Refuse(SCMP_SYS(fork));
    filter.Refuse(SCMP_SYS(vfork));
#ifdef __s390__
    constexpr unsigned kFlags = 1;
#else
    constexpr unsigned kFlags = 0;
#endif
    filter.RefuseUnlessSet(SCMP_SYS(clone), kFlags, CLONE_THREAD);
}

/// Calls that are allowed or refused depending on an argument.
void RefuseByArgument(Filter& filter) {
    const auto self = static_cast<std::uint32_t>(::getpid());
    filter.RefuseUnless(SCMP_SYS(kill), 0, self);
    filter.RefuseUnless(SCMP_SYS(tgkill), 0, self);
    filter.RefuseUnless(SCMP_SYS(prlimit64), 0, 0);
    // Typing into the terminal, as input for the shell.
    filter.RefuseIf(SCMP_SYS(ioctl), 1, TIOCSTI);
    filter.RefuseIf(SCMP_SYS(ioctl), 1, TIOCLINUX);
}

void Restrict(bool watching) {
    if (kProcessor == 0) return;
    Filter filter;
    for (const int call : kRefused) filter.Refuse(call);
    for (const int call : kWatching) {
        if (!watching) filter.Refuse(call);
    }
    if (!kSanitized) {
        filter.Refuse(SCMP_SYS(ptrace));
        RefuseProcesses(filter);
    }
    RefuseByArgument(filter);
    filter.Refuse(kFchmodat2, ENOSYS);
    filter.Install();
}

}  // namespace

void RestrictCalls() { Restrict(false); }
void RestrictCallsExceptWatching() { Restrict(true); }

}  // namespace hueweave::tool
