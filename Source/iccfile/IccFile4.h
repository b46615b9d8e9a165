// SPDX-License-Identifier: MIT
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

/// The 128-byte header of a profile. Words are in host byte order; byte arrays are as in the file.
struct ProfileHeader {
    std::uint32_t profileSize = 0;  ///< ignored when reading, computed when writing
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
    std::array<std::uint32_t, 3> illuminant{};  ///< fixed-point X, Y, Z
    std::uint32_t creator = 0;
    std::array<std::uint8_t, 16> profileId{};
    std::array<std::uint8_t, 28> headerReserved{};  ///< Kept: lost on writing
};
static_assert(sizeof(ProfileHeader) == 128);

/// An ICC profile in memory: the header, and the tags in file order.
///
/// The reader accepts all versions of the format and validates nothing: it fails only if the path cannot be opened.
/// Tags whose declared block does not lie within the file are skipped, and so are tags beyond the number of entries or
/// the total block size allowed for a file of that size.
class IccFile4 {
public:
    /// Reads a profile and appends its tags; callers `Reset` first. Returns -2 without any change if the path cannot be
    /// opened, else 0.
    int ReadFile(const char* path);
    /// The same from the position of the stream; offsets in the file count from the start of the file. Returns 0.
    int ReadFile(std::FILE* stream);
    /// The same from memory (borrowed), as from a file with these bytes. Returns 0.
    int ReadFile(std::span<const unsigned char> bytes);
    /// Reads 128 bytes into `header`; missing bytes are 0. Returns 0.
    int ReadHeader(std::FILE* stream);
    /// Reads the block of one entry and appends its tag. The three words are passed in file byte order. Returns 0.
    int AddIccTagData(unsigned sig, unsigned offset, unsigned size, std::FILE* stream);
    /// Creates the tag object for name and type and initialises it with the block (borrowed).
    std::unique_ptr<iccTagBase> CreateNewTag(icTagSignature sig, unsigned char* data, int size);
    /// The first tag with that name in file order, or null. Valid until the next `Reset`.
    iccTagBase* GetTag(icTagSignature sig);
    const iccTagBase* GetTag(icTagSignature sig) const;

    /// Writes header, table and the unchanged blocks. Returns 0, even if the path cannot be opened.
    int SaveFile(const char* path);
    int WriteHeader(std::FILE* stream, int profileSize);  ///< at the position of the stream; returns 0
    /// Writes count and table at the position of the stream; returns the size of the whole file.
    int WriteTagListHeader(std::FILE* stream);
    int WriteTagListData(std::FILE* stream);  ///< the blocks, at the position of the stream; returns 0

    /// Destroys all tags. The header does not change.
    void Reset();

    ProfileHeader header;
    std::vector<std::unique_ptr<iccTagBase>> tagList;  ///< owned, in file order

private:
    void ReadFrom(ByteSource& source);  ///< like `ReadFile`
    void ReadHeaderFrom(ByteSource& source);
    /// Creates a tag from a block (borrowed) and appends it.
    void Append(std::uint32_t name, std::span<const unsigned char> block);
};

}  // namespace ICC40::ICCFILE
