// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "FileHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>

FileHandle OpenForReading(const char* path) {
    if (path == nullptr) return nullptr;
    struct stat status {};
    // The kind is looked at first: opening a pipe waits for its writer.
    const bool special =
        stat(path, &status) == 0 && !S_ISREG(status.st_mode) && !S_ISSOCK(status.st_mode) && access(path, R_OK) == 0;
    return FileHandle(std::fopen(special ? "/dev/null" : path, "rb"));
}

FileHandle OpenForWriting(const char* path) {
    if (path == nullptr) return nullptr;
    struct stat status {};
    if (stat(path, &status) == 0 && S_ISFIFO(status.st_mode)) return nullptr;
    FileHandle stream(std::fopen(path, "wb+"));
    if (stream == nullptr || fileno(stream.get()) > STDERR_FILENO) return stream;
    const int moved = fcntl(fileno(stream.get()), F_DUPFD, STDERR_FILENO + 1);
    stream.reset();
    if (moved < 0) return nullptr;
    stream.reset(fdopen(moved, "wb+"));
    if (stream == nullptr) close(moved);
    return stream;
}

bool SameFile(const char* one, const char* other) {
    struct stat first {};
    struct stat second {};
    return one != nullptr && other != nullptr && stat(one, &first) == 0 && stat(other, &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

std::uint64_t FileSize(std::FILE* stream) {
    struct stat status {};
    if (stream == nullptr || fstat(fileno(stream), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    return static_cast<std::uint64_t>(status.st_size);
}

bool SeekTo(std::FILE* stream, std::uint64_t offset) {
    if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) return false;
    return fseeko(stream, static_cast<off_t>(offset), SEEK_SET) == 0;
}
