/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 *
 * Preloaded into the command under test: makes system calls fail. HUEWEAVE_FAULT holds one or more faults, separated by
 * commas, each as "call:n:how": the n-th call from 1 on, or every call for n = 0. A call is named by its function, or
 * by its group for all functions that open, read, write, sync, name or mmap. Further names are tmpfile, an open with
 * O_TMPFILE; noreplace, a renameat2 with flags; proc, an access below /proc; and owner and user, for which lstat
 * reports `how` as the owner and geteuid as the user. lseek counts only where it searches for holes.
 *
 * A positive `how` is the errno. For 0 a read or write transfers half of the bytes. For -1 the call succeeds after the
 * file named by HUEWEAVE_FAULT_FROM has been renamed to HUEWEAVE_FAULT_TO. For -3, -4 and -5 it throws
 * std::length_error, std::bad_alloc and std::runtime_error. For -6 the command is killed instead of the call, for -7
 * right after it. The file named by HUEWEAVE_FAULT_SEEN, which the command itself may not write to, is no longer empty
 * once a fault with a number has occurred.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <linux/fcntl.h> /* for the constants; <fcntl.h> declares open with other parameters than those below */
#include <pthread.h>
#include <signal.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

static struct {
    char call[16];
    int n, how;
    atomic_int count;
} faults[8];

/* Opened at the start, while opening cannot fail; never with the number of a standard stream. */
static int seen = -1;

