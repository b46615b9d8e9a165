// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "FileHandle.h"

#include <sys/stat.h>
#include <unistd.h>

#include <limits>

FileHandle OpenForReading(const char* path) {
    if (path == nullptr) return nullptr;
    struct stat status {};
    // The kind is looked at first: opening a pipe waits for its writer.
    const bool special = stat(path, &status) == 0 && !S_ISREG(status.st_mode) && access(path, R_OK) == 0;
    return FileHandle(std::fopen(special ? "/dev/null" : path, "rb"));
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
