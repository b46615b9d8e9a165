// SPDX-License-Identifier: MIT
#pragma once

#include "batch/inputs/ConvertOptions.h"

namespace CLI {
class App;
}

namespace hueweave::tool {

/// Adds the options that `convert` and `watch` have in common: everything that decides how a file is converted and what
/// is reported.
void AddConversionOptions(CLI::App& c, ConvertOptions& options);
/// Refuses values of these options that exclude each other.
void CheckConversionOptions(const ConvertOptions& a);
/// The number of threads for a conversion.
unsigned ThreadsOf(const ConvertOptions& options);

}  // namespace hueweave::tool
