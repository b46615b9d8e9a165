// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// Number of bytes at the start of WebP data that contain their size.
inline constexpr std::size_t kWebpHead = 30;

struct PixelSize {
    std::uint32_t width = 0, height = 0;
    bool operator==(const PixelSize&) const = default;
};

/// The size stated in WebP data; nothing for other data. libtiff does not check it: data of a smaller image would leave
/// the remaining pixels uninitialised.
std::optional<PixelSize> WebpSize(const Bytes& head);

}  // namespace hueweave::tool
