/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 *
 * Preloaded into the command under test: makes calls of the system fail. HUEWEAVE_FAULT holds one fault or more,
 * separated by commas, each as "call:n:errno": the n-th call from 1 on, or every one for n = 0. For an errno of 0 the
 * call does half of what it was asked for; linkat and fsync do all of it, and the command is killed. For an errno of -1
 * the call passes after the file that HUEWEAVE_FAULT_FROM names was renamed to HUEWEAVE_FAULT_TO, of -2 after 50
 * milliseconds; for -3, -4 and -5 it ends in std::length_error, std::bad_alloc and std::runtime_error. The calls are
 * pread, pwrite, fsync, fdatasync, fchown, ftruncate, linkat, renameat2, lseek, pthread_create, tmpfile, which is open
 * with O_TMPFILE, proc, which is access below /proc, and owner and user, where lstat tells of the errno as the owner
 * and geteuid as the user. The file that HUEWEAVE_FAULT_SEEN names, and that the command itself may not write to, is no
 * longer empty when a fault with a number has struck.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

static void* Next(const char* name) { return dlsym(RTLD_NEXT, name); }

/* Opened at the start, while any file can be; not under the number of a standard stream. */
static int seen = -1;
__attribute__((constructor)) static void OpenSeen(void) {
    const char* name = getenv("HUEWEAVE_FAULT_SEEN");
    if (name == NULL || *name == 0) return;
    const int file = (int)syscall(SYS_openat, AT_FDCWD, name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    seen = fcntl(file, F_DUPFD_CLOEXEC, 100);
    close(file);
}

/* By the functions that the C++ library's own containers throw with. */
static void Throw(int which) {
    if (which == -3) ((void (*)(const char*))Next("_ZSt20__throw_length_errorPKc"))("vector::_M_default_append");
    if (which == -4) ((void (*)(void))Next("_ZSt17__throw_bad_allocv"))();
    ((void (*)(const char*))Next("_ZSt21__throw_runtime_errorPKc"))("odd");
}

/* The call at hand: below 0 to let it pass, else the errno. */
static int Fault(const char* call, atomic_int* count) {
    const int now = atomic_fetch_add(count, 1) + 1;
    const char* at = getenv("HUEWEAVE_FAULT");
    while (at != NULL && *at != 0) {
        char name[32];
        int n = 0, error = 0;
        if (sscanf(at, "%31[^:]:%d:%d", name, &n, &error) == 3 && strcmp(name, call) == 0 && (n == 0 || n == now)) {
            if (n != 0 && seen >= 0 && write(seen, "x", 1) != 1) abort();
            if (error == -2) usleep(50000);
            if (error < -2) Throw(error);
            if (error != -1) return error;
            rename(getenv("HUEWEAVE_FAULT_FROM"), getenv("HUEWEAVE_FAULT_TO")); /* and then another fault may strike */
        }
        at = strchr(at, ',');
        if (at != NULL) ++at;
    }
    return -1;
}

#define FAULT_OR_PASS(call)                \
    static atomic_int count;               \
    const int fault = Fault(call, &count); \
    if (fault > 0) {                       \
        errno = fault;                     \
        return -1;                         \
    }

static ssize_t Read(const char* name, int file, void* data, size_t size, off_t at) {
    FAULT_OR_PASS("pread")
    ssize_t (*next)(int, void*, size_t, off_t) = (ssize_t(*)(int, void*, size_t, off_t))Next(name);
    return next(file, data, fault == 0 ? (size + 1) / 2 : size, at);
}
ssize_t pread(int file, void* data, size_t size, off_t at) { return Read("pread", file, data, size, at); }
ssize_t pread64(int file, void* data, size_t size, off_t at) { return Read("pread64", file, data, size, at); }

static ssize_t Write(const char* name, int file, const void* data, size_t size, off_t at) {
    FAULT_OR_PASS("pwrite")
    ssize_t (*next)(int, const void*, size_t, off_t) = (ssize_t(*)(int, const void*, size_t, off_t))Next(name);
    return next(file, data, fault == 0 ? (size + 1) / 2 : size, at);
}
ssize_t pwrite(int file, const void* data, size_t size, off_t at) { return Write("pwrite", file, data, size, at); }
ssize_t pwrite64(int file, const void* data, size_t size, off_t at) { return Write("pwrite64", file, data, size, at); }

static int Open(const char* name, const char* path, int flags, mode_t mode) {
    if ((flags & O_TMPFILE) == O_TMPFILE) {
        FAULT_OR_PASS("tmpfile")
    }
    int (*next)(const char*, int, ...) = (int (*)(const char*, int, ...))Next(name);
    return next(path, flags, mode);
}
int open(const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0;
    va_end(list);
    return Open("open", path, flags, mode);
}
int open64(const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0;
    va_end(list);
    return Open("open64", path, flags, mode);
}

int fsync(int file) {
    FAULT_OR_PASS("fsync")
    int (*next)(int) = (int (*)(int))Next("fsync");
    const int result = next(file);
    if (fault == 0) raise(SIGKILL);
    return result;
}

int fdatasync(int file) {
    FAULT_OR_PASS("fdatasync")
    int (*next)(int) = (int (*)(int))Next("fdatasync");
    return next(file);
}

int fchown(int file, uid_t owner, gid_t group) {
    FAULT_OR_PASS("fchown")
    int (*next)(int, uid_t, gid_t) = (int (*)(int, uid_t, gid_t))Next("fchown");
    return next(file, owner, group);
}

int access(const char* path, int how) {
    if (strncmp(path, "/proc/", 6) == 0) {
        FAULT_OR_PASS("proc")
    }
    int (*next)(const char*, int) = (int (*)(const char*, int))Next("access");
    return next(path, how);
}

static int Look(const char* name, const char* path, struct stat* status) {
    static atomic_int count;
    const int owner = Fault("owner", &count);
    int (*next)(const char*, struct stat*) = (int (*)(const char*, struct stat*))Next(name);
    const int result = next(path, status);
    if (result == 0 && owner > 0) status->st_uid = (uid_t)owner;
    return result;
}
int lstat(const char* path, struct stat* status) { return Look("lstat", path, status); }
/* On a machine of 64 bits, both have the same layout. */
int lstat64(const char* path, struct stat64* status) { return Look("lstat64", path, (struct stat*)status); }

uid_t geteuid(void) {
    static atomic_int count;
    const int user = Fault("user", &count);
    uid_t (*next)(void) = (uid_t(*)(void))Next("geteuid");
    return user > 0 ? (uid_t)user : next();
}

int ftruncate(int file, off_t size) {
    FAULT_OR_PASS("ftruncate")
    int (*next)(int, off_t) = (int (*)(int, off_t))Next("ftruncate");
    return next(file, size);
}
int ftruncate64(int file, off_t size) { return ftruncate(file, size); }

off_t lseek(int file, off_t at, int from) {
    if (from == SEEK_DATA || from == SEEK_HOLE) {
        FAULT_OR_PASS("lseek")
    }
    off_t (*next)(int, off_t, int) = (off_t(*)(int, off_t, int))Next("lseek");
    return next(file, at, from);
}
off_t lseek64(int file, off_t at, int from) { return lseek(file, at, from); }

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) {
    FAULT_OR_PASS("linkat")
    int (*next)(int, const char*, int, const char*, int) =
        (int (*)(int, const char*, int, const char*, int))Next("linkat");
    const int result = next(fromFolder, from, toFolder, to, flags);
    if (fault == 0) raise(SIGKILL);
    return result;
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    FAULT_OR_PASS("renameat2")
    int (*next)(int, const char*, int, const char*, unsigned) =
        (int (*)(int, const char*, int, const char*, unsigned))Next("renameat2");
    return next(fromFolder, from, toFolder, to, flags);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* how, void* (*what)(void*), void* with) {
    static atomic_int count;
    const int fault = Fault("pthread_create", &count);
    if (fault > 0) return fault;
    int (*next)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) =
        (int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*))Next("pthread_create");
    return next(thread, how, what, with);
}
