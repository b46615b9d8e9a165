/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 *
 * Preloaded into the command under test by `sweep`: makes one call of a group fail. HUEWEAVE_SWEEP is "group:n:errno":
 * the n-th call of the group, from 1 on, fails with that errno; for an errno of 0 the process is killed in its place,
 * and for -1 right after it. The file that HUEWEAVE_SWEEP_SEEN names, and that the command itself may not write to, is
 * no longer empty once that call is reached.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <signal.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#define CREATE 0100 /* O_CREAT; the header that has it declares the functions below with other parameters */
#define HERE (-100) /* AT_FDCWD */
#define DUPLICATE 0 /* F_DUPFD */

static char group[16];
static int wanted, error, seen = -1;
static atomic_int calls;

__attribute__((constructor)) static void Begin(void) {
    const char* name = getenv("HUEWEAVE_SWEEP_SEEN");
    if (name != NULL) { /* now, while any file can be opened; not under the number of a standard stream */
        const long file = syscall(SYS_openat, HERE, name, CREATE | 1, 0600);
        seen = (int)syscall(SYS_fcntl, file, DUPLICATE, 100);
        syscall(SYS_close, file);
    }
    const char* text = getenv("HUEWEAVE_SWEEP");
    if (text != NULL && sscanf(text, "%15[^:]:%d:%d", group, &wanted, &error) != 3) abort();
}

/* The number of this call in its group, 0 for those of other groups. */
static int Count(const char* name) { return strcmp(name, group) == 0 ? atomic_fetch_add(&calls, 1) + 1 : 0; }

static int Fails(int call) {
    if (call == 0 || call != wanted) return 0;
    if (seen >= 0) syscall(SYS_write, seen, "x", 1);
    if (error == 0) raise(SIGKILL);
    if (error < 0) return 0;
    errno = error;
    return 1;
}

static void After(int call) {
    if (call != 0 && call == wanted && error < 0) raise(SIGKILL);
}

#define CALL(of, result, failed, name, parameters, ...)                           \
    result name parameters {                                                      \
        result(*next) parameters = (result(*) parameters)dlsym(RTLD_NEXT, #name); \
        const int call = Count(of);                                               \
        if (Fails(call)) return failed;                                           \
        const result value = next(__VA_ARGS__);                                   \
        After(call);                                                              \
        return value;                                                             \
    }

typedef void* Memory;
typedef FILE* Stream;

CALL("open", int, -1, open, (const char* path, int flags, mode_t mode), path, flags, mode)
CALL("open", int, -1, open64, (const char* path, int flags, mode_t mode), path, flags, mode)
CALL("open", int, -1, openat, (int folder, const char* path, int flags, mode_t mode), folder, path, flags, mode)
CALL("open", int, -1, openat64, (int folder, const char* path, int flags, mode_t mode), folder, path, flags, mode)
CALL("open", Stream, NULL, fopen, (const char* path, const char* mode), path, mode)
CALL("open", Stream, NULL, fopen64, (const char* path, const char* mode), path, mode)

CALL("read", ssize_t, -1, read, (int file, void* data, size_t size), file, data, size)
CALL("read", ssize_t, -1, pread, (int file, void* data, size_t size, off_t at), file, data, size, at)
CALL("read", ssize_t, -1, pread64, (int file, void* data, size_t size, off_t at), file, data, size, at)
CALL("read", size_t, 0, fread, (void* data, size_t size, size_t count, FILE* file), data, size, count, file)

CALL("write", ssize_t, -1, write, (int file, const void* data, size_t size), file, data, size)
CALL("write", ssize_t, -1, pwrite, (int file, const void* data, size_t size, off_t at), file, data, size, at)
CALL("write", ssize_t, -1, pwrite64, (int file, const void* data, size_t size, off_t at), file, data, size, at)

CALL("sync", int, -1, fsync, (int file), file)
CALL("sync", int, -1, fdatasync, (int file), file)
CALL("sync", int, -1, syncfs, (int file), file)

CALL("name", int, -1, rename, (const char* from, const char* to), from, to)
CALL("name", int, -1, link, (const char* from, const char* to), from, to)
CALL("name", int, -1, renameat2, (int a, const char* from, int b, const char* to, unsigned flags), a, from, b, to,
     flags)
CALL("name", int, -1, linkat, (int a, const char* from, int b, const char* to, int flags), a, from, b, to, flags)

CALL("mmap", Memory, (void*)-1, mmap, (void* at, size_t size, int how, int flags, int file, off_t from), at, size, how,
     flags, file, from)
CALL("mmap", Memory, (void*)-1, mmap64, (void* at, size_t size, int how, int flags, int file, off_t from), at, size,
     how, flags, file, from)
