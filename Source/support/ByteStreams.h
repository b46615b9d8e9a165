// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstdio>

/// A byte stream on a file or a block of memory, for use by one thread.
class IO_Interface {
public:
    IO_Interface() = default;
    IO_Interface(const IO_Interface&) = delete;
    IO_Interface& operator=(const IO_Interface&) = delete;
    virtual ~IO_Interface() = default;

    // Kept: the results of the two classes differ. A file returns the number of items transferred, a block its new
    // position.
    virtual std::uint64_t Read(unsigned char* buffer, unsigned long size, unsigned long count) = 0;
    virtual std::uint64_t Write(unsigned char* buffer, unsigned long size, unsigned long count) = 0;
    /// Origin 0 is the start, 1 the current position, 2 the end. See the classes for the result.
    virtual int Seek(int offset, int origin) = 0;
    virtual void* GetHandle() = 0;  ///< the stream of the file, or the start of the block
    virtual void Close() = 0;
};

/// A standard file stream, which it owns. If the stream is null, because it could not be opened or was closed, nothing
/// is transferred.
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

/// A block of the caller's memory, which must outlive the stream or its `Close`.
class IO_Buf : public IO_Interface {
public:
    IO_Buf(unsigned char* block, unsigned long length);

    /// Transfers `size` x `count` bytes, or fewer at the end of the block.
    std::uint64_t Read(unsigned char* buffer, unsigned long size, unsigned long count) override;
    /// The same. Kept: the position advances by the full requested length, even beyond the end.
    std::uint64_t Write(unsigned char* buffer, unsigned long size, unsigned long count) override;
    /// Seeking forward stops at the end, backward at the start. Returns `offset`, or the distance beyond the limit
    /// (negative at the start).
    int Seek(int offset, int origin) override;
    void* GetHandle() override;
    void Close() override;

    std::uint64_t begin, end, position;  ///< addresses

private:
    std::uint64_t Room(std::uint64_t bytes) const;
};
