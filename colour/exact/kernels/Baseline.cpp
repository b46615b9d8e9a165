// SPDX-License-Identifier: MIT
#include "colour/exact/kernels/Blocks.h"

namespace hueweave::colour {

const Loops kBaselineLoops{"baseline", BlockLoop<FourLanes>::Run<std::uint8_t>,
                           BlockLoop<FourLanes>::Run<std::uint16_t>, BlockLoop<FourLanes>::Run<float>};

}  // namespace hueweave::colour
