// SPDX-License-Identifier: MIT
#include "colour/exact/kernels/Blocks.h"

namespace hueweave::colour {

extern const Loops kAvx2Loops;
const Loops kAvx2Loops{"avx2", BlockLoop<EightLanes>::Run<std::uint8_t>, BlockLoop<EightLanes>::Run<std::uint16_t>,
                       BlockLoop<EightLanes>::Run<float>};

}  // namespace hueweave::colour