__attribute__((constructor)) static void Begin(void) {
    const char* name = getenv("HUEWEAVE_FAULT_SEEN");
    if (name != NULL && *name != 0) {
        const long file = syscall(SYS_openat, AT_FDCWD, name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
        seen = (int)syscall(SYS_fcntl, file, F_DUPFD_CLOEXEC, 100);
        syscall(SYS_close, file);
    }
    const char* at = getenv("HUEWEAVE_FAULT");
    for (int i = 0; at != NULL && *at != 0 && i < 8; ++i) {
        if (sscanf(at, "%15[^:]:%d:%d", faults[i].call, &faults[i].n, &faults[i].how) != 3) abort();
        at = strchr(at, ',');
        if (at != NULL) ++at;
    }
}

/* Throws through the functions that the containers of the C++ library use. */
static void Throw(int how) {
    if (how == -3) ((void (*)(const char*))dlsym(RTLD_NEXT, "_ZSt20__throw_length_errorPKc"))("vector");
    if (how == -4) ((void (*)(void))dlsym(RTLD_NEXT, "_ZSt17__throw_bad_allocv"))();
    ((void (*)(const char*))dlsym(RTLD_NEXT, "_ZSt21__throw_runtime_errorPKc"))("odd");
}

/* The error of the current call; -1 if it passes. */
static int Strike(const char* name, const char* group) {
    for (int i = 0; i < 8 && faults[i].call[0] != 0; ++i) {
        const int how = faults[i].how, n = faults[i].n;
        if (strcmp(faults[i].call, name) != 0 && strcmp(faults[i].call, group) != 0) continue;
        if (atomic_fetch_add(&faults[i].count, 1) + 1 != n && n != 0) continue;
        if (n != 0 && seen >= 0 && syscall(SYS_write, seen, "x", 1) != 1) abort();
        if (how <= -3 && how >= -5) Throw(how);
        if (how == -6) raise(SIGKILL);
        if (how != -1) return how;
        renameat(AT_FDCWD, getenv("HUEWEAVE_FAULT_FROM"), AT_FDCWD, getenv("HUEWEAVE_FAULT_TO"));
        /* another fault may follow */
    }
    return -1;
}

#define NEXT(function) ((__typeof__(&function))dlsym(RTLD_NEXT, #function))

#define CALL(name, group, result, failed, function, parameters, ...) \
    result function parameters {                                     \
        const int how = Strike(name, group);                         \
        if (how > 0) {                                               \
            errno = how;                                             \
            return failed;                                           \
        }                                                            \
        const result value = NEXT(function)(__VA_ARGS__);            \
        if (how == -7) raise(SIGKILL);                               \
        return value;                                                \
    }

/* The same for the variant of a function whose offsets have 64 bits on any machine. */
#define CALLS(name, group, result, failed, function, parameters, ...)    \
    CALL(name, group, result, failed, function, parameters, __VA_ARGS__) \
    CALL(name, group, result, failed, function##64, parameters, __VA_ARGS__)

typedef void* Memory;
typedef FILE* Stream;
#define OPENED ((flags & O_TMPFILE) == O_TMPFILE ? "tmpfile" : "open")
#define HOLES (from == SEEK_DATA || from == SEEK_HOLE ? "lseek" : "")
#define HALF (how == 0 ? (size + 1) / 2 : size)

CALLS(OPENED, "open", int, -1, open, (const char* path, int flags, mode_t mode), path, flags, mode)
CALLS("openat", "open", int, -1, openat, (int at, const char* path, int flags, mode_t mode), at, path, flags, mode)
CALLS("fopen", "open", Stream, NULL, fopen, (const char* path, const char* mode), path, mode)

CALLS("pread", "read", ssize_t, -1, pread, (int file, void* data, size_t size, off_t at), file, data, HALF, at)
CALL("read", "read", ssize_t, -1, read, (int file, void* data, size_t size), file, data, HALF)
CALL("fread", "read", size_t, 0, fread, (void* data, size_t size, size_t count, FILE* file), data, size, count, file)

CALLS("pwrite", "write", ssize_t, -1, pwrite, (int file, const void* data, size_t size, off_t at), file, data, HALF, at)
CALL("write", "write", ssize_t, -1, write, (int file, const void* data, size_t size), file, data, HALF)

CALL("fsync", "sync", int, -1, fsync, (int file), file)
CALL("fdatasync", "sync", int, -1, fdatasync, (int file), file)
CALL("syncfs", "sync", int, -1, syncfs, (int file), file)

CALL("rename", "name", int, -1, rename, (const char* from, const char* to), from, to)
CALL("link", "name", int, -1, link, (const char* from, const char* to), from, to)
CALL("linkat", "name", int, -1, linkat, (int a, const char* from, int b, const char* to, int flags), a, from, b, to,
     flags)
CALL(flags != 0 ? "noreplace" : "renameat2", "name", int, -1, renameat2,
     (int a, const char* from, int b, const char* to, unsigned flags), a, from, b, to, flags)

int flock(int file, int how_); /* its header conflicts with the one above */
CALL("flock", "", int, -1, flock, (int file, int how_), file, how_)

CALLS("mmap", "mmap", Memory, (void*)-1, mmap, (void* at, size_t size, int how_, int flags, int file, off_t from), at,
      size, how_, flags, file, from)

CALL("fchown", "", int, -1, fchown, (int file, uid_t owner, gid_t group), file, owner, group)
CALLS("ftruncate", "", int, -1, ftruncate, (int file, off_t size), file, size)
CALL(strncmp(path, "/proc/", 6) == 0 ? "proc" : "", "", int, -1, access, (const char* path, int how_), path, how_)
CALLS(HOLES, "", off_t, -1, lseek, (int file, off_t at, int from), file, at, from)

static int Owned(int result, struct stat* status) {
    const int owner = Strike("owner", "");
    if (result == 0 && owner > 0) status->st_uid = (uid_t)owner;
    return result;
}
int lstat(const char* path, struct stat* status) { return Owned(NEXT(lstat)(path, status), status); }
/* On a 64-bit machine both have the same layout. */
int lstat64(const char* path, struct stat64* status) {
    return Owned(NEXT(lstat64)(path, status), (struct stat*)status);
}

uid_t geteuid(void) {
    const int user = Strike("user", "");
    return user > 0 ? (uid_t)user : NEXT(geteuid)();
}

int pthread_create(pthread_t* thread, const pthread_attr_t* how, void* (*what)(void*), void* with) {
    const int error = Strike("pthread_create", "");
    return error > 0 ? error : NEXT(pthread_create)(thread, how, what, with);
}
