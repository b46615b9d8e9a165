/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 *
 * Preloaded into the command under test: makes allocations fail. HUEWEAVE_ALLOCATION holds the number of the one that
 * fails, from 1 on; "7+" makes the seventh and all later ones fail. Every call of malloc, calloc, realloc and the
 * aligned variants counts, from the first line of main on. When the command exits by itself, the number of calls is
 * written to the file named by HUEWEAVE_ALLOCATIONS_SEEN.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

static atomic_long calls;
static long fails;
static int onwards, begun;
static int seen = -1; /* opened at the start, while opening cannot fail */

static int Fails(void) {
    if (!begun) return 0;
    const long call = atomic_fetch_add(&calls, 1) + 1;
    if (fails == 0 || call < fails || (call > fails && !onwards)) return 0;
    errno = ENOMEM;
    return 1;
}

void* malloc(size_t size) { return Fails() ? NULL : __libc_malloc(size); }
void* calloc(size_t count, size_t size) { return Fails() ? NULL : __libc_calloc(count, size); }
void* realloc(void* memory, size_t size) { return Fails() ? NULL : __libc_realloc(memory, size); }
void* memalign(size_t alignment, size_t size) { return Fails() ? NULL : __libc_memalign(alignment, size); }
void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
int posix_memalign(void** memory, size_t alignment, size_t size) {
    void* const made = memalign(alignment, size);
    if (made == NULL && size != 0) return ENOMEM;
    *memory = made;
    return 0;
}

static int (*realMain)(int, char**, char**);

static void Tell(void) {
    begun = 0;
    if (seen >= 0) dprintf(seen, "%ld", atomic_load(&calls));
}

static int CountedMain(int count, char** words, char** environment) {
    /* Registered here, so that it runs before the exit handler of a build that measures coverage, which crashes
     * without memory. */
    atexit(Tell);
    begun = 1;
    return realMain(count, words, environment);
}

int __libc_start_main(int (*entry)(int, char**, char**), int count, char** words, void (*init)(void),
                      void (*fini)(void), void (*rtldFini)(void), void* stackEnd) {
    typedef int (*Start)(int (*)(int, char**, char**), int, char**, void (*)(void), void (*)(void), void (*)(void),
                         void*);
    const Start next = (Start)dlsym(RTLD_NEXT, "__libc_start_main");
    const char* text = getenv("HUEWEAVE_ALLOCATION");
    if (text != NULL) {
        fails = atol(text);
        onwards = strchr(text, '+') != NULL;
    }
    const char* name = getenv("HUEWEAVE_ALLOCATIONS_SEEN");
    if (name != NULL && *name != 0) seen = open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    realMain = entry;
    return next(CountedMain, count, words, init, fini, rtldFini, stackEnd);
}
