// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

namespace hueweave::colour {

using DeviceColour = std::array<std::uint16_t, 3>;  ///< 16-bit RGB

}  // namespace hueweave::colour
