// SPDX-License-Identifier: MIT
#include "base/FileHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>

namespace {

/// A new stream for an open file, with a descriptor above the three standard ones.
FileHandle StreamAbove(int descriptor, const char* mode) {
    const int moved = fcntl(descriptor, F_DUPFD, STDERR_FILENO + 1);
    if (moved < 0) return nullptr;
    FileHandle stream(fdopen(moved, mode));
    if (stream == nullptr) close(moved);
    return stream;
}

/// Opens a named pipe for writing; null if it has no reader, where opening would wait forever.
FileHandle OpenPipe(const char* path) {
    const int opened = open(path, O_WRONLY | O_NONBLOCK);
    if (opened < 0) return nullptr;
    fcntl(opened, F_SETFL, O_WRONLY);  // later writes block until the reader has read
    FileHandle stream = StreamAbove(opened, "wb");
    close(opened);
    return stream;
}

/// Size of a stream without a descriptor, such as one from fmemopen.
std::uint64_t SizeInMemory(std::FILE* stream) {
    const off_t place = ftello(stream);
    if (place < 0 || fseeko(stream, 0, SEEK_END) != 0) return 0;
    const off_t size = ftello(stream);
    fseeko(stream, place, SEEK_SET);
    return size < 0 ? 0 : static_cast<std::uint64_t>(size);
}

}  // namespace

FileHandle OpenForReading(const char* path) {
    if (path == nullptr) return nullptr;
    struct stat status {};
    // The type is checked first, because opening a pipe waits for its writer.
    const bool special =
        stat(path, &status) == 0 && !S_ISREG(status.st_mode) && !S_ISSOCK(status.st_mode) && access(path, R_OK) == 0;
    return FileHandle(std::fopen(special ? "/dev/null" : path, "rb"));
}

FileHandle OpenForWriting(const char* path) {
    if (path == nullptr) return nullptr;
    struct stat status {};
    if (stat(path, &status) == 0 && S_ISFIFO(status.st_mode)) return OpenPipe(path);
    FileHandle stream(std::fopen(path, "wb+"));
    if (stream == nullptr || fileno(stream.get()) > STDERR_FILENO) return stream;
    return StreamAbove(fileno(stream.get()), "wb+");
}

bool SameFile(const char* one, const char* other) {
    struct stat first {};
    struct stat second {};
    return one != nullptr && other != nullptr && stat(one, &first) == 0 && stat(other, &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

std::uint64_t FileSize(std::FILE* stream) {
    if (stream == nullptr) return 0;
    const int descriptor = fileno(stream);
    if (descriptor < 0) return SizeInMemory(stream);
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    return static_cast<std::uint64_t>(status.st_size);
}

bool SeekTo(std::FILE* stream, std::uint64_t offset) {
    if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) return false;
    return fseeko(stream, static_cast<off_t>(offset), SEEK_SET) == 0;
}
