// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "TiffCompare.h"

#include <cmath>
#include <cstring>

namespace hueweave::fuzz {

using namespace Orvix_Tiff_STL2;

void CheckTags(const Tiff& tiff, const test::ReferenceTiff& reference) {
    Require(tiff.tags.size() == reference.tags.size(), "number of entries");
    for (std::size_t i = 0; i < tiff.tags.size(); ++i) {
        const TiffTag& tag = *tiff.tags[i];
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

void CheckGeometry(const CTiff& tiff, test::ReferenceTiff& reference) {
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
