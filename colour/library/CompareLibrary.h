// SPDX-License-Identifier: MIT
#pragma once

#include "colour/judge/Compare.h"
#include "colour/library/Rendering.h"

namespace hueweave::colour {

/// Compares the engine, which uses `engineProfile`, with what `original` describes. The engine does not compensate the
/// black point, and neither does this truth. Offsets and curves of the rendering are left out of both. Throws a
/// ProfileError for a profile that cannot be used. `poll` and `each` are as for `Compare`.
Comparison CompareLibrary(const Bytes& engineProfile, const Bytes& original, const Rendering& rendering, unsigned bits,
                          const std::vector<DeviceColour>& colours, const Poll& poll, const EachColour& each = {});

}  // namespace hueweave::colour
