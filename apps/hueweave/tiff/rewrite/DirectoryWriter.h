// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
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

/// Writes the directories of the output: each as it stands in the source, with the changes that were asked for.
class DirectoryWriter {
public:
    DirectoryWriter(const TiffStructure& structure, OutputLayout& layout, const FileAccess& target);

    /// Whole numbers in a type that holds them: the entry's own one, if there is one and it is wide enough.
    void SetNumbers(std::size_t directory, std::uint16_t tag, const std::vector<std::uint64_t>& numbers,
                    std::uint16_t type);
    /// Bytes. Entries that share a value in the source, and get the same object here, share the new value.
    void SetData(std::size_t directory, std::uint16_t tag, std::uint16_t type, std::shared_ptr<const Bytes> data);
    void Remove(std::size_t directory, std::uint16_t tag);
    /// Writes all that changed.
    void Write();
    /// Directories that got another place, from old to new offsets. After `Write`.
    const std::map<std::uint64_t, std::uint64_t>& moved() const { return moved_; }

private:
    struct NewEntry {
        std::uint16_t type = 0;
        std::shared_ptr<const Bytes> data{};  ///< null for a large value, which is written at once, and is not held
        std::optional<TiffEntry> entry{};     ///< of a large value
        bool Removed() const { return data == nullptr && !entry; }
    };
    struct Plan {
        std::vector<TiffEntry> entries;  ///< in the order of the source, new ones by their tag
        std::uint64_t offset;            ///< in the output
        bool changed;
    };
    std::shared_ptr<const Bytes> Encoded(const std::vector<std::uint64_t>& numbers, std::uint16_t type) const;
    Plan PlanDirectory(std::size_t directory);
    TiffEntry PlanEntry(std::uint16_t tag, const NewEntry& change, const TiffEntry* before);
    std::uint64_t PlaceOf(const NewEntry& change, const TiffEntry* before);
    /// Whether nothing else stands where this value stands, so that it can be overwritten.
    bool Alone(const TiffEntry& entry) const;
    void Point(Plan& plan, TiffEntry& entry);
    void WritePlan(const Plan& plan, std::uint64_t next) const;

    const TiffStructure& structure_;
    OutputLayout& layout_;
    const FileAccess& target_;
    std::vector<Extent> sorted_;          ///< the structure and image data that stay, by offsets
    std::vector<std::uint64_t> reached_;  ///< by place in `sorted_`: the furthest end of those before it
    std::vector<std::map<std::uint16_t, NewEntry>> changes_;
    /// A new value, and where in the source the old one stands that several entries may share.
    using Shared = std::pair<std::shared_ptr<const Bytes>, std::uint64_t>;
    std::map<Shared, std::uint64_t> written_;       ///< places of new values for which there was no old place
    Shared large_;                                  ///< the last large one of them
    std::map<std::uint64_t, std::uint64_t> moved_;  ///< directories, from old to new offsets
};

}  // namespace hueweave::tool
