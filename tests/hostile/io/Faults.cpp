// SPDX-License-Identifier: MIT
#include "hostile/io/Faults.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

extern "C" {
std::FILE* __real_fopen(const char* path, const char* mode);
std::size_t __real_fread(void* to, std::size_t size, std::size_t count, std::FILE* stream);
std::size_t __real_fwrite(const void* from, std::size_t size, std::size_t count, std::FILE* stream);
int __real_fseek(std::FILE* stream, long offset, int origin);
int __real_fseeko(std::FILE* stream, off_t offset, int origin);
int __real_fclose(std::FILE* stream);
int __real_fstat(int descriptor, struct stat* status);
}

namespace {

using namespace hueweave::test;

bool Fails(Io kind, int error) {
    if (!faultState.armed || kind != faultState.kind) return false;
    ++faultState.count;
    const bool fails =
        faultState.mode == Mode::OnAndOn ? faultState.count >= faultState.at : faultState.count == faultState.at;
    if (fails) {
        faultState.failed = true;
        errno = error;
    }
    return fails;
}

/// Items that a failing call still transfers.
std::size_t Rest(std::size_t count) { return faultState.mode == Mode::Half ? count / 2 : 0; }

}  // namespace

extern "C" {

std::FILE* __wrap_fopen(const char* path, const char* mode) {
    return Fails(Io::Open, EMFILE) ? nullptr : __real_fopen(path, mode);
}

std::size_t __wrap_fread(void* to, std::size_t size, std::size_t count, std::FILE* stream) {
    return __real_fread(to, size, Fails(Io::Read, EIO) ? Rest(count) : count, stream);
}

std::size_t __wrap_fwrite(const void* from, std::size_t size, std::size_t count, std::FILE* stream) {
    return __real_fwrite(from, size, Fails(Io::Write, ENOSPC) ? Rest(count) : count, stream);
}

int __wrap_fseek(std::FILE* stream, long offset, int origin) {
    return Fails(Io::Seek, EINVAL) ? -1 : __real_fseek(stream, offset, origin);
}

int __wrap_fseeko(std::FILE* stream, off_t offset, int origin) {
    return Fails(Io::Seek, EINVAL) ? -1 : __real_fseeko(stream, offset, origin);
}

int __wrap_fclose(std::FILE* stream) {
    const bool fails = Fails(Io::Close, EIO);
    const int result = __real_fclose(stream);  // the stream is closed in either case
    return fails ? EOF : result;
}

int __wrap_fstat(int descriptor, struct stat* status) {
    return Fails(Io::Status, EIO) ? -1 : __real_fstat(descriptor, status);
}

}  // extern "C"
