// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstdint>

namespace hueweave::tool {

using DeviceColour = std::array<std::uint16_t, 3>;  ///< RGB of 16 bits

}  // namespace hueweave::tool
