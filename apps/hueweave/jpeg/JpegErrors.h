// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdio>  // jpeglib.h uses FILE and size_t

#include <jpeglib.h>

#include <csetjmp>
#include <exception>
#include <string>

namespace hueweave::tool {

/// What a call of libjpeg left behind. libjpeg expects that the function for errors does not return. It jumps to the
/// caller, past no object with a destructor: each call is made through `Guarded`, and callbacks keep their exceptions
/// here.
struct JpegErrors {
    JpegErrors();
    jpeg_error_mgr manager{};  ///< the first member: libjpeg has a pointer to it
    std::jmp_buf out;
    char message[JMSG_LENGTH_MAX] = "";  ///< the first error or warning
    bool isNoMemory = false, isUnsupported = false;
    std::exception_ptr failure{};

    /// Throws what a failed call means for the file `name`.
    [[noreturn]] void Throw(const std::string& name) const;
};

/// Leaves a callback after an exception that was kept.
[[noreturn]] void LeaveCallback(j_common_ptr common);

/// Makes a call of libjpeg. Returns false if it failed, or reported damage.
template <typename Call>
bool Guarded(JpegErrors& errors, const Call& call) {
    if (setjmp(errors.out) != 0) return false;
    call();
    return errors.message[0] == 0;
}

}  // namespace hueweave::tool
