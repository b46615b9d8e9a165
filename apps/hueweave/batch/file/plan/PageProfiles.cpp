// SPDX-License-Identifier: MIT
#include "batch/file/plan/PageProfiles.h"

#include "system/Sha256.h"

namespace hueweave::tool {

std::pair<std::size_t, std::optional<Bytes>> DistinctProfiles::Find(const TiffEntry& entry) {
    const std::pair place{entry.dataOffset, entry.dataSize};
    if (const auto found = byPlace_.find(place); found != byPlace_.end()) return {found->second, std::nullopt};
    const std::string& name = structure_.file().name();
    if (entry.dataSize > limit::kProfileBytes) {
        throw Refusal(Exit::Profile, name, "embeds a profile of more than 32 MiB", "take it out of the file");
    }
    Bytes data = structure_.Data(entry);
    Sha256 hash;
    hash.Add(data.data(), data.size());
    const std::string key = hash.Hex();
    const auto known = byHash_.find(key);
    const bool isNew = known == byHash_.end();
    if (isNew && (byHash_.size() == limit::kProfiles || data.size() > limit::kProfileBytes - bytes_)) {
        throw Refusal(Exit::Profile, name, "embeds more than 16 different profiles, or more than 32 MiB of them",
                      "split it into files of fewer pages, for example with tiffsplit");
    }
    const std::size_t number = isNew ? byHash_.size() : known->second;
    if (entry.dataOffset != 0) byPlace_[place] = number;
    if (!isNew) return {number, std::nullopt};
    byHash_[key] = number;
    bytes_ += data.size();
    return {number, std::move(data)};
}

PageProfiles::PageProfiles(const TiffStructure& structure, const std::vector<TiffPage>& pages)
    : structure_(structure), pages_(pages), distinct_(structure), byDirectory_(structure.directories().size()) {}

const PageProfiles::Looked& PageProfiles::Look(const TiffEntry& entry) {
    auto [number, data] = distinct_.Find(entry);
    if (!data) return looked_[number];
    Looked looked;
    try {
        const std::string& name = structure_.file().name();
        looked.profile = std::make_shared<const DeviceProfile>(TakeEmbedded(name, std::move(*data), true));
    } catch (const Refusal& refusal) {
        looked.refusal = refusal;
    }
    looked_.push_back(std::move(looked));
    return looked_.back();
}

std::shared_ptr<const DeviceProfile> PageProfiles::Of(std::size_t page) {
    const std::size_t index = pages_[page].directory;
    const TiffDirectory& directory = structure_.directories()[index];
    std::shared_ptr<const DeviceProfile>& profile = byDirectory_[index];
    const TiffEntry* entry = directory.Find(tag::IccProfile);
    if (entry != nullptr && entry->dataSize > 0) {
        const Looked& looked = Look(*entry);
        if (looked.refusal) throw *looked.refusal;
        profile = looked.profile;
    } else if (directory.parent) {
        profile = byDirectory_[*directory.parent];
    } else if ((structure_.Number(directory, tag::SubfileType, 0) & 1U) != 0 && page > 0) {
        profile = byDirectory_[pages_[0].directory];
    }
    return profile;
}

}  // namespace hueweave::tool
