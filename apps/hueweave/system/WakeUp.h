// SPDX-License-Identifier: MIT
#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// Ends a poll() of another thread, or of this one from a signal handler.
class WakeUp {
public:
    WakeUp() : file_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC), "the event descriptor") {
        if (file_.descriptor() < 0) RefuseWrite(file_.name(), errno);
    }
    /// Can be read (POLLIN) from `Set` until `Clear`.
    int descriptor() const { return file_.descriptor(); }
    void Set() const { Set(descriptor()); }
    /// The same with the descriptor; a signal handler may call it.
    static void Set(int descriptor) {
        const std::uint64_t one = 1;
        // The call fails only if the counter is full, and then the descriptor can be read.
        if (::write(descriptor, &one, sizeof one) < 0) return;
    }
    void Clear() const {
        std::uint64_t count = 0;
        if (::read(descriptor(), &count, sizeof count) < 0) return;
    }

private:
    FileAccess file_;
};

}  // namespace hueweave::tool
