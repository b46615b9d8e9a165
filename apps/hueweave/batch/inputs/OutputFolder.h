// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "batch/inputs/ConvertOptions.h"

namespace hueweave::tool {

/// The folder for the outputs; empty if the output is a single file, standard output, or the input itself. `single` is
/// true if one file was named, not a list or a folder.
///
/// A target that is a folder, or ends in "/", is a folder. Otherwise the output of a single file must have the name of
/// a picture, and that of several files must not, so that a mistyped target makes neither a folder called "a.tif" nor a
/// file called "converted".
std::string OutputFolder(const ConvertOptions& options, bool single);

}  // namespace hueweave::tool
