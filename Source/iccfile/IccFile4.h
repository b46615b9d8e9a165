// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <vector>

#include "iccfile/iccTagBase.h"

class ByteSource;

namespace ICC40::ICCFILE {

/// The 128 bytes at the start of a profile. Words are in host order; the arrays of bytes are as in the file.
struct ProfileHeader {
    std::uint32_t profileSize = 0;  ///< not used on reading, computed on writing
    std::uint32_t cmmType = 0;
    std::uint32_t profileVersion = 0;
    std::uint32_t deviceClass = 0;
    std::uint32_t colorSpace = 0;
    std::uint32_t pcs = 0;
    std::array<std::uint16_t, 6> dateTime{};  ///< year, month, day, hours, minutes, seconds
    std::uint32_t magic = 0;
    std::uint32_t platform = 0;
    std::uint32_t profileFlags = 0;
    std::uint32_t manufacturer = 0;
    std::uint32_t model = 0;
    std::array<std::uint8_t, 8> attributes{};  ///< Kept: lost on writing
    std::uint32_t renderingIntent = 0;
    std::array<std::uint32_t, 3> illuminant{};  ///< fixed-point words X, Y, Z
    std::uint32_t creator = 0;
    std::array<std::uint8_t, 16> profileId{};
    std::array<std::uint8_t, 28> headerReserved{};  ///< Kept: lost on writing
};
static_assert(sizeof(ProfileHeader) == 128);

/// One ICC profile in memory: the header, and the tags in file order.
///
/// The reader takes every version of the format and judges nothing: the only failure that it knows is a path that
/// cannot be opened. A tag whose declared block does not lie within the file is left out, and so is what is beyond
/// the number of entries, or the sum of block sizes, that the file's own size allows for.
class IccFile4 {
public:
    /// Reads a profile. Tags are added to those already there; callers `Reset` first.
    /// Returns -2 when the path cannot be opened, with nothing changed, else 0.
    int ReadFile(const char* path);
    /// The same from the stream's position; offsets in the file count from the file's start. Returns 0.
    int ReadFile(std::FILE* stream);
    /// The same from memory (borrowed), as from a file of these bytes. Returns 0.
    int ReadFile(std::span<const unsigned char> bytes);
    /// Reads 128 bytes into `header`; what the stream does not hold is 0. Returns 0.
    int ReadHeader(std::FILE* stream);
    /// Reads the block of one entry and appends its tag. The three words are as they stand in the file: their
    /// bytes in memory are the file's bytes. Returns 0.
    int AddIccTagData(unsigned sig, unsigned offset, unsigned size, std::FILE* stream);
    /// Makes the tag object that name and type ask for and lets it take the block (borrowed).
    std::unique_ptr<iccTagBase> CreateNewTag(icTagSignature sig, unsigned char* data, int size);
    /// The first tag of that name in file order, or null. Lent until the next `Reset`.
    iccTagBase* GetTag(icTagSignature sig);
    const iccTagBase* GetTag(icTagSignature sig) const;

    /// Writes header, table and the verbatim blocks. Returns 0, also when the path cannot be opened.
    int SaveFile(const char* path);
    int WriteHeader(std::FILE* stream, int profileSize);  ///< at the stream's position; returns 0
    /// Writes count and table at the stream's position; returns the size of the whole file.
    int WriteTagListHeader(std::FILE* stream);
    int WriteTagListData(std::FILE* stream);  ///< the blocks, at the stream's position; returns 0

    /// Destroys every tag. The header stays.
    void Reset();

    ProfileHeader header;
    std::vector<std::unique_ptr<iccTagBase>> tagList;  ///< owns, in file order

private:
    void ReadFrom(ByteSource& source);  ///< as `ReadFile`
    void ReadHeaderFrom(ByteSource& source);
    /// Makes a tag of a block (borrowed) and appends it.
    void Append(std::uint32_t name, std::span<const unsigned char> block);
};

}  // namespace ICC40::ICCFILE
