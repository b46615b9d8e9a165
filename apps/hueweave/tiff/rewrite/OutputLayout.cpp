// SPDX-License-Identifier: MIT
#include "tiff/rewrite/OutputLayout.h"

#include <algorithm>
#include <span>

#include "system/Refusal.h"
#include "system/Signals.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kUnbounded = std::uint64_t{1} << 62;
constexpr std::uint64_t kClassicLimit = 0xffffffff;
constexpr std::uint64_t kPadding = 3;   ///< bytes; the largest gap between strips that may be padding
constexpr std::size_t kLookAhead = 16;  ///< free areas tried for one strip

struct Span {
    Extent extent;
    std::size_t page;  ///< SIZE_MAX for data that stay
    std::size_t segment;
};

/// The bytes of a strip or tile that are replaced.
Extent Replaced(const TiffPage& page, std::size_t segment) {
    Extent extent = page.segments[segment];
    if (page.Plain()) extent.size = page.DecodedBytes(segment);
    return extent;
}

/// Whether the new data have the size of the old data, whose place they take.
bool KeepsPlaces(const TiffPage& page) { return page.Plain() && HaveSameLayout(page, page.written); }

/// Planes of extra samples are not changed, unless the layout of the whole page changes.
bool IsConverted(const TiffPage& page, std::size_t segment) {
    if (page.stays) return false;
    return !page.planar || !HaveSameLayout(page, page.written) || segment < 3 * page.InPlane();
}

/// Adds the image data of an unchanged page, as far as its directory gives their position.
void AddUntouched(const TiffStructure& structure, const TiffDirectory& directory, std::vector<Extent>& untouched) {
    for (const auto& [offsets, counts] :
         {std::pair{tag::StripOffsets, tag::StripByteCounts}, std::pair{tag::TileOffsets, tag::TileByteCounts},
          std::pair{tag::JpegData, tag::JpegDataSize}}) {
        const TiffEntry* at = directory.Find(offsets);
        const TiffEntry* size = directory.Find(counts);
        if (at == nullptr || size == nullptr || !IsWhole(at->type) || !IsWhole(size->type)) continue;
        const auto places = structure.Numbers(*at), sizes = structure.Numbers(*size);
        for (std::size_t i = 0; i < std::min(places.size(), sizes.size()); ++i) {
            const bool inside = places[i] < structure.fileSize() && sizes[i] <= structure.fileSize() - places[i];
            if (inside && sizes[i] > 0) untouched.push_back({places[i], sizes[i]});
        }
    }
}

}  // namespace

OutputLayout::OutputLayout(const TiffStructure& structure, const std::vector<TiffPage>& pages)
    : structure_(structure), pages_(pages) {
    FindExclusive(structure, pages);
    Divide(structure, pages);
}

void OutputLayout::FindExclusive(const TiffStructure& structure, const std::vector<TiffPage>& pages) {
    std::vector<Span> spans;
    for (const Extent& extent : structure.structure()) spans.push_back({extent, SIZE_MAX, 0});
    for (std::size_t p = 0; p < pages.size(); ++p) {
        ThrowIfInterrupted();
        if (pages[p].segments.empty()) AddUntouched(structure, structure.directories()[pages[p].directory], untouched_);
        exclusive_.emplace_back(pages[p].segments.size(), true);
        for (std::size_t s = 0; s < pages[p].segments.size(); ++s) {
            const bool converted = IsConverted(pages[p], s);
            exclusive_[p][s] = converted;
            if (converted) {
                spans.push_back({Replaced(pages[p], s), p, s});
            } else {
                untouched_.push_back(pages[p].segments[s]);
            }
        }
    }
    std::sort(untouched_.begin(), untouched_.end(),
              [](const Extent& a, const Extent& b) { return a.offset < b.offset; });
    for (const Extent& extent : untouched_) spans.push_back({extent, SIZE_MAX, 0});
    std::erase_if(spans, [](const Span& span) { return span.extent.size == 0; });
    std::sort(spans.begin(), spans.end(),
              [](const Span& a, const Span& b) { return a.extent.offset < b.extent.offset; });
    const Span* furthest = nullptr;
    const auto share = [&](const Span& span) {
        if (span.page != SIZE_MAX) exclusive_[span.page][span.segment] = false;
    };
    for (const Span& span : spans) {
        if (furthest != nullptr && span.extent.offset < furthest->extent.End()) {
            share(span);
            share(*furthest);
        }
        if (furthest == nullptr || span.extent.End() > furthest->extent.End()) furthest = &span;
    }
}

