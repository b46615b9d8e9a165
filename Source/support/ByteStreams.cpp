// SPDX-License-Identifier: MIT
#include "support/ByteStreams.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

// Lengths beyond any block are limited to the largest number instead of wrapping around to 0.
std::uint64_t Length(unsigned long size, unsigned long count) {
    return size != 0 && count > kMost / size ? kMost : std::uint64_t{size} * count;
}
std::uint64_t Advance(std::uint64_t position, std::uint64_t bytes) {
    return bytes > kMost - position ? kMost : position + bytes;
}

unsigned char* At(std::uint64_t address) {
    return reinterpret_cast<unsigned char*>(static_cast<std::uintptr_t>(address));
}

}  // namespace

IO_File::IO_File(const char* path, const char* mode) : stream(std::fopen(path, mode)) {}

IO_File::~IO_File() { IO_File::Close(); }

std::uint64_t IO_File::Read(unsigned char* buffer, unsigned long size, unsigned long count) {
    return stream == nullptr ? 0 : std::fread(buffer, size, count, stream);
}

std::uint64_t IO_File::Write(unsigned char* buffer, unsigned long size, unsigned long count) {
    return stream == nullptr ? 0 : std::fwrite(buffer, size, count, stream);
}

int IO_File::Seek(int offset, int origin) { return stream == nullptr ? -1 : std::fseek(stream, offset, origin); }

void* IO_File::GetHandle() { return stream; }

void IO_File::Close() {
    if (stream != nullptr) std::fclose(stream);
    stream = nullptr;
}

IO_Buf::IO_Buf(unsigned char* block, unsigned long length)
    : begin(reinterpret_cast<std::uintptr_t>(block)), end(begin + length), position(begin) {}

/// The number of `bytes` that lie inside the block from the current position on.
std::uint64_t IO_Buf::Room(std::uint64_t bytes) const {
    if (position < begin || position >= end) return 0;
    return std::min(bytes, end - position);
}

std::uint64_t IO_Buf::Read(unsigned char* buffer, unsigned long size, unsigned long count) {
    const std::uint64_t bytes = Room(Length(size, count));
    if (bytes != 0) std::memcpy(buffer, At(position), bytes);
    position += bytes;
    return position;
}

std::uint64_t IO_Buf::Write(unsigned char* buffer, unsigned long size, unsigned long count) {
    const std::uint64_t wanted = Length(size, count);
    const std::uint64_t bytes = Room(wanted);
    if (bytes != 0) std::memcpy(At(position), buffer, bytes);
    position = Advance(position, wanted);
    return position;
}

int IO_Buf::Seek(int offset, int origin) {
    const auto step = static_cast<std::uint64_t>(std::int64_t{offset});
    if (origin == 0) position = begin + step;
    if (origin == 1) position += step;
    if (origin == 2) position = end + step;
    if (offset > 0) {
        if (position <= end) return offset;
        const std::uint64_t excess = position - end;
        position = end;
        return static_cast<int>(static_cast<std::uint32_t>(excess));
    }
    if (position >= begin) return offset;
    const std::uint64_t missing = position - begin;
    position = begin;
    return static_cast<int>(static_cast<std::uint32_t>(missing));
}

void* IO_Buf::GetHandle() { return At(begin); }

void IO_Buf::Close() { begin = end = position = 0; }
