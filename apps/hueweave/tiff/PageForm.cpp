// SPDX-License-Identifier: MIT
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

bool PageForm::Lossy() const {
    return compression == COMPRESSION_JPEG || compression == COMPRESSION_WEBP || compression == COMPRESSION_OJPEG;
}

bool HaveSameSamples(const PageForm& read, const PageForm& written) {
    return std::tuple(read.samples, read.bits, read.planar) ==
           std::tuple(written.samples, written.bits, written.planar);
}

bool HaveSameLayout(const PageForm& read, const PageForm& written) {
    return HaveSameSamples(read, written) && read.compression == written.compression;
}

}  // namespace hueweave::tool
