// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace hueweave::colour {

using Bytes = std::vector<unsigned char>;

}  // namespace hueweave::colour
