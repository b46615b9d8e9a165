// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "OutputLayout.h"
#include "TiffStructure.h"

namespace hueweave::tool {

/// Writes the directories of the output: each as it stands in the source, with the changes that were asked for.
class DirectoryWriter {
public:
    DirectoryWriter(const TiffStructure& structure, OutputLayout& layout, const FileAccess& target);

    /// Whole numbers in a type that holds them: the entry's own one, if there is one and it is wide enough.
    void SetNumbers(std::size_t directory, std::uint16_t tag, const std::vector<std::uint64_t>& numbers,
                    std::uint16_t type);
    void SetData(std::size_t directory, std::uint16_t tag, std::uint16_t type, const Bytes& data);
    void Remove(std::size_t directory, std::uint16_t tag);
    /// Writes all that changed.
    void Write();

private:
    struct NewEntry {
        std::uint16_t type;
        Bytes data;
        bool removed;
    };
    struct Plan {
        std::vector<TiffEntry> entries;  ///< sorted by tag
        std::uint64_t offset;            ///< in the output
        bool changed;
    };
    Plan PlanDirectory(std::size_t directory);
    /// Whether nothing else stands where this value stands, so that it can be overwritten.
    bool Alone(const TiffEntry& entry) const;
    void Point(Plan& plan, TiffEntry& entry) const;
    void WritePlan(const Plan& plan, std::uint64_t next) const;

    const TiffStructure& structure_;
    OutputLayout& layout_;
    const FileAccess& target_;
    std::vector<Extent> sorted_;          ///< the structure by offsets
    std::vector<std::uint64_t> reached_;  ///< by place in `sorted_`: the furthest end of those before it
    std::vector<std::map<std::uint16_t, NewEntry>> changes_;
    std::map<std::uint64_t, std::uint64_t> moved_;  ///< directories, from old to new offsets
};

}  // namespace hueweave::tool
