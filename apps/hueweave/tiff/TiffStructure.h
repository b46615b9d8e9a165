// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "system/FileAccess.h"
#include "tiff/Budget.h"
#include "tiff/Tags.h"

namespace hueweave::tool {

/// The format of numbers in a file.
struct TiffForm {
    bool bigEndian = false;
    bool bigTiff = false;  ///< offsets and counts have 8 bytes

    std::size_t OffsetSize() const { return bigTiff ? 8 : 4; }
    std::size_t EntrySize() const { return bigTiff ? 20 : 12; }
    std::size_t CountSize() const { return bigTiff ? 8 : 2; }  ///< of the number of entries of a directory
    std::uint64_t Get(const unsigned char* at, std::size_t size) const;
    void Put(unsigned char* at, std::size_t size, std::uint64_t value) const;
};

/// Bytes per item of a field type, 0 for an unknown type.
std::size_t TypeSize(unsigned type);

/// Whether a field type holds unsigned integers: BYTE, SHORT, LONG, IFD, LONG8, IFD8.
bool IsWhole(unsigned type);

/// One entry of a directory. `value` is the field as in the file, 4 or 8 bytes.
struct TiffEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint64_t count = 0;
    std::array<unsigned char, 8> value{};
    std::uint64_t dataSize = 0;    ///< size of the value in bytes
    std::uint64_t dataOffset = 0;  ///< offset of the value in the file; 0 if it is in `value`
};

/// A directory that contains an image.
struct TiffDirectory {
    std::uint64_t offset = 0;           ///< in the file
    std::uint64_t next = 0;             ///< offset of the next directory
    std::optional<std::size_t> parent;  ///< the directory whose SubIFDs contain this one
    std::vector<TiffEntry> entries;

    const TiffEntry* Find(std::uint16_t tag) const;
};

/// All directories of a file, in the order of the chain, each followed by its SubIFDs. The position of everything that
/// is not image data is known, so that only image data can be rewritten.
class TiffStructure {
public:
    /// Refuses files that are not TIFF, directories that lie outside the file or overlap, and files that exceed the
    /// budget.
    explicit TiffStructure(const FileAccess& file);

    const FileAccess& file() const { return *file_; }
    const TiffForm& form() const { return form_; }
    std::uint64_t fileSize() const { return fileSize_; }
    const std::vector<TiffDirectory>& directories() const { return directories_; }
    std::uint64_t firstDirectory() const { return first_; }
    /// Header, directories, and values outside of them.
    const std::vector<Extent>& structure() const { return structure_; }
    /// Colour space according to the EXIF metadata: 1 for sRGB, 2 for AdobeRGB, 65535 for neither; 0 if not stated.
    std::uint64_t exifColorSpace() const { return exifColorSpace_; }
    std::uint64_t DirectoryBytes(std::size_t entries) const {
        return form_.CountSize() + entries * form_.EntrySize() + form_.OffsetSize();
    }

    /// The integers of an entry, or the first `most` of them. Refuses values outside the file.
    std::vector<std::uint64_t> Numbers(const TiffEntry& entry, std::uint64_t most = UINT64_MAX) const;
    /// The first integer; `fallback` if the tag is absent or empty.
    std::uint64_t Number(const TiffDirectory& directory, std::uint16_t tag, std::uint64_t fallback) const;
    /// The value as bytes.
    Bytes Data(const TiffEntry& entry) const;
    /// Whether the value of an entry overlaps the header or a directory.
    bool LiesOverDirectory(const TiffEntry& entry) const;
    /// The cost of reading the file so far. Not thread-safe.
    Budget& budget() const { return budget_; }

private:
    /// An occupied range: the header or a directory.
    struct Taken {
        std::uint64_t end;
        bool image;
    };
    void ReadChain(std::uint64_t offset, std::optional<std::size_t> parent, int depth);
    TiffDirectory ReadDirectory(std::uint64_t offset, bool image);
    TiffEntry ReadEntry(const unsigned char* at);
    void NoteMetadata(const TiffDirectory& directory, int depth);
    void NoteDirectory(std::uint64_t offset, int depth);  ///< records a metadata directory, mainly its position
    bool Overlaps(Extent extent) const;
    bool IsTaken(std::uint64_t offset, bool image) const;
    std::vector<std::uint64_t> DirectoriesBelow(const TiffEntry& entry) const;
    Bytes Data(const TiffEntry& entry, std::uint64_t size) const;
    void CheckInside(const TiffEntry& entry) const;
    [[noreturn]] void Refuse(const std::string& reason) const;

    const FileAccess* file_;
    std::uint64_t fileSize_;
    TiffForm form_;
    std::uint64_t first_ = 0;
    std::uint64_t exifColorSpace_ = 0;
    std::vector<TiffDirectory> directories_;
    std::vector<Extent> structure_;
    std::map<std::uint64_t, Taken> taken_;  ///< by offset
    mutable Budget budget_;
};

}  // namespace hueweave::tool
