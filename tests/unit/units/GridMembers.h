// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <memory>

#include "units/WiderColorTables.h"

namespace hueweave::test {

/// A sample of every channel that a grid can have.
using Seven = std::array<unsigned short, 7>;

/// The grid unit for 3, 4, 6 or 7 channels.
inline std::unique_ptr<ICC40::ICC_UNIT::ColorTable33> MakeGridMember(int channels) {
    if (channels == 3) return std::make_unique<ICC40::ICC_UNIT::ColorTable33>();
    if (channels == 4) return std::make_unique<ICC40::ICC_UNIT::ColorTable34>();
    if (channels == 6) return std::make_unique<ICC40::ICC_UNIT::ColorTable36>();
    return std::make_unique<ICC40::ICC_UNIT::ColorTable37>();
}

}  // namespace hueweave::test
