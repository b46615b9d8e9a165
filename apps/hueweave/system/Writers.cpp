// SPDX-License-Identifier: MIT
#include "system/Writers.h"

#include <fcntl.h>

#include <cerrno>

#include "system/FileAccess.h"

namespace hueweave::tool {

Writers WritersOf(const std::string& path) {
    const FileAccess file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY), path);
    if (file.descriptor() < 0) return Writers::Unknown;
    // A read lease is only granted if no program has the file open for writing. It is released at once: while it is
    // held, programs that open the file for writing wait.
    if (::fcntl(file.descriptor(), F_SETLEASE, F_RDLCK) == 0) {
        ::fcntl(file.descriptor(), F_SETLEASE, F_UNLCK);
        return Writers::None;
    }
    return errno == EAGAIN ? Writers::Some : Writers::Unknown;
}

}  // namespace hueweave::tool
