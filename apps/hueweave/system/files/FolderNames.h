// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace hueweave::tool {

/// The names of the entries of a folder, in no particular order. `error` is the error number, or 0. The iterator of the
/// standard library is not used, because it ends the process if it runs out of memory.
std::vector<std::string> NamesInFolder(const std::string& folder, int& error);

}  // namespace hueweave::tool
