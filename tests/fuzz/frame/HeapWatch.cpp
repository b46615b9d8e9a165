// SPDX-License-Identifier: MIT
// Measures the heap: with AddressSanitizer through its hooks, so that its own checks of new and delete remain;
// otherwise through replaced operators.
#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "FuzzInput.h"

#ifndef __has_feature
#define __has_feature(feature) 0
#endif

namespace {

std::atomic<std::size_t> liveBytes{0}, peakBytes{0}, blockCount{0};

void Taken(std::size_t bytes) {
    blockCount.fetch_add(1, std::memory_order_relaxed);
    const std::size_t now = liveBytes.fetch_add(bytes, std::memory_order_relaxed) + bytes;
    if (now > peakBytes.load(std::memory_order_relaxed)) peakBytes.store(now, std::memory_order_relaxed);
}
void Given(std::size_t bytes) { liveBytes.fetch_sub(bytes, std::memory_order_relaxed); }

}  // namespace

#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)

extern "C" {
int __sanitizer_install_malloc_and_free_hooks(void (*taken)(const volatile void*, std::size_t),
                                              void (*given)(const volatile void*));
std::size_t __sanitizer_get_allocated_size(const volatile void* block);
}

namespace {
const int heapHooks =
    __sanitizer_install_malloc_and_free_hooks([](const volatile void*, std::size_t bytes) { Taken(bytes); },
                                              [](const volatile void* block) {
                                                  if (block != nullptr) Given(__sanitizer_get_allocated_size(block));
                                              });
}  // namespace

#else

void* operator new(std::size_t bytes) {
    void* block = std::malloc(bytes != 0 ? bytes : 1);
    if (block == nullptr) throw std::bad_alloc();
    Taken(malloc_usable_size(block));
    return block;
}
void operator delete(void* block) noexcept {
    if (block != nullptr) Given(malloc_usable_size(block));
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

#endif

namespace hueweave::fuzz {

HeapWatch::HeapWatch() : liveBefore_(liveBytes), countBefore_(blockCount) { peakBytes = liveBefore_; }

std::size_t HeapWatch::Peak() const { return peakBytes > liveBefore_ ? peakBytes - liveBefore_ : 0; }

std::size_t HeapWatch::Count() const { return blockCount - countBefore_; }

}  // namespace hueweave::fuzz
