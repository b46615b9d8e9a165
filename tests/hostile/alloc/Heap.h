// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>

// This program's own malloc, in front of the C library's. It counts, measures and fails on request. Every allocation of
// the process goes through it, including those of `operator new`, standard streams and other libraries.
namespace hueweave::test {

enum class Fail {
    Never,
    Once,     ///< only allocation number `at`
    OnAndOn,  ///< that one and all later ones
    Large     ///< all of `kHuge` bytes or more, whatever `at`
};
constexpr std::size_t kHuge = std::size_t{1} << 30;

inline void PrintTo(Fail fail, std::ostream* out) {
    *out << (fail == Fail::Once ? "Once" : fail == Fail::OnAndOn ? "OnAndOn" : "Another");
}

/// What the latest watch of a thread has seen, and what it does.
struct HeapState {
    bool watching = false;
    Fail fail = Fail::Never;
    std::uint64_t at = 0;
    std::uint64_t count = 0;  ///< allocations requested
    bool failed = false;      ///< whether one was refused
    std::int64_t used = 0;    ///< bytes, above those at the start
    std::int64_t peak = 0;
    std::size_t largest = 0;  ///< bytes of the largest request
    /// Every allocation of `kHuge` bytes or more gets the same 64 MiB of memory, mapped repeatedly, all readable and
    /// writable. One block at a time.
    bool fold = false;
};
inline constinit thread_local HeapState heapState;

/// Measures the calling thread's heap use during the object's life. Only one may exist at a time.
class HeapWatch {
public:
    explicit HeapWatch(Fail fail = Fail::Never, std::uint64_t at = 0) { heapState = {true, fail, at}; }
    HeapWatch(const HeapWatch&) = delete;
    HeapWatch& operator=(const HeapWatch&) = delete;
    ~HeapWatch() { Stop(); }

    void Stop() { heapState.watching = false; }
    bool Failed() const { return heapState.failed; }
};

}  // namespace hueweave::test
