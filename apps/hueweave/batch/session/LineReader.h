// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstddef>
#include <string>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// Lines of an open file, pipe or terminal. No line takes more memory than `longest` bytes, and a signal ends the
/// waiting for more.
class LineReader {
public:
    /// Opens a list for reading. Not blocking, so that a pipe whose writer is late is waited for where a signal ends
    /// it.
    static FileAccess Open(const std::string& path);

    /// Lines end in `end`. The descriptor is lent.
    LineReader(int descriptor, char end, std::size_t longest) : descriptor_(descriptor), end_(end), longest_(longest) {}
    /// The next line, without its end. Of one that is too long, the first `longest` + 1 bytes; the rest is passed over.
    /// False at the end of the file, or where it cannot be read.
    bool Next(std::string& line);
    /// Why it cannot be read any more; 0 at the end of the file.
    int error() const { return error_; }

private:
    bool Fill();

    int descriptor_;
    char end_;
    std::size_t longest_;
    Bytes block_;
    std::size_t at_ = 0;     ///< in the block
    bool passOver_ = false;  ///< the rest of a line that was too long
    int error_ = 0;
};

}  // namespace hueweave::tool
