// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <cstdio>

/// A stream of bytes over a file or a block of memory. One thread uses it.
class IO_Interface {
public:
    IO_Interface() = default;
    IO_Interface(const IO_Interface&) = delete;
    IO_Interface& operator=(const IO_Interface&) = delete;
    virtual ~IO_Interface() = default;

    // Kept: the results of the two classes differ. A file gives the count of items that it moved, a block its new
    // position.
    virtual std::uint64_t Read(unsigned char* buffer, unsigned long size, unsigned long count) = 0;
    virtual std::uint64_t Write(unsigned char* buffer, unsigned long size, unsigned long count) = 0;
    /// Origin 0 counts from the start, 1 from the position, 2 from the end. See the classes for the result.
    virtual int Seek(int offset, int origin) = 0;
    virtual void* GetHandle() = 0;  ///< the file's stream, or the block's start
    virtual void Close() = 0;
};

/// Over a standard file stream, which it owns. A stream that is null, because it could not be opened or was closed,
/// moves nothing.
class IO_File : public IO_Interface {
public:
    IO_File(const char* path, const char* mode);  ///< as fopen
    ~IO_File() override;

    std::uint64_t Read(unsigned char* buffer, unsigned long size, unsigned long count) override;
    std::uint64_t Write(unsigned char* buffer, unsigned long size, unsigned long count) override;
    int Seek(int offset, int origin) override;  ///< as fseek; -1 without a stream
    void* GetHandle() override;
    void Close() override;

    std::FILE* stream;
};

/// Over a block of memory of the caller's, which must outlive the stream or its `Close`.
class IO_Buf : public IO_Interface {
public:
    IO_Buf(unsigned char* block, unsigned long length);

    /// Moves `size` x `count` bytes, fewer at the end of the block.
    std::uint64_t Read(unsigned char* buffer, unsigned long size, unsigned long count) override;
    /// The same. Kept: the position moves on by the whole length asked for, beyond the end if need be.
    std::uint64_t Write(unsigned char* buffer, unsigned long size, unsigned long count) override;
    /// Forward the position stops at the end, backward at the start. Returns `offset`, or how far beyond the limit
    /// it would have gone (negative at the start).
    int Seek(int offset, int origin) override;
    void* GetHandle() override;
    void Close() override;

    std::uint64_t begin, end, position;  ///< addresses

private:
    std::uint64_t Room(std::uint64_t bytes) const;
};
