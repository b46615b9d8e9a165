// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "hostile/alloc/Heap.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>

// The C library's own functions behind the names that are defined here.
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
};
thread_local State state;

/// Whether the next allocation may succeed.
bool Admit() {
    if (!state.watching) return true;
    ++state.count;
    const bool refuse = (state.fail == Fail::Once && state.count == state.at) ||
                        (state.fail == Fail::OnAndOn && state.count >= state.at);
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

}  // namespace

extern "C" {

void* malloc(std::size_t bytes) { return Admit() ? Taken(__libc_malloc(bytes)) : nullptr; }

void* calloc(std::size_t count, std::size_t bytes) { return Admit() ? Taken(__libc_calloc(count, bytes)) : nullptr; }

void* realloc(void* block, std::size_t bytes) {
    if (!Admit()) return nullptr;
    const std::int64_t before = BytesIn(block);
    void* const moved = __libc_realloc(block, bytes);
    if (moved != nullptr || bytes == 0) Account(-before);
    return Taken(moved);
}

void free(void* block) {
    Account(-BytesIn(block));
    __libc_free(block);
}

void* memalign(std::size_t alignment, std::size_t bytes) {
    return Admit() ? Taken(__libc_memalign(alignment, bytes)) : nullptr;
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

void HeapWatch::Mend() { state.fail = Fail::Never; }
void HeapWatch::Stop() { state.watching = false; }
std::uint64_t HeapWatch::Count() const { return state.count; }
bool HeapWatch::Failed() const { return state.failed; }
std::int64_t HeapWatch::Peak() const { return state.peak; }
std::int64_t HeapWatch::Left() const { return state.used; }

}  // namespace hueweave::test
