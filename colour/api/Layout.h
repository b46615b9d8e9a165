// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "hueweave/transform.h"

namespace hueweave::colour {

/// Checks that an image of samples with `sampleBytes` bytes fits into the address space, that its strides are not
/// smaller than its rows, and that source and destination are the same or do not overlap. Strides of 0 become those of
/// rows without padding, and an image without any padding becomes one row.
hw_status SettleLayout(const void* source, const void* dest, std::size_t sampleBytes, hw_layout& layout);

}  // namespace hueweave::colour
