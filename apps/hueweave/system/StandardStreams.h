// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>
#include <string_view>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// Takes the descriptors 0 to 2 where the process was started without them, before any file is opened: a file that got
/// one of these numbers would receive what is written to the standard streams. A stream that was closed stays an error
/// for whoever reads or writes it.
void TakeStandardStreams();
/// Whether the process was started without this stream.
bool IsClosed(int stream);

/// Waits until a stream can be read (POLLIN) or written (POLLOUT). False if a signal asks for the end meanwhile.
bool WaitFor(int stream, short events);
/// Writes all of it to a file, pipe or terminal. Returns the error number, 0 for none; EINTR if nobody reads it and a
/// signal asks for the end.
int WriteText(int stream, std::string_view text);
/// A line for people on standard error. What cannot be written is lost: messages decide over no file.
void PrintError(const std::string& line);
/// The same where there is no memory left for a line.
void PrintNoMemory() noexcept;

/// Where files stand that are gone with the process.
std::string TemporaryFolder();
/// Standard input as a file: TIFF files are read by position.
FileAccess SpoolStandardInput();
void WriteStandardOutput(const FileAccess& file);
/// Refuses what was to be read from standard input, or written to standard output, for that error number.
[[noreturn]] void RefuseStandardInput(int error);
[[noreturn]] void RefuseStandardOutput(int error);

}  // namespace hueweave::tool
