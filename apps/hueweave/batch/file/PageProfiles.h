// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "batch/session/ProfileFile.h"
#include "system/Refusal.h"
#include "tiff/TiffPage.h"

namespace hueweave::tool {

/// The different values of a tag that the pages of a file share or repeat: each is read once for those that point at
/// the same bytes, and handed out once for those that hold the same.
class DistinctProfiles {
public:
    explicit DistinctProfiles(const TiffStructure& structure) : structure_(structure) {}
    /// The number of the entry's value, counted from 0, and its bytes where that number is new. Refuses more or larger
    /// ones than the budget allows.
    std::pair<std::size_t, std::optional<Bytes>> Find(const TiffEntry& entry);

private:
    const TiffStructure& structure_;
    std::map<std::pair<std::uint64_t, std::uint64_t>, std::size_t> byPlace_;  ///< offset and size
    std::map<std::string, std::size_t> byHash_;
    std::uint64_t bytes_ = 0;  ///< of those that were handed out
};

/// The profiles that the pages of a file embed.
class PageProfiles {
public:
    PageProfiles(const TiffStructure& structure, const std::vector<TiffPage>& pages);

    /// The profile of a page, null for none. A page without one of its own takes that of the page above it, of which
    /// it is a smaller copy; so ask in the order of the pages. Throws what is wrong with it.
    std::shared_ptr<const DeviceProfile> Of(std::size_t page);
    /// The same for a page that was asked for before; null also where its profile is not sound.
    const DeviceProfile* Known(std::size_t page) const { return byDirectory_[pages_[page].directory].get(); }

private:
    /// One that is sound, or why not.
    struct Looked {
        std::shared_ptr<const DeviceProfile> profile;
        std::optional<Refusal> refusal;
    };
    const Looked& Look(const TiffEntry& entry);

    const TiffStructure& structure_;
    const std::vector<TiffPage>& pages_;
    DistinctProfiles distinct_;
    std::vector<Looked> looked_;                                     ///< by number
    std::vector<std::shared_ptr<const DeviceProfile>> byDirectory_;  ///< for those below
};

}  // namespace hueweave::tool
