// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// Describes an error in the tags of an image that are rewritten or that determine where its pixels are: an invalid
/// type or number of values, a repeated tag, both strips and tiles (other than tiles whose places are in the tags of
/// strips), a value that overlaps a directory. Readers interpret such files differently, or refuse them. Empty if there
/// is no error. All other tags are copied whatever they contain.
std::string FaultOfTags(const TiffStructure& structure, const TiffDirectory& directory);

}  // namespace hueweave::tool
