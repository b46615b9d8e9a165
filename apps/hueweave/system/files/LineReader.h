// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// Reads lines from an open file, pipe or terminal. At most `longest` + 1 bytes of a line are held in memory, and a
/// signal ends waiting for input.
class LineReader {
public:
    /// Opens a list for reading. Does not block: `Next` waits for the writer of a pipe, where a signal can end the
    /// wait.
    static FileAccess Open(const std::string& path);

    /// `end` is the character that ends each line. The descriptor is borrowed.
    LineReader(int descriptor, char end, std::size_t longest) : descriptor_(descriptor), end_(end), longest_(longest) {}
    /// Reads the next line, without its end. Of a line that is too long, returns the first `longest` + 1 bytes and
    /// skips the rest. Returns false at the end of the file or after an error.
    bool Next(std::string& line);
    /// The error number that ended reading; 0 at the end of the file.
    int error() const { return error_; }

private:
    bool Fill();

    int descriptor_;
    char end_;
    std::size_t longest_;
    Bytes block_;
    std::size_t at_ = 0;     ///< position in the block
    bool passOver_ = false;  ///< skipping the rest of a line that is too long
    int error_ = 0;
};

}  // namespace hueweave::tool
