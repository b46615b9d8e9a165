// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstring>

#include "FuzzInput.h"
#include "support/ReferenceTiff.h"
#include "tiff/CTiff.h"

namespace hueweave::fuzz {

/// A limit on the heap for reading a file of `size` bytes: tag data, strips, and the same image as planes and pixels.
constexpr std::size_t TiffHeap(std::size_t size) { return 24 * (std::size_t{1} << 20) + 6 * size; }

/// List and data must equal those of the reference reader for the same file.
inline void CheckTags(const Orvix_Tiff_STL2::Tiff& tiff, const test::ReferenceTiff& reference) {
    Require(tiff.tags.size() == reference.tags.size(), "number of entries");
    for (std::size_t i = 0; i < tiff.tags.size(); ++i) {
        const Orvix_Tiff_STL2::TiffTag& tag = *tiff.tags[i];
        const test::ReferenceTag& expected = reference.tags[i];
        Require(tag.tag == expected.tag, "tag");
        Require(static_cast<unsigned>(tag.type) == expected.type, "type");
        Require(tag.count == expected.count, "count");
        Require(tag.value == expected.value, "value");
        Require((tag.data != nullptr) == expected.data.has_value(), "whether there are data");
        Require(tag.Size() == expected.Size(), "announced size");
        // A single byte, which a profile can leave in a tag of wide items, is not a complete item.
        if (tag.dataSize != 1) Require(tag.GetValue() == expected.Value(), "what the tag answers");
        if (!expected.data) continue;
        Require(tag.dataSize == expected.data->size(), "bytes of the data");
        Require(tag.dataSize == 0 || std::memcmp(tag.data.get(), expected.data->data(), tag.dataSize) == 0, "data");
    }
}

/// The geometry of the list; all 0 and no image without a list.
inline void CheckGeometry(const Orvix_Tiff_STL2::CTiff& tiff, test::ReferenceTiff& reference) {
    const auto wrapped = [](std::uint32_t value) { return static_cast<int>(value); };
    const std::uint32_t width = reference.ValueOf(256), samples = reference.ValueOf(277), bits = reference.ValueOf(258);
    Require(tiff.width == wrapped(width) && tiff.height == wrapped(reference.ValueOf(257)), "width and height");
    Require(tiff.samples == wrapped(samples) && tiff.bits == wrapped(bits), "samples and bits");
    Require(tiff.resolution == wrapped(reference.ValueOf(282)), "resolution");
    Require(tiff.rowBytes == static_cast<int>(std::ceil(wrapped(samples * width * bits) * 0.125)), "bytes of a row");
    const test::ReferenceTag* strip = reference.Find(273);
    const bool image = strip != nullptr && strip->data.has_value();
    Require((tiff.imageBuf != nullptr) == image, "whether there is an image");
    Require(tiff.ImageBytes() == (image ? strip->data->size() : 0), "bytes of the image");
}

}  // namespace hueweave::fuzz
