// SPDX-License-Identifier: MIT
#include "hostile/alloc/Heap.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

// The functions of the C library that the functions here replace.
extern "C" {
void* __libc_malloc(std::size_t bytes);
void __libc_free(void* block);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
}

namespace {

using namespace hueweave::test;

/// A block that maps the same few pages repeatedly.
struct Folded {
    void* start = nullptr;
    std::size_t bytes = 0;
};
thread_local Folded folded;

/// Whether the next allocation may succeed.
bool Admit(std::size_t bytes) {
    if (!heapState.watching) return true;
    ++heapState.count;
    heapState.largest = std::max(heapState.largest, bytes);
    const bool refuse = (heapState.fail == Fail::Once && heapState.count == heapState.at) ||
                        (heapState.fail == Fail::OnAndOn && heapState.count >= heapState.at) ||
                        (heapState.fail == Fail::Large && bytes >= kHuge);
    if (refuse) {
        heapState.failed = true;
        errno = ENOMEM;
    }
    return !refuse;
}

std::int64_t BytesIn(void* block) {
    return block == nullptr ? 0 : static_cast<std::int64_t>(malloc_usable_size(block));
}

void Account(std::int64_t bytes) {
    if (!heapState.watching) return;
    heapState.used += bytes;
    heapState.peak = std::max(heapState.peak, heapState.used);
}

void* Taken(void* block) {
    Account(BytesIn(block));
    return block;
}

/// Null if the system refuses as well.
void* TakeFolded(std::size_t bytes) {
    constexpr std::size_t kFold = std::size_t{64} << 20;
    const std::size_t whole = (bytes + kFold - 1) / kFold * kFold;
    const int file = memfd_create("fold", MFD_CLOEXEC);
    void* const start = mmap(nullptr, whole, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    bool good = file >= 0 && start != MAP_FAILED && ftruncate(file, kFold) == 0;
    for (std::size_t at = 0; good && at < whole; at += kFold) {
        void* const part = static_cast<char*>(start) + at;
        good = mmap(part, kFold, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) != MAP_FAILED;
    }
    if (file >= 0) close(file);
    if (good) folded = {start, whole};
    return good ? start : nullptr;
}

}  // namespace

extern "C" {

void* malloc(std::size_t bytes) {
    if (!Admit(bytes)) return nullptr;
    if (heapState.fold && bytes >= kHuge) return TakeFolded(bytes);
    return Taken(__libc_malloc(bytes));
}

void* calloc(std::size_t count, std::size_t bytes) {
    return Admit(count * bytes) ? Taken(__libc_calloc(count, bytes)) : nullptr;
}

void* realloc(void* block, std::size_t bytes) {
    if (!Admit(bytes)) return nullptr;
    const std::int64_t before = BytesIn(block);
    void* const moved = __libc_realloc(block, bytes);
    if (moved != nullptr || bytes == 0) Account(-before);
    return Taken(moved);
}

void free(void* block) {
    if (block != nullptr && block == folded.start) {
        munmap(block, folded.bytes);
        folded = {};
        return;
    }
    Account(-BytesIn(block));
    __libc_free(block);
}

void* memalign(std::size_t alignment, std::size_t bytes) {
    return Admit(bytes) ? Taken(__libc_memalign(alignment, bytes)) : nullptr;
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) { return memalign(alignment, bytes); }

int posix_memalign(void** block, std::size_t alignment, std::size_t bytes) {
    void* const taken = memalign(alignment, bytes);
    if (taken == nullptr) return ENOMEM;
    *block = taken;
    return 0;
}

}  // extern "C"
