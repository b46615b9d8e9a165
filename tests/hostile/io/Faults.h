// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

// Replacements for the standard file functions, of which one call can be made to fail. The linker puts these in front
// of the C library's (-Wl,--wrap=...), so that only calls of the library and of the test itself pass through here.
namespace hueweave::test {

enum class Io { Open, Read, Write, Seek, Close, Status };

/// From its construction until its destruction or `Stop`, call number `at` of one kind fails.
class Faults {
public:
    enum class Mode {
        Once,     ///< only that call does nothing
        OnAndOn,  ///< that call and all later ones do nothing
        Half      ///< only that call transfers half of its items (Read and Write)
    };
    Faults(Io kind, Mode mode, std::uint64_t at);
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;
    ~Faults();

    void Stop();
    bool Failed() const;
};

}  // namespace hueweave::test
