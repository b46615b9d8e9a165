// SPDX-License-Identifier: MIT
#include "jpeg/FurtherImages.h"

#include <algorithm>
#include <optional>

namespace hueweave::tool {
namespace {

constexpr unsigned kEntries = 0xb002;  ///< the tag with an entry for each image
constexpr std::size_t kEntryBytes = 16;

/// Numbers of a list, in its byte order. Bytes past its end are 0.
class List {
public:
    explicit List(Bytes data) : data_(std::move(data)), isBig_(data_.size() > 1 && data_[0] == 'M') {}

    std::size_t size() const { return data_.size(); }
    std::uint32_t U16(std::size_t at) const { return Number(at, 2); }
    std::uint32_t U32(std::size_t at) const { return Number(at, 4); }

private:
    std::uint32_t Number(std::size_t at, std::size_t bytes) const {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i) {
            const std::size_t place = at + (isBig_ ? i : bytes - 1 - i);
            value = value << 8 | (place < data_.size() ? data_[place] : 0U);
        }
        return value;
    }

    Bytes data_;
    bool isBig_;
};

/// The images of a list that begins at `start` in the file. Nothing if it has no entries that can be read.
std::optional<std::vector<Extent>> ImagesOf(const List& list, std::uint64_t start) {
    if (list.U16(2) != 42) return std::nullopt;
    const std::size_t directory = list.U32(4), count = list.U16(directory);
    for (std::size_t n = 0; n < count; ++n) {
        const std::size_t tag = directory + 2 + 12 * n;
        if (list.U16(tag) != kEntries) continue;
        const std::size_t bytes = list.U32(tag + 4), first = list.U32(tag + 8);
        if (first > list.size() || bytes > list.size() - first) return std::nullopt;
        std::vector<Extent> images;
        for (std::size_t at = first; at + kEntryBytes <= first + bytes; at += kEntryBytes) {
            images.push_back({start + list.U32(at + 8), list.U32(at + 4)});
        }
        return images;
    }
    return std::nullopt;
}

}  // namespace

bool IsListOfImages(const JpegStructure& structure, const JpegSegment& segment) {
    return segment.marker == jpeg_marker::kApp2 && structure.Begins(segment, kFurtherImagesStart);
}

bool HasFurtherImages(const JpegStructure& structure) {
    const auto& segments = structure.segments();
    return std::any_of(segments.begin(), segments.end(),
                       [&](const JpegSegment& segment) { return IsListOfImages(structure, segment); });
}

std::vector<Extent> BytesAfterImage(const JpegStructure& structure) {
    const Extent trailer = structure.trailer();
    std::vector<Extent> images;
    for (const JpegSegment& segment : structure.segments()) {
        if (!IsListOfImages(structure, segment)) continue;
        const std::uint64_t skipped = kFurtherImagesStart.size(), start = segment.data.offset + skipped;
        const auto named = ImagesOf(List(structure.file().Read({start, segment.data.size - skipped})), start);
        if (!named) return {};
        images.insert(images.end(), named->begin(), named->end());
    }
    std::sort(images.begin(), images.end(), [](const Extent& a, const Extent& b) { return a.offset < b.offset; });
    std::vector<Extent> kept;
    std::uint64_t at = trailer.offset;
    for (const Extent& image : images) {
        if (image.End() <= at || image.offset < trailer.offset) continue;  // the first image lies before the trailer
        const std::uint64_t end = std::min(image.offset, trailer.End());
        if (end > at) kept.push_back({at, end - at});
        at = std::min(image.End(), trailer.End());
    }
    if (at < trailer.End()) kept.push_back({at, trailer.End() - at});
    return kept;
}

}  // namespace hueweave::tool
