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

using Fail = hueweave::test::HeapWatch::Fail;

struct State {
    bool watching = false;
    Fail fail = Fail::Never;
    std::uint64_t at = 0;
    std::uint64_t count = 0;
    bool failed = false;
    std::int64_t used = 0;
    std::int64_t peak = 0;
    std::size_t largest = 0;
    bool fold = false;
};
thread_local State state;

/// A block that maps the same few pages repeatedly.
struct Folded {
    void* start = nullptr;
    std::size_t bytes = 0;
};
thread_local Folded folded;

/// Whether the next allocation may succeed.
bool Admit(std::size_t bytes) {
    if (!state.watching) return true;
    ++state.count;
    state.largest = std::max(state.largest, bytes);
    const bool refuse = (state.fail == Fail::Once && state.count == state.at) ||
                        (state.fail == Fail::OnAndOn && state.count >= state.at) ||
                        (state.fail == Fail::Large && bytes >= hueweave::test::HeapWatch::kLarge);
    if (refuse) {
        state.failed = true;
        errno = ENOMEM;
    }
    return !refuse;
}

std::int64_t BytesIn(void* block) {
    return block == nullptr ? 0 : static_cast<std::int64_t>(malloc_usable_size(block));
}

void Account(std::int64_t bytes) {
    if (!state.watching) return;
    state.used += bytes;
    state.peak = std::max(state.peak, state.used);
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
    if (state.fold && bytes >= hueweave::test::HeapWatch::kLarge) return TakeFolded(bytes);
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

namespace hueweave::test {

HeapWatch::HeapWatch(Fail fail, std::uint64_t at) {
    state = State();
    state.fail = fail;
    state.at = at;
    state.watching = true;
}

HeapWatch::~HeapWatch() { Stop(); }

void HeapWatch::Fold() { state.fold = true; }
void HeapWatch::Mend() { state.fail = Fail::Never; }
void HeapWatch::Stop() { state.watching = false; }
std::uint64_t HeapWatch::Count() const { return state.count; }
std::size_t HeapWatch::Largest() const { return state.largest; }
bool HeapWatch::Failed() const { return state.failed; }
std::int64_t HeapWatch::Peak() const { return state.peak; }
std::int64_t HeapWatch::Left() const { return state.used; }

}  // namespace hueweave::test
