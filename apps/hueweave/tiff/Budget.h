// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <string>

namespace hueweave::tool {

/// What a TIFF file may cost beside its pixels. A file of a few kilobytes can announce anything; with these limits it
/// is converted or refused within seconds and 256 MiB. docs/reliability.md lists them.
namespace limit {

inline constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;

/// Directories of a file, those of metadata counted.
inline constexpr std::uint64_t kDirectories = 65536;
/// Entries of all its directories: 16 for each of the most directories. Some 100 bytes of memory each, with what is
/// planned for the output and what is read back from it.
inline constexpr std::uint64_t kEntries = 16 * kDirectories;
/// SubIFDs below SubIFDs.
inline constexpr int kDepth = 8;
/// Bytes of one value that is read into memory; an array of places takes at most 8 * `kSegments`.
inline constexpr std::uint64_t kValue = 32 * kMiB;
/// Bytes read of all values: each is read a few times; what goes beyond is data that several entries share.
inline constexpr std::uint64_t kReadTimes = 8, kReadMore = 64 * kMiB;
/// Strips and tiles of all pages: 64 bytes of memory each.
inline constexpr std::uint64_t kSegments = std::uint64_t{1} << 21;
/// Decoded bytes of a strip or tile. 2^44, times the 132 buffers of a picture of 64 planes, times 1,024 threads, stays
/// below 2^64.
inline constexpr std::uint64_t kSegmentBytes = std::uint64_t{1} << 44;
/// Decoded bytes of all pages, so that three times as much stays below 2^64.
inline constexpr std::uint64_t kImageBytes = std::uint64_t{1} << 60;
/// What data may take beyond twice the picture that they make.
inline constexpr std::uint64_t kImageMore = kMiB;
/// Different profiles that the pages embed, and their bytes; a converter takes some 3 MB.
inline constexpr std::uint64_t kProfiles = 16;
inline constexpr std::uint64_t kProfileBytes = 32 * kMiB;

}  // namespace limit

/// Counts what one file has cost. Refuses it where that is more than a file of its size may cost.
class Budget {
public:
    Budget(std::string name, std::uint64_t fileSize) : name_(std::move(name)), fileSize_(fileSize) {}

    void AddDirectory(std::uint64_t entries);
    /// Bytes of a value that is about to be read.
    void AddRead(std::uint64_t bytes);
    /// Strips or tiles whose places are about to be read. `decoded` is the bytes of each, at most `kSegmentBytes`.
    void AddSegments(std::uint64_t count, std::uint64_t decoded);
    /// Bytes that the file has for them. Where strips share data, they are bounded by the picture.
    void AddEncoded(std::uint64_t bytes);
    std::uint64_t segments() const { return segments_; }

private:
    [[noreturn]] void Refuse(const std::string& reason, const std::string& remedy) const;

    std::string name_;
    std::uint64_t fileSize_;
    std::uint64_t directories_ = 0, entries_ = 0, read_ = 0, segments_ = 0, decoded_ = 0, encoded_ = 0;
};

}  // namespace hueweave::tool
