/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 *
 * Preloaded into the command under test: does what a decoder could do after a hostile file took it over. At the call of
 * pread with the number HUEWEAVE_ESCAPE_AT, from 1 on, it tries several ways out of the process in turn. For each it
 * writes a line to the open descriptor HUEWEAVE_ESCAPE_TO: its name, and 0 or the errno. An attempt that succeeds does
 * not end the process, so the command continues. HUEWEAVE_OUTSIDE is a folder that the command line does not name, with
 * the files "secret" and "victim". Only a few ways of each kind are tried here; RestrictCallsTest and RestrictFilesTest
 * try all of them.
 *
 * HUEWEAVE_KERNEL simulates an older kernel: no version of Landlock above this number, and for 0 no seccomp either.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

static void* Next(const char* name) { return dlsym(RTLD_NEXT, name); }

static int report = -1;
static void Tell(const char* name, long result) { dprintf(report, "%s %d\n", name, result < 0 ? errno : 0); }
static void TellClosing(const char* name, int descriptor) {
    Tell(name, descriptor);
    if (descriptor >= 0) close(descriptor);
}

static const char* Outside(const char* name) {
    static char path[4096];
    snprintf(path, sizeof path, "%s/%s", getenv("HUEWEAVE_OUTSIDE"), name);
    return path;
}

static void TryAll(void) {
    report = atoi(getenv("HUEWEAVE_ESCAPE_TO"));
    dprintf(report, "privileges %d\n", prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0));
    TellClosing("read", open(Outside("secret"), O_RDONLY));
    TellClosing("list", open(Outside("."), O_RDONLY | O_DIRECTORY));
    TellClosing("append", open(Outside("secret"), O_WRONLY | O_APPEND));
    TellClosing("make", open(Outside("made"), O_WRONLY | O_CREAT | O_EXCL, 0600));
    Tell("folder", mkdir(Outside("folder"), 0700));
    Tell("remove", unlink(Outside("victim")));
    Tell("length", truncate(Outside("secret"), 3));
    TellClosing("internet", socket(AF_INET, SOCK_STREAM, 0));
    /* The path does not exist: where starting programs is allowed, the error is about the path. */
    char* const words[] = {"program", NULL};
    Tell("exec", execve("/nowhere/program", words, words));
    const pid_t child = fork();
    Tell("fork", child);
    if (child == 0) _exit(0);
    if (child > 0) waitpid(child, NULL, 0);
    Tell("signal", kill(getppid(), 0));
    char byte = 0;
    struct iovec here = {&byte, 1};
    Tell("memory", process_vm_readv(getpid(), &here, 1, &here, 1, 0));
    /* Last, because a signal that is allowed would stop this process. */
    Tell("trace", ptrace(PTRACE_TRACEME, 0, NULL, NULL));
}

static ssize_t Read(const char* name, int file, void* data, size_t size, off_t at) {
    static atomic_int count;
    const char* when = getenv("HUEWEAVE_ESCAPE_AT");
    if (when != NULL && atomic_fetch_add(&count, 1) + 1 == atoi(when)) TryAll();
    ssize_t (*next)(int, void*, size_t, off_t) = (ssize_t(*)(int, void*, size_t, off_t))Next(name);
    return next(file, data, size, at);
}
ssize_t pread(int file, void* data, size_t size, off_t at) { return Read("pread", file, data, size, at); }
ssize_t pread64(int file, void* data, size_t size, off_t at) { return Read("pread64", file, data, size, at); }

/* The version that an older kernel would report. */
static long OldKernel(void) { return atol(getenv("HUEWEAVE_KERNEL")); }

long syscall(long number, ...) {
    long a[6];
    va_list list;
    va_start(list, number);
    for (int i = 0; i < 6; ++i) a[i] = va_arg(list, long);
    va_end(list);
    const int landlock = number == SYS_landlock_create_ruleset || number == SYS_landlock_restrict_self;
    if (OldKernel() == 0 && (landlock || number == SYS_seccomp)) {
        errno = ENOSYS;
        return -1;
    }
    long (*next)(long, ...) = (long (*)(long, ...))Next("syscall");
    const long result = next(number, a[0], a[1], a[2], a[3], a[4], a[5]);
    const int version = number == SYS_landlock_create_ruleset && a[2] == LANDLOCK_CREATE_RULESET_VERSION;
    return version && result > OldKernel() ? OldKernel() : result;
}

int prctl(int what, ...) {
    unsigned long a[4];
    va_list list;
    va_start(list, what);
    for (int i = 0; i < 4; ++i) a[i] = va_arg(list, unsigned long);
    va_end(list);
    if (OldKernel() == 0 && (what == PR_GET_SECCOMP || what == PR_SET_SECCOMP)) {
        errno = EINVAL;
        return -1;
    }
    int (*next)(int, ...) = (int (*)(int, ...))Next("prctl");
    return next(what, a[0], a[1], a[2], a[3]);
}
