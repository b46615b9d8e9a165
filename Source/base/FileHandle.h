// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

/// Owns a stream and closes it at the end of the scope.
struct FileCloser {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

/// Opens a regular file for reading ("rb"). Returns null for a null path and if the file cannot be opened. For anything
/// but a regular file (a folder, a pipe, a device) it returns a stream at its end, so that a caller neither waits for a
/// writer nor reads forever.
FileHandle OpenForReading(const char* path);

/// Opens a file for writing and truncates it ("wb+"). Returns null as above, and for a pipe without a reader, where
/// opening would wait forever. The descriptor is never one of the three standard ones, so that nothing printed by the
/// process can end up in the file.
FileHandle OpenForWriting(const char* path);

/// Whether both paths refer to the same file; false if either does not exist.
bool SameFile(const char* one, const char* other);

/// Size of a stream's file in bytes, or 0 if it is unknown. Does not change the read position.
std::uint64_t FileSize(std::FILE* stream);

/// Sets the read position, counted from the start of the file. Returns false if the stream does not allow it.
bool SeekTo(std::FILE* stream, std::uint64_t offset);