bool OutputLayout::IsPadding(std::uint64_t at, std::uint64_t size) const {
    if (size > kPadding) return false;
    // An unchanged strip of a few bytes may be in the gap. One that begins before the gap would overlap the strip
    // there, which would then not be replaced.
    const auto next = std::lower_bound(untouched_.begin(), untouched_.end(), at,
                                       [](const Extent& extent, std::uint64_t from) { return extent.offset < from; });
    return next == untouched_.end() || next->offset >= at + size;
}

void OutputLayout::Divide(const TiffStructure& structure, const std::vector<TiffPage>& pages) {
    struct Stretch {
        Extent extent;
        bool free;
    };
    std::vector<Stretch> replaced;
    for (std::size_t p = 0; p < pages.size(); ++p) {
        for (std::size_t s = 0; s < pages[p].segments.size(); ++s) {
            if (exclusive_[p][s]) replaced.push_back({Replaced(pages[p], s), !KeepsPlaces(pages[p])});
        }
    }
    std::sort(replaced.begin(), replaced.end(),
              [](const Stretch& a, const Stretch& b) { return a.extent.offset < b.extent.offset; });
    std::uint64_t at = 0;
    for (const Stretch& stretch : replaced) {
        const std::uint64_t gap = stretch.extent.offset - at;
        const bool grows = stretch.free && !free_.empty() && free_.back().End() == at && IsPadding(at, gap);
        if (gap > 0 && !grows) kept_.push_back({at, gap});
        if (grows) {
            free_.back().size = stretch.extent.End() - free_.back().offset;
        } else if (stretch.free) {
            free_.push_back(stretch.extent);
        }
        at = stretch.extent.End();
        if (!stretch.free) end_ = at;
    }
    const std::uint64_t rest = structure.fileSize() - at;
    const bool open = !free_.empty() && free_.back().End() == at && IsPadding(at, rest);
    if (rest > 0 && !open) kept_.push_back({at, rest});
    if (!kept_.empty()) end_ = std::max(end_, kept_.back().End());
    if (open) {
        free_.back().size = kUnbounded;
    } else {
        free_.push_back({std::max(end_, at), kUnbounded});
    }
}

std::uint64_t OutputLayout::PlaceAgain(std::size_t page, std::uint64_t segment) {
    const auto index = static_cast<std::size_t>(segment);
    const Extent extent = Replaced(pages_[page], index);
    return exclusive_[page][index] ? extent.offset : Place(extent.size);
}

std::uint64_t OutputLayout::Place(std::uint64_t size) {
    // Strips have similar sizes, so an area that is nearly used up is not tried again.
    while (cursor_ + 1 < free_.size() && free_[cursor_].size < size / 4) ++cursor_;
    const auto tried = std::span(free_).subspan(cursor_).first(std::min(kLookAhead, free_.size() - cursor_));
    const auto fitting = std::find_if(tried.begin(), tried.end(),
                                      [&](const Extent& free) { return free.size >= size + free.offset % 2; });
    Extent& stretch = fitting != tried.end() ? *fitting : free_.back();
    const std::uint64_t pad = stretch.offset % 2;
    const std::uint64_t offset = stretch.offset + pad;
    if (!structure_.form().bigTiff && offset + size > kClassicLimit) {
        throw Refusal(Exit::Input, structure_.file().name(), "would pass the 4 GiB that a classic TIFF file can hold",
                      "turn it into a BigTIFF first, for example with tiffcp -8");
    }
    stretch.size -= size + pad;
    stretch.offset = offset + size;
    end_ = std::max(end_, offset + size);
    return offset;
}

}  // namespace hueweave::tool
