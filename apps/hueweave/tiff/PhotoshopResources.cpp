// SPDX-License-Identifier: MIT
#include "tiff/PhotoshopResources.h"

#include <algorithm>
#include <cstring>

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kMost = std::uint64_t{16} << 20;  ///< maximum bytes read into memory
constexpr unsigned kOldThumbnail = 1033, kThumbnail = 1036, kProfile = 1039;
constexpr std::size_t kNameAt = 6;  ///< after the signature and the number

std::size_t Even(std::size_t size) { return size + size % 2; }

}  // namespace

PhotoshopResources::PhotoshopResources(const TiffStructure& structure, const TiffDirectory& directory) {
    const TiffEntry* entry = directory.Find(tag::PhotoshopResources);
    if (entry == nullptr) return;
    tooLarge_ = entry->dataSize > kMost;
    if (tooLarge_) return;
    bytes_ = structure.Data(*entry);
    const TiffForm big{true, false};
    // Signature "8BIM", number, name with a length byte, length, data; name and data are padded to even lengths.
    for (std::size_t at = 0; at + kNameAt < bytes_.size() && std::memcmp(&bytes_[at], "8BIM", 4) == 0;) {
        const std::size_t length = at + kNameAt + Even(std::size_t{1} + bytes_[at + kNameAt]);
        if (length + 4 > bytes_.size()) return;
        const std::size_t data = length + 4, size = static_cast<std::size_t>(big.Get(&bytes_[length], 4));
        if (size > bytes_.size() - data) return;
        const std::size_t end = std::min(data + Even(size), bytes_.size());
        const auto number = static_cast<unsigned>(big.Get(&bytes_[at + 4], 2));
        thumbnail_ = thumbnail_ || number == kThumbnail || number == kOldThumbnail;
        if (number == kProfile) profiles_.push_back({at, end - at, data});
        at = end;
    }
}

std::optional<Bytes> PhotoshopResources::WithProfile(const Bytes& icc) const {
    Bytes result;
    std::size_t at = 0;
    const auto copy = [&](std::size_t end) {
        result.insert(result.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(at),
                      bytes_.begin() + static_cast<std::ptrdiff_t>(end));
    };
    if (profiles_.empty()) return std::nullopt;
    for (const Resource& resource : profiles_) {
        // Programs use one resource of a number; further ones would multiply the profile.
        const bool keep = !icc.empty() && &resource == &profiles_.front();
        copy(keep ? resource.data : resource.begin);
        if (keep) {
            const TiffForm big{true, false};
            big.Put(&result[result.size() - 4], 4, icc.size());
            result.insert(result.end(), icc.begin(), icc.end());
            if (icc.size() % 2 != 0) result.push_back(0);
        }
        at = resource.begin + resource.size;
    }
    copy(bytes_.size());
    return result;
}

}  // namespace hueweave::tool
