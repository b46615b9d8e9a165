// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>

// This program's own malloc, in front of the C library's: it counts, measures and fails at will. Every allocation of
// the process goes through it, those of `operator new`, of standard streams and of other libraries included.
namespace hueweave::test {

/// What the calling thread takes from the heap during the object's life. One at a time.
class HeapWatch {
public:
    enum class Fail {
        Never,
        Once,     ///< allocation number `at` alone
        OnAndOn,  ///< that one and all that follow
        Large     ///< all of `kLarge` bytes and more, whatever `at`
    };
    static constexpr std::size_t kLarge = std::size_t{1} << 30;
    explicit HeapWatch(Fail fail = Fail::Never, std::uint64_t at = 0);
    HeapWatch(const HeapWatch&) = delete;
    HeapWatch& operator=(const HeapWatch&) = delete;
    ~HeapWatch();

    /// From here on an allocation of `kLarge` bytes and more is given the same 64 MiB of memory over and over, all of
    /// it readable and writable. One block at a time.
    void Fold();
    void Mend();                  ///< from here on nothing fails
    void Stop();                  ///< from here on nothing is counted and nothing fails
    std::uint64_t Count() const;  ///< allocations that were asked for
    std::size_t Largest() const;  ///< bytes of the largest one
    bool Failed() const;          ///< whether one was refused
    std::int64_t Peak() const;    ///< most bytes in use at one time, over those at the start
    std::int64_t Left() const;    ///< bytes still in use
};

inline void PrintTo(HeapWatch::Fail fail, std::ostream* out) {
    constexpr const char* kNames[] = {"Never", "Once", "OnAndOn", "Large"};
    *out << kNames[static_cast<int>(fail)];
}

}  // namespace hueweave::test
