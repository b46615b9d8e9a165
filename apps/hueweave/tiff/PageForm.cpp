// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "tiff/PageForm.h"

#include <tiff.h>

#include <algorithm>
#include <tuple>

namespace hueweave::tool {

std::uint32_t PageForm::RowsOf(std::uint64_t segment) const {
    if (tiled) return segmentHeight;
    const std::uint64_t row = segment % InPlane() * segmentHeight;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(segmentHeight, height - row));
}

bool PageForm::Lossy() const { return compression == COMPRESSION_JPEG || compression == COMPRESSION_WEBP; }

bool HaveSameLayout(const PageForm& read, const PageForm& written) {
    const auto layout = [](const PageForm& form) {
        return std::tuple(form.samples, form.bits, form.planar, form.compression);
    };
    return layout(read) == layout(written);
}

}  // namespace hueweave::tool
