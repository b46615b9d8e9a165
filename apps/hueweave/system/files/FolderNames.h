// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace hueweave::tool {

/// Calls `take` with the name and the type (DT_REG and so on; DT_UNKNOWN on some file systems) of each entry of a
/// folder, in no particular order. Returns the error number, or 0. The iterator of the standard library is not used,
/// because it ends the process if it runs out of memory.
int EachNameInFolder(const std::string& folder, const std::function<void(std::string_view name, unsigned type)>& take);

/// The names of the entries of a folder, in no particular order. `error` is the error number, or 0.
std::vector<std::string> NamesInFolder(const std::string& folder, int& error);

}  // namespace hueweave::tool
