// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "tiff/TiffStructure.h"
#include "tiff/rewrite/OutputLayout.h"

namespace hueweave::tool {

/// Writes the directories of the output: those of the source with the requested changes.
class DirectoryWriter {
public:
    DirectoryWriter(const TiffStructure& structure, OutputLayout& layout, const FileAccess& target);

    /// Sets an entry to integers. Their type is that of the existing entry or, without one, `type`, or a wider one if
    /// necessary.
    void SetNumbers(std::size_t directory, std::uint16_t tag, const std::vector<std::uint64_t>& numbers,
                    std::uint16_t type);
    /// Sets an entry to bytes. Entries that share a value in the source and get the same object here share the new
    /// value.
    void SetData(std::size_t directory, std::uint16_t tag, std::uint16_t type, std::shared_ptr<const Bytes> data);
    void Remove(std::size_t directory, std::uint16_t tag);
    /// Writes all changes.
    void Write();
    /// The new offsets of moved directories, by old offset. Valid after `Write`.
    const std::map<std::uint64_t, std::uint64_t>& moved() const { return moved_; }

private:
    struct NewEntry {
        std::uint16_t type = 0;
        std::shared_ptr<const Bytes> data{};  ///< null for a large value, which is written at once and not kept
        std::optional<TiffEntry> entry{};     ///< the entry of a large value
        bool Removed() const { return data == nullptr && !entry; }
    };
    struct Plan {
        std::vector<TiffEntry> entries;  ///< in source order; new entries are inserted by tag
        std::uint64_t offset;            ///< in the output
        bool changed;
    };
    std::shared_ptr<const Bytes> Encoded(const std::vector<std::uint64_t>& numbers, std::uint16_t type) const;
    Plan PlanDirectory(std::size_t directory);
    TiffEntry PlanEntry(std::uint16_t tag, const NewEntry& change, const TiffEntry* before);
    std::uint64_t PlaceOf(const NewEntry& change, const TiffEntry* before);
    /// Whether no other data overlap this value, so that it can be overwritten.
    bool Alone(const TiffEntry& entry) const;
    void Point(Plan& plan, TiffEntry& entry);
    void WritePlan(const Plan& plan, std::uint64_t next) const;

    const TiffStructure& structure_;
    OutputLayout& layout_;
    const FileAccess& target_;
    std::vector<Extent> sorted_;          ///< structure and unchanged image data, sorted by offset
    std::vector<std::uint64_t> reached_;  ///< for each extent in `sorted_`, the furthest end of those before it
    std::vector<std::map<std::uint16_t, NewEntry>> changes_;
    /// A new value, and the source offset of the old value, which several entries may share.
    using Shared = std::pair<std::shared_ptr<const Bytes>, std::uint64_t>;
    std::map<Shared, std::uint64_t> written_;       ///< offsets of new values that are not at their old offset
    Shared large_;                                  ///< the last large value in `written_`
    std::map<std::uint64_t, std::uint64_t> moved_;  ///< new offsets of directories, by old offset
};

}  // namespace hueweave::tool
