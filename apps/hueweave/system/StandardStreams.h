// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// Occupies the descriptors 0 to 2 if the process was started without them, before any file is opened: a file with one
/// of these numbers would receive what is written to the standard streams. Reading or writing a closed stream is still
/// an error.
void TakeStandardStreams();
/// Whether the process was started without this stream.
bool IsClosed(int stream);

/// Waits until a stream can be read (POLLIN) or written (POLLOUT). Returns false if a termination signal arrives first.
bool WaitFor(int stream, short events);
/// Writes all bytes to a file, pipe or terminal. Returns the error number, or 0; EINTR if nobody reads them and a
/// termination signal arrives.
int WriteText(int stream, std::string_view text);
/// Prints a line for the user to standard error. A line that cannot be written is lost: messages do not affect the
/// result for a file.
void PrintError(const std::string& line);
/// The same if there is no memory left for a line.
void PrintNoMemory() noexcept;

/// The folder for files that do not outlive the process.
std::string TemporaryFolder();
/// Standard input copied to a file, because TIFF files are read by position.
FileAccess SpoolStandardInput();
void WriteStandardOutput(const FileAccess& file);
/// Refuses reading from standard input, or writing to standard output, for that error number.
[[noreturn]] void RefuseStandardInput(int error);
[[noreturn]] void RefuseStandardOutput(int error);

}  // namespace hueweave::tool
