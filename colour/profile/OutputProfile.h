// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "colour/base/Bytes.h"
#include "colour/profile/Spaces.h"

namespace hueweave::colour {

/// Inverts an output table of 65536 entries (linear light to samples of 0 to `top`): returns the linear light, 0 to 1,
/// for each of `entries` samples from black to white. Returns nothing for a table that does not rise from black to
/// white.
std::optional<std::vector<double>> InvertTable(const std::uint32_t* table, std::uint32_t top, std::size_t entries);

/// Which XYZ the primaries of a space have in its profile.
enum class Colorants {
    Engine,   ///< those that the engine converts to, with four decimals
    Computed  ///< from the chromaticities, for the spaces that have them
};

/// The ICC profile of a space: its primaries and its tone curve. `decoding` holds one tabulated curve per channel that
/// replaces the curve of the space. `version` is 2 or 4.
Bytes MakeOutputProfile(const Space& space, Colorants colorants, const std::vector<std::vector<double>>& decoding,
                        const std::string& title, int version = 4);

}  // namespace hueweave::colour
