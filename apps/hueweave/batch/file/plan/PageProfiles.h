// SPDX-License-Identifier: MIT
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

/// The distinct profiles that a file embeds. Entries that refer to the same bytes are read once; entries with equal
/// contents get the same number, and their bytes are returned once.
class DistinctProfiles {
public:
    explicit DistinctProfiles(const TiffStructure& structure) : structure_(structure) {}
    /// The number of the entry's profile, counted from 0, and its bytes if that number is new. Refuses more or larger
    /// profiles than the budget allows.
    std::pair<std::size_t, std::optional<Bytes>> Find(const TiffEntry& entry);

private:
    const TiffStructure& structure_;
    std::map<std::pair<std::uint64_t, std::uint64_t>, std::size_t> byPlace_;  ///< offset and size
    std::map<std::string, std::size_t> byHash_;
    std::uint64_t bytes_ = 0;  ///< total size of the profiles returned
};

/// The profiles that the pages of a file embed.
class PageProfiles {
public:
    PageProfiles(const TiffStructure& structure, const std::vector<TiffPage>& pages);

    /// The profile of a page; null for none. Without a profile of its own, a page in a SubIFD gets that of its parent,
    /// and any other reduced copy that of the first page, so this must be called in page order. Throws the refusal of
    /// an invalid profile.
    std::shared_ptr<const DeviceProfile> Of(std::size_t page);
    /// The profile of a page for which `Of` has been called; also null if it is invalid.
    const DeviceProfile* Known(std::size_t page) const { return byDirectory_[pages_[page].directory].get(); }

private:
    /// A valid profile, or the reason why it is invalid.
    struct Looked {
        std::shared_ptr<const DeviceProfile> profile;
        std::optional<Refusal> refusal;
    };
    const Looked& Look(const TiffEntry& entry);

    const TiffStructure& structure_;
    const std::vector<TiffPage>& pages_;
    DistinctProfiles distinct_;
    std::vector<Looked> looked_;                                     ///< by number
    std::vector<std::shared_ptr<const DeviceProfile>> byDirectory_;  ///< for pages without their own
};

}  // namespace hueweave::tool
