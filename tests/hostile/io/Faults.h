// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>

// The standard file functions of this program, of which one call can be made to fail. The linker puts these in front
// of the C library's (-Wl,--wrap=...), so that only calls of the library and of the test itself pass through here.
namespace hueweave::test {

enum class Io { Open, Read, Write, Seek, Close, Status };

/// From its making to its end, or `Stop`, call number `at` of one kind fails.
class Faults {
public:
    enum class Mode {
        Once,     ///< that call alone does nothing
        OnAndOn,  ///< that call and all that follow do nothing
        Half      ///< that call alone moves half of its items (Read and Write)
    };
    Faults(Io kind, Mode mode, std::uint64_t at);
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;
    ~Faults();

    void Stop();
    bool Failed() const;
};

}  // namespace hueweave::test
