// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace hueweave::tool {

/// Limits on the cost of a TIFF file apart from its pixels. A file of a few kilobytes can announce arbitrarily large
/// structures; with these limits it is converted or refused within seconds and 256 MiB. docs/reliability.md lists them.
namespace limit {

inline constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;

/// Directories of a file, including those of metadata.
inline constexpr std::uint64_t kDirectories = 65536;
/// Entries of all directories: 16 for each of the maximum number of directories. About 100 bytes of memory each, with
/// the plan for the output and its check.
inline constexpr std::uint64_t kEntries = 16 * kDirectories;
/// Levels of nested SubIFDs.
inline constexpr int kDepth = 8;
/// Bytes of one value that is read into memory; an array of offsets takes at most 8 * `kSegments`.
inline constexpr std::uint64_t kValue = 32 * kMiB;
/// Total bytes read of all values: each is read a few times; a higher total means that several entries share data.
inline constexpr std::uint64_t kReadTimes = 8, kReadMore = 64 * kMiB;
/// Strips and tiles of all pages: 64 bytes of memory each.
inline constexpr std::uint64_t kSegments = std::uint64_t{1} << 21;
/// Decoded bytes of a strip or tile. 2^44, times the 132 buffers of an image with 64 planes, times 1,024 threads, stays
/// below 2^64.
inline constexpr std::uint64_t kSegmentBytes = std::uint64_t{1} << 44;
/// Decoded bytes of all pages; three times this stays below 2^64.
inline constexpr std::uint64_t kImageBytes = std::uint64_t{1} << 60;
/// Bytes that encoded data may have beyond twice the decoded image.
inline constexpr std::uint64_t kImageMore = kMiB;
/// Different profiles embedded by the pages, and their total size; a converter needs about 3 MB.
inline constexpr std::uint64_t kProfiles = 16;
inline constexpr std::uint64_t kProfileBytes = 32 * kMiB;

}  // namespace limit

/// Counts the cost of one file. Refuses the file if it exceeds what is allowed for its size.
class Budget {
public:
    Budget(std::string name, std::uint64_t fileSize) : name_(std::move(name)), fileSize_(fileSize) {}

    void AddDirectory(std::uint64_t entries);
    /// Adds the bytes of a value before it is read.
    void AddRead(std::uint64_t bytes);
    /// Adds strips or tiles before their offsets are read. `decoded` is the size of each in bytes, at most
    /// `kSegmentBytes`.
    void AddSegments(std::uint64_t count, std::uint64_t decoded);
    /// Adds their encoded bytes in the file. If strips share data, the size of the image limits them.
    void AddEncoded(std::uint64_t bytes);
    std::uint64_t segments() const { return segments_; }

private:
    [[noreturn]] void Refuse(const std::string& reason, const std::string& remedy) const;

    std::string name_;
    std::uint64_t fileSize_;
    std::uint64_t directories_ = 0, entries_ = 0, read_ = 0, segments_ = 0, decoded_ = 0, encoded_ = 0;
};

}  // namespace hueweave::tool
