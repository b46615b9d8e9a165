// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <optional>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// Bytes of WebP data within which their size stands.
inline constexpr std::size_t kWebpHead = 30;

struct PixelSize {
    std::uint32_t width = 0, height = 0;
    bool operator==(const PixelSize&) const = default;
};

/// The size that WebP data say of themselves; nothing for other data. libtiff does not look at it: data of a smaller
/// picture would leave the pixels behind it as they were in memory.
std::optional<PixelSize> WebpSize(const Bytes& head);

}  // namespace hueweave::tool
