// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

// Replacements for the standard file functions, of which one call can be made to fail. The linker puts these in front
// of the C library's (-Wl,--wrap=...), so that only calls of the library and of the test itself pass through here.
namespace hueweave::test {

enum class Io { Open, Read, Write, Seek, Close, Status };

enum class Mode {
    Once,     ///< only that call does nothing
    OnAndOn,  ///< that call and all later ones do nothing
    Half      ///< only that call transfers half of its items (Read and Write)
};

struct FaultState {
    bool armed = false;
    Io kind = Io::Open;
    Mode mode = Mode::Once;
    std::uint64_t at = 0;
    std::uint64_t count = 0;
    bool failed = false;
};
inline FaultState faultState;

/// From its construction until its destruction or `Stop`, call number `at` of one kind fails.
class Faults {
public:
    Faults(Io kind, Mode mode, std::uint64_t at) { faultState = {true, kind, mode, at}; }
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;
    ~Faults() { Stop(); }

    void Stop() { faultState.armed = false; }
    bool Failed() const { return faultState.failed; }
};

}  // namespace hueweave::test
