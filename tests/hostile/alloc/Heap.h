// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>

// This program's own malloc, in front of the C library's. It counts, measures and fails on request. Every allocation of
// the process goes through it, including those of `operator new`, standard streams and other libraries.
namespace hueweave::test {

/// Measures the calling thread's heap use during the object's life. Only one may exist at a time.
class HeapWatch {
public:
    enum class Fail {
        Never,
        Once,     ///< only allocation number `at`
        OnAndOn,  ///< that one and all later ones
        Large     ///< all of `kLarge` bytes or more, whatever `at`
    };
    static constexpr std::size_t kLarge = std::size_t{1} << 30;
    explicit HeapWatch(Fail fail = Fail::Never, std::uint64_t at = 0);
    HeapWatch(const HeapWatch&) = delete;
    HeapWatch& operator=(const HeapWatch&) = delete;
    ~HeapWatch();

    /// From now on every allocation of `kLarge` bytes or more gets the same 64 MiB of memory, mapped repeatedly, all
    /// readable and writable. One block at a time.
    void Fold();
    void Mend();                  ///< from now on nothing fails
    void Stop();                  ///< from now on nothing is counted and nothing fails
    std::uint64_t Count() const;  ///< allocations requested
    std::size_t Largest() const;  ///< bytes of the largest request
    bool Failed() const;          ///< whether an allocation was refused
    std::int64_t Peak() const;    ///< peak bytes in use, above those at the start
    std::int64_t Left() const;    ///< bytes still in use
};

inline void PrintTo(HeapWatch::Fail fail, std::ostream* out) {
    constexpr const char* kNames[] = {"Never", "Once", "OnAndOn", "Large"};
    *out << kNames[static_cast<int>(fail)];
}

}  // namespace hueweave::test
