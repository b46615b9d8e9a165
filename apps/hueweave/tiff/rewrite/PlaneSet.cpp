// SPDX-License-Identifier: MIT
#include "tiff/rewrite/PlaneSet.h"

#include <utility>

#include "tiff/Samples.h"

namespace hueweave::tool {

PlaneCounts::PlaneCounts(const TiffPage& page) : gathered(1), read(1), written(1) {
    if (!page.planar) return;
    const bool isNew = !HaveSameLayout(page, page.written);
    gathered = isNew ? page.samples : page.premultiplied ? 4 : 3;
    read = page.Plain() ? gathered : page.samples;
    written = !page.written.planar ? 1 : isNew ? page.samples : 3;
}

PlaneSet::PlaneSet(const TiffPage& page)
    : page_(page),
      counts_(page),
      expansion_(page),
      samples_(page.planar && page.written.planar ? counts_.gathered : page.written.samples) {}

void PlaneSet::Gather(PlaneSource& source, std::uint32_t rows) {
    GatherSamples(source);
    if (Expansion::IsNeeded(page_)) expansion_.Expand(pixels_, rows);
}

void PlaneSet::GatherSamples(PlaneSource& source) {
    const bool isPacked = Expansion::IsPacked(page_);
    if (!page_.planar) {
        source.Take(0, pixels_);
        if (isPacked) expansion_.Unpack(pixels_);
        return;
    }
    const unsigned width = page_.bits <= 8 ? 1 : 2;
    for (unsigned plane = 0; plane < counts_.read; ++plane) {
        source.Take(plane, plane_);
        if (plane >= counts_.gathered) continue;
        if (isPacked) expansion_.Unpack(plane_);
        pixels_.resize(plane_.size() * counts_.gathered);
        PlaneIntoPixels(plane_.data(), pixels_.data(), plane_.size() / width, plane, counts_.gathered, width);
    }
}

void PlaneSet::Convert(const colour::PixelConverter& converter, std::size_t pixels) {
    if (converter.IsInPlace()) return converter.Convert(pixels_.data(), pixels, samples_, page_.premultiplied);
    plane_.resize(pixels * samples_ * (page_.written.bits / 8));
    converter.Convert(pixels_.data(), plane_.data(), pixels, page_.samples, page_.premultiplied);
    std::swap(pixels_, plane_);
}

std::uint64_t PlaneSet::RowMemory(const TiffPage& page) {
    const bool isRgb = page.model == colour::ColourModel::Rgb;
    return Expansion::RowMemory(page) + (isRgb ? 0 : page.WrittenRowBytes());
}

void PlaneSet::Scatter(PlaneSink& sink) {
    if (!page_.written.planar) return sink.Give(0, pixels_);
    const unsigned width = page_.written.bits / 8;
    plane_.resize(pixels_.size() / samples_);
    for (unsigned plane = 0; plane < counts_.written; ++plane) {
        PlaneFromPixels(plane_.data(), pixels_.data(), plane_.size() / width, plane, samples_, width);
        sink.Give(plane, plane_);
    }
}

}  // namespace hueweave::tool
