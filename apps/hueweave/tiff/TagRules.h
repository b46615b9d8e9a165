// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// What is wrong with the tags of an image that are rewritten or that decide where its pixels are: a type or a number
/// of values that they cannot have, two of the same tag, strips and tiles at once, a value that lies over a directory.
/// Readers take such files for different pictures, or not at all. Empty if nothing is wrong. All other tags are
/// carried along whatever they hold.
std::string FaultOfTags(const TiffStructure& structure, const TiffDirectory& directory);

}  // namespace hueweave::tool
