// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <vector>

namespace hueweave::colour {

using Bytes = std::vector<unsigned char>;

}  // namespace hueweave::colour
