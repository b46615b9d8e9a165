// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

/// Closes the stream that it holds, whichever way the scope is left.
struct FileCloser {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

/// Opens a regular file for reading ("rb"). A null path gives null, and so does what cannot be opened.
/// What opens but is not a regular file (a folder, a pipe, a device) gives a stream that is at its end at once, so
/// that nobody waits for a writer or reads without end.
FileHandle OpenForReading(const char* path);

/// Opens a file for writing and empties it ("wb+"). Null as above, and for a pipe without a reader, where a writer
/// would wait forever. The descriptor is never one of the standard three, so that nothing that the process prints can
/// land in the file.
FileHandle OpenForWriting(const char* path);

/// Whether both paths lead to one file; false when either leads nowhere.
bool SameFile(const char* one, const char* other);

/// Bytes in a stream's file, 0 when that cannot be told. The reading position stays.
std::uint64_t FileSize(std::FILE* stream);

/// Moves the reading position, counted from the file's start. False when the stream refuses.
bool SeekTo(std::FILE* stream, std::uint64_t offset);
